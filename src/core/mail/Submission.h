#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <utility>

// When a held submission goes out: after a number of seconds, or at a moment.
struct Release
{
    enum class Kind
    {
        after,
        at
    };

    static Release after(qint64 seconds) { return Release{Kind::after, seconds, {}}; }
    static Release at(const QDateTime& date) { return Release{Kind::at, 0, date}; }

    Kind kind = Kind::after;
    qint64 seconds = 0;
    QDateTime date;

    bool operator==(const Release&) const = default;

    // The SMTP envelope parameter: HOLDFOR=<seconds> or HOLDUNTIL=<UTC instant>.
    std::pair<QString, QString> parameter() const;
    // Seconds from `from` until release; a moment is rounded up to a whole second.
    qint64 delay(const QDateTime& from) const;
};

// The SMTP envelope of a held submission.
struct Envelope
{
    QString from;
    QStringList to;
    Release release;

    bool operator==(const Envelope&) const = default;

    QJsonObject toJson() const;
};

// A submission the server still holds.
struct PendingSubmission
{
    static constexpr const char* jsonTypeName = "PendingSubmission";

    QString id;
    QString emailId;
    QDateTime sendAt;

    bool operator==(const PendingSubmission&) const = default;

    static PendingSubmission fromJson(const QJsonObject& object);
};
