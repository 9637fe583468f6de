#pragma once

#include <QByteArrayView>
#include <QtGlobal>

namespace Markdown {

// What parsing a Markdown source may cost cmark-gfm, told from its text in one linear pass.
// The installed cmark-gfm has costs that grow faster than the text: it pads every table row to
// the header's width (a few kilobytes of pipes and dashes ask for gigabytes), and matching
// delimiters (smart quotes, emphasis, strikethrough, link and image brackets) within one
// paragraph, reading a long paragraph again at every line that looks like a delimiter row, and
// trying every line against deeply nested containers can take time that grows with the square
// of the text or worse. The counts are upper bounds, so that no text escapes them; ordinary
// mail stays far below every limit.
struct ParseCost
{
    // Table cells cmark may make: every line after a delimiter row, up to the next blank line,
    // counted at the widest delimiter row seen since that blank line.
    qint64 tableCells = 0;
    // For each stretch of text between blank lines (a paragraph never crosses one), the square
    // of the number of delimiter characters in it, summed.
    qint64 delimiterPairs = 0;
    // At each line that may be a table's delimiter row, cmark reads the paragraph above it again
    // as a possible header: the bytes of the stretch so far, summed, a pipe counting as sixteen
    // for the cell it makes.
    qint64 headerBytes = 0;
    // A line that continues a paragraph lazily is tried against every container open above
    // it. Each container takes at least a column of some line's start (a ">", a list marker,
    // indentation), so the widest such prefix since the last blank line, summed over the lines.
    qint64 containerChecks = 0;
    // Containers cmark may open: the quote and list markers at the starts of lines. Each is a
    // node of its own, however deep it nests.
    qint64 containerMarkers = 0;

    static ParseCost of(QByteArrayView source);

    // Within these, any source parses in well under a second and a few hundred megabytes.
    static constexpr qint64 maxTableCells = 500'000;
    static constexpr qint64 maxDelimiterPairs = 40'000'000;
    static constexpr qint64 maxHeaderBytes = 10'000'000;
    static constexpr qint64 maxContainerChecks = 10'000'000;
    static constexpr qint64 maxContainerMarkers = 400'000;

    bool isAffordable() const
    {
        return tableCells <= maxTableCells && delimiterPairs <= maxDelimiterPairs &&
               headerBytes <= maxHeaderBytes && containerChecks <= maxContainerChecks &&
               containerMarkers <= maxContainerMarkers;
    }
};

} // namespace Markdown
