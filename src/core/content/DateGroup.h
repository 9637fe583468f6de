#pragma once

#include "mail/MailThread.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QTimeZone>

// The date sections of the thread list, in this order.
enum class DateGroup
{
    Today = 0,
    Yesterday = 1,
    LastWeek = 2,
    Older = 3,
};

namespace DateGroups {

struct Section
{
    DateGroup group;
    QList<MailThread> threads;

    bool operator==(const Section&) const = default;
};

// "Today", "Yesterday", "Last Week", "Older".
QString title(DateGroup group);

// By calendar days in `timeZone` between the day of `date` and the day of `now`: future and
// unreadable dates are today's.
DateGroup of(const QDateTime& date, const QDateTime& now, const QTimeZone& timeZone);

// The threads grouped by the date of their anchor, in the order of the groups; the order of
// threads within a group is kept and groups without threads are left out.
QList<Section> sections(const QList<MailThread>& threads, const QDateTime& now,
                        const QTimeZone& timeZone);

} // namespace DateGroups
