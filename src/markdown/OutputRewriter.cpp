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

Node OutputRewriter::visit(Node node) const
{
    switch (node.kind) {
    case Node::Kind::Text:
    case Node::Kind::InlineCode:
    case Node::Kind::CodeBlock:
        node.literal = escaped(node.literal);
        return node;
    case Node::Kind::SoftBreak:
        if (hardBreaks)
            node.kind = Node::Kind::LineBreak;
        return node;
    default:
        break;
    }

    for (Node& child : node.children)
        child = visit(std::move(child));
    return node;
}
