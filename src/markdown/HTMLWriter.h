#pragma once

#include "markdown/Node.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringView>
#include <QVarLengthArray>

#include <cstring>
#include <optional>
#include <type_traits>
#include <utility>

namespace Markdown {

// The HTML of every node kind, written element by element. The tree formatter drives it with
// QString, and the renderer that walks cmark's nodes directly drives it with UTF-8; since both
// go through here, a long message gives the same bytes as the tree would.
template <typename String> class HTMLWriter
{
public:
    using View = std::conditional_t<std::is_same_v<String, QString>, QStringView, QByteArrayView>;

    // One node as its markup sees it: its kind and the fields that the output shows.
    struct Element
    {
        Node::Kind kind = Node::Kind::Document;
        // Text, InlineCode, CodeBlock, HTMLBlock, InlineHTML.
        View literal;
        std::optional<View> language;
        std::optional<View> destination;
        std::optional<View> title;
        int level = 0;
        unsigned startIndex = 1;
        std::optional<Node::Checkbox> checkbox;
        QList<std::optional<Node::Alignment>> columnAlignments;
        unsigned rowspan = 1;
        unsigned colspan = 1;
        // TableBody: a body without rows writes nothing at all.
        bool hasChildren = true;
    };

    // With escapeText, the literals of Text, InlineCode and CodeBlock are escaped on the way
    // out, which is what the rewriter does to the tree; raw HTML never is. Attribute values
    // (destinations, titles, info strings) are always escaped, double quotes included.
    explicit HTMLWriter(bool escapeText_) : escapeText(escapeText_) {}

    // Writes what stands before the element's children. False when the element writes no
    // children and no closing part: then the caller neither visits them nor calls close.
    bool open(const Element& element);
    // Writes what stands after the children; called with the element given to open.
    void close(const Element& element);

    // Room for about this many characters of output, to save regrowing it on long documents.
    void reserve(qsizetype size);
    // The output written so far; the writer is spent after it.
    String take();

private:
    using Char = std::conditional_t<std::is_same_v<String, QString>, QChar, char>;

    // Room for count more characters at the end of the output. The output is grown by hand
    // and cut to length at the end: appending piece by piece through QByteArray or QString
    // costs a long document more than writing its markup.
    Char* room(qsizetype count)
    {
        if (buffer.size() - used < count)
            grow(count);
        Char* target = buffer.data() + used;
        used += count;
        return target;
    }
    void grow(qsizetype count);
    void putAscii(const char* ascii, qsizetype count)
    {
        Char* target = room(count);
        if constexpr (std::is_same_v<Char, char>) {
            std::memcpy(target, ascii, size_t(count));
        } else {
            for (qsizetype i = 0; i < count; ++i)
                target[i] = QLatin1Char(ascii[i]);
        }
    }
    template <qsizetype N> void put(const char (&ascii)[N]) { putAscii(ascii, N - 1); }
    void put(View text)
    {
        if (!text.isEmpty())
            std::memcpy(room(text.size()), text.data(), size_t(text.size()) * sizeof(Char));
    }
    void putNumber(qlonglong number);
    void putText(View text);
    // An attribute value as typed: escaped always, so that a quote cannot end the attribute.
    void putAttribute(View value);
    void putEscaped(View text, bool quotes);
    bool openPlain(const Element& element);
    void openCell(const Element& element);

    String buffer;
    qsizetype used = 0;
    bool escapeText;
    // Inside a heading only the plain text of the inlines is written. Every heading counts,
    // so that a heading inside a heading (only a hand-made tree has one) closes right.
    int headingDepth = 0;

    // The state of the table being written, and of the tables around it.
    struct TableState
    {
        QList<std::optional<Node::Alignment>> alignments;
        bool inHead = false;
        qsizetype column = 0;
    };
    TableState table;
    QVarLengthArray<TableState, 2> outerTables;
    // Whether each open cell is a head cell, so that its closing tag matches.
    QVarLengthArray<bool, 4> openCells;
};

extern template class HTMLWriter<QString>;
extern template class HTMLWriter<QByteArray>;

} // namespace Markdown
