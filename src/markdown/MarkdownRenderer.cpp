#include "markdown/MarkdownRenderer.h"

#include "markdown/DirectHTML.h"

#include <QRegularExpression>

namespace MarkdownRenderer {

QString html(const QString& markdown, bool hardBreaks)
{
    // What HTMLFormatter writes for the rewritten tree of parseDocument, without the tree.
    return QString::fromUtf8(Markdown::directHTML(markdown.toUtf8(), hardBreaks));
}

QString emailDocument(const QString& markdown, bool hardBreaks)
{
    // The look-ahead keeps the attributes that follow and leaves <thead> and <tbody> alone. Text
    // of the message cannot match, its angle brackets are escaped; raw HTML can, and is styled.
    struct Rule
    {
        QRegularExpression pattern;
        QString replacement;
    };
    static const Rule rules[] = {
        {QRegularExpression(QStringLiteral("<blockquote(?=[ >])")),
         QStringLiteral("<blockquote style=\"margin:0 0 0 4px;padding-left:12px;border-left:3px "
                        "solid #d0d0d5;color:#555\"")},
        {QRegularExpression(QStringLiteral("<pre(?=[ >])")),
         QStringLiteral(
             "<pre style=\"background:#f4f4f6;padding:10px;border-radius:6px;overflow-x:auto\"")},
        {QRegularExpression(QStringLiteral("<code(?=[ >])")),
         QStringLiteral(
             "<code style=\"font-family:ui-monospace,Menlo,Consolas,monospace;font-size:13px\"")},
        {QRegularExpression(QStringLiteral("<table(?=[ >])")),
         QStringLiteral("<table style=\"border-collapse:collapse\"")},
        {QRegularExpression(QStringLiteral("<(th|td)(?=[ >])")),
         QStringLiteral("<\\1 style=\"border:1px solid #d0d0d5;padding:4px 8px\"")},
    };

    QString fragment = html(markdown, hardBreaks);
    for (const Rule& rule : rules)
        fragment.replace(rule.pattern, rule.replacement);

    return QLatin1String("<!doctype html>\n<html><head><meta charset=\"utf-8\"></head>\n"
                         "<body style=\"font-family:-apple-system,BlinkMacSystemFont,'Segoe UI',"
                         "Helvetica,Arial,sans-serif;font-size:14px;line-height:1.5;"
                         "color:#1d1d1f\">\n") +
           fragment + QLatin1String("\n</body></html>");
}

} // namespace MarkdownRenderer
