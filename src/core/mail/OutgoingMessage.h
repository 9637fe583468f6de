#pragma once

#include "EmailAddress.h"
#include "jmap/Identity.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// An attachment already uploaded as a blob.
struct OutgoingAttachment
{
    QString blobId;
    QString name;
    QString type;

    bool operator==(const OutgoingAttachment&) const = default;
};

// Everything needed to store or send a message. The server builds the MIME message from it.
struct OutgoingMessage
{
    // An iCalendar body and its METHOD, for invitation replies.
    struct Calendar
    {
        QString text;
        QString method;
        bool operator==(const Calendar&) const = default;
    };

    Identity identity;
    QList<EmailAddress> to;
    QList<EmailAddress> cc;
    QList<EmailAddress> bcc;
    QString subject;
    // Always present, also for Markdown mail.
    QString textBody;
    std::optional<QString> htmlBody;
    std::optional<QStringList> inReplyTo;
    std::optional<QStringList> references;
    // Marked as answered when this message goes out.
    std::optional<QString> answeredEmailId;
    QList<OutgoingAttachment> attachments;
    std::optional<Calendar> calendar;

    bool operator==(const OutgoingMessage&) const = default;
};
