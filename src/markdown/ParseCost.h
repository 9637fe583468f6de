#pragma once

#include <QByteArrayView>
#include <QtGlobal>

namespace Markdown {

// What parsing a Markdown source may cost cmark-gfm, told from its text in one linear pass.
// The installed cmark-gfm has costs that grow faster than the text: it pads every table row to
// the header's width (a few kilobytes of pipes and dashes ask for gigabytes), and matching
// delimiters (smart quotes, emphasis, strikethrough, link and image brackets) within one
// paragraph can take time that grows with the square of their number or worse. Both counts are
// upper bounds, so that no text escapes them; ordinary mail stays far below either limit.
struct ParseCost
{
    // Table cells cmark may make: every line after a delimiter row, up to the next blank line,
    // counted at the widest delimiter row seen since that blank line.
    qint64 tableCells = 0;
    // For each stretch of text between blank lines (a paragraph never crosses one), the square
    // of the number of delimiter characters in it, summed.
    qint64 delimiterPairs = 0;

    static ParseCost of(QByteArrayView source);

    // Within these, any source parses in well under a second and a few hundred megabytes.
    static constexpr qint64 maxTableCells = 500'000;
    static constexpr qint64 maxDelimiterPairs = 100'000'000;

    bool isAffordable() const
    {
        return tableCells <= maxTableCells && delimiterPairs <= maxDelimiterPairs;
    }
};

} // namespace Markdown
