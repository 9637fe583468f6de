#include "markdown/Document.h"

#include "markdown/Cmark.h"

#include <cmark-gfm-core-extensions.h>

namespace Markdown {

namespace {

QString literalOf(cmark_node* node)
{
    const char* literal = cmark_node_get_literal(node);
    return literal ? QString::fromUtf8(literal) : QString();
}

std::optional<QString> optionalString(const char* value)
{
    if (!value)
        return std::nullopt;
    return QString::fromUtf8(value);
}

bool convert(cmark_node* node, Node& result, int depth);

void convertChildren(cmark_node* parent, Node& into, int depth)
{
    qsizetype count = 0;
    for (cmark_node* child = cmark_node_first_child(parent); child; child = cmark_node_next(child))
        ++count;
    // Built in place: a long message has hundreds of thousands of nodes.
    into.children.resize(count);
    qsizetype filled = 0;
    for (cmark_node* child = cmark_node_first_child(parent); child;
         child = cmark_node_next(child)) {
        // A node left out leaves its slot untouched for the next one.
        if (convert(child, into.children[filled], depth + 1))
            ++filled;
    }
    into.children.resize(filled);
}

void convertTable(cmark_node* node, Node& table, int depth)
{
    table.kind = Node::Kind::Table;
    const uint16_t columns = cmark_gfm_extensions_get_table_columns(node);
    const uint8_t* alignments = cmark_gfm_extensions_get_table_alignments(node);
    table.columnAlignments.reserve(columns);
    for (uint16_t column = 0; column < columns; ++column)
        table.columnAlignments.append(alignments ? Cmark::alignmentOf(alignments[column])
                                                 : std::nullopt);

    // The tree has exactly one head and one body; cmark gives the header row first.
    table.children.resize(2);
    Node& head = table.children[0];
    Node& body = table.children[1];
    head.kind = Node::Kind::TableHead;
    body.kind = Node::Kind::TableBody;
    for (cmark_node* row = cmark_node_first_child(node); row; row = cmark_node_next(row)) {
        if (Cmark::isType(row, "table_header")) {
            convertChildren(row, head, depth + 1);
        } else if (Cmark::isType(row, "table_row")) {
            Node converted(Node::Kind::TableRow);
            convertChildren(row, converted, depth + 1);
            body.children.append(std::move(converted));
        }
    }
}

bool convertExtension(cmark_node* node, Node& result, int depth)
{
    if (Cmark::isType(node, "table")) {
        convertTable(node, result, depth);
        return true;
    }
    if (Cmark::isType(node, "strikethrough"))
        result.kind = Node::Kind::Strikethrough;
    else if (Cmark::isType(node, "table_cell"))
        result.kind = Node::Kind::TableCell;
    else
        return false;
    convertChildren(node, result, depth);
    return true;
}

// Fills result, a new node, from node. False, with result untouched, for a node type the tree
// does not know: it is left out.
bool convert(cmark_node* node, Node& result, int depth)
{
    if (depth > Cmark::maxDepth) {
        result.kind = Node::Kind::Text;
        result.literal = QString::fromUtf8(Cmark::flattenedText(node));
        return true;
    }

    using Kind = Node::Kind;
    switch (cmark_node_get_type(node)) {
    case CMARK_NODE_DOCUMENT:
        result.kind = Kind::Document;
        break;
    case CMARK_NODE_BLOCK_QUOTE:
        result.kind = Kind::BlockQuote;
        break;
    case CMARK_NODE_LIST:
        if (cmark_node_get_list_type(node) == CMARK_ORDERED_LIST) {
            result.kind = Kind::OrderedList;
            result.startIndex = unsigned(std::max(0, cmark_node_get_list_start(node)));
        } else {
            result.kind = Kind::UnorderedList;
        }
        break;
    case CMARK_NODE_ITEM:
        result.kind = Kind::ListItem;
        if (Cmark::isType(node, "tasklist")) {
            result.checkbox = cmark_gfm_extensions_get_tasklist_item_checked(node)
                                  ? Node::Checkbox::Checked
                                  : Node::Checkbox::Unchecked;
        }
        break;
    case CMARK_NODE_CODE_BLOCK: {
        result.kind = Kind::CodeBlock;
        result.literal = literalOf(node);
        const char* info = cmark_node_get_fence_info(node);
        if (info && *info)
            result.language = QString::fromUtf8(info);
        return true;
    }
    case CMARK_NODE_HTML_BLOCK:
        result.kind = Kind::HTMLBlock;
        result.literal = literalOf(node);
        return true;
    case CMARK_NODE_PARAGRAPH:
        result.kind = Kind::Paragraph;
        break;
    case CMARK_NODE_HEADING:
        result.kind = Kind::Heading;
        result.level = cmark_node_get_heading_level(node);
        break;
    case CMARK_NODE_THEMATIC_BREAK:
        result.kind = Kind::ThematicBreak;
        return true;
    case CMARK_NODE_TEXT:
        result.kind = Kind::Text;
        result.literal = literalOf(node);
        return true;
    case CMARK_NODE_SOFTBREAK:
        result.kind = Kind::SoftBreak;
        return true;
    case CMARK_NODE_LINEBREAK:
        result.kind = Kind::LineBreak;
        return true;
    case CMARK_NODE_CODE:
        result.kind = Kind::InlineCode;
        result.literal = literalOf(node);
        return true;
    case CMARK_NODE_HTML_INLINE:
        result.kind = Kind::InlineHTML;
        result.literal = literalOf(node);
        return true;
    case CMARK_NODE_EMPH:
        result.kind = Kind::Emphasis;
        break;
    case CMARK_NODE_STRONG:
        result.kind = Kind::Strong;
        break;
    case CMARK_NODE_LINK:
        result.kind = Kind::Link;
        result.destination = optionalString(cmark_node_get_url(node));
        break;
    case CMARK_NODE_IMAGE:
        result.kind = Kind::Image;
        result.destination = optionalString(cmark_node_get_url(node));
        result.title = optionalString(cmark_node_get_title(node));
        break;
    default:
        return convertExtension(node, result, depth);
    }
    convertChildren(node, result, depth);
    return true;
}

} // namespace

Node parseDocument(const QString& text)
{
    Cmark::NodePointer root = Cmark::parse(text.toUtf8());

    Node document(Node::Kind::Document);
    if (!root)
        return document;
    // Each top-level block is freed as soon as it is converted, so that the new tree reuses
    // its memory instead of growing beside the whole of cmark's.
    qsizetype count = 0;
    for (cmark_node* child = cmark_node_first_child(root.get()); child;
         child = cmark_node_next(child))
        ++count;
    document.children.resize(count);
    qsizetype filled = 0;
    while (cmark_node* child = cmark_node_first_child(root.get())) {
        if (convert(child, document.children[filled], 1))
            ++filled;
        cmark_node_free(child);
    }
    document.children.resize(filled);
    return document;
}

} // namespace Markdown
