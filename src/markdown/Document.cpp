#include "markdown/Document.h"

#include "markdown/Cmark.h"

namespace Markdown {

namespace {

constexpr auto stringOf = [](const char* text) {
    return text ? QString::fromUtf8(text) : QString();
};

bool convert(cmark_node* node, Node& result, int depth);

void convertChildren(cmark_node* parent, Node& into, int depth)
{
    cmark_node* first = cmark_node_first_child(parent);
    // Leaves go without even an empty list of children.
    if (!first)
        return;
    qsizetype count = 0;
    for (cmark_node* child = first; child; child = cmark_node_next(child))
        ++count;
    // Built in place: a long message has hundreds of thousands of nodes.
    into.children.resize(count);
    qsizetype filled = 0;
    for (cmark_node* child = first; child; child = cmark_node_next(child)) {
        // A node left out leaves its slot untouched for the next one.
        if (convert(child, into.children[filled], depth + 1))
            ++filled;
    }
    into.children.resize(filled);
}

// The rows of a table, regrouped: the tree has exactly one head and one body, and cmark gives
// the header row first.
void convertRows(cmark_node* node, Node& table, int depth)
{
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

// Fills result, a new node, from node. False, with result untouched, for a node type the tree
// does not know: it is left out.
bool convert(cmark_node* node, Node& result, int depth)
{
    QByteArray deepText;
    if (!Cmark::describe(node, depth, result, stringOf, deepText))
        return false;
    if (result.kind == Node::Kind::Table)
        convertRows(node, result, depth);
    else if (depth <= Cmark::maxDepth) // Past it the node holds its subtree's text.
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
