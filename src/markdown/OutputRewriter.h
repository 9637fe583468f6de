#pragma once

#include "markdown/Node.h"

// Prepares a parsed tree for the HTML formatter, which writes strings as they are: it escapes
// the text of the message (text, code spans, code blocks) and, with hardBreaks, turns every soft
// line break into a hard one. Raw HTML stays as written; the formatter escapes attribute values.
struct OutputRewriter
{
    bool hardBreaks = false;

    // The rewritten tree. Every node is kept, so the result has the shape of the input.
    Markdown::Node visit(Markdown::Node node) const;

    // "&", "<" and ">" as entities, in that order. Double quotes stay: escaped text never stands
    // inside an attribute.
    static QString escaped(const QString& text);
};
