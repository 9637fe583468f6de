#include "markdown/ParseCost.h"

#include <algorithm>

namespace Markdown {

namespace {

bool isDelimiter(char c)
{
    switch (c) {
    case '*':
    case '_':
    case '~':
    case '"':
    case '\'':
    case '[':
    case ']':
    case '!':
    case '<':
        return true;
    default:
        return false;
    }
}

// What may stand in a table's delimiter row, in any container: pipes, colons, dashes, cmark's
// blanks and the markers of block quotes.
bool fitsDelimiterRow(char c)
{
    switch (c) {
    case '|':
    case ':':
    case '-':
    case ' ':
    case '\t':
    case '\v':
    case '\f':
    case '>':
        return true;
    default:
        return false;
    }
}

// What may open or continue a container at the start of a line: blanks, quote markers, list
// markers and the digits and punctuation of ordered ones.
bool fitsContainerPrefix(char c)
{
    switch (c) {
    case ' ':
    case '\t':
    case '>':
    case '-':
    case '+':
    case '*':
    case '.':
    case ')':
        return true;
    default:
        return c >= '0' && c <= '9';
    }
}

} // namespace

ParseCost ParseCost::of(QByteArrayView source)
{
    ParseCost cost;
    qint64 delimiters = 0;
    qint64 width = 0;
    qint64 stretchBytes = 0;
    qint64 depth = 0;
    const char* at = source.data();
    const char* const end = at + source.size();
    while (at < end) {
        bool blank = true;
        bool delimiterRow = true;
        qint64 dashRuns = 0;
        qint64 pipes = 0;
        qint64 prefix = 0;
        bool inPrefix = true;
        char previous = 0;
        const char* const lineStart = at;
        for (; at < end && *at != '\n' && *at != '\r'; ++at) {
            const char c = *at;
            blank = blank && (c == ' ' || c == '\t');
            delimiters += isDelimiter(c);
            delimiterRow = delimiterRow && fitsDelimiterRow(c);
            dashRuns += c == '-' && previous != '-';
            pipes += c == '|';
            inPrefix = inPrefix && fitsContainerPrefix(c);
            // A tab reaches the next multiple of four columns.
            prefix += inPrefix ? (c == '\t' ? 4 : 1) : 0;
            cost.containerMarkers += inPrefix && c != ' ' && c != '\t' && (c < '0' || c > '9');
            previous = c;
        }
        // cmark ends a line at LF, CR or CR LF.
        if (at < end && *at == '\r')
            ++at;
        if (at < end && *at == '\n')
            ++at;

        // A blank line (blanks and tabs only) ends every paragraph and table.
        if (blank) {
            cost.delimiterPairs += delimiters * delimiters;
            delimiters = 0;
            width = 0;
            stretchBytes = 0;
            depth = 0;
            continue;
        }
        // A delimiter row has as many cells as its header, and no more than its runs of dashes.
        if (delimiterRow && dashRuns > 0) {
            width = std::max(width, dashRuns);
            cost.tableCells += dashRuns;
            cost.headerBytes += stretchBytes;
        }
        stretchBytes += (at - lineStart) + 15 * pipes;
        depth = std::max(depth, prefix);
        cost.containerChecks += depth;
        cost.tableCells += width;
    }
    cost.delimiterPairs += delimiters * delimiters;
    return cost;
}

} // namespace Markdown
