#pragma once

#include "markdown/Node.h"

#include <QString>

namespace Markdown {

// Writes a tree as HTML. Text goes out as it stands in the tree, so it must have been escaped
// before (see OutputRewriter); attribute values (destinations, titles, languages) are escaped
// here, double quotes included, so that none can end its attribute.
class HTMLFormatter
{
public:
    // sizeHint, when known, is roughly the expected length of the output; it saves the copies of
    // a growing string on long documents.
    static QString format(const Node& document, qsizetype sizeHint = 0);

private:
    HTMLFormatter() = default;
};

} // namespace Markdown
