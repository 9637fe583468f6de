#include "content/EmailHTML.h"

#include <QRegularExpression>

namespace EmailHTML {

namespace {

const QLatin1String noContent("<p><em>(no content)</em></p>");

// The value of a part, or nothing when the part has no id or the message carries no value for it.
const QString* valueOf(const Email& email, const BodyPart& part)
{
    if (!part.partId || !email.bodyValues || email.bodyValues->isEmpty())
        return nullptr;
    const auto found = email.bodyValues->constFind(*part.partId);
    return found == email.bodyValues->constEnd() ? nullptr : &found->value;
}

// Only a missing list moves on to the next: a present but empty HTML body means no parts.
const QList<BodyPart>* displayParts(const Email& email)
{
    if (email.htmlBody)
        return &*email.htmlBody;
    if (email.textBody)
        return &*email.textBody;
    return nullptr;
}

QString policy(bool allowRemoteContent)
{
    const QLatin1String extra =
        allowRemoteContent ? QLatin1String(" https: http:") : QLatin1String();
    return QLatin1String("default-src 'none'; img-src cid: data:") + extra +
           QLatin1String("; style-src 'unsafe-inline'") + extra +
           QLatin1String("; font-src data:") + extra;
}

// Steps of stripTags written out by hand. As regular expressions ("<(style|script|head)\b[^>]*>
// [\s\S]*?</\1>", "<[^>]+>", "[ \t]+\n") they rescan the rest of the text from every start
// that fails, which takes minutes on a hostile message of a megabyte with many unclosed tags.
// These give the same replacements in linear time.

bool isWordCharacter(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || u == '_';
}

// A case-insensitive match of an ASCII lower-case name, with the fold of the long s that the
// regular expression engine applies too.
bool namesMatch(QStringView text, qsizetype at, QLatin1String name)
{
    if (at + name.size() > text.size())
        return false;
    for (qsizetype k = 0; k < name.size(); ++k) {
        const char16_t c = text[at + k].unicode();
        const char16_t expected = char16_t(name[k].unicode());
        if (c == expected || c == expected - u'a' + u'A')
            continue;
        if (expected == u's' && c == 0x017F)
            continue;
        return false;
    }
    return true;
}

// Finds a needle at or after a position, remembering the last answer: the positions asked for
// only grow, so every character is looked at once per needle.
class ForwardSearch
{
public:
    explicit ForwardSearch(QStringView text_) : text(text_) {}

    // The index of the next '>' at or after from, or -1.
    qsizetype nextClosingBracket(qsizetype from)
    {
        if (found == -1 && from >= searchedFrom && searchedFrom >= 0)
            return -1;
        if (found >= from)
            return found;
        searchedFrom = from;
        found = text.indexOf(QLatin1Char('>'), from);
        return found;
    }

private:
    QStringView text;
    qsizetype searchedFrom = -1;
    qsizetype found = -1;
};

// The end of "</name>" (any case) at or after from, or -1; remembered like ForwardSearch.
class ClosingTagSearch
{
public:
    ClosingTagSearch(QStringView text_, QLatin1String name_) : text(text_), name(name_) {}

    qsizetype endOfClosingTag(qsizetype from)
    {
        if (found == -1 && from >= searchedFrom && searchedFrom >= 0)
            return -1;
        if (found >= from)
            return found + name.size() + 3;
        searchedFrom = from;
        found = -1;
        for (qsizetype at = text.indexOf(QLatin1String("</"), from); at >= 0;
             at = text.indexOf(QLatin1String("</"), at + 1)) {
            const qsizetype close = at + 2 + name.size();
            if (close < text.size() && namesMatch(text, at + 2, name) &&
                text[close] == QLatin1Char('>')) {
                found = at;
                return found + name.size() + 3;
            }
        }
        return -1;
    }

private:
    QStringView text;
    QLatin1String name;
    qsizetype searchedFrom = -1;
    qsizetype found = -1;
};

// Removes <style>, <script> and <head> elements with everything inside them.
QString withoutHiddenElements(const QString& html)
{
    const QStringView text(html);
    const QLatin1String names[] = {QLatin1String("style"), QLatin1String("script"),
                                   QLatin1String("head")};
    ClosingTagSearch closings[] = {{text, names[0]}, {text, names[1]}, {text, names[2]}};
    ForwardSearch brackets(text);

    QString out;
    qsizetype copiedUpTo = 0;
    for (qsizetype i = text.indexOf(QLatin1Char('<')); i >= 0 && i < text.size();) {
        qsizetype elementEnd = -1;
        for (int n = 0; n < 3 && elementEnd < 0; ++n) {
            const qsizetype afterName = i + 1 + names[n].size();
            if (!namesMatch(text, i + 1, names[n]))
                continue;
            if (afterName < text.size() && isWordCharacter(text[afterName]))
                continue;
            const qsizetype openEnd = brackets.nextClosingBracket(afterName);
            if (openEnd < 0)
                continue;
            elementEnd = closings[n].endOfClosingTag(openEnd + 1);
        }
        if (elementEnd < 0) {
            i = text.indexOf(QLatin1Char('<'), i + 1);
            continue;
        }
        out += text.mid(copiedUpTo, i - copiedUpTo);
        copiedUpTo = elementEnd;
        i = text.indexOf(QLatin1Char('<'), elementEnd);
    }
    if (copiedUpTo == 0)
        return html;
    out += text.mid(copiedUpTo);
    return out;
}

// Removes every "<" with at least one character and a ">" after it, up to that ">".
QString withoutTags(const QString& html)
{
    const QStringView text(html);
    QString out;
    out.reserve(text.size());
    qsizetype i = 0;
    while (i < text.size()) {
        const qsizetype open = text.indexOf(QLatin1Char('<'), i);
        if (open < 0)
            break;
        const qsizetype close = open + 1 < text.size() && text[open + 1] != QLatin1Char('>')
                                    ? text.indexOf(QLatin1Char('>'), open + 2)
                                    : -1;
        if (close < 0 && open + 1 < text.size() && text[open + 1] != QLatin1Char('>')) {
            // No '>' follows anywhere, so no later '<' starts a tag either.
            break;
        }
        if (close < 0) {
            out += text.mid(i, open + 1 - i);
            i = open + 1;
            continue;
        }
        out += text.mid(i, open - i);
        i = close + 1;
    }
    out += text.mid(i);
    return out;
}

// Removes blanks and tabs that stand right before a line feed.
QString withoutTrailingBlanks(const QString& input)
{
    const QStringView text(input);
    QString out;
    out.reserve(text.size());
    qsizetype i = 0;
    while (i < text.size()) {
        const QChar c = text[i];
        if (c != QLatin1Char(' ') && c != QLatin1Char('\t')) {
            out += c;
            ++i;
            continue;
        }
        qsizetype runEnd = i;
        while (runEnd < text.size() &&
               (text[runEnd] == QLatin1Char(' ') || text[runEnd] == QLatin1Char('\t')))
            ++runEnd;
        if (runEnd == text.size() || text[runEnd] != QLatin1Char('\n'))
            out += text.mid(i, runEnd - i);
        i = runEnd;
    }
    return out;
}

} // namespace

QString htmlEscaped(const QString& text)
{
    qsizetype extra = 0;
    for (const QChar c : text) {
        if (c == QLatin1Char('&') || c == QLatin1Char('"'))
            extra += 5;
        else if (c == QLatin1Char('<') || c == QLatin1Char('>'))
            extra += 3;
    }
    if (extra == 0)
        return text;

    // One pass equals replacing "&" first and then the others: no entity is escaped twice.
    QString out;
    out.reserve(text.size() + extra);
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '&':
            out += QLatin1String("&amp;");
            break;
        case '<':
            out += QLatin1String("&lt;");
            break;
        case '>':
            out += QLatin1String("&gt;");
            break;
        case '"':
            out += QLatin1String("&quot;");
            break;
        default:
            out += c;
        }
    }
    return out;
}

QString body(const Email& email)
{
    QStringList contributions;
    if (const QList<BodyPart>* parts = displayParts(email)) {
        for (const BodyPart& part : *parts) {
            const QString* value = valueOf(email, part);
            if (!value)
                continue;
            // The server lists a text part among the HTML parts when there is no HTML
            // alternative; only "text/html" exactly is taken as HTML.
            if (part.type == QLatin1String("text/html"))
                contributions.append(*value);
            else
                contributions.append(QLatin1String("<pre class=\"veldrin-plain\">") +
                                     htmlEscaped(*value) + QLatin1String("</pre>"));
        }
    }
    if (contributions.isEmpty())
        return noContent;
    return contributions.join(QLatin1String("<hr>"));
}

QString wrap(const QString& fragment, bool allowRemoteContent)
{
    const QLatin1String root(rootId);
    QString out;
    out.reserve(fragment.size() + 1200);
    out += QLatin1String("<!doctype html>\n"
                         "<html>\n"
                         "<head>\n"
                         "<meta charset=\"utf-8\">\n"
                         "<meta http-equiv=\"Content-Security-Policy\" content=\"");
    out += policy(allowRemoteContent);
    out += QLatin1String(
        "\">\n"
        "<style>\n"
        "html, body { margin: 0; padding: 0; background: #fff; color: #1d1d1f; }\n"
        "body { font: 14px/1.5 -apple-system, BlinkMacSystemFont, \"Helvetica Neue\", "
        "sans-serif; }\n"
        "#");
    out += root;
    out += QLatin1String(
        " { display: flow-root; padding: 14px; overflow-x: auto; overflow-wrap: break-word; }\n"
        "img { max-width: 100%; height: auto; }\n"
        "pre.veldrin-plain { white-space: pre-wrap; font: inherit; margin: 0; }\n"
        "blockquote { margin: 0 0 0 4px; padding-left: 12px; border-left: 3px solid #d0d0d5; "
        "color: #555; }\n"
        "pre, code { font-family: ui-monospace, Menlo, monospace; font-size: 13px; }\n"
        "pre:not(.veldrin-plain) { background: #f4f4f6; padding: 10px; border-radius: 6px; "
        "overflow-x: auto; }\n"
        "table { border-collapse: collapse; }\n"
        "</style>\n"
        "</head>\n"
        "<body><div id=\"");
    out += root;
    out += QLatin1String("\">");
    out += fragment;
    out += QLatin1String("</div></body>\n</html>");
    return out;
}

QString document(const Email& email, bool allowRemoteContent)
{
    return wrap(body(email), allowRemoteContent);
}

bool hasRemoteContent(const Email& email)
{
    // Textual, not a parse: the scheme must follow the optional quote directly, so a
    // protocol-relative "//host" reference does not count.
    static const QRegularExpression remote(
        QStringLiteral("(src|background)\\s*=\\s*[\"']?https?:|url\\(\\s*[\"']?https?:"),
        QRegularExpression::CaseInsensitiveOption);
    return body(email).contains(remote);
}

QString stripTags(const QString& html)
{
    static const QRegularExpression lineBreaks(QStringLiteral("<br\\s*/?>"),
                                               QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression blockEnds(QStringLiteral("</(p|div|tr|li|h[1-6]|blockquote)>"),
                                              QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression blankLines(QStringLiteral("\\n{3,}"));

    const QString lineFeed(QLatin1Char('\n'));
    QString text = withoutHiddenElements(html);
    text.replace(lineBreaks, lineFeed);
    text.replace(blockEnds, lineFeed);
    text = withoutTags(text);

    text.replace(QLatin1String("&nbsp;"), QLatin1String(" "));
    text.replace(QLatin1String("&lt;"), QLatin1String("<"));
    text.replace(QLatin1String("&gt;"), QLatin1String(">"));
    text.replace(QLatin1String("&quot;"), QLatin1String("\""));
    text.replace(QLatin1String("&#39;"), QLatin1String("'"));
    // Last, so that "&amp;lt;" ends as "&lt;" and not as a bare bracket.
    text.replace(QLatin1String("&amp;"), QLatin1String("&"));

    text = withoutTrailingBlanks(text);
    text.replace(blankLines, QStringLiteral("\n\n"));
    return text.trimmed();
}

QString plainText(const Email& email)
{
    QStringList values;
    if (email.textBody) {
        for (const BodyPart& part : *email.textBody) {
            if (part.type != QLatin1String("text/plain"))
                continue;
            if (const QString* value = valueOf(email, part))
                values.append(*value);
        }
    }
    const QString text = values.join(QLatin1Char('\n'));
    if (!text.isEmpty())
        return text;

    values.clear();
    if (const QList<BodyPart>* parts = displayParts(email)) {
        for (const BodyPart& part : *parts) {
            if (const QString* value = valueOf(email, part))
                values.append(*value);
        }
    }
    return stripTags(values.join(QLatin1Char('\n')));
}

} // namespace EmailHTML
