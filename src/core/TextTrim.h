#pragma once

#include <QString>
#include <QStringView>

// Trimming by a rule of our own: QString::trimmed takes every Unicode space and line break,
// while mail headers, links and calendar lines each trim a narrower set.
namespace TextTrim {

template <typename Predicate> QString trimmed(QStringView text, Predicate trims)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && trims(text[begin]))
        ++begin;
    while (end > begin && trims(text[end - 1]))
        --end;
    return text.mid(begin, end - begin).toString();
}

inline bool isBlankOrTab(QChar c)
{
    return c == u' ' || c == u'\t';
}

// Trims the characters listed in `characters`.
inline QString trimmedOf(QStringView text, QStringView characters)
{
    return trimmed(text, [characters](QChar c) { return characters.contains(c); });
}

} // namespace TextTrim
