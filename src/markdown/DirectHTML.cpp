#include "markdown/DirectHTML.h"

#include "markdown/Cmark.h"
#include "markdown/HTMLWriter.h"

#include <cstring>

namespace Markdown {

namespace {

using Writer = HTMLWriter<QByteArray>;
using Kind = Node::Kind;

// A lambda rather than a function, so that each call inlines into the node's description.
constexpr auto viewOf = [](const char* text) {
    return text ? QByteArrayView(text, qsizetype(std::strlen(text))) : QByteArrayView();
};

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
    void walkTable(cmark_node* node, int depth, const Writer::Element& table);

    bool hardBreaks;
    // The text of a subtree too deep to walk, while its element is written.
    QByteArray deepText;
};

void Walker::walkTable(cmark_node* node, int depth, const Writer::Element& table)
{
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

void Walker::walk(cmark_node* node, int depth)
{
    Writer::Element element;
    // A node type the tree does not know is left out with its children.
    if (!Cmark::describe(node, depth, element, viewOf, deepText))
        return;
    if (element.kind == Kind::Table) {
        walkTable(node, depth, element);
        return;
    }
    if (hardBreaks && element.kind == Kind::SoftBreak)
        element.kind = Kind::LineBreak;

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
