// The mail service against a real JMAP server (Cyrus on loopback, started by
// tests/integration/harness/with-cyrus.sh). Each test seeds its own mail through JMAP with
// receivedAt dates in the future, so that it is the newest mail of its mailbox and the test
// needs nothing of the harness's seed but the account and its role mailboxes.

#include "AsyncTest.h"
#include "EmailIds.h"
#include "ServerMail.h"
#include "jmap/JMAPClient.h"
#include "jmap/JMAPDecoding.h"
#include "jmap/JMAPPushStream.h"
#include "mail/MailService.h"

#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QTest>
#include <QUuid>

using namespace AsyncTest;

namespace {

struct Seed
{
    QString from = QStringLiteral("Anna Berg <anna@example.com>");
    QString to = QStringLiteral("test@example.com");
    QString cc;
    QString subject;
    QString messageId;
    QString inReplyTo;
    QString body = QStringLiteral("Hello from the test.");
    // A full MIME body (with its Content-Type header first) replaces the plain text body.
    QString mime;
    QString extraHeaders;
};

QByteArray rfc822(const Seed& seed)
{
    QString text = QStringLiteral("From: %1\nTo: %2\n").arg(seed.from, seed.to);
    if (!seed.cc.isEmpty())
        text += QStringLiteral("Cc: %1\n").arg(seed.cc);
    text += QStringLiteral("Subject: %1\nDate: Mon, 1 Jan 2035 10:00:00 +0000\nMessage-ID: <%2>\n")
                .arg(seed.subject, seed.messageId);
    if (!seed.inReplyTo.isEmpty())
        text += QStringLiteral("In-Reply-To: <%1>\nReferences: <%1>\n").arg(seed.inReplyTo);
    text += seed.extraHeaders;
    text += QStringLiteral("MIME-Version: 1.0\n");
    if (seed.mime.isEmpty())
        text += QStringLiteral("Content-Type: text/plain; charset=utf-8\n\n") + seed.body + u'\n';
    else
        text += seed.mime;
    text.replace(QStringLiteral("\n"), QStringLiteral("\r\n"));
    return text.toUtf8();
}

QJsonValue keyword(const QJsonObject& email, const char* name)
{
    return email.value("keywords").toObject().value(QLatin1String(name));
}

} // namespace

class TestMailCyrus : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        const QString sessionUrl = qEnvironmentVariable("VELDRIN_TEST_SESSION_URL");
        if (sessionUrl.isEmpty())
            QSKIP("VELDRIN_TEST_SESSION_URL is not set: run through "
                  "tests/integration/harness/with-cyrus.sh");
        m_client = std::make_shared<JMAPClient>(
            QUrl(sessionUrl), qEnvironmentVariable("VELDRIN_TEST_TOKEN"), &m_network);
        m_service = std::make_unique<MailService>(m_client);
        m_mailboxes = await(m_service->mailboxes());
        const QList<Identity> identities = await(m_service->identities());
        QVERIFY(!identities.isEmpty());
        m_identity = identities.first();
        for (const char* name : {"inbox", "drafts", "sent", "archive", "junk", "trash"})
            QVERIFY2(!role(QLatin1String(name)).isEmpty(), name);
        // Runs against a reused server still sort after earlier runs.
        m_base = QDateTime::currentSecsSinceEpoch() % 100000 * 600;
    }

    void pageOfThreads()
    {
        const QString inbox = role("inbox");
        const QString t = tag();
        Seed first;
        first.subject = "Planning " + t;
        first.messageId = "p1-" + t + "@example.com";
        Seed reply = first;
        reply.subject = "Re: Planning " + t;
        reply.messageId = "p2-" + t + "@example.com";
        reply.inReplyTo = first.messageId;
        reply.from = "Bo <bo@example.com>";
        Seed single;
        single.subject = "Single " + t;
        single.messageId = "s1-" + t + "@example.com";
        const QString firstId = seed(first, inbox, {{"$seen", true}}, nextMoment());
        const QString replyId = seed(reply, inbox, {}, nextMoment());
        const QString singleId = seed(single, inbox, {{"$seen", true}}, nextMoment());

        const ThreadPage page = await(m_service->threads(inbox, "", m_mailboxes, 0, 2));
        QCOMPARE(page.threads.size(), 2);
        QCOMPARE(page.threads[0].anchorId, singleId);
        QCOMPARE(page.threads[0].messageCount(), 1);
        QVERIFY(!page.threads[0].isUnread());
        // The two messages collapse into one row, anchored at the newer one.
        const MailThread& conversation = page.threads[1];
        QCOMPARE(conversation.anchorId, replyId);
        QCOMPARE(idsOf(conversation.emails), QStringList({firstId, replyId}));
        QCOMPARE(conversation.subject(), "Re: Planning " + t);
        QCOMPARE(conversation.participants(), QString("Anna Berg, Bo"));
        QVERIFY(conversation.isUnread());

        // The total is the number of conversations in the mailbox.
        const QList<Mailbox> mailboxes = await(m_service->mailboxes());
        qint64 inboxThreads = -1;
        for (const Mailbox& mailbox : mailboxes)
            if (mailbox.id == inbox)
                inboxThreads = mailbox.totalThreads;
        QCOMPARE(page.total, inboxThreads);
        const ThreadPage beyond = await(m_service->threads(inbox, "", m_mailboxes, 100000, 10));
        QVERIFY(beyond.threads.isEmpty());
        QCOMPARE(beyond.total, inboxThreads);
    }

    void fullMessagesWithBodies()
    {
        const QString t = tag();
        Seed rich;
        rich.subject = "Rich " + t;
        rich.messageId = "r-" + t + "@example.com";
        rich.extraHeaders = "List-Unsubscribe: <https://example.com/leave?t=" + t +
                            ">\n"
                            "List-Unsubscribe-Post: List-Unsubscribe=One-Click\n";
        rich.mime = "Content-Type: multipart/mixed; boundary=\"outer\"\n\n"
                    "--outer\n"
                    "Content-Type: multipart/alternative; boundary=\"alt\"\n\n"
                    "--alt\nContent-Type: text/plain; charset=utf-8\n\nPlain ünïcode text\n"
                    "--alt\nContent-Type: text/html; charset=utf-8\n\n<p>Rich <b>text</b></p>\n"
                    "--alt--\n"
                    "--outer\n"
                    "Content-Type: text/csv; name=\"figures.csv\"\n"
                    "Content-Disposition: attachment; filename=\"figures.csv\"\n\n"
                    "a,b\n1,2\n"
                    "--outer--\n";
        const QString id = seed(rich, role("inbox"), {}, nextMoment());

        const ThreadPage page = await(m_service->threads(role("inbox"), "", m_mailboxes, 0, 1));
        QCOMPARE(page.threads.first().anchorId, id);
        const QString threadId = page.threads.first().id;
        const QList<Email> emails = await(m_service->thread(threadId));
        QCOMPARE(emails.size(), 1);
        const Email& email = emails.first();
        QVERIFY(email.textBody && !email.textBody->isEmpty());
        QVERIFY(email.htmlBody && !email.htmlBody->isEmpty());
        const QString textPart = *email.textBody->first().partId;
        const QString htmlPart = *email.htmlBody->first().partId;
        QVERIFY(email.bodyValues);
        QCOMPARE(email.bodyValues->value(textPart).value.trimmed(), QString("Plain ünïcode text"));
        QVERIFY(email.bodyValues->value(htmlPart).value.contains("<b>text</b>"));
        QCOMPARE(email.listedAttachments().size(), 1);
        QCOMPARE(email.listedAttachments().first().name, std::optional<QString>("figures.csv"));
        QVERIFY(email.hasAttachment.value_or(false));
        QCOMPARE(email.listUnsubscribe,
                 std::optional<QStringList>(QStringList{"https://example.com/leave?t=" + t}));
        QCOMPARE(email.listUnsubscribePost, std::optional<QString>("List-Unsubscribe=One-Click"));
        QCOMPARE(email.messageId,
                 std::optional<QStringList>(QStringList{"r-" + t + "@example.com"}));

        // Several threads in one request; an unknown thread has no entry.
        const auto several = await(m_service->threads(QStringList{threadId, "Tnosuchthread"}));
        QCOMPARE(several.keys(), QStringList{threadId});
        QVERIFY(await(m_service->thread("Tnosuchthread")).isEmpty());
    }

    void unreadSinceADate()
    {
        const QString inbox = role("inbox");
        const QString t = tag();
        const QDateTime since = nextMoment();
        Seed unread;
        unread.subject = "Unread " + t;
        unread.messageId = "u-" + t + "@example.com";
        Seed read = unread;
        read.subject = "Read " + t;
        read.messageId = "r-" + t + "@example.com";
        const QString unreadId = seed(unread, inbox, {}, nextMoment());
        const QString readId = seed(read, inbox, {{"$seen", true}}, nextMoment());
        const QList<Email> emails = await(m_service->unreadEmails(inbox, since, 10));
        QCOMPARE(idsOf(emails), QStringList{unreadId});
        QCOMPARE(emails.first().subject, std::optional<QString>("Unread " + t));
        QVERIFY(!emails.first().isSeen());
        Q_UNUSED(readId);
    }

    void recipients()
    {
        const QString t = tag();
        Seed sent;
        sent.from = "test@example.com";
        sent.to = "Dana <dana-" + t + "@example.org>, erik-" + t + "@example.org";
        sent.cc = "Dana <dana-" + t + "@example.org>";
        sent.subject = "Recipients " + t;
        sent.messageId = "rc-" + t + "@example.com";
        seed(sent, role("sent"), {{"$seen", true}}, nextMoment());
        const QList<EmailAddress> addresses = await(m_service->recipients(role("sent"), 1));
        QCOMPARE(addresses, (QList<EmailAddress>{{"Dana", "dana-" + t + "@example.org"},
                                                 {std::nullopt, "erik-" + t + "@example.org"},
                                                 {"Dana", "dana-" + t + "@example.org"}}));
    }

    void refusedPatchIsAMethodError()
    {
        // Moves and keywords go through the state's own tests against this server; what is left
        // here is how it refuses a patch: in the body of the response.
        const auto refused = awaitError<JMAPError>(m_service->setKeyword("$seen", true, {"Mnone"}));
        QVERIFY(refused);
        QCOMPARE(refused->kind(), JMAPError::Kind::Method);
        QCOMPARE(refused->text(), QString("notFound"));
    }

    void attachmentUploadAndDownload()
    {
        QByteArray data;
        for (int i = 0; i < 70000; ++i)
            data.append(char(i * 7 % 256));
        const QString blobId = await(m_client->upload(data, "application/octet-stream"));
        QVERIFY(!blobId.isEmpty());
        QCOMPARE(await(m_client->download(blobId, "naïve name 1.bin", "application/octet-stream")),
                 data);

        // Attached to a draft, the blob comes back as the draft's attachment.
        OutgoingMessage message;
        message.identity = m_identity;
        message.to = {EmailAddress{std::nullopt, "test@example.com"}};
        message.subject = "Attachment " + tag();
        message.textBody = "See the file.";
        message.attachments = {{blobId, "data file.bin", "application/octet-stream"}};
        const QString draftId = await(m_service->saveDraft(message, role("drafts"), std::nullopt));
        const ThreadPage page = await(m_service->threads(role("drafts"), "", m_mailboxes, 0, 50));
        QString threadId;
        for (const MailThread& thread : page.threads)
            for (const Email& email : thread.emails)
                if (email.id == draftId)
                    threadId = thread.id;
        QVERIFY(!threadId.isEmpty());
        const QList<Email> emails = await(m_service->thread(threadId));
        const Email& draft = emails.first();
        QCOMPARE(draft.listedAttachments().size(), 1);
        const BodyPart part = draft.listedAttachments().first();
        QCOMPARE(part.name, std::optional<QString>("data file.bin"));
        QCOMPARE(await(m_client->download(*part.blobId, *part.name, part.type)), data);
        await(m_service->destroy({draftId}));
    }

    void draftSavedReplacedAndSent()
    {
        const QString drafts = role("drafts");
        const QString sent = role("sent");
        const QString t = tag();
        Seed original;
        original.subject = "Question " + t;
        original.messageId = "q-" + t + "@example.com";
        const QString originalId = seed(original, role("inbox"), {{"$seen", true}}, nextMoment());

        OutgoingMessage message;
        message.identity = m_identity;
        message.to = {EmailAddress{"Anna", "anna@example.com"}};
        message.subject = "Re: Question " + t;
        message.textBody = "First version";
        message.inReplyTo = QStringList{original.messageId};
        message.references = QStringList{original.messageId};
        message.answeredEmailId = originalId;
        const QString first = await(m_service->saveDraft(message, drafts, std::nullopt));
        auto stored = ServerMail::emails(m_client, {first});
        QCOMPARE(stored[first]["mailboxIds"].toObject(), (QJsonObject{{drafts, true}}));
        QCOMPARE(stored[first]["keywords"].toObject(),
                 (QJsonObject{{"$draft", true}, {"$seen", true}}));

        message.textBody = "Second version";
        message.htmlBody = "<p>Second version</p>";
        const QString second = await(m_service->saveDraft(message, drafts, first));
        QVERIFY(second != first);
        stored = ServerMail::emails(m_client, {first, second});
        QVERIFY(!stored.contains(first));
        QVERIFY(stored.contains(second));

        const QString submission =
            await(m_service->submit(second, m_identity.id, drafts, sent, originalId, std::nullopt));
        QVERIFY(!submission.isEmpty());
        stored = ServerMail::emails(m_client, {second, originalId});
        QCOMPARE(stored[second]["mailboxIds"].toObject(), (QJsonObject{{sent, true}}));
        QVERIFY(!stored[second]["keywords"].toObject().contains("$draft"));
        QCOMPARE(keyword(stored.value(originalId), "$answered"), QJsonValue(true));
        QVERIFY(await(m_service->pendingSubmissions({second})).isEmpty());

        // send() stores and submits in one go.
        OutgoingMessage direct = message;
        direct.subject = "Direct " + t;
        direct.answeredEmailId.reset();
        await(m_service->send(direct, drafts, sent));
        const ThreadPage sentPage = await(m_service->threads(sent, "", m_mailboxes, 0, 5));
        bool found = false;
        for (const MailThread& thread : sentPage.threads)
            found = found || thread.subject() == "Direct " + t;
        QVERIFY(found);
    }

    void pushStreamOfThisServer()
    {
        // This server answers its event source with 204 No Content: no stream at all, which the
        // push listener takes as a failure and retries with back-off, not as a stream that ended.
        const auto stream = JMAPClient::pushEvents(m_client, {"Email", "Mailbox"});
        const auto next = [](JMAPPushStream* s) -> QCoro::Task<std::optional<JMAPPushEvent>> {
            const auto event = co_await s->next();
            co_return event;
        };
        const auto outcome = AsyncTest::run(next(stream.get()));
        QVERIFY(outcome.error);
        try {
            std::rethrow_exception(outcome.error);
        } catch (const JMAPError& error) {
            QCOMPARE(error, JMAPError::http(204, QString()));
        }
    }

private:
    QString tag() const { return QUuid::createUuid().toString(QUuid::Id128).left(10); }
    // A moment in the future, later on every call, so seeded mail sorts first.
    QDateTime nextMoment()
    {
        return QDateTime(QDate(2035, 1, 1), QTime(0, 0), Qt::UTC).addSecs(++m_clock * 60 + m_base);
    }

    QString role(const QString& name) const;
    QString seed(const Seed& message, const QString& mailboxId, const QJsonObject& keywords,
                 const QDateTime& receivedAt);

    QNetworkAccessManager m_network;
    std::shared_ptr<JMAPClient> m_client;
    std::unique_ptr<MailService> m_service;
    QList<Mailbox> m_mailboxes;
    Identity m_identity;
    qint64 m_clock = 0;
    qint64 m_base = 0;
};

QString TestMailCyrus::role(const QString& name) const
{
    for (const Mailbox& mailbox : m_mailboxes)
        if (mailbox.role == name)
            return mailbox.id;
    return {};
}

QString TestMailCyrus::seed(const Seed& message, const QString& mailboxId,
                            const QJsonObject& keywords, const QDateTime& receivedAt)
{
    return ServerMail::deliver(m_client, rfc822(message), mailboxId, receivedAt, keywords);
}

QTEST_GUILESS_MAIN(TestMailCyrus)
#include "tst_mail_cyrus.moc"
