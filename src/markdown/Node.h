#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace Markdown {

// One node of the Markdown document tree, a plain value with its ordered children. The tree
// carries only what the HTML formatter reads, so one record with a kind serves every node.
struct Node
{
    enum class Kind
    {
        Document,
        BlockQuote,
        CodeBlock,
        Heading,
        ThematicBreak,
        HTMLBlock,
        OrderedList,
        UnorderedList,
        ListItem,
        Paragraph,
        Table,
        TableHead,
        TableBody,
        TableRow,
        TableCell,
        Text,
        SoftBreak,
        LineBreak,
        InlineCode,
        InlineHTML,
        Emphasis,
        Strong,
        Strikethrough,
        Link,
        Image,
    };

    enum class Checkbox
    {
        Unchecked,
        Checked
    };
    enum class Alignment
    {
        Left,
        Center,
        Right
    };

    Node() = default;
    explicit Node(Kind kind_) : kind(kind_) {}

    Kind kind = Kind::Document;
    // The string of a Text, the code of an InlineCode or CodeBlock, the raw HTML of an
    // HTMLBlock or InlineHTML.
    QString literal;
    // CodeBlock: the fence's info string.
    std::optional<QString> language;
    // Link: the destination; Image: the source.
    std::optional<QString> destination;
    // Image: the title.
    std::optional<QString> title;
    // Heading: 1 to 6.
    int level = 0;
    // OrderedList: the number of the first item.
    unsigned startIndex = 1;
    // ListItem of a task list.
    std::optional<Checkbox> checkbox;
    // Table: one entry per column.
    QList<std::optional<Alignment>> columnAlignments;
    // TableCell: 0 marks a cell that a neighbour's span covers.
    unsigned rowspan = 1;
    unsigned colspan = 1;
    QList<Node> children;

    bool operator==(const Node&) const = default;

    // The text of the inline children without their markup, as a heading shows it.
    QString plainText() const;
};

} // namespace Markdown

// Its members are all movable in memory, so lists of children grow without element moves.
Q_DECLARE_TYPEINFO(Markdown::Node, Q_RELOCATABLE_TYPE);
