#pragma once

#include "FakeNetwork.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QSet>
#include <QStringList>

// A small mail account behind a FakeNetwork: it answers the list, thread and keyword calls from
// the emails it holds, following the batches' result references the way a server does, so that
// tests of the state read like a user's session instead of hand-made responses.
class FakeMailServer
{
public:
    explicit FakeMailServer(FakeNetwork& network);
    // (Re)installs the answers on the network, after a test replaced some of them.
    void serve();

    // The mailboxes served by Mailbox/get: "in" (inbox), "arch" (archive), "sent" (sent).
    QJsonArray mailboxes;
    // Full Email objects; the newest receivedAt comes first in the list.
    QList<QJsonObject> emails;
    // Email/set answers these ids with notUpdated and leaves them as they are.
    QSet<QString> refusing;
    // Identity objects served by Identity/get.
    QJsonArray identities;
    // While set, Email/set refuses to create (a draft save fails with this description).
    QString refusingCreate;
    // While set, EmailSubmission/set refuses to create, or to cancel, with this description.
    QString refusingSubmission;
    QString refusingCancel;
    // Submissions created, with "id", "emailId", "identityId", "undoStatus" and the envelope.
    QList<QJsonObject> submissions;

    // An Identity object for `identities`.
    static QJsonObject identity(const QString& id, const QString& email,
                                const QString& textSignature = {});

    // A Mailbox object with empty counts, for adding to `mailboxes`.
    static QJsonObject mailbox(const QString& id, const QString& name, const QString& role,
                               int sortOrder);

    // An email in one mailbox, received `minutesAgo` before a fixed moment; its Message-ID is
    // "<id@example.com>", its subject "Subject <threadId>".
    static QJsonObject email(const QString& id, const QString& threadId, const QString& mailbox,
                             int minutesAgo, bool seen = true);
    void add(const QJsonObject& email) { emails.append(email); }
    // Adds `count` threads of one email each: ids t<n>/e<n>, the newest (n = 1) first.
    void addThreads(int count, const QString& mailbox = QStringLiteral("in"));
    QJsonObject* find(const QString& id);

    // The batches that asked for these methods, in order.
    QList<RecordedRequest> batchesWith(const QString& firstMethod) const;

private:
    QJsonObject query(const QJsonObject& arguments);
    QJsonObject getEmails(const QJsonObject& arguments);
    QJsonObject getThreads(const QJsonObject& arguments);
    QJsonObject setEmails(const QJsonObject& arguments);
    QJsonObject setSubmissions(const QJsonObject& arguments);
    void patch(QJsonObject& target, const QJsonObject& changes);

    FakeNetwork& m_network;
    QStringList m_queryIds;
    QStringList m_anchorThreadIds;
    QStringList m_threadEmailIds;
    QStringList m_submissionQueryIds;
    int m_created = 0;
};
