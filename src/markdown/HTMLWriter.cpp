#include "markdown/HTMLWriter.h"

namespace Markdown {

namespace {

int codeOf(QChar c)
{
    return c.unicode();
}
int codeOf(char c)
{
    return uchar(c);
}

} // namespace

template <typename String> void HTMLWriter<String>::reserve(qsizetype size)
{
    if (size > buffer.size())
        buffer.resize(size);
}

template <typename String> String HTMLWriter<String>::take()
{
    buffer.truncate(used);
    used = 0;
    return std::move(buffer);
}

template <typename String> void HTMLWriter<String>::grow(qsizetype count)
{
    buffer.resize(std::max(used + count, std::max<qsizetype>(256, buffer.size() * 2)));
}

template <typename String> void HTMLWriter<String>::putNumber(qlonglong number)
{
    char digits[24];
    char* const end = digits + sizeof(digits);
    char* start = end;
    // Through unsigned, so that the lowest number has a magnitude too.
    qulonglong magnitude = number < 0 ? 0 - qulonglong(number) : qulonglong(number);
    do {
        *--start = char('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude);
    if (number < 0)
        *--start = '-';
    putAscii(start, end - start);
}

template <typename String> void HTMLWriter<String>::putText(View text)
{
    if (escapeText)
        putEscaped(text, false);
    else
        put(text);
}

template <typename String> void HTMLWriter<String>::putAttribute(View value)
{
    putEscaped(value, true);
}

template <typename String> void HTMLWriter<String>::putEscaped(View text, bool quotes)
{
    // "&" first, then the brackets: one pass gives the same. Runs between them go out whole.
    qsizetype run = 0;
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        const int c = codeOf(text[i]);
        if (c != '&' && c != '<' && c != '>' && (c != '"' || !quotes))
            continue;
        put(text.sliced(run, i - run));
        if (c == '&')
            put("&amp;");
        else if (c == '<')
            put("&lt;");
        else if (c == '>')
            put("&gt;");
        else
            put("&quot;");
        run = i + 1;
    }
    put(text.sliced(run));
}

template <typename String> bool HTMLWriter<String>::open(const Element& element)
{
    if (headingDepth > 0)
        return openPlain(element);

    using Kind = Node::Kind;
    switch (element.kind) {
    case Kind::Document:
        return true;
    case Kind::BlockQuote:
        put("<blockquote>\n");
        return true;
    case Kind::CodeBlock:
        if (element.language) {
            put("<pre><code class=\"language-");
            putAttribute(*element.language);
            put("\">");
        } else {
            put("<pre><code>");
        }
        putText(element.literal);
        put("</code></pre>\n");
        return false;
    case Kind::Heading:
        put("<h");
        putNumber(element.level);
        put(">");
        ++headingDepth;
        return true;
    case Kind::ThematicBreak:
        put("<hr />\n");
        return false;
    case Kind::HTMLBlock:
    case Kind::InlineHTML:
        put(element.literal);
        return false;
    case Kind::Text:
        putText(element.literal);
        return false;
    case Kind::UnorderedList:
        put("<ul>\n");
        return true;
    case Kind::OrderedList:
        if (element.startIndex == 1) {
            put("<ol>\n");
        } else {
            put("<ol start=\"");
            putNumber(element.startIndex);
            put("\">\n");
        }
        return true;
    case Kind::ListItem:
        put("<li>");
        if (element.checkbox) {
            put("<input type=\"checkbox\" disabled=\"\"");
            if (*element.checkbox == Node::Checkbox::Checked)
                put(" checked=\"\"");
            put(" /> ");
        }
        return true;
    case Kind::Paragraph:
        put("<p>");
        return true;
    case Kind::Table:
        // Tables do not nest in Markdown, but hand-made trees might: keep the outer table.
        outerTables.append(std::exchange(table, TableState{element.columnAlignments}));
        put("<table>\n");
        return true;
    case Kind::TableHead:
        table.column = 0;
        table.inHead = true;
        put("<thead>\n<tr>\n");
        return true;
    case Kind::TableBody:
        if (!element.hasChildren)
            return false;
        put("<tbody>\n");
        return true;
    case Kind::TableRow:
        table.column = 0;
        put("<tr>\n");
        return true;
    case Kind::TableCell:
        // A cell beyond the header's columns has no place; a cell under a neighbour's span is
        // covered by it.
        if (table.column >= table.alignments.size() || element.colspan == 0 || element.rowspan == 0)
            return false;
        openCell(element);
        return true;
    case Kind::InlineCode:
        put("<code>");
        putText(element.literal);
        put("</code>");
        return false;
    case Kind::Emphasis:
        put("<em>");
        return true;
    case Kind::Strong:
        put("<strong>");
        return true;
    case Kind::Strikethrough:
        put("<del>");
        return true;
    case Kind::Link:
        put("<a");
        if (element.destination) {
            put(" href=\"");
            putAttribute(*element.destination);
            put("\"");
        }
        put(">");
        return true;
    case Kind::Image:
        // The image's children would be its alt text; this formatter writes no alt.
        put("<img");
        if (element.destination && !element.destination->isEmpty()) {
            put(" src=\"");
            putAttribute(*element.destination);
            put("\"");
        }
        if (element.title && !element.title->isEmpty()) {
            put(" title=\"");
            putAttribute(*element.title);
            put("\"");
        }
        put(" />");
        return false;
    case Kind::LineBreak:
        put("<br />\n");
        return false;
    case Kind::SoftBreak:
        put("\n");
        return false;
    }
    return false;
}

template <typename String> void HTMLWriter<String>::openCell(const Element& element)
{
    const bool head = table.inHead;
    put(head ? "<th" : "<td");
    if (const auto& alignment = table.alignments.at(table.column)) {
        switch (*alignment) {
        case Node::Alignment::Left:
            put(" align=\"left\"");
            break;
        case Node::Alignment::Center:
            put(" align=\"center\"");
            break;
        case Node::Alignment::Right:
            put(" align=\"right\"");
            break;
        }
    }
    ++table.column;
    if (element.rowspan >= 2) {
        put(" rowspan=\"");
        putNumber(element.rowspan);
        put("\"");
    }
    if (element.colspan >= 2) {
        put(" colspan=\"");
        putNumber(element.colspan);
        put("\"");
    }
    put(">");
    openCells.append(head);
}

// The plain text of a heading's inlines: their text without markup.
template <typename String> bool HTMLWriter<String>::openPlain(const Element& element)
{
    using Kind = Node::Kind;
    switch (element.kind) {
    case Kind::Text:
        putText(element.literal);
        return false;
    case Kind::InlineHTML:
        put(element.literal);
        return false;
    case Kind::InlineCode:
        put("`");
        putText(element.literal);
        put("`");
        return false;
    case Kind::Strikethrough:
        put("~");
        return true;
    case Kind::SoftBreak:
        put(" ");
        return false;
    case Kind::LineBreak:
        put("\n");
        return false;
    case Kind::Heading:
        ++headingDepth;
        return true;
    default:
        // Emphasis, strong, links and images give their children's text; so does anything
        // else a hand-made tree might hold.
        return true;
    }
}

template <typename String> void HTMLWriter<String>::close(const Element& element)
{
    using Kind = Node::Kind;
    if (element.kind == Kind::Heading) {
        if (--headingDepth == 0) {
            put("</h");
            putNumber(element.level);
            put(">\n");
        }
        return;
    }
    if (headingDepth > 0) {
        if (element.kind == Kind::Strikethrough)
            put("~");
        return;
    }

    switch (element.kind) {
    case Kind::BlockQuote:
        put("</blockquote>\n");
        break;
    case Kind::UnorderedList:
        put("</ul>\n");
        break;
    case Kind::OrderedList:
        put("</ol>\n");
        break;
    case Kind::ListItem:
        put("</li>\n");
        break;
    case Kind::Paragraph:
        put("</p>\n");
        break;
    case Kind::Table:
        put("</table>\n");
        table = std::move(outerTables.last());
        outerTables.removeLast();
        break;
    case Kind::TableHead:
        put("</tr>\n</thead>\n");
        table.inHead = false;
        break;
    case Kind::TableBody:
        put("</tbody>\n");
        break;
    case Kind::TableRow:
        put("</tr>\n");
        break;
    case Kind::TableCell:
        put(openCells.last() ? "</th>\n" : "</td>\n");
        openCells.removeLast();
        break;
    case Kind::Emphasis:
        put("</em>");
        break;
    case Kind::Strong:
        put("</strong>");
        break;
    case Kind::Strikethrough:
        put("</del>");
        break;
    case Kind::Link:
        put("</a>");
        break;
    default:
        break;
    }
}

template class HTMLWriter<QString>;
template class HTMLWriter<QByteArray>;

} // namespace Markdown
