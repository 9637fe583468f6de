#include "DateFormat.h"

#include <QCoreApplication>
#include <QRegularExpression>

namespace {

// QLocale has no medium date style: derive it from the long one by dropping the weekday and
// shortening the month name, which is what the abbreviated style is in every locale we ship.
QString abbreviatedPattern(const QLocale& locale)
{
    QString pattern = locale.dateFormat(QLocale::LongFormat);
    const qsizetype weekday = pattern.indexOf(QLatin1String("dddd"));
    if (weekday >= 0) {
        qsizetype end = weekday + 4;
        // The weekday's own separator goes with it ("dddd, " or "dddd ").
        while (end < pattern.size() && (pattern[end] == u',' || pattern[end] == u' '))
            ++end;
        qsizetype begin = weekday;
        if (end == pattern.size()) {
            while (begin > 0 && (pattern[begin - 1] == u',' || pattern[begin - 1] == u' '))
                --begin;
        }
        pattern.remove(begin, end - begin);
    }
    pattern.replace(QLatin1String("MMMM"), QLatin1String("MMM"));
    return pattern.trimmed();
}

// The short time of the C locale, which a session without a language setting gets, carries
// seconds; a short time never does.
QString shortTimePattern(const QLocale& locale)
{
    static const QRegularExpression seconds(QStringLiteral("[:.]ss?(\\.z+)?"));
    return locale.timeFormat(QLocale::ShortFormat).remove(seconds);
}

QString dateTimeSeparator(const QLocale& locale)
{
    const QString date = locale.dateFormat(QLocale::ShortFormat);
    const QString time = locale.timeFormat(QLocale::ShortFormat);
    const QString both = locale.dateTimeFormat(QLocale::ShortFormat);
    if (both.startsWith(date) && both.endsWith(time) && both.size() > date.size() + time.size())
        return both.mid(date.size(), both.size() - date.size() - time.size());
    return QStringLiteral(" ");
}

} // namespace

namespace DateFormat {

QString abbreviatedDate(const QDateTime& date, const QLocale& locale, const QTimeZone& timeZone)
{
    if (!date.isValid())
        return QString();
    return locale.toString(date.toTimeZone(timeZone).date(), abbreviatedPattern(locale));
}

QString shortTime(const QDateTime& date, const QLocale& locale, const QTimeZone& timeZone)
{
    if (!date.isValid())
        return QString();
    return locale.toString(date.toTimeZone(timeZone).time(), shortTimePattern(locale));
}

QString abbreviatedDateShortTime(const QDateTime& date, const QLocale& locale,
                                 const QTimeZone& timeZone)
{
    if (!date.isValid())
        return QString();
    return abbreviatedDate(date, locale, timeZone) + dateTimeSeparator(locale) +
           shortTime(date, locale, timeZone);
}

QString fullDuration(qint64 seconds, const QLocale& locale)
{
    struct Unit
    {
        qint64 length;
        const char* one;
        const char* many;
    };
    // Both English forms are source texts, so that an untranslated program still reads well
    // and a translation can give each language its own plural forms.
    static const Unit units[] = {{86400, QT_TRANSLATE_NOOP("DateFormat", "%1 day"),
                                  QT_TRANSLATE_NOOP("DateFormat", "%1 days")},
                                 {3600, QT_TRANSLATE_NOOP("DateFormat", "%1 hour"),
                                  QT_TRANSLATE_NOOP("DateFormat", "%1 hours")},
                                 {60, QT_TRANSLATE_NOOP("DateFormat", "%1 minute"),
                                  QT_TRANSLATE_NOOP("DateFormat", "%1 minutes")},
                                 {1, QT_TRANSLATE_NOOP("DateFormat", "%1 second"),
                                  QT_TRANSLATE_NOOP("DateFormat", "%1 seconds")}};
    const qint64 value = std::max<qint64>(seconds, 0);
    for (const Unit& unit : units)
        if (value >= unit.length || unit.length == 1) {
            const qint64 count = value / unit.length;
            const char* text = count == 1 ? unit.one : unit.many;
            return QCoreApplication::translate("DateFormat", text).arg(locale.toString(count));
        }
    return QString();
}

} // namespace DateFormat
