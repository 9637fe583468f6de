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
    static const QRegularExpression hiddenElements(
        QStringLiteral("<(style|script|head)\\b[^>]*>[\\s\\S]*?</\\1>"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression lineBreaks(QStringLiteral("<br\\s*/?>"),
                                               QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression blockEnds(QStringLiteral("</(p|div|tr|li|h[1-6]|blockquote)>"),
                                              QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression tags(QStringLiteral("<[^>]+>"),
                                         QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression trailingBlanks(QStringLiteral("[ \\t]+\\n"));
    static const QRegularExpression blankLines(QStringLiteral("\\n{3,}"));

    const QString lineFeed(QLatin1Char('\n'));
    QString text = html;
    text.replace(hiddenElements, QString());
    text.replace(lineBreaks, lineFeed);
    text.replace(blockEnds, lineFeed);
    text.replace(tags, QString());

    text.replace(QLatin1String("&nbsp;"), QLatin1String(" "));
    text.replace(QLatin1String("&lt;"), QLatin1String("<"));
    text.replace(QLatin1String("&gt;"), QLatin1String(">"));
    text.replace(QLatin1String("&quot;"), QLatin1String("\""));
    text.replace(QLatin1String("&#39;"), QLatin1String("'"));
    // Last, so that "&amp;lt;" ends as "&lt;" and not as a bare bracket.
    text.replace(QLatin1String("&amp;"), QLatin1String("&"));

    text.replace(trailingBlanks, lineFeed);
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
