#include "markdown/OutputRewriter.h"

using Markdown::Node;

QString OutputRewriter::escaped(const QString& text)
{
    qsizetype extra = 0;
    for (const QChar c : text) {
        if (c == QLatin1Char('&'))
            extra += 4;
        else if (c == QLatin1Char('<') || c == QLatin1Char('>'))
            extra += 3;
    }
    if (extra == 0)
        return text;

    // One pass gives the same result as replacing "&" first and then the brackets.
    QString out;
    out.reserve(text.size() + extra);
    for (const QChar c : text) {
        if (c == QLatin1Char('&'))
            out += QLatin1String("&amp;");
        else if (c == QLatin1Char('<'))
            out += QLatin1String("&lt;");
        else if (c == QLatin1Char('>'))
            out += QLatin1String("&gt;");
        else
            out += c;
    }
    return out;
}

namespace {

void rewrite(Node& node, bool hardBreaks)
{
    switch (node.kind) {
    case Node::Kind::Text:
    case Node::Kind::InlineCode:
    case Node::Kind::CodeBlock:
        node.literal = OutputRewriter::escaped(node.literal);
        return;
    case Node::Kind::SoftBreak:
        if (hardBreaks)
            node.kind = Node::Kind::LineBreak;
        return;
    default:
        for (Node& child : node.children)
            rewrite(child, hardBreaks);
        return;
    }
}

} // namespace

Node OutputRewriter::visit(Node node) const
{
    // In place: the tree is ours, and a copy per node would double the work of a long message.
    rewrite(node, hardBreaks);
    return node;
}
