#pragma once

#include "EmailAddress.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

// A JMAP EmailBodyPart, as far as Veldrin reads it.
struct BodyPart
{
    static constexpr const char* jsonTypeName = "BodyPart";

    std::optional<QString> partId;
    std::optional<QString> blobId;
    std::optional<qint64> size;
    std::optional<QString> name;
    QString type;
    std::optional<QString> cid;
    std::optional<QString> disposition;

    bool operator==(const BodyPart&) const = default;

    static BodyPart fromJson(const QJsonObject& object);
    QJsonObject toJson() const;
};

// A JMAP EmailBodyValue; its flags are not read.
struct BodyValue
{
    static constexpr const char* jsonTypeName = "BodyValue";

    QString value;

    bool operator==(const BodyValue&) const = default;

    static BodyValue fromJson(const QJsonObject& object);
    QJsonObject toJson() const;
};

// A JMAP Email. One record serves both the light list fetch and the full thread fetch: every
// property that a fetch may leave out is optional.
struct Email
{
    static constexpr const char* jsonTypeName = "Email";

    // The properties of a list row, and of an opened message, in request order.
    static const QStringList summaryProperties;
    static const QStringList detailProperties;

    QString id;
    QString threadId;
    std::optional<QString> blobId;
    QMap<QString, bool> mailboxIds;
    QMap<QString, bool> keywords;
    std::optional<QList<EmailAddress>> from;
    std::optional<QList<EmailAddress>> to;
    std::optional<QList<EmailAddress>> cc;
    std::optional<QList<EmailAddress>> bcc;
    std::optional<QList<EmailAddress>> replyTo;
    std::optional<QString> subject;
    QDateTime receivedAt;
    std::optional<qint64> size;
    std::optional<QString> preview;
    std::optional<bool> hasAttachment;
    std::optional<QStringList> messageId;
    std::optional<QStringList> inReplyTo;
    std::optional<QStringList> references;
    std::optional<QMap<QString, BodyValue>> bodyValues;
    std::optional<QList<BodyPart>> textBody;
    std::optional<QList<BodyPart>> htmlBody;
    std::optional<QList<BodyPart>> attachments;
    // "header:List-Unsubscribe:asURLs" and "header:List-Unsubscribe-Post:asText".
    std::optional<QStringList> listUnsubscribe;
    std::optional<QString> listUnsubscribePost;

    bool operator==(const Email&) const = default;

    static Email fromJson(const QJsonObject& object);
    QJsonObject toJson() const;

    // The stored keyword booleans; a missing keyword or one stored as false is not set.
    bool isSeen() const;
    bool isFlagged() const;
    bool isDraft() const;
    // The first sender's name if it has one, else its address; "(unknown sender)" without one.
    QString senderName() const;
    // The attachments without the inline parts that the text embeds by content id.
    QList<BodyPart> listedAttachments() const;
    // The first attachment of type "text/calendar" or "application/ics".
    std::optional<BodyPart> calendarPart() const;
    // Every attachment with a content id, by that id; a later part wins a repeated id.
    QMap<QString, BodyPart> inlineParts() const;
};

// One Email per Message-ID, in the order of first appearance. With a mailbox given, a copy in
// that mailbox takes the place of an earlier copy that is not in it. Messages without a
// Message-ID are never merged.
QList<Email> uniqueMessages(const QList<Email>& emails,
                            const std::optional<QString>& preferring = std::nullopt);
