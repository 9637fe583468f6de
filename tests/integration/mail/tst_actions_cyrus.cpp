// Acting on threads through the state against a real JMAP server (Cyrus on loopback, started by
// tests/integration/harness/with-cyrus.sh): archive and its undo, moves, spam, trash, the read
// and flag toggles and "Mark All as Read", each read back from the server. The test delivers its
// own messages and removes them at the end, so the seeded account stays as it was.

#include "AppTestEnvironment.h"
#include "AsyncTest.h"
#include "ServerMail.h"
#include "app/state/AppState.h"

#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <QTest>
#include <QUndoStack>
#include <QUuid>

using namespace AsyncTest;

namespace {

// Puts an unread message into a mailbox as the newest mail; gives its id.
QString deliver(const std::shared_ptr<JMAPClient>& client, const QString& subject,
                const QString& mailboxId, int order)
{
    QString text = QStringLiteral("From: Anna Berg <anna@example.com>\nTo: test@example.com\n"
                                  "Subject: %1\nDate: Mon, 1 Jan 2035 10:00:00 +0000\n"
                                  "Message-ID: <%2@example.com>\n\nAbout %1.\n")
                       .arg(subject, QUuid::createUuid().toString(QUuid::WithoutBraces));
    text.replace(QStringLiteral("\n"), QStringLiteral("\r\n"));
    return ServerMail::deliver(client, text.toUtf8(), mailboxId,
                               QDateTime::currentDateTimeUtc().addYears(11).addSecs(order));
}

QString createMailbox(const std::shared_ptr<JMAPClient>& client, const QString& name)
{
    return ServerMail::created(
        ServerMail::call(client, "Mailbox/set",
                         {{"create", QJsonObject{{"b", QJsonObject{{"name", name}}}}}}),
        "b");
}

QStringList mailboxesOf(const std::shared_ptr<JMAPClient>& client, const QString& id)
{
    return ServerMail::email(client, id)["mailboxIds"].toObject().keys();
}

bool hasKeyword(const std::shared_ptr<JMAPClient>& client, const QString& id,
                const QString& keyword)
{
    return ServerMail::email(client, id)["keywords"].toObject().value(keyword).toBool();
}

std::optional<MailThread> threadWith(const AppState& state, const QString& subject)
{
    for (const MailThread& thread : state.threads())
        if (thread.subject() == subject)
            return thread;
    return std::nullopt;
}

void select(AppState& state, const QString& subject)
{
    const auto thread = threadWith(state, subject);
    QVERIFY2(thread, qPrintable(subject));
    state.setSelectedThreadId(thread->id);
}

void settle(const AppState& state)
{
    QTRY_VERIFY(state.activeFetches() == 0 && state.activePushes() == 0);
}

} // namespace

class TestActionsCyrus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        if (!server.isRunning())
            QSKIP("No test server: run under tests/integration/harness/with-cyrus.sh");
    }

    void actingSession()
    {
        QTemporaryDir home;
        QNetworkAccessManager network;
        MemorySecretStore keychain;
        keychain.data = server.token.toUtf8();
        AppEnvironment environment =
            testEnvironment(&network, home.filePath("config/veldrin/config.json"), keychain);
        environment.timing.toastSecond = std::chrono::milliseconds(10);
        environment.markAllReadBatchSize = 2;
        auto state = makeTestState(environment, server.sessionUrl);
        QUndoStack stack;
        state->setWindowServices({&stack, {}, {}});
        await(state->connect());
        QVERIFY2(state->isConnected(), qPrintable(state->errorMessage().value_or(QString())));
        const auto client = state->service()->client();
        const QString inbox = state->mailboxWithRole("inbox")->id;
        const QString archive = state->mailboxWithRole("archive")->id;
        const QString junk = state->mailboxWithRole("junk")->id;
        const QString trash = state->mailboxWithRole("trash")->id;

        const QString tag = QUuid::createUuid().toString(QUuid::WithoutBraces).left(8);
        QStringList delivered;
        QMap<QString, QString> ids;
        for (const QString name : {"Alpha", "Beta", "Gamma"}) {
            const QString subject = name + " " + tag;
            ids[name] = deliver(client, subject, inbox, int(delivered.size()));
            delivered.append(ids[name]);
        }
        const auto subject = [&tag](const QString& name) { return name + " " + tag; };
        await(state->refresh());
        QVERIFY(threadWith(*state, subject("Alpha")));

        // Reading and flagging, both ways.
        select(*state, subject("Alpha"));
        state->perform(MailAction::ToggleRead);
        QTRY_VERIFY(hasKeyword(client, ids["Alpha"], "$seen"));
        settle(*state);
        state->perform(MailAction::ToggleRead);
        QTRY_VERIFY(!hasKeyword(client, ids["Alpha"], "$seen"));
        settle(*state);
        state->perform(MailAction::ToggleFlag);
        QTRY_VERIFY(hasKeyword(client, ids["Alpha"], "$flagged"));
        settle(*state);
        QVERIFY(threadWith(*state, subject("Alpha"))->isFlagged());
        state->perform(MailAction::ToggleFlag);
        QTRY_VERIFY(!hasKeyword(client, ids["Alpha"], "$flagged"));
        settle(*state);

        // Archive, and its undo from the window's stack.
        state->perform(MailAction::Archive);
        QCOMPARE(state->toast()->message, QStringLiteral("Conversation archived"));
        QVERIFY(!threadWith(*state, subject("Alpha")));
        QTRY_COMPARE(mailboxesOf(client, ids["Alpha"]), QStringList{archive});
        settle(*state);
        stack.undo();
        QCOMPARE(state->toast()->message, QStringLiteral("Move undone"));
        QTRY_COMPARE(mailboxesOf(client, ids["Alpha"]), QStringList{inbox});
        QTRY_VERIFY(threadWith(*state, subject("Alpha")));
        settle(*state);

        // A move to a folder of the user's, spam and trash.
        const QString folder = createMailbox(client, "Moved " + tag);
        await(state->reloadMailboxes());
        QVERIFY(
            state->moveThreads({threadWith(*state, subject("Beta"))->id}, *state->mailbox(folder)));
        QCOMPARE(state->toast()->message, "Conversation moved to Moved " + tag);
        QTRY_COMPARE(mailboxesOf(client, ids["Beta"]), QStringList{folder});
        settle(*state);
        select(*state, subject("Gamma"));
        state->perform(MailAction::Spam);
        QTRY_COMPARE(mailboxesOf(client, ids["Gamma"]), QStringList{junk});
        settle(*state);
        select(*state, subject("Alpha"));
        state->perform(MailAction::Trash);
        QCOMPARE(state->toast()->message, QStringLiteral("Conversation moved to Trash"));
        QTRY_COMPARE(mailboxesOf(client, ids["Alpha"]), QStringList{trash});
        settle(*state);

        // Five unread messages in a folder of their own, marked read two at a time.
        const QString rounds = createMailbox(client, "Rounds " + tag);
        QStringList unread;
        for (int n = 0; n < 5; ++n)
            unread.append(
                deliver(client, QStringLiteral("Round %1 %2").arg(n).arg(tag), rounds, n));
        delivered.append(unread);
        await(state->reloadMailboxes());
        QCOMPARE(state->mailbox(rounds)->unreadEmails, 5);
        state->markAllRead(rounds);
        QCOMPARE(state->mailbox(rounds)->unreadEmails, 0);
        for (const QString& id : unread)
            QTRY_VERIFY2(hasKeyword(client, id, "$seen"), qPrintable(id));
        settle(*state);
        QCOMPARE(state->mailbox(rounds)->unreadEmails, 0);
        QVERIFY2(!state->errorMessage(), qPrintable(state->errorMessage().value_or(QString())));

        // Leave the account as it was seeded.
        await(state->service()->destroy(delivered));
        ServerMail::call(client, "Mailbox/set", {{"destroy", QJsonArray{folder, rounds}}});
    }

private:
    const TestServer server;
};

QTEST_GUILESS_MAIN(TestActionsCyrus)
#include "tst_actions_cyrus.moc"
