#pragma once

#include "markdown/Node.h"

#include <QByteArray>
#include <QByteArrayView>

#include <cmark-gfm-core-extensions.h>
#include <cmark-gfm.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>

// What the tree and the direct HTML renderer share about cmark-gfm: the parser with its options
// and extensions, and how its nodes read.
namespace Markdown::Cmark {

// Every pass over a document recurses, so a pathologically deep one (thousands of nested quotes
// or lists) would exhaust the stack. Below this depth a subtree keeps only its text.
constexpr int maxDepth = 256;

struct NodeDeleter
{
    void operator()(cmark_node* node) const { cmark_node_free(node); }
};
using NodePointer = std::unique_ptr<cmark_node, NodeDeleter>;

// The document of UTF-8 Markdown text: smart punctuation; tables, strikethrough and task lists.
// A text too costly to parse (see ParseCost) gives its paragraphs as plain text instead.
NodePointer parse(QByteArrayView source);

// The text of a subtree that is too deep to keep, gathered without recursion: its text, code and
// raw HTML, blocks on lines of their own and cells apart by a blank.
QByteArray flattenedText(cmark_node* root);

bool isBlock(cmark_node* node);

// Nodes of the extensions have type numbers assigned at registration, so they are told apart
// by their names.
bool isType(cmark_node* node, const char* name);

std::optional<Node::Alignment> alignmentOf(uint8_t value);

// Fills record, a fresh Node or HTMLWriter element, with the kind of node and the fields its
// markup shows, so that the tree and the direct renderer read every node alike. text turns a
// UTF-8 string of cmark's (null for none) into the record's string, which may only view it.
// Past maxDepth the subtree becomes a Text of its flattened text, held in deepText while the
// record is in use. A Table gets its alignments only: the caller regroups its rows into one
// head and one body. False, with record untouched, for a node type the tree does not know: it
// is left out with its children.
template <typename Record, typename Text>
bool describe(cmark_node* node, int depth, Record& record, Text text, QByteArray& deepText)
{
    using Kind = Node::Kind;
    if (depth > maxDepth) {
        deepText = flattenedText(node);
        record.kind = Kind::Text;
        record.literal = text(deepText.constData());
        return true;
    }

    switch (cmark_node_get_type(node)) {
    case CMARK_NODE_DOCUMENT:
        record.kind = Kind::Document;
        break;
    case CMARK_NODE_BLOCK_QUOTE:
        record.kind = Kind::BlockQuote;
        break;
    case CMARK_NODE_LIST:
        if (cmark_node_get_list_type(node) == CMARK_ORDERED_LIST) {
            record.kind = Kind::OrderedList;
            record.startIndex = unsigned(std::max(0, cmark_node_get_list_start(node)));
        } else {
            record.kind = Kind::UnorderedList;
        }
        break;
    case CMARK_NODE_ITEM:
        record.kind = Kind::ListItem;
        if (isType(node, "tasklist")) {
            record.checkbox = cmark_gfm_extensions_get_tasklist_item_checked(node)
                                  ? Node::Checkbox::Checked
                                  : Node::Checkbox::Unchecked;
        }
        break;
    case CMARK_NODE_CODE_BLOCK: {
        record.kind = Kind::CodeBlock;
        record.literal = text(cmark_node_get_literal(node));
        const char* info = cmark_node_get_fence_info(node);
        if (info && *info)
            record.language = text(info);
        break;
    }
    case CMARK_NODE_HTML_BLOCK:
        record.kind = Kind::HTMLBlock;
        record.literal = text(cmark_node_get_literal(node));
        break;
    case CMARK_NODE_PARAGRAPH:
        record.kind = Kind::Paragraph;
        break;
    case CMARK_NODE_HEADING:
        record.kind = Kind::Heading;
        record.level = cmark_node_get_heading_level(node);
        break;
    case CMARK_NODE_THEMATIC_BREAK:
        record.kind = Kind::ThematicBreak;
        break;
    case CMARK_NODE_TEXT:
        record.kind = Kind::Text;
        record.literal = text(cmark_node_get_literal(node));
        break;
    case CMARK_NODE_SOFTBREAK:
        record.kind = Kind::SoftBreak;
        break;
    case CMARK_NODE_LINEBREAK:
        record.kind = Kind::LineBreak;
        break;
    case CMARK_NODE_CODE:
        record.kind = Kind::InlineCode;
        record.literal = text(cmark_node_get_literal(node));
        break;
    case CMARK_NODE_HTML_INLINE:
        record.kind = Kind::InlineHTML;
        record.literal = text(cmark_node_get_literal(node));
        break;
    case CMARK_NODE_EMPH:
        record.kind = Kind::Emphasis;
        break;
    case CMARK_NODE_STRONG:
        record.kind = Kind::Strong;
        break;
    case CMARK_NODE_LINK:
        record.kind = Kind::Link;
        if (const char* url = cmark_node_get_url(node))
            record.destination = text(url);
        break;
    case CMARK_NODE_IMAGE:
        record.kind = Kind::Image;
        if (const char* url = cmark_node_get_url(node))
            record.destination = text(url);
        if (const char* title = cmark_node_get_title(node))
            record.title = text(title);
        break;
    default:
        if (isType(node, "table")) {
            record.kind = Kind::Table;
            const uint16_t columns = cmark_gfm_extensions_get_table_columns(node);
            const uint8_t* alignments = cmark_gfm_extensions_get_table_alignments(node);
            record.columnAlignments.reserve(columns);
            for (uint16_t column = 0; column < columns; ++column)
                record.columnAlignments.append(alignments ? alignmentOf(alignments[column])
                                                          : std::nullopt);
        } else if (isType(node, "strikethrough")) {
            record.kind = Kind::Strikethrough;
        } else if (isType(node, "table_cell")) {
            record.kind = Kind::TableCell;
        } else {
            return false;
        }
        break;
    }
    return true;
}

} // namespace Markdown::Cmark
