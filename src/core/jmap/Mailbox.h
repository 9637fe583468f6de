#pragma once

#include <QHash>
#include <QJsonObject>
#include <QString>

#include <optional>

// A JMAP Mailbox. The tree operations over lists of mailboxes live in MailboxTree.
struct Mailbox
{
    static constexpr const char* jsonTypeName = "Mailbox";

    QString id;
    QString name;
    std::optional<QString> parentId;
    std::optional<QString> role;
    qint64 sortOrder = 0;
    qint64 totalEmails = 0;
    qint64 unreadEmails = 0;
    qint64 totalThreads = 0;
    qint64 unreadThreads = 0;

    bool operator==(const Mailbox&) const = default;

    static Mailbox fromJson(const QJsonObject& object);
    QJsonObject toJson() const;
};

size_t qHash(const Mailbox& mailbox, size_t seed = 0);
