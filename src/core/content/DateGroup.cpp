#include "DateGroup.h"

#include "CalendarTime.h"

#include <array>

namespace DateGroups {

QString title(DateGroup group)
{
    switch (group) {
    case DateGroup::Today:
        return QStringLiteral("Today");
    case DateGroup::Yesterday:
        return QStringLiteral("Yesterday");
    case DateGroup::LastWeek:
        return QStringLiteral("Last Week");
    case DateGroup::Older:
        return QStringLiteral("Older");
    }
    return QString();
}

DateGroup of(const QDateTime& date, const QDateTime& now, const QTimeZone& timeZone)
{
    const QDate day = CalendarTime::day(date, timeZone);
    const QDate today = CalendarTime::day(now, timeZone);
    if (!day.isValid() || !today.isValid())
        return DateGroup::Today;
    const qint64 days = day.daysTo(today);
    if (days <= 0)
        return DateGroup::Today;
    if (days == 1)
        return DateGroup::Yesterday;
    if (days <= 7)
        return DateGroup::LastWeek;
    return DateGroup::Older;
}

QList<Section> sections(const QList<MailThread>& threads, const QDateTime& now,
                        const QTimeZone& timeZone)
{
    std::array<QList<MailThread>, 4> groups;
    for (const MailThread& thread : threads) {
        const DateGroup group = of(thread.anchor().receivedAt, now, timeZone);
        groups[static_cast<size_t>(group)].append(thread);
    }
    QList<Section> result;
    for (size_t index = 0; index < groups.size(); ++index) {
        if (!groups[index].isEmpty())
            result.append({static_cast<DateGroup>(index), groups[index]});
    }
    return result;
}

} // namespace DateGroups
