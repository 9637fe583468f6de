#include "markdown/DirectHTML.h"

#include "markdown/Cmark.h"
#include "markdown/HTMLWriter.h"

#include <cmark-gfm-core-extensions.h>

#include <cstring>

namespace Markdown {

namespace {

using Writer = HTMLWriter<QByteArray>;
using Kind = Node::Kind;

QByteArrayView viewOf(const char* text)
{
    return text ? QByteArrayView(text, qsizetype(std::strlen(text))) : QByteArrayView();
}

std::optional<QByteArrayView> optionalView(const char* text)
{
    if (!text)
        return std::nullopt;
    return viewOf(text);
}

// Walks cmark's nodes the way the tree is built from them (same depths, same nodes left out)
// and hands each to the writer as the rewritten tree would.
class Walker
{
public:
    explicit Walker(bool hardBreaks_) : hardBreaks(hardBreaks_) {}

    void walk(cmark_node* node, int depth);

    // Text, code spans and code blocks are escaped as the rewriter does.
    Writer writer{true};

private:
    void walkChildren(cmark_node* parent, int depth)
    {
        for (cmark_node* child = cmark_node_first_child(parent); child;
             child = cmark_node_next(child))
            walk(child, depth + 1);
    }
    void walkTable(cmark_node* node, int depth);
    bool fillExtension(cmark_node* node, Writer::Element& element);

    bool hardBreaks;
};

void Walker::walkTable(cmark_node* node, int depth)
{
    Writer::Element table;
    table.kind = Kind::Table;
    const uint16_t columns = cmark_gfm_extensions_get_table_columns(node);
    const uint8_t* alignments = cmark_gfm_extensions_get_table_alignments(node);
    table.columnAlignments.reserve(columns);
    for (uint16_t column = 0; column < columns; ++column)
        table.columnAlignments.append(alignments ? Cmark::alignmentOf(alignments[column])
                                                 : std::nullopt);
    writer.open(table);

    // One head and one body, as in the tree; cmark gives the header row first.
    Writer::Element head;
    head.kind = Kind::TableHead;
    writer.open(head);
    bool hasRows = false;
    for (cmark_node* row = cmark_node_first_child(node); row; row = cmark_node_next(row)) {
        if (Cmark::isType(row, "table_header"))
            walkChildren(row, depth + 1);
        else if (Cmark::isType(row, "table_row"))
            hasRows = true;
    }
    writer.close(head);

    Writer::Element body;
    body.kind = Kind::TableBody;
    body.hasChildren = hasRows;
    if (writer.open(body)) {
        Writer::Element tableRow;
        tableRow.kind = Kind::TableRow;
        for (cmark_node* row = cmark_node_first_child(node); row; row = cmark_node_next(row)) {
            if (!Cmark::isType(row, "table_row"))
                continue;
            if (writer.open(tableRow)) {
                walkChildren(row, depth + 1);
                writer.close(tableRow);
            }
        }
        writer.close(body);
    }
    writer.close(table);
}

bool Walker::fillExtension(cmark_node* node, Writer::Element& element)
{
    if (Cmark::isType(node, "strikethrough"))
        element.kind = Kind::Strikethrough;
    else if (Cmark::isType(node, "table_cell"))
        element.kind = Kind::TableCell;
    else
        return false;
    return true;
}

void Walker::walk(cmark_node* node, int depth)
{
    Writer::Element element;
    if (depth > Cmark::maxDepth) {
        const QByteArray text = Cmark::flattenedText(node);
        element.kind = Kind::Text;
        element.literal = text;
        writer.open(element);
        return;
    }

    switch (cmark_node_get_type(node)) {
    case CMARK_NODE_DOCUMENT:
        element.kind = Kind::Document;
        break;
    case CMARK_NODE_BLOCK_QUOTE:
        element.kind = Kind::BlockQuote;
        break;
    case CMARK_NODE_LIST:
        if (cmark_node_get_list_type(node) == CMARK_ORDERED_LIST) {
            element.kind = Kind::OrderedList;
            element.startIndex = unsigned(std::max(0, cmark_node_get_list_start(node)));
        } else {
            element.kind = Kind::UnorderedList;
        }
        break;
    case CMARK_NODE_ITEM:
        element.kind = Kind::ListItem;
        if (Cmark::isType(node, "tasklist")) {
            element.checkbox = cmark_gfm_extensions_get_tasklist_item_checked(node)
                                   ? Node::Checkbox::Checked
                                   : Node::Checkbox::Unchecked;
        }
        break;
    case CMARK_NODE_CODE_BLOCK: {
        element.kind = Kind::CodeBlock;
        element.literal = viewOf(cmark_node_get_literal(node));
        const char* info = cmark_node_get_fence_info(node);
        if (info && *info)
            element.language = viewOf(info);
        break;
    }
    case CMARK_NODE_HTML_BLOCK:
        element.kind = Kind::HTMLBlock;
        element.literal = viewOf(cmark_node_get_literal(node));
        break;
    case CMARK_NODE_PARAGRAPH:
        element.kind = Kind::Paragraph;
        break;
    case CMARK_NODE_HEADING:
        element.kind = Kind::Heading;
        element.level = cmark_node_get_heading_level(node);
        break;
    case CMARK_NODE_THEMATIC_BREAK:
        element.kind = Kind::ThematicBreak;
        break;
    case CMARK_NODE_TEXT:
        element.kind = Kind::Text;
        element.literal = viewOf(cmark_node_get_literal(node));
        break;
    case CMARK_NODE_SOFTBREAK:
        element.kind = hardBreaks ? Kind::LineBreak : Kind::SoftBreak;
        break;
    case CMARK_NODE_LINEBREAK:
        element.kind = Kind::LineBreak;
        break;
    case CMARK_NODE_CODE:
        element.kind = Kind::InlineCode;
        element.literal = viewOf(cmark_node_get_literal(node));
        break;
    case CMARK_NODE_HTML_INLINE:
        element.kind = Kind::InlineHTML;
        element.literal = viewOf(cmark_node_get_literal(node));
        break;
    case CMARK_NODE_EMPH:
        element.kind = Kind::Emphasis;
        break;
    case CMARK_NODE_STRONG:
        element.kind = Kind::Strong;
        break;
    case CMARK_NODE_LINK:
        element.kind = Kind::Link;
        element.destination = optionalView(cmark_node_get_url(node));
        break;
    case CMARK_NODE_IMAGE:
        element.kind = Kind::Image;
        element.destination = optionalView(cmark_node_get_url(node));
        element.title = optionalView(cmark_node_get_title(node));
        break;
    default:
        if (Cmark::isType(node, "table")) {
            walkTable(node, depth);
            return;
        }
        // A node type the tree does not know is left out with its children.
        if (!fillExtension(node, element))
            return;
        break;
    }

    if (!writer.open(element))
        return;
    walkChildren(node, depth);
    writer.close(element);
}

} // namespace

QByteArray directHTML(QByteArrayView source, bool hardBreaks)
{
    Walker walker(hardBreaks);
    // Markup and escapes make the HTML of a typical message a little longer than its source.
    walker.writer.reserve(source.size() + source.size() / 2);

    Cmark::NodePointer root = Cmark::parse(source);
    if (!root)
        return {};
    // Each top-level block is freed once written, so that the output reuses its memory.
    while (cmark_node* child = cmark_node_first_child(root.get())) {
        walker.walk(child, 1);
        cmark_node_free(child);
    }
    return walker.writer.take();
}

} // namespace Markdown
