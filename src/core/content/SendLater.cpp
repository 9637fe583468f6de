#include "SendLater.h"

#include "CalendarTime.h"
#include "DateFormat.h"

namespace SendLater {

QList<Option> options(const QDateTime& now, const QTimeZone& timeZone, const QLocale& locale,
                      int morningHour)
{
    QList<Option> result;
    if (!now.isValid())
        return result;
    result.append({QStringLiteral("In 1 Hour"), now.addSecs(3600)});

    const QTime morning(morningHour, 0, 0);
    const QDate today = CalendarTime::day(now, timeZone);
    const auto tomorrow = CalendarTime::at(today.addDays(1), morning, timeZone);
    if (!tomorrow)
        return result;
    result.append(
        {QStringLiteral("Tomorrow at ") + DateFormat::shortTime(*tomorrow, locale, timeZone),
         *tomorrow});

    // The next Monday morning after now: today's if it is still ahead, else within a week.
    std::optional<QDateTime> monday;
    for (int days = 0; days <= 7 && !monday; ++days) {
        const QDate date = today.addDays(days);
        if (date.dayOfWeek() != Qt::Monday)
            continue;
        const auto candidate = CalendarTime::at(date, morning, timeZone);
        if (candidate && *candidate > now)
            monday = candidate;
    }
    if (!monday)
        return result;
    if (CalendarTime::day(*monday, timeZone) == CalendarTime::day(*tomorrow, timeZone))
        return result;
    result.append(
        {QStringLiteral("Monday at ") + DateFormat::shortTime(*monday, locale, timeZone), *monday});
    return result;
}

} // namespace SendLater
