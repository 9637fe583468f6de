#include "CalendarTime.h"

#include <algorithm>

namespace CalendarTime {

std::optional<QDateTime> at(const QDate& date, const QTime& time, const QTimeZone& timeZone)
{
    if (!date.isValid() || !time.isValid() || !timeZone.isValid())
        return std::nullopt;
    // The wall time read as if it were UTC; the real instant lies within a day of it.
    const QDateTime naive(date, time, QTimeZone::utc());
    const int before = timeZone.offsetFromUtc(naive.addSecs(-86400));
    const int after = timeZone.offsetFromUtc(naive.addSecs(86400));

    std::optional<QDateTime> best;
    for (const int offset : {before, after}) {
        const QDateTime candidate = naive.addSecs(-offset);
        if (timeZone.offsetFromUtc(candidate) != offset)
            continue;
        if (!best || candidate < *best)
            best = candidate;
    }
    if (best)
        return best->toTimeZone(timeZone);

    // In a gap: the first instant after it is the transition itself.
    const QDateTime earliest = naive.addSecs(-std::max(before, after));
    if (timeZone.hasTransitions()) {
        const QTimeZone::OffsetData transition = timeZone.nextTransition(earliest);
        if (transition.atUtc.isValid())
            return transition.atUtc.toTimeZone(timeZone);
    }
    return naive.addSecs(-before).toTimeZone(timeZone);
}

QDate day(const QDateTime& instant, const QTimeZone& timeZone)
{
    if (!instant.isValid())
        return QDate();
    return instant.toTimeZone(timeZone).date();
}

} // namespace CalendarTime
