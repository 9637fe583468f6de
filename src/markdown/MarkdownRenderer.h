#pragma once

#include <QString>

// Markdown mail: the HTML part of a message written in Markdown, and the compose preview.
namespace MarkdownRenderer {

// The HTML fragment of the Markdown text. With hardBreaks every line break of the source is a
// line break in the mail; without, a single line break is a soft wrap.
QString html(const QString& markdown, bool hardBreaks);

// The whole HTML document of a message's HTML part: the fragment with the reader's styles
// written inline, since mail programs drop style sheets.
QString emailDocument(const QString& markdown, bool hardBreaks);

} // namespace MarkdownRenderer
