#include "JMAPDecoding.h"

#include <QRegularExpression>
#include <QTimeZone>

namespace JMAPDecoding {

std::optional<QDateTime> parseDate(const QString& text)
{
    // Date "-", date-time "T", time ":", the offset "Z", "+hh:mm" or "+hhmm", optional fraction.
    static const QRegularExpression pattern(QStringLiteral(
        R"(^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2}):(\d{2})(?:\.(\d+))?(?:(Z)|([+-])(\d{2}):?(\d{2}))$)"));
    const auto match = pattern.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const QDate date(match.capturedView(1).toInt(), match.capturedView(2).toInt(),
                     match.capturedView(3).toInt());
    const int hour = match.capturedView(4).toInt();
    const int minute = match.capturedView(5).toInt();
    int second = match.capturedView(6).toInt();
    if (second == 60) // a leap second reads as the last second of its minute
        second = 59;
    int milliseconds = 0;
    if (match.hasCaptured(7)) {
        const QString fraction = (match.captured(7) + QStringLiteral("00")).left(3);
        milliseconds = fraction.toInt();
    }
    const QTime time(hour, minute, second, milliseconds);
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    int offsetSeconds = 0;
    if (!match.hasCaptured(8)) {
        const int offsetHours = match.capturedView(10).toInt();
        const int offsetMinutes = match.capturedView(11).toInt();
        if (offsetHours > 23 || offsetMinutes > 59)
            return std::nullopt;
        offsetSeconds =
            (offsetHours * 3600 + offsetMinutes * 60) * (match.capturedView(9) == u'-' ? -1 : 1);
    }
    QDateTime result(date, time, Qt::UTC);
    result = result.addSecs(-offsetSeconds);
    return result;
}

QString formatDate(const QDateTime& date)
{
    return date.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")) + u'Z';
}

} // namespace JMAPDecoding
