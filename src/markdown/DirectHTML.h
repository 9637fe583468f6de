#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace Markdown {

// The UTF-8 HTML that HTMLFormatter writes for the tree of the UTF-8 Markdown source after
// OutputRewriter with hardBreaks, made straight from cmark-gfm's nodes: the tree is only an
// intermediate there, and building and freeing it would cost a long message more than parsing.
QByteArray directHTML(QByteArrayView source, bool hardBreaks);

} // namespace Markdown
