// Sending through the state against a real JMAP server (Cyrus on loopback, started by
// tests/integration/harness/with-cyrus.sh), whose SMTP sink keeps what goes out: a plain send
// reaches the sink, and a held send that is undone never does and comes back as a draft. The
// test removes what it sent, so the seeded account stays as it was.

#include "AppTestEnvironment.h"
#include "AsyncTest.h"
#include "app/state/AppState.h"

#include <QDir>
#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

using namespace AsyncTest;

namespace {

// The messages the sink has taken whose text holds `needle`.
int sunk(const QString& needle)
{
    const QDir sink(qEnvironmentVariable("VELDRIN_TEST_SINK_DIR"));
    int count = 0;
    for (const QString& name : sink.entryList({"*.eml"}, QDir::Files)) {
        QFile file(sink.filePath(name));
        if (file.open(QIODevice::ReadOnly) && file.readAll().contains(needle.toUtf8()))
            ++count;
    }
    return count;
}

// The ids of the messages whose subject holds `text`.
QStringList idsWithSubject(const std::shared_ptr<JMAPClient>& client, const QString& text)
{
    const QString account = await(client->accountId());
    const QList<Invocation> calls{
        {"Email/query",
         QJsonObject{{"accountId", account}, {"filter", QJsonObject{{"subject", text}}}}, "0"}};
    const auto responses = await(client->call(calls));
    QStringList ids;
    for (const QJsonValue& id : arguments(responses, "0")["ids"].toArray())
        ids.append(id.toString());
    return ids;
}

// The mailboxes and keywords of one message as the server has it now.
QJsonObject fetch(const std::shared_ptr<JMAPClient>& client, const QString& id)
{
    const QString account = await(client->accountId());
    const QList<Invocation> calls{
        {"Email/get",
         QJsonObject{{"accountId", account},
                     {"ids", QJsonArray{id}},
                     {"properties", QJsonArray{"mailboxIds", "keywords"}}},
         "0"}};
    const auto responses = await(client->call(calls));
    return arguments(responses, "0")["list"].toArray().at(0).toObject();
}

} // namespace

class TestSendingCyrus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void plainAndHeldSends();

private:
    const TestServer server;
};

void TestSendingCyrus::initTestCase()
{
    if (!server.isRunning())
        QSKIP("No test server: run under tests/integration/harness/with-cyrus.sh");
}

void TestSendingCyrus::plainAndHeldSends()
{
    QTemporaryDir home;
    QNetworkAccessManager network;
    MemorySecretStore keychain;
    keychain.data = server.token.toUtf8();
    AppEnvironment environment =
        testEnvironment(&network, home.filePath("config/veldrin/config.json"), keychain);
    environment.timing.toastSecond = std::chrono::milliseconds(10);
    auto state = makeTestState(environment, server.sessionUrl);
    AppConfig config = state->config();
    config.undoSendSeconds = 0;
    config.refreshIntervalSeconds = 0;
    state->setConfig(config);
    QList<QUuid> windows;
    state->start([&windows](QUuid id) { windows.append(id); });
    QTRY_VERIFY_WITH_TIMEOUT(state->isConnected(), 20000);
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
    const QJsonObject stored = fetch(client, *held->serverDraftId);
    QCOMPARE(stored["mailboxIds"].toObject().keys(), QStringList{drafts});
    QVERIFY(stored["keywords"]["$draft"].toBool());
    QCOMPARE(sunk("Held " + tag), 0);

    // Clean up: the discarded draft leaves Drafts, the plain message leaves Sent and the inbox.
    state->discard(held);
    QTRY_VERIFY_WITH_TIMEOUT(idsWithSubject(client, "Held " + tag).isEmpty(), 20000);
    const QStringList plainIds = idsWithSubject(client, "Plain " + tag);
    if (!plainIds.isEmpty())
        await(state->service()->destroy(plainIds));
}

QTEST_GUILESS_MAIN(TestSendingCyrus)
#include "tst_sending_cyrus.moc"
