#pragma once

#include "Email.h"

#include <QList>
#include <QString>

// One row of the thread list: the emails of a server thread, in the thread's order.
struct MailThread
{
    QString id;
    // Never empty when built by MailService.
    QList<Email> emails;
    // The email that brought the thread into the list.
    QString anchorId;

    bool operator==(const MailThread&) const = default;

    // The email with anchorId, else the last email (it may have moved away meanwhile). A thread
    // without emails answers an empty record rather than failing.
    const Email& anchor() const;
    // The anchor's subject, or "(no subject)".
    QString subject() const;
    // Copies of one message (same Message-ID) count once.
    qsizetype messageCount() const;
    // Some email is neither seen nor a draft.
    bool isUnread() const;
    bool isFlagged() const;
    bool hasAttachment() const;
    // The distinct first senders in thread order, or "(unknown sender)".
    QString participants() const;
};

// One page of the thread list, and the size of the whole result.
struct ThreadPage
{
    QList<MailThread> threads;
    qint64 total = 0;

    bool operator==(const ThreadPage&) const = default;
};
