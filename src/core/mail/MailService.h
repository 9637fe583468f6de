#pragma once

#include "Email.h"
#include "EmailAddress.h"
#include "MailThread.h"
#include "OutgoingMessage.h"
#include "Submission.h"
#include "jmap/Identity.h"
#include "jmap/JMAPClient.h"
#include "jmap/Mailbox.h"

#include <QCoroTask>

#include <QDateTime>
#include <QJsonObject>
#include <QMap>
#include <QTimeZone>

#include <memory>
#include <optional>

// Builds the JMAP mail batches; every read and write of mail goes through here.
// Callers hold the service in a shared_ptr and keep it alive across their awaits.
class MailService
{
public:
    explicit MailService(std::shared_ptr<JMAPClient> client) : m_client(std::move(client)) {}

    const std::shared_ptr<JMAPClient>& client() const { return m_client; }

    // All mailboxes, in the server's order.
    QCoro::Task<QList<Mailbox>> mailboxes();
    // The identities the account may send from, without wildcard ones.
    QCoro::Task<QList<Identity>> identities();

    // Reads: each is one batch, one round trip, its calls tied by result references.

    // A page of the thread list, newest first: the threads of the matching emails with all
    // their messages in summary form, and the size of the whole result. The search text is
    // read in the given time zone.
    QCoro::Task<ThreadPage> threads(QString inMailbox, QString search, QList<Mailbox> mailboxes,
                                    qint64 position, qint64 limit,
                                    QTimeZone timeZone = QTimeZone::systemTimeZone());
    // The full messages (with body values) of one thread; empty for an unknown thread.
    QCoro::Task<QList<Email>> thread(QString id);
    // The full messages of several threads by thread id; unknown threads have no entry.
    QCoro::Task<QMap<QString, QList<Email>>> threads(QStringList ids);
    // Unread mail received since a moment, newest first, in summary form.
    QCoro::Task<QList<Email>> unreadEmails(QString inMailbox, QDateTime since, qint64 limit);
    // The to, cc and bcc of the newest mail of a mailbox, duplicates kept, for counting.
    QCoro::Task<QList<EmailAddress>> recipients(QString inMailbox, qint64 limit);

    // Changes: one Email/set each; a refused record fails the operation.

    // Patches by email id; a JSON null value removes the path.
    QCoro::Task<> update(QMap<QString, QJsonObject> patches);
    // With `from`, swaps that one membership; without, the emails end up in `to` alone.
    QCoro::Task<> move(QList<Email> emails, std::optional<QString> from, QString to);
    QCoro::Task<> setKeyword(QString keyword, bool on, QStringList emailIds);
    // Marks every unread email of a mailbox read, in rounds of `batchSize`; gives the ids.
    QCoro::Task<QStringList> markAllRead(QString inMailbox, qint64 batchSize);
    // Deletes for good.
    QCoro::Task<> destroy(QStringList emailIds);

    // Drafts and submission.

    // Stores a message in Drafts (replacing an earlier draft atomically) and gives its id.
    QCoro::Task<QString> saveDraft(OutgoingMessage message, QString draftsId,
                                   std::optional<QString> replacing);
    // Stores a message with a calendar in Drafts with the METHOD on its calendar part; a server
    // that refuses to write that header is given the whole MIME message to import instead.
    QCoro::Task<QString> saveCalendarDraft(OutgoingMessage message, QString draftsId);
    // Submits a stored draft and gives the submission id. On success the server drops the
    // draft keyword and, with a sent mailbox, files it there; an envelope holds the delivery.
    QCoro::Task<QString> submit(QString emailId, QString identityId, QString draftsId,
                                std::optional<QString> sentId,
                                std::optional<QString> answeredEmailId,
                                std::optional<Envelope> envelope);
    // Stores and submits at once, without a hold.
    QCoro::Task<> send(OutgoingMessage message, QString draftsId, std::optional<QString> sentId);
    // Cancels a held submission and makes its email a draft in Drafts again.
    QCoro::Task<> cancelSubmission(QString id, QString emailId, QString draftsId,
                                   std::optional<QString> sentId);
    // The held submissions of these emails.
    QCoro::Task<QList<PendingSubmission>> pendingSubmissions(QStringList emailIds);

    // The Email object of a draft to create. `calendarMethod` writes the calendar part's raw
    // Content-Type header with its METHOD; without it the part is plain text/calendar.
    static QJsonObject draft(const OutgoingMessage& message, const QString& draftsId,
                             bool calendarMethod);

    // A "/set" response reports refused records in its body: throws JMAPError::method for the
    // refusal under `key` ("notCreated", "notUpdated", "notDestroyed"), for the record `only`
    // when given, else for the first one in map order.
    static void throwSetError(const QJsonObject& arguments, const QString& key,
                              const std::optional<QString>& only = std::nullopt);

private:
    QCoro::Task<QString> createDraft(OutgoingMessage message, QString draftsId,
                                     std::optional<QString> replacing, bool calendarMethod);

    std::shared_ptr<JMAPClient> m_client;
};
