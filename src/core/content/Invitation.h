#pragma once

#include "mail/EmailAddress.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimeZone>

#include <optional>

// An attendee's answer to an invitation, with its iCalendar value.
enum class ParticipationStatus
{
    Accepted,
    Tentative,
    Declined,
    NeedsAction,
};

namespace ParticipationStatuses {
// "ACCEPTED", "TENTATIVE", "DECLINED", "NEEDS-ACTION".
QString value(ParticipationStatus status);
// The button: "Accept", "Maybe", "Decline", "No Answer".
QString title(ParticipationStatus status);
// The state: "Accepted", "Tentatively Accepted", "Declined", "Not Answered".
QString pastTense(ParticipationStatus status);
// The status of a PARTSTAT value, in any case; absent for unknown values.
std::optional<ParticipationStatus> fromValue(const QString& value);
// Every status, in the order above.
QList<ParticipationStatus> all();
// What the user can answer: accepted, tentative, declined.
QList<ParticipationStatus> answers();
} // namespace ParticipationStatuses

// The first event of an iCalendar part, read far enough to show it and to answer it. What a
// reply repeats is kept as the lines that came in, so that it says what the organizer wrote.
struct Invitation
{
    struct Attendee
    {
        EmailAddress address;
        ParticipationStatus status = ParticipationStatus::NeedsAction;

        bool operator==(const Attendee&) const = default;
    };

    // One content line taken apart: NAME;PARAM=value;...:value.
    struct Property
    {
        QString name;
        QMap<QString, QString> parameters;
        QString value;

        bool operator==(const Property&) const = default;

        static Property parse(const QString& line);
    };

    std::optional<QString> method;
    QString uid;
    std::optional<QString> summary;
    std::optional<QString> location;
    std::optional<QDateTime> start;
    std::optional<QDateTime> end;
    bool isAllDay = false;
    std::optional<EmailAddress> organizer;
    QList<Attendee> attendees;
    QStringList replyLines;
    QStringList timeZoneLines;

    bool operator==(const Invitation&) const = default;

    bool isCanceled() const;

    // Absent unless the text holds a first event with a non-empty UID. Floating and all-day
    // times, and zones that are not known by their TZID, are read in `systemTimeZone`.
    static std::optional<Invitation>
    parse(const QString& text, const QTimeZone& systemTimeZone = QTimeZone::systemTimeZone());
    static std::optional<QDateTime>
    date(const Property& property, const QTimeZone& systemTimeZone = QTimeZone::systemTimeZone());

    // The first attendee whose address, lower-cased, is in `among` (lower-cased addresses).
    std::optional<Attendee> attendee(const QSet<QString>& among) const;
    // The METHOD:REPLY document that answers this event as `address`, stamped `now`. Whatever
    // the name and address hold, each stays within the one ATTENDEE line.
    QString reply(ParticipationStatus status, const EmailAddress& address,
                  const QDateTime& now) const;

    // Content lines with continuation lines joined and empty lines dropped.
    static QStringList unfold(const QString& text);
    // One line cut at 75 UTF-8 bytes, then 74, never inside a character.
    static QString fold(const QString& line);
    static QString unescape(const QString& text);
};
