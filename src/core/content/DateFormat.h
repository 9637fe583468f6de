#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>
#include <QTimeZone>

// The one place where dates become text for the user. Locale and time zone are parameters,
// so that callers pass the user's and tests pass fixed ones.
namespace DateFormat {

// The abbreviated date style of the locale, as in "Oct 1, 2026" or "1. Okt. 2026".
QString abbreviatedDate(const QDateTime& date, const QLocale& locale, const QTimeZone& timeZone);
// The short time style of the locale, as in "9:30 AM" or "09:30".
QString shortTime(const QDateTime& date, const QLocale& locale, const QTimeZone& timeZone);
// The abbreviated date followed by the short time, joined as the locale joins the two.
QString abbreviatedDateShortTime(const QDateTime& date, const QLocale& locale,
                                 const QTimeZone& timeZone);

// A length of time in full words with its largest whole unit (days, hours, minutes or
// seconds), as in "2 days" or "1 hour"; the number in the locale's digits. Translations give
// the unit names through the "DateFormat" context.
QString fullDuration(qint64 seconds, const QLocale& locale);

} // namespace DateFormat
