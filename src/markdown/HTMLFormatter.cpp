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

QString HTMLFormatter::format(const Node& document)
{
    HTMLFormatter formatter;
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
        out += QLatin1String("<blockquote>\n");
        writeChildren(node);
        out += QLatin1String("</blockquote>\n");
        break;
    case Kind::CodeBlock:
        if (node.language) {
            out += QLatin1String("<pre><code class=\"language-");
            out += *node.language;
            out += QLatin1String("\">");
        } else {
            out += QLatin1String("<pre><code>");
        }
        out += node.literal;
        out += QLatin1String("</code></pre>\n");
        break;
    case Kind::Heading: {
        const QString level = QString::number(node.level);
        out += QLatin1String("<h") + level + QLatin1Char('>');
        out += node.plainText();
        out += QLatin1String("</h") + level + QLatin1String(">\n");
        break;
    }
    case Kind::ThematicBreak:
        out += QLatin1String("<hr />\n");
        break;
    case Kind::HTMLBlock:
    case Kind::InlineHTML:
    case Kind::Text:
        out += node.literal;
        break;
    case Kind::UnorderedList:
        out += QLatin1String("<ul>\n");
        writeChildren(node);
        out += QLatin1String("</ul>\n");
        break;
    case Kind::OrderedList:
        if (node.startIndex == 1) {
            out += QLatin1String("<ol>\n");
        } else {
            out += QLatin1String("<ol start=\"");
            out += QString::number(node.startIndex);
            out += QLatin1String("\">\n");
        }
        writeChildren(node);
        out += QLatin1String("</ol>\n");
        break;
    case Kind::ListItem:
        out += QLatin1String("<li>");
        if (node.checkbox) {
            out += QLatin1String("<input type=\"checkbox\" disabled=\"\"");
            if (*node.checkbox == Node::Checkbox::Checked)
                out += QLatin1String(" checked=\"\"");
            out += QLatin1String(" /> ");
        }
        writeChildren(node);
        out += QLatin1String("</li>\n");
        break;
    case Kind::Paragraph:
        out += QLatin1String("<p>");
        writeChildren(node);
        out += QLatin1String("</p>\n");
        break;
    case Kind::Table: {
        // Tables do not nest in Markdown, but raw trees might: keep the outer table's state.
        const auto outerAlignments = std::exchange(alignments, node.columnAlignments);
        const bool outerInHead = std::exchange(inHead, false);
        const qsizetype outerColumn = std::exchange(column, 0);
        out += QLatin1String("<table>\n");
        writeChildren(node);
        out += QLatin1String("</table>\n");
        alignments = outerAlignments;
        inHead = outerInHead;
        column = outerColumn;
        break;
    }
    case Kind::TableHead:
        column = 0;
        inHead = true;
        out += QLatin1String("<thead>\n<tr>\n");
        writeChildren(node);
        out += QLatin1String("</tr>\n</thead>\n");
        inHead = false;
        break;
    case Kind::TableBody:
        if (node.children.isEmpty())
            break;
        out += QLatin1String("<tbody>\n");
        writeChildren(node);
        out += QLatin1String("</tbody>\n");
        break;
    case Kind::TableRow:
        column = 0;
        out += QLatin1String("<tr>\n");
        writeChildren(node);
        out += QLatin1String("</tr>\n");
        break;
    case Kind::TableCell:
        writeCell(node);
        break;
    case Kind::InlineCode:
        out += QLatin1String("<code>");
        out += node.literal;
        out += QLatin1String("</code>");
        break;
    case Kind::Emphasis:
        out += QLatin1String("<em>");
        writeChildren(node);
        out += QLatin1String("</em>");
        break;
    case Kind::Strong:
        out += QLatin1String("<strong>");
        writeChildren(node);
        out += QLatin1String("</strong>");
        break;
    case Kind::Strikethrough:
        out += QLatin1String("<del>");
        writeChildren(node);
        out += QLatin1String("</del>");
        break;
    case Kind::Link:
        out += QLatin1String("<a");
        if (node.destination) {
            out += QLatin1String(" href=\"");
            out += *node.destination;
            out += QLatin1Char('"');
        }
        out += QLatin1Char('>');
        writeChildren(node);
        out += QLatin1String("</a>");
        break;
    case Kind::Image:
        // The image's children would be its alt text; this formatter writes no alt.
        out += QLatin1String("<img");
        if (node.destination && !node.destination->isEmpty()) {
            out += QLatin1String(" src=\"");
            out += *node.destination;
            out += QLatin1Char('"');
        }
        if (node.title && !node.title->isEmpty()) {
            out += QLatin1String(" title=\"");
            out += *node.title;
            out += QLatin1Char('"');
        }
        out += QLatin1String(" />");
        break;
    case Kind::LineBreak:
        out += QLatin1String("<br />\n");
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
        out += QLatin1String(" align=\"");
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
    out += QLatin1String("</");
    out += tag;
    out += QLatin1String(">\n");
}

} // namespace Markdown
