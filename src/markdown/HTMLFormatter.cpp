#include "markdown/HTMLFormatter.h"

namespace Markdown {

namespace {

QLatin1String alignmentName(Node::Alignment alignment)
{
    switch (alignment) {
    case Node::Alignment::Left:
        return QLatin1String("left");
    case Node::Alignment::Center:
        return QLatin1String("center");
    case Node::Alignment::Right:
        return QLatin1String("right");
    }
    return QLatin1String("left");
}

} // namespace

QString HTMLFormatter::format(const Node& document, qsizetype sizeHint)
{
    HTMLFormatter formatter;
    formatter.out.reserve(sizeHint);
    formatter.write(document);
    return formatter.out;
}

void HTMLFormatter::writeChildren(const Node& node)
{
    for (const Node& child : node.children)
        write(child);
}

void HTMLFormatter::write(const Node& node)
{
    using Kind = Node::Kind;
    switch (node.kind) {
    case Kind::Document:
        writeChildren(node);
        break;
    case Kind::BlockQuote:
        out += QStringView(u"<blockquote>\n");
        writeChildren(node);
        out += QStringView(u"</blockquote>\n");
        break;
    case Kind::CodeBlock:
        if (node.language) {
            out += QStringView(u"<pre><code class=\"language-");
            out += *node.language;
            out += QStringView(u"\">");
        } else {
            out += QStringView(u"<pre><code>");
        }
        out += node.literal;
        out += QStringView(u"</code></pre>\n");
        break;
    case Kind::Heading: {
        const QString level = QString::number(node.level);
        out += QLatin1String("<h") + level + QLatin1Char('>');
        out += node.plainText();
        out += QLatin1String("</h") + level + QLatin1String(">\n");
        break;
    }
    case Kind::ThematicBreak:
        out += QStringView(u"<hr />\n");
        break;
    case Kind::HTMLBlock:
    case Kind::InlineHTML:
    case Kind::Text:
        out += node.literal;
        break;
    case Kind::UnorderedList:
        out += QStringView(u"<ul>\n");
        writeChildren(node);
        out += QStringView(u"</ul>\n");
        break;
    case Kind::OrderedList:
        if (node.startIndex == 1) {
            out += QStringView(u"<ol>\n");
        } else {
            out += QStringView(u"<ol start=\"");
            out += QString::number(node.startIndex);
            out += QStringView(u"\">\n");
        }
        writeChildren(node);
        out += QStringView(u"</ol>\n");
        break;
    case Kind::ListItem:
        out += QStringView(u"<li>");
        if (node.checkbox) {
            out += QStringView(u"<input type=\"checkbox\" disabled=\"\"");
            if (*node.checkbox == Node::Checkbox::Checked)
                out += QStringView(u" checked=\"\"");
            out += QStringView(u" /> ");
        }
        writeChildren(node);
        out += QStringView(u"</li>\n");
        break;
    case Kind::Paragraph:
        out += QStringView(u"<p>");
        writeChildren(node);
        out += QStringView(u"</p>\n");
        break;
    case Kind::Table: {
        // Tables do not nest in Markdown, but raw trees might: keep the outer table's state.
        const auto outerAlignments = std::exchange(alignments, node.columnAlignments);
        const bool outerInHead = std::exchange(inHead, false);
        const qsizetype outerColumn = std::exchange(column, 0);
        out += QStringView(u"<table>\n");
        writeChildren(node);
        out += QStringView(u"</table>\n");
        alignments = outerAlignments;
        inHead = outerInHead;
        column = outerColumn;
        break;
    }
    case Kind::TableHead:
        column = 0;
        inHead = true;
        out += QStringView(u"<thead>\n<tr>\n");
        writeChildren(node);
        out += QStringView(u"</tr>\n</thead>\n");
        inHead = false;
        break;
    case Kind::TableBody:
        if (node.children.isEmpty())
            break;
        out += QStringView(u"<tbody>\n");
        writeChildren(node);
        out += QStringView(u"</tbody>\n");
        break;
    case Kind::TableRow:
        column = 0;
        out += QStringView(u"<tr>\n");
        writeChildren(node);
        out += QStringView(u"</tr>\n");
        break;
    case Kind::TableCell:
        writeCell(node);
        break;
    case Kind::InlineCode:
        out += QStringView(u"<code>");
        out += node.literal;
        out += QStringView(u"</code>");
        break;
    case Kind::Emphasis:
        out += QStringView(u"<em>");
        writeChildren(node);
        out += QStringView(u"</em>");
        break;
    case Kind::Strong:
        out += QStringView(u"<strong>");
        writeChildren(node);
        out += QStringView(u"</strong>");
        break;
    case Kind::Strikethrough:
        out += QStringView(u"<del>");
        writeChildren(node);
        out += QStringView(u"</del>");
        break;
    case Kind::Link:
        out += QStringView(u"<a");
        if (node.destination) {
            out += QStringView(u" href=\"");
            out += *node.destination;
            out += QLatin1Char('"');
        }
        out += QLatin1Char('>');
        writeChildren(node);
        out += QStringView(u"</a>");
        break;
    case Kind::Image:
        // The image's children would be its alt text; this formatter writes no alt.
        out += QStringView(u"<img");
        if (node.destination && !node.destination->isEmpty()) {
            out += QStringView(u" src=\"");
            out += *node.destination;
            out += QLatin1Char('"');
        }
        if (node.title && !node.title->isEmpty()) {
            out += QStringView(u" title=\"");
            out += *node.title;
            out += QLatin1Char('"');
        }
        out += QStringView(u" />");
        break;
    case Kind::LineBreak:
        out += QStringView(u"<br />\n");
        break;
    case Kind::SoftBreak:
        out += QLatin1Char('\n');
        break;
    }
}

void HTMLFormatter::writeCell(const Node& cell)
{
    // A cell beyond the header's columns has no place; a cell under a neighbour's span is
    // covered by it.
    if (column >= alignments.size())
        return;
    if (cell.colspan == 0 || cell.rowspan == 0)
        return;
    const QLatin1String tag = inHead ? QLatin1String("th") : QLatin1String("td");
    out += QLatin1Char('<');
    out += tag;
    if (const auto& alignment = alignments.at(column)) {
        out += QStringView(u" align=\"");
        out += alignmentName(*alignment);
        out += QLatin1Char('"');
    }
    ++column;
    if (cell.rowspan >= 2)
        out += QLatin1String(" rowspan=\"") + QString::number(cell.rowspan) + QLatin1Char('"');
    if (cell.colspan >= 2)
        out += QLatin1String(" colspan=\"") + QString::number(cell.colspan) + QLatin1Char('"');
    out += QLatin1Char('>');
    writeChildren(cell);
    out += QStringView(u"</");
    out += tag;
    out += QStringView(u">\n");
}

} // namespace Markdown
