#include "AppTestEnvironment.h"
#include "AsyncTest.h"
#include "FakeNetwork.h"
#include "app/state/AppState.h"

#include <QFile>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace AsyncTest;

namespace {

const char* mailboxList = R"({"list":[
    {"id":"arch","name":"Archive","role":"archive","sortOrder":3,"totalEmails":0,"unreadEmails":0,"totalThreads":0,"unreadThreads":0},
    {"id":"in","name":"Inbox","role":"inbox","sortOrder":1,"totalEmails":5,"unreadEmails":2,"totalThreads":4,"unreadThreads":2},
    {"id":"sent","name":"Sent","role":"sent","sortOrder":2,"totalEmails":1,"unreadEmails":0,"totalThreads":1,"unreadThreads":0}]})";

} // namespace

class TestAppState : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        network = std::make_unique<FakeNetwork>();
        network->respondTo("Mailbox/get", QJsonDocument::fromJson(mailboxList).object());
        network->respondTo(
            "Identity/get",
            QJsonObject{
                {"list", QJsonArray{QJsonObject{
                             {"id", "i1"}, {"name", "Ann"}, {"email", "ann@example.com"}}}}});
        // An empty inbox for the first page after connecting.
        network->respondTo("Email/query", QJsonObject{{"ids", QJsonArray()}, {"total", 0}});
        network->respondTo("Email/get", QJsonObject{{"list", QJsonArray()}});
        network->respondTo("Thread/get", QJsonObject{{"list", QJsonArray()}});
        keychain = MemorySecretStore();
        keychain.data = QByteArray("fmu1-secret");
        configPath = home.filePath(
            QStringLiteral("config-%1/veldrin/config.json").arg(QTest::currentTestFunction()));
    }

    void badConfigFileFallsBackToDefaults()
    {
        QDir().mkpath(QFileInfo(configPath).path());
        QFile file(configPath);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({"pageSize": "50", "groupByDate": true})");
        file.close();
        auto state = makeState();
        QVERIFY(state->errorMessage());
        QVERIFY(state->errorMessage()->startsWith("Could not read " + configPath + ": "));
        QVERIFY(state->errorMessage()->endsWith(". Using defaults."));
        QCOMPARE(state->config().groupByDate, false);
        // The bad file is left alone until a setting changes.
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray(R"({"pageSize": "50", "groupByDate": true})"));

        // A successful connection clears the message.
        await(state->connect());
        QVERIFY(state->isConnected());
        QVERIFY(!state->errorMessage());
    }

    void connectStopsBeforeTheNetwork_data()
    {
        QTest::addColumn<QByteArray>("stored"); // "<absent>": no keychain item
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("error"); // empty: no token is not an error
        const QString url = FakeNetwork::sessionUrl().toString();
        const QString https = "The JMAP session URL must be an https URL.";
        QTest::newRow("no token") << QByteArray("<absent>") << url << "";
        QTest::newRow("empty token") << QByteArray("") << url << "";
        QTest::newRow("plain http")
            << QByteArray("t") << "http://jmap.example.test/jmap/session" << https;
        QTest::newRow("capital HTTPS")
            << QByteArray("t") << "HTTPS://jmap.example.test/jmap/session" << https;
        QTest::newRow("no scheme") << QByteArray("t") << "jmap.example.test/jmap/session" << https;
        QTest::newRow("not a url") << QByteArray("t") << "https://exa mple.test:notaport/" << https;
    }

    void connectStopsBeforeTheNetwork()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QString, url);
        QFETCH(QString, error);
        keychain.data = stored == "<absent>" ? std::nullopt : std::optional(stored);
        auto state = makeState();
        AppConfig config = state->config();
        config.sessionUrl = url;
        state->setConfig(config);
        await(state->connect());
        QCOMPARE(state->hasToken(), !error.isEmpty());
        QCOMPARE(state->errorMessage().value_or(QString()), error);
        QVERIFY(!state->isConnected());
        QVERIFY(!state->service());
        QVERIFY(network->requests().isEmpty());
    }

    void connectLoadsTheAccount()
    {
        // The sent mailbox's recipients seed the address book, counted per occurrence.
        network->respondTo("Email/query", QJsonObject{{"ids", QJsonArray{"e1", "e2"}}});
        network->respondTo("Email/get", QJsonDocument::fromJson(R"({"list":[
        {"id":"e1","to":[{"name":"Bob","email":"bob@example.com"}],"cc":null},
        {"id":"e2","to":[{"email":"carol@example.com"}],"bcc":[{"email":"BOB@example.com"}]}]})")
                                            .object());
        auto state = makeState();
        QSignalSpy connected(state.get(), &AppState::isConnectedChanged);
        await(state->connect());
        QVERIFY(state->isConnected());
        QCOMPARE(connected.count(), 1);
        QCOMPARE(state->accountName(), std::optional<QString>("user@example.com"));
        QCOMPARE(state->mailboxes().size(), 3);
        QCOMPARE(state->mailboxes().first().id, QString("arch")); // the server's order
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("in"));
        QCOMPARE(state->identities().size(), 1);
        QCOMPARE(state->maxDelayedSend(), qint64(3600));
        QVERIFY(state->hasMaskedEmail());
        QVERIFY(state->hasContacts());
        QVERIFY(state->service());
        // Every request carried the token; the activity counters came back to rest.
        for (const RecordedRequest& request : network->requests())
            QCOMPARE(request.headers.value("Authorization"), QByteArray("Bearer fmu1-secret"));
        QTRY_COMPARE(state->activeFetches(), 0);
        QCOMPARE(state->activePushes(), 0);
        QCOMPARE(state->mailboxWithRole("sent")->name, QString("Sent"));
        QTRY_COMPARE(state->addressBook().entries.size(), 2);
        QCOMPARE(state->addressBook().entries.value("bob@example.com").uses, 2);
        const auto batches = network->batches();
        const auto recipients =
            std::find_if(batches.cbegin(), batches.cend(), [](const RecordedRequest& batch) {
                return batch.callArguments("query").value("limit").toInt() == 500;
            });
        QVERIFY(recipients != batches.cend());
        QCOMPARE(recipients->methodNames(), (QStringList{"Email/query", "Email/get"}));
        // The directory stores talk to the new connection.
        QVERIFY(state->contacts()->service());
        QVERIFY(state->maskedEmails()->service());
        QVERIFY(!state->mailbox(std::nullopt));
    }

    void optionalLookupsFailSilently()
    {
        QJsonObject session = FakeNetwork::defaultSession();
        session["primaryAccounts"] = QJsonObject{{"urn:ietf:params:jmap:mail", "u1"}};
        session.remove("accounts");
        network->setSession(session);
        network->respondWithError("Identity/get", "forbidden");
        auto state = makeState();
        await(state->connect());
        QVERIFY(state->isConnected());
        QVERIFY(!state->errorMessage());
        QVERIFY(state->identities().isEmpty());
        QCOMPARE(state->maxDelayedSend(), qint64(0));
        QVERIFY(!state->hasMaskedEmail());
        QVERIFY(!state->hasContacts());
    }

    void failuresStopAndShowTheirText()
    {
        // A rejected token is shown by the main window's error bar test; a broken answer after the
        // session stops the connection too.
        network->respondTo("Mailbox/get",
                           QJsonObject{{"list", QJsonArray{QJsonObject{{"id", "x"}}}}});
        auto state = makeState();
        await(state->connect());
        QVERIFY(state->errorMessage()->startsWith(
            "Unexpected response from Fastmail: Array<Mailbox>: "));
        QCOMPARE(state->accountName(), std::optional<QString>("user@example.com"));
        QVERIFY(!state->isConnected());
        QVERIFY(!state->service());
    }

    void selectionSurvivesReconnect()
    {
        auto state = makeState();
        await(state->connect());
        state->setSelectedMailboxId(QStringLiteral("sent"));
        await(state->connect());
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("sent"));
        // Removing the token tears the session down but keeps the lists on show.
        keychain.data.reset();
        await(state->connect());
        QVERIFY(!state->hasToken());
        QVERIFY(!state->isConnected());
        QVERIFY(!state->service());
        QVERIFY(!state->contacts()->service());
        QVERIFY(state->addressBook().entries.isEmpty());
        QCOMPARE(state->mailboxes().size(), 3);
    }

    void selectionFallsBackToFirstOrNothing()
    {
        network->respondTo("Mailbox/get", QJsonDocument::fromJson(R"({"list":[
        {"id":"a","name":"A","sortOrder":1,"totalEmails":0,"unreadEmails":0,"totalThreads":0,"unreadThreads":0},
        {"id":"b","name":"B","sortOrder":2,"totalEmails":0,"unreadEmails":0,"totalThreads":0,"unreadThreads":0}]})")
                                              .object());
        auto state = makeState();
        await(state->connect());
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("a"));

        network->respondTo("Mailbox/get", QJsonObject{{"list", QJsonArray()}});
        await(state->connect());
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>());
    }

    void reportIsSilentForCancellation()
    {
        auto state = makeState();
        state->report(std::make_exception_ptr(CancelledError()));
        state->report(std::make_exception_ptr(
            TransportError(QNetworkReply::OperationCanceledError, "Operation canceled")));
        QVERIFY(!state->errorMessage());
        state->report(std::make_exception_ptr(
            TransportError(QNetworkReply::HostNotFoundError, "Host jmap.example.test not found")));
        QCOMPARE(state->errorMessage(), std::optional<QString>("Host jmap.example.test not found"));
    }

    void saveConfigFailureKeepsSettings()
    {
        // A file where the settings folder should be makes the save fail.
        QDir().mkpath(home.filePath("blocked"));
        QFile blocker(home.filePath("blocked/veldrin"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        configPath = home.filePath("blocked/veldrin/config.json");
        auto state = makeState();
        QVERIFY(state->errorMessage()); // the first save at load failed too
        AppConfig config = state->config();
        config.pageSize = 120;
        state->setConfig(config);
        state->saveConfig();
        QVERIFY(state->errorMessage()->startsWith("Could not save config: "));
        QCOMPARE(state->config().pageSize, 120);
    }

    void startRunsOnce()
    {
        // A main window shown a second time starts again: no second monitor, no second connect.
        int monitors = 0;
        AppEnvironment environment;
        environment.network = network.get();
        environment.configStore = ConfigStore(configPath);
        environment.readToken = [] { return std::optional<QString>("fmu1-secret"); };
        environment.saveToken = [](const QString&) { return true; };
        environment.installKeyMonitor = [&monitors] { ++monitors; };
        AppState state(environment);
        AppConfig config = state.config();
        config.sessionUrl = FakeNetwork::sessionUrl().toString();
        state.setConfig(config);
        state.start([](QUuid) {});
        QTRY_VERIFY(state.isConnected());
        const auto requests = network->requests().size();
        state.start([](QUuid) {});
        QCOMPARE(monitors, 1);
        QVERIFY(state.isConnected());
        QCOMPARE(network->requests().size(), requests);
    }

    void demoModeNeedsNoAccount()
    {
        bool tokenRead = false;
        AppEnvironment environment;
        environment.network = network.get();
        environment.configStore = ConfigStore(configPath);
        environment.readToken = [&tokenRead] {
            tokenRead = true;
            return std::optional<QString>("fmu1-real");
        };
        environment.saveToken = [](const QString&) { return true; };
        environment.demo = true;
        AppState state(environment);
        state.start([](QUuid) {});
        QVERIFY(state.isConnected());
        QVERIFY(state.hasToken());
        QVERIFY(state.hasMaskedEmail() && state.hasContacts());
        QCOMPARE(state.mailboxWithRole("inbox")->id, *state.selectedMailboxId());
        QVERIFY(!state.contacts()->items().isEmpty());
        QVERIFY(!state.maskedEmails()->items().isEmpty());
        QVERIFY(!state.addressBook().entries.isEmpty());
        // Every address is at a reserved example domain.
        for (const Contact& contact : state.contacts()->items())
            for (const auto& entry : contact.emails)
                QVERIFY(entry.value.endsWith("example.com") ||
                        entry.value.endsWith("example.org") || entry.value.endsWith("example.net"));
        QVERIFY(!tokenRead);
        QVERIFY(network->requests().isEmpty());
    }

private:
    std::unique_ptr<AppState> makeState();
    QTemporaryDir home;
    std::unique_ptr<FakeNetwork> network;
    MemorySecretStore keychain;
    QString configPath;
};

std::unique_ptr<AppState> TestAppState::makeState()
{
    return makeTestState(network.get(), configPath, keychain, FakeNetwork::sessionUrl().toString());
}

QTEST_GUILESS_MAIN(TestAppState)
#include "tst_appstate.moc"
