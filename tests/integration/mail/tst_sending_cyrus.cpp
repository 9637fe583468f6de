// Sending through the state against a real JMAP server (Cyrus on loopback, started by
// tests/integration/harness/with-cyrus.sh), whose SMTP sink keeps what goes out: a plain send
// reaches the sink, and a held send that is undone never does and comes back as a draft. The
// test removes what it sent, so the seeded account stays as it was.

#include "AppTestEnvironment.h"
#include "AsyncTest.h"
#include "ServerMail.h"
#include "app/state/AppState.h"

#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

using namespace AsyncTest;

namespace {

// The number of messages the sink has taken whose text holds `needle`.
int sunk(const QString& needle)
{
    return int(ServerMail::sunk(needle).size());
}

} // namespace

class TestSendingCyrus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        if (!server.isRunning())
            QSKIP("No test server: run under tests/integration/harness/with-cyrus.sh");
    }

    void plainAndHeldSends()
    {
        QTemporaryDir home;
        QNetworkAccessManager network;
        MemorySecretStore keychain;
        QList<QUuid> windows;
        auto state =
            connected(home, network, keychain, [&windows](QUuid id) { windows.append(id); });
        QVERIFY(state);
        AppConfig config = state->config();
        const auto client = state->service()->client();
        const QString tag = QUuid::createUuid().toString(QUuid::WithoutBraces).left(8);

        // Without a hold the message goes out at once.
        ComposeDraft* plain = state->compose();
        plain->setTo("Friend <friend@example.org>");
        plain->setSubject("Plain " + tag);
        plain->setBody("Hello from the plain send.");
        await(state->send(plain));
        QVERIFY(state->drafts().isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(sunk("Plain " + tag), 1, 20000);

        // With a hold, undo stops it on the server and the same draft opens again.
        if (state->maxDelayedSend() < 30)
            QSKIP("This server holds no submissions");
        config.undoSendSeconds = 30;
        state->setConfig(config);
        ComposeDraft* held = state->compose();
        held->setTo("friend@example.org");
        held->setSubject("Held " + tag);
        await(state->send(held));
        QVERIFY2(!held->error(), qPrintable(held->error().value_or(QString())));
        QCOMPARE(state->toast()->message, QString("Message sent"));
        state->undoFromToast();
        QTRY_COMPARE_WITH_TIMEOUT(state->draft(held->id()), held, 20000);
        QVERIFY(!state->errorMessage());
        QCOMPARE(windows.count(held->id()), 2);
        const QString drafts = state->mailboxWithRole("drafts")->id;
        const QJsonObject stored = ServerMail::email(client, *held->serverDraftId);
        QCOMPARE(stored["mailboxIds"].toObject().keys(), QStringList{drafts});
        QVERIFY(stored["keywords"]["$draft"].toBool());
        QCOMPARE(sunk("Held " + tag), 0);

        // Clean up: the discarded draft leaves Drafts, the plain message leaves Sent and the inbox.
        state->discard(held);
        QTRY_VERIFY_WITH_TIMEOUT(ServerMail::idsWithSubject(client, "Held " + tag).isEmpty(),
                                 20000);
        const QStringList plainIds = ServerMail::idsWithSubject(client, "Plain " + tag);
        if (!plainIds.isEmpty())
            await(state->service()->destroy(plainIds));
    }

    void markdownReplyWithAttachment()
    {
        QTemporaryDir home;
        QNetworkAccessManager network;
        MemorySecretStore keychain;
        auto state = connected(home, network, keychain);
        QVERIFY(state);
        const QString tag = QUuid::createUuid().toString(QUuid::WithoutBraces).left(8);

        // Answer Carol's question from the open thread.
        QTRY_VERIFY_WITH_TIMEOUT(!state->threads().isEmpty(), 20000);
        for (const MailThread& thread : state->threads())
            if (thread.subject() == "Lunch on Friday?")
                state->setSelectedThreadIds({thread.id});
        state->threadSelectionChanged();
        QTRY_VERIFY_WITH_TIMEOUT(!state->openEmails().isEmpty() && !state->isLoadingThread(),
                                 20000);
        std::optional<Email> question;
        for (const Email& email : state->openEmails())
            if (email.messageId == QStringList{"lunch-1@mail.example.org"})
                question = email;
        QVERIFY(question);
        ComposeDraft* reply = state->compose(ReplyKind::Reply, question);
        QVERIFY(reply);
        QCOMPARE(reply->to(), QString("Carol Diaz <carol@example.org>"));
        reply->setBody("**Gladly** " + tag + ", see the *map*.\n\n" + reply->body());

        // A file with bytes that survive only a faithful round trip.
        QByteArray bytes;
        for (int i = 0; i < 3000; ++i)
            bytes.append(char(i * 7 % 256));
        QFile file(home.filePath("map.bin"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();
        state->attach({QUrl::fromLocalFile(file.fileName())}, reply);
        await(state->send(reply));
        QVERIFY2(!reply->error(), qPrintable(reply->error().value_or(QString())));

        QString sent;
        QTRY_VERIFY_WITH_TIMEOUT(!(sent = ServerMail::sunk(tag).value(0).text).isEmpty(), 20000);
        QVERIFY2(sent.contains("In-Reply-To: <lunch-1@mail.example.org>"), qPrintable(sent));
        QVERIFY(sent.contains(QRegularExpression("References: <lunch-1@mail\\.example\\.org>")));
        QVERIFY(sent.contains("Subject: Re: Lunch on Friday?"));
        // The Markdown source as the text part and its rendering as the HTML part.
        QVERIFY(sent.contains("multipart/alternative", Qt::CaseInsensitive));
        QVERIFY(sent.contains("**Gladly** " + tag));
        QVERIFY(sent.contains("<strong>Gladly</strong> " + tag));
        QVERIFY(sent.contains("<em>map</em>"));
        // The attachment comes back byte for byte.
        const auto at = sent.indexOf("map.bin");
        QVERIFY(at > 0);
        const auto start = sent.indexOf("\r\n\r\n", at) + 4;
        const auto end = sent.indexOf("\r\n--", start);
        QCOMPARE(QByteArray::fromBase64(sent.mid(start, end - start).toLatin1()), bytes);

        // Clean up: only the reply sent here has an attachment.
        const QStringList ids =
            ServerMail::idsWithSubject(state->service()->client(), "Re: Lunch on Friday?",
                                       QJsonObject{{"hasAttachment", true}});
        if (!ids.isEmpty())
            await(state->service()->destroy(ids));
    }

    void scheduledSendCanBeCancelled()
    {
        QTemporaryDir home;
        QNetworkAccessManager network;
        MemorySecretStore keychain;
        auto state = connected(home, network, keychain);
        QVERIFY(state);
        if (state->maxDelayedSend() < 7200)
            QSKIP("This server holds no submissions for an hour");
        const QString tag = QUuid::createUuid().toString(QUuid::WithoutBraces).left(8);
        ComposeDraft* draft = state->compose();
        draft->setTo("friend@example.org");
        draft->setSubject("Later " + tag);
        const QDateTime at = QDateTime::currentDateTime().addSecs(3600);
        await(state->sendLater(draft, at));
        QVERIFY2(!draft->error(), qPrintable(draft->error().value_or(QString())));
        QVERIFY(state->toast()->message.startsWith("Scheduled for "));

        // The Sent mailbox's reader knows the message is held, and until when.
        state->setSelectedMailboxId(state->mailboxWithRole("sent")->id);
        state->mailboxChanged();
        QTRY_VERIFY_WITH_TIMEOUT(!state->isLoadingList(), 20000);
        std::optional<QString> threadId;
        QTRY_VERIFY_WITH_TIMEOUT(
            [&] {
                for (const MailThread& thread : state->threads())
                    if (thread.subject() == "Later " + tag)
                        threadId = thread.id;
                if (!threadId)
                    state->refresh();
                return threadId.has_value();
            }(),
            20000);
        state->setSelectedThreadIds({*threadId});
        state->threadSelectionChanged();
        QTRY_VERIFY_WITH_TIMEOUT(state->pendingSends().size() == 1, 20000);
        const Email held = state->openEmails().first();
        QVERIFY(qAbs(state->pendingSends().value(held.id).sendAt.secsTo(at)) <= 1);

        // Cancel Send: nothing goes out, and the message is a draft again.
        state->cancelScheduledSend(held);
        QTRY_VERIFY_WITH_TIMEOUT(state->pendingSends().isEmpty() && state->drafts().size() == 1,
                                 20000);
        const QJsonObject stored = ServerMail::email(state->service()->client(), held.id);
        QCOMPARE(stored["mailboxIds"].toObject().keys(),
                 QStringList{state->mailboxWithRole("drafts")->id});
        QCOMPARE(sunk("Later " + tag), 0);
        state->discard(state->drafts().first().get());
        QTRY_VERIFY_WITH_TIMEOUT(
            ServerMail::idsWithSubject(state->service()->client(), "Later " + tag).isEmpty(),
            20000);
    }

private:
    std::unique_ptr<AppState> connected(
        QTemporaryDir& home, QNetworkAccessManager& network, MemorySecretStore& keychain,
        const std::function<void(QUuid)>& openWindow = [](QUuid) {});
    const TestServer server;
};

std::unique_ptr<AppState> TestSendingCyrus::connected(QTemporaryDir& home,
                                                      QNetworkAccessManager& network,
                                                      MemorySecretStore& keychain,
                                                      const std::function<void(QUuid)>& openWindow)
{
    keychain.data = server.token.toUtf8();
    AppEnvironment environment =
        testEnvironment(&network, home.filePath("config/veldrin/config.json"), keychain);
    // Toasts keep their real length: the test reads them after a round trip to the server.
    auto state = makeTestState(environment, server.sessionUrl);
    AppConfig config = state->config();
    config.undoSendSeconds = 0;
    config.refreshIntervalSeconds = 0;
    state->setConfig(config);
    state->start(openWindow);
    if (!QTest::qWaitFor([&state] { return state->isConnected(); }, 20000))
        return nullptr;
    return state;
}

QTEST_GUILESS_MAIN(TestSendingCyrus)
#include "tst_sending_cyrus.moc"
