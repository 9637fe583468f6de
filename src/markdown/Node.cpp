#include "markdown/Node.h"

namespace Markdown {

namespace {

void appendPlainText(const Node& node, QString& out)
{
    using Kind = Node::Kind;
    switch (node.kind) {
    case Kind::Text:
    case Kind::InlineHTML:
        out += node.literal;
        return;
    case Kind::InlineCode:
        out += QLatin1Char('`');
        out += node.literal;
        out += QLatin1Char('`');
        return;
    case Kind::Strikethrough:
        out += QLatin1Char('~');
        for (const Node& child : node.children)
            appendPlainText(child, out);
        out += QLatin1Char('~');
        return;
    case Kind::SoftBreak:
        out += QLatin1Char(' ');
        return;
    case Kind::LineBreak:
        out += QLatin1Char('\n');
        return;
    default:
        // Emphasis, strong, links and images give their children's text; so does anything
        // else a caller might hand in.
        for (const Node& child : node.children)
            appendPlainText(child, out);
        return;
    }
}

} // namespace

QString Node::plainText() const
{
    QString out;
    for (const Node& child : children)
        appendPlainText(child, out);
    return out;
}

} // namespace Markdown
