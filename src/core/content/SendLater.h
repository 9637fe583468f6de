#pragma once

#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QString>
#include <QTimeZone>

// The offers of the "Send Later" menu.
namespace SendLater {

struct Option
{
    QString title;
    QDateTime date;

    bool operator==(const Option&) const = default;
};

// "In 1 Hour", "Tomorrow at <time>" and, unless tomorrow is Monday, "Monday at <time>", at
// `morningHour` o'clock in `timeZone`; times in the titles are in the short style of `locale`.
// The compose window passes the current time, the user's zone and locale, and 8.
QList<Option> options(const QDateTime& now, const QTimeZone& timeZone, const QLocale& locale,
                      int morningHour);

} // namespace SendLater
