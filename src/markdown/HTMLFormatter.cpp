#include "markdown/HTMLFormatter.h"

#include "markdown/HTMLWriter.h"

namespace Markdown {

namespace {

using Writer = HTMLWriter<QString>;

Writer::Element elementOf(const Node& node)
{
    Writer::Element element;
    element.kind = node.kind;
    element.literal = node.literal;
    if (node.language)
        element.language = QStringView(*node.language);
    if (node.destination)
        element.destination = QStringView(*node.destination);
    if (node.title)
        element.title = QStringView(*node.title);
    element.level = node.level;
    element.startIndex = node.startIndex;
    element.checkbox = node.checkbox;
    element.columnAlignments = node.columnAlignments;
    element.rowspan = node.rowspan;
    element.colspan = node.colspan;
    element.hasChildren = !node.children.isEmpty();
    return element;
}

void write(Writer& writer, const Node& node)
{
    const Writer::Element element = elementOf(node);
    if (!writer.open(element))
        return;
    for (const Node& child : node.children)
        write(writer, child);
    writer.close(element);
}

} // namespace

QString HTMLFormatter::format(const Node& document, qsizetype sizeHint)
{
    // The tree's text is escaped already.
    Writer writer(false);
    writer.reserve(sizeHint);
    write(writer, document);
    return writer.take();
}

} // namespace Markdown
