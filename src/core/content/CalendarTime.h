#pragma once

#include <QDate>
#include <QDateTime>
#include <QTime>
#include <QTimeZone>

#include <optional>

// Wall-clock times in a time zone, with the rules a calendar applies around DST changes.
namespace CalendarTime {

// The instant at which the clocks of `timeZone` show `time` on `date`. A time that the clocks
// skip (spring forward) gives the next valid time, the end of the gap; a time they show twice
// (fall back) gives the first. Absent for an invalid date or time.
std::optional<QDateTime> at(const QDate& date, const QTime& time, const QTimeZone& timeZone);

// The calendar day that `instant` falls on in `timeZone`.
QDate day(const QDateTime& instant, const QTimeZone& timeZone);

} // namespace CalendarTime
