#include "markdown/MarkdownRenderer.h"

#include "markdown/DirectHTML.h"

#include <cstring>
#include <string_view>

namespace MarkdownRenderer {

namespace {

// The reader's styles, written into the opening tags of the elements they style.
struct TagStyle
{
    std::string_view tag;
    std::string_view attribute;
};

constexpr std::string_view cellStyle = " style=\"border:1px solid #d0d0d5;padding:4px 8px\"";
constexpr TagStyle tagStyles[] = {
    {"blockquote",
     " style=\"margin:0 0 0 4px;padding-left:12px;border-left:3px solid #d0d0d5;color:#555\""},
    {"pre", " style=\"background:#f4f4f6;padding:10px;border-radius:6px;overflow-x:auto\""},
    {"code", " style=\"font-family:ui-monospace,Menlo,Consolas,monospace;font-size:13px\""},
    {"table", " style=\"border-collapse:collapse\""},
    {"th", cellStyle},
    {"td", cellStyle},
};

constexpr std::string_view documentStart =
    "<!doctype html>\n<html><head><meta charset=\"utf-8\"></head>\n"
    "<body style=\"font-family:-apple-system,BlinkMacSystemFont,'Segoe UI',Helvetica,Arial,"
    "sans-serif;font-size:14px;line-height:1.5;color:#1d1d1f\">\n";
constexpr std::string_view documentEnd = "\n</body></html>";

void append(QByteArray& out, std::string_view text)
{
    out.append(text.data(), qsizetype(text.size()));
}

// The style of the tag that starts right after a "<", if it is one of the styled tags: its name,
// case-sensitive, followed by a blank or ">" so that the attributes that follow are kept and
// <thead> and <tbody> stay alone. Text of the message cannot match, its angle brackets are
// escaped; raw HTML can, and is styled.
const TagStyle* styleAt(std::string_view rest)
{
    for (const TagStyle& style : tagStyles) {
        if (rest.size() > style.tag.size() && rest.starts_with(style.tag)) {
            const char next = rest[style.tag.size()];
            if (next == ' ' || next == '>')
                return &style;
        }
    }
    return nullptr;
}

} // namespace

QString html(const QString& markdown, bool hardBreaks)
{
    // What HTMLFormatter writes for the rewritten tree of parseDocument, without the tree.
    return QString::fromUtf8(Markdown::directHTML(markdown.toUtf8(), hardBreaks));
}

QString emailDocument(const QString& markdown, bool hardBreaks)
{
    const QByteArray fragment = Markdown::directHTML(markdown.toUtf8(), hardBreaks);
    const std::string_view text(fragment.constData(), size_t(fragment.size()));

    QByteArray out;
    out.reserve(
        qsizetype(documentStart.size() + text.size() + text.size() / 4 + documentEnd.size()));
    append(out, documentStart);
    // One pass over the fragment does what replacing each tag in turn would: no style holds a
    // "<", so one replacement never makes a match for another.
    size_t copied = 0;
    for (size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
        if (const TagStyle* style = styleAt(text.substr(at + 1))) {
            const size_t end = at + 1 + style->tag.size();
            append(out, text.substr(copied, end - copied));
            append(out, style->attribute);
            copied = end;
        }
    }
    append(out, text.substr(copied));
    append(out, documentEnd);
    return QString::fromUtf8(out);
}

} // namespace MarkdownRenderer
