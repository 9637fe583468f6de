#pragma once

#include "markdown/Node.h"

#include <QString>

namespace Markdown {

// Parses Markdown text with cmark-gfm (smart punctuation; tables, strikethrough and task lists)
// into a tree whose root is a Document node. Any text is Markdown, so this never fails; a node
// type the tree does not know is left out.
Node parseDocument(const QString& text);

} // namespace Markdown
