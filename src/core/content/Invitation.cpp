#include "Invitation.h"
#include "TextTrim.h"

#include "CalendarTime.h"

#include <QTextBoundaryFinder>

namespace ParticipationStatuses {

QString value(ParticipationStatus status)
{
    switch (status) {
    case ParticipationStatus::Accepted:
        return QStringLiteral("ACCEPTED");
    case ParticipationStatus::Tentative:
        return QStringLiteral("TENTATIVE");
    case ParticipationStatus::Declined:
        return QStringLiteral("DECLINED");
    case ParticipationStatus::NeedsAction:
        return QStringLiteral("NEEDS-ACTION");
    }
    return QString();
}

QString title(ParticipationStatus status)
{
    switch (status) {
    case ParticipationStatus::Accepted:
        return QStringLiteral("Accept");
    case ParticipationStatus::Tentative:
        return QStringLiteral("Maybe");
    case ParticipationStatus::Declined:
        return QStringLiteral("Decline");
    case ParticipationStatus::NeedsAction:
        return QStringLiteral("No Answer");
    }
    return QString();
}

QString pastTense(ParticipationStatus status)
{
    switch (status) {
    case ParticipationStatus::Accepted:
        return QStringLiteral("Accepted");
    case ParticipationStatus::Tentative:
        return QStringLiteral("Tentatively Accepted");
    case ParticipationStatus::Declined:
        return QStringLiteral("Declined");
    case ParticipationStatus::NeedsAction:
        return QStringLiteral("Not Answered");
    }
    return QString();
}

std::optional<ParticipationStatus> fromValue(const QString& text)
{
    const QString upper = text.toUpper();
    for (const ParticipationStatus status : all()) {
        if (value(status) == upper)
            return status;
    }
    return std::nullopt;
}

QList<ParticipationStatus> all()
{
    return {ParticipationStatus::Accepted, ParticipationStatus::Tentative,
            ParticipationStatus::Declined, ParticipationStatus::NeedsAction};
}

QList<ParticipationStatus> answers()
{
    return {ParticipationStatus::Accepted, ParticipationStatus::Tentative,
            ParticipationStatus::Declined};
}

} // namespace ParticipationStatuses

namespace {

const QString vcalendar = QStringLiteral("VCALENDAR");
const QString vevent = QStringLiteral("VEVENT");
const QString vtimezone = QStringLiteral("VTIMEZONE");

// The number written by `count` ASCII digits at `position`, or -1.
int digits(const QString& text, qsizetype position, qsizetype count)
{
    if (position + count > text.size())
        return -1;
    int number = 0;
    for (qsizetype index = position; index < position + count; ++index) {
        const QChar c = text[index];
        if (c < u'0' || c > u'9')
            return -1;
        number = number * 10 + (c.unicode() - u'0');
    }
    return number;
}

// "yyyyMMdd", exactly.
QDate readDate(const QString& text)
{
    if (text.size() < 8)
        return QDate();
    const int year = digits(text, 0, 4);
    const int month = digits(text, 4, 2);
    const int day = digits(text, 6, 2);
    if (year < 0 || month < 0 || day < 0)
        return QDate();
    return QDate(year, month, day);
}

// "yyyyMMdd'T'HHmmss", exactly.
std::optional<std::pair<QDate, QTime>> readDateTime(const QString& text)
{
    if (text.size() != 15 || text[8] != u'T')
        return std::nullopt;
    const QDate date = readDate(text);
    const int hour = digits(text, 9, 2);
    const int minute = digits(text, 11, 2);
    const int second = digits(text, 13, 2);
    if (!date.isValid() || hour < 0 || minute < 0 || second < 0)
        return std::nullopt;
    const QTime time(hour, minute, second);
    if (!time.isValid())
        return std::nullopt;
    return std::make_pair(date, time);
}

std::optional<EmailAddress> addressOf(const Invitation::Property& property)
{
    static const QString scheme = QStringLiteral("mailto:");
    if (!property.value.toLower().startsWith(scheme))
        return std::nullopt;
    EmailAddress address;
    address.email = property.value.mid(scheme.size());
    const QString commonName = property.parameters.value(QStringLiteral("CN"));
    if (!commonName.isEmpty())
        address.name = Invitation::unescape(commonName);
    return address;
}

void readEventLine(Invitation& invitation, const Invitation::Property& property,
                   const QString& line, const QTimeZone& systemTimeZone)
{
    const QString& name = property.name;
    if (name == QLatin1String("UID")) {
        invitation.uid = property.value;
    } else if (name == QLatin1String("SUMMARY")) {
        invitation.summary = Invitation::unescape(property.value);
    } else if (name == QLatin1String("LOCATION")) {
        invitation.location = Invitation::unescape(property.value);
        return;
    } else if (name == QLatin1String("DTSTART")) {
        invitation.start = Invitation::date(property, systemTimeZone);
        invitation.isAllDay =
            property.parameters.value(QStringLiteral("VALUE")).toUpper() == QLatin1String("DATE");
    } else if (name == QLatin1String("DTEND")) {
        invitation.end = Invitation::date(property, systemTimeZone);
    } else if (name == QLatin1String("DURATION") || name == QLatin1String("SEQUENCE") ||
               name == QLatin1String("RECURRENCE-ID")) {
        // Kept for the reply only.
    } else if (name == QLatin1String("ORGANIZER")) {
        invitation.organizer = addressOf(property);
    } else if (name == QLatin1String("ATTENDEE")) {
        if (const auto address = addressOf(property)) {
            const auto status = ParticipationStatuses::fromValue(
                property.parameters.value(QStringLiteral("PARTSTAT")));
            invitation.attendees.append(
                {*address, status.value_or(ParticipationStatus::NeedsAction)});
        }
        return;
    } else {
        return;
    }
    invitation.replyLines.append(line);
}

// C0 and C1 controls and DEL, but the tab, which a content line may hold.
bool isControl(QChar c)
{
    return c != u'\t' && (c.unicode() < 0x20 || (c.unicode() >= 0x7f && c.unicode() < 0xa0));
}

// A line of the reply without anything a reader might take for the end of a line. The lines
// repeated from the invitation cannot hold CR or LF, but may hold other controls and the
// Unicode separators, which no content line may carry.
QString withoutLineBreaks(const QString& line)
{
    QString result = line;
    result.removeIf([](QChar c) {
        return isControl(c) || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
    });
    return result;
}

// The text as a parameter value, to be quoted by the caller.
QString parameterText(const QString& text)
{
    // A name comes from the invitation's own CN, unescaped: a line break in it would end the
    // attendee's line and let the organizer write lines of their choosing into the answer.
    QString result;
    result.reserve(text.size());
    for (const QChar c : text) {
        if (c == u'\n' || c == u'\r' || c == u'\t' || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            result.append(u' ');
        else if (c != u'"' && !isControl(c))
            result.append(c);
    }
    return result;
}

// The text as part of a URI value.
QString uriText(const QString& text)
{
    // A calendar address is a URI, whose text has no escapes of the \; kind: what a URI
    // cannot hold as it stands is percent-encoded.
    QString result;
    result.reserve(text.size());
    for (const QChar c : text) {
        if (c.unicode() <= 0x20 || c == u'"' || isControl(c) || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator) {
            for (const char byte : QString(c).toUtf8())
                result += u'%' + QString::number(uchar(byte), 16).rightJustified(2, u'0').toUpper();
        } else {
            result.append(c);
        }
    }
    return result;
}

} // namespace

bool Invitation::isCanceled() const
{
    return method == QLatin1String("CANCEL");
}

Invitation::Property Invitation::Property::parse(const QString& line)
{
    Property property;
    QStringList pieces;
    QString current;
    bool inQuotes = false;
    bool hasValue = false;
    for (qsizetype index = 0; index < line.size(); ++index) {
        const QChar c = line[index];
        if (c == u'"') {
            inQuotes = !inQuotes;
        } else if (inQuotes) {
            current.append(c);
        } else if (c == u';') {
            pieces.append(current);
            current.clear();
        } else if (c == u':') {
            pieces.append(current);
            property.value = line.mid(index + 1);
            hasValue = true;
            break;
        } else {
            current.append(c);
        }
    }
    if (!hasValue)
        pieces.append(current);

    property.name = pieces.first().toUpper();
    for (qsizetype index = 1; index < pieces.size(); ++index) {
        const QString& piece = pieces[index];
        const qsizetype equals = piece.indexOf(u'=');
        if (equals <= 0 || equals == piece.size() - 1)
            continue;
        property.parameters.insert(piece.left(equals).toUpper(), piece.mid(equals + 1));
    }
    return property;
}

std::optional<Invitation> Invitation::parse(const QString& text, const QTimeZone& systemTimeZone)
{
    Invitation invitation;
    QStringList stack;
    // How many VTIMEZONE entries the stack holds: asking the stack itself on every line takes
    // seconds on a hostile part of a hundred thousand nested BEGIN lines.
    qsizetype openTimeZones = 0;
    bool eventSeen = false;
    bool eventEnded = false;
    for (const QString& line : unfold(text)) {
        const Property property = Property::parse(line);
        if (property.name == QLatin1String("BEGIN")) {
            stack.append(property.value.toUpper());
            if (stack.last() == vtimezone)
                ++openTimeZones;
        }

        if (openTimeZones > 0) {
            invitation.timeZoneLines.append(line);
        } else if (stack.size() == 1 && stack.first() == vcalendar &&
                   property.name == QLatin1String("METHOD")) {
            invitation.method = property.value.toUpper();
        } else if (stack.size() == 2 && stack[0] == vcalendar && stack[1] == vevent &&
                   !eventEnded) {
            readEventLine(invitation, property, line, systemTimeZone);
            eventSeen = true;
        }

        if (property.name == QLatin1String("END") && !stack.isEmpty()) {
            if (stack.last() == vevent)
                eventEnded = true;
            if (stack.last() == vtimezone)
                --openTimeZones;
            stack.removeLast();
        }
    }
    if (!eventSeen || invitation.uid.isEmpty())
        return std::nullopt;
    return invitation;
}

std::optional<QDateTime> Invitation::date(const Property& property, const QTimeZone& systemTimeZone)
{
    const QString value = TextTrim::trimmed(property.value, TextTrim::isBlankOrTab);
    if (property.parameters.value(QStringLiteral("VALUE")).toUpper() == QLatin1String("DATE") ||
        value.size() == 8) {
        if (value.size() != 8)
            return std::nullopt;
        const QDate day = readDate(value);
        if (!day.isValid())
            return std::nullopt;
        return CalendarTime::at(day, QTime(0, 0), systemTimeZone);
    }
    if (value.endsWith(u'Z')) {
        const auto parts = readDateTime(value.chopped(1));
        if (!parts)
            return std::nullopt;
        return QDateTime(parts->first, parts->second, QTimeZone::utc());
    }
    const auto parts = readDateTime(value);
    if (!parts)
        return std::nullopt;
    QString zoneId = property.parameters.value(QStringLiteral("TZID"));
    while (zoneId.startsWith(u'"'))
        zoneId.remove(0, 1);
    while (zoneId.endsWith(u'"'))
        zoneId.chop(1);
    QTimeZone zone = systemTimeZone;
    if (!zoneId.isEmpty() && QTimeZone::isTimeZoneIdAvailable(zoneId.toUtf8()))
        zone = QTimeZone(zoneId.toUtf8());
    return CalendarTime::at(parts->first, parts->second, zone);
}

std::optional<Invitation::Attendee> Invitation::attendee(const QSet<QString>& among) const
{
    for (const Attendee& candidate : attendees) {
        if (among.contains(candidate.address.email.toLower()))
            return candidate;
    }
    return std::nullopt;
}

QString Invitation::reply(ParticipationStatus status, const EmailAddress& address,
                          const QDateTime& now) const
{
    QStringList lines{QStringLiteral("BEGIN:VCALENDAR"), QStringLiteral("VERSION:2.0"),
                      QStringLiteral("PRODID:-//Veldrin//EN"), QStringLiteral("METHOD:REPLY")};
    lines.append(timeZoneLines);
    lines.append(QStringLiteral("BEGIN:VEVENT"));
    lines.append(replyLines);
    lines.append(QStringLiteral("DTSTAMP:") +
                 now.toUTC().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'")));

    // The name is always quoted, which a value holding ":", ";" or "," needs anyway.
    QString namePart;
    if (address.name) {
        const QString name = parameterText(*address.name);
        if (!name.isEmpty())
            namePart = QStringLiteral(";CN=\"") + name + u'"';
    }
    lines.append(QStringLiteral("ATTENDEE;PARTSTAT=") + ParticipationStatuses::value(status) +
                 namePart + QStringLiteral(":mailto:") + uriText(address.email));
    lines.append(QStringLiteral("END:VEVENT"));
    lines.append(QStringLiteral("END:VCALENDAR"));

    QString text;
    for (const QString& line : std::as_const(lines)) {
        text += fold(withoutLineBreaks(line));
        text += QLatin1String("\r\n");
    }
    return text;
}

QStringList Invitation::unfold(const QString& text)
{
    QString normalised = text;
    normalised.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    normalised.replace(u'\r', u'\n');
    QStringList lines;
    for (const QString& line : normalised.split(u'\n', Qt::SkipEmptyParts)) {
        if ((line.startsWith(u' ') || line.startsWith(u'\t')) && !lines.isEmpty())
            lines.last().append(QStringView(line).mid(1));
        else
            lines.append(line);
    }
    return lines;
}

QString Invitation::fold(const QString& line)
{
    QString result;
    QString piece;
    qsizetype pieceBytes = 0;
    qsizetype limit = 75;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, line);
    qsizetype start = 0;
    while (start < line.size()) {
        qsizetype next = finder.toNextBoundary();
        if (next <= start)
            next = line.size();
        const QStringView character = QStringView(line).mid(start, next - start);
        const qsizetype bytes = character.toUtf8().size();
        if (pieceBytes + bytes > limit && !piece.isEmpty()) {
            result += piece;
            result += QLatin1String("\r\n ");
            piece.clear();
            pieceBytes = 0;
            limit = 74;
        }
        piece += character;
        pieceBytes += bytes;
        start = next;
    }
    result += piece;
    return result;
}

QString Invitation::unescape(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar c = text[index];
        if (c != u'\\') {
            result.append(c);
            continue;
        }
        if (++index >= text.size())
            break;
        const QChar escaped = text[index];
        result.append(escaped == u'n' || escaped == u'N' ? QChar(u'\n') : escaped);
    }
    return result;
}
