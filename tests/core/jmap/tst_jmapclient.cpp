#include "AsyncTest.h"
#include "FakeNetwork.h"
#include "jmap/JMAPClient.h"
#include "mail/MailService.h"

#include <QJsonDocument>
#include <QTest>
#include <QTimer>

using namespace AsyncTest;

namespace {

QByteArray json(const char* text)
{
    return QByteArray(text);
}

} // namespace

class TestJMAPClient : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        network = std::make_unique<FakeNetwork>();
        retired.clear();
        activity.clear();
    }

    void sessionIsFetchedOnceWithBearerToken()
    {
        auto client = makeClient();
        const JMAPSession first = await(client->session());
        const JMAPSession second = await(client->session());
        QCOMPARE(first, second);
        QCOMPARE(first.username, std::optional<QString>("user@example.com"));
        QCOMPARE(network->requests().size(), 1);
        const RecordedRequest& request = network->requests().first();
        QCOMPARE(request.verb, QByteArray("GET"));
        QCOMPARE(request.headers.value("Authorization"), QByteArray("Bearer secret-token"));
        QCOMPARE(request.transferTimeout, 60000);
        QCOMPARE(activity, (QList<QPair<JMAPActivity, bool>>{{JMAPActivity::fetching, true},
                                                             {JMAPActivity::fetching, false}}));
    }

    void relativeSessionUrlsAreResolved()
    {
        QJsonObject session = FakeNetwork::defaultSession();
        session["apiUrl"] = "/jmap/";
        session["downloadUrl"] = "/jmap/download/{accountId}/{blobId}/{name}?accept={type}";
        session["uploadUrl"] = "/jmap/upload/{accountId}/";
        session["eventSourceUrl"] = "/jmap/eventsource/?types={types}";
        auto client = clientFor(session);
        const JMAPSession decoded = await(client->session());
        QCOMPARE(decoded.apiUrl, QUrl("https://jmap.example.test/jmap/"));
        QCOMPARE(decoded.downloadUrl, QString("https://jmap.example.test/jmap/download/{accountId}/"
                                              "{blobId}/{name}?accept={type}"));
        QCOMPARE(decoded.uploadUrl,
                 std::optional<QString>("https://jmap.example.test/jmap/upload/{accountId}/"));
        QCOMPARE(
            decoded.eventSourceUrl,
            std::optional<QString>("https://jmap.example.test/jmap/eventsource/?types={types}"));
    }

    void sessionWithoutDownloadUrlIsMalformed()
    {
        QJsonObject session = FakeNetwork::defaultSession();
        session.remove("downloadUrl");
        QCOMPARE(*awaitError<JMAPError>(clientFor(session)->session()),
                 JMAPError::malformed("session object"));

        network->setResponse(FakeNetwork::sessionUrl(), {200, "not json"});
        auto other = makeClient();
        QCOMPARE(*awaitError<JMAPError>(other->session()), JMAPError::malformed("session object"));
    }

    void batchBodyAndActivity_data()
    {
        QTest::addColumn<QStringList>("methods");
        QTest::addColumn<int>("activityKind");
        QTest::newRow("query alone fetches")
            << QStringList{"Email/query"} << int(JMAPActivity::fetching);
        QTest::newRow("set and get push")
            << QStringList{"Email/set", "Email/get"} << int(JMAPActivity::pushing);
    }

    void batchBodyAndActivity()
    {
        QFETCH(QStringList, methods);
        QFETCH(int, activityKind);
        for (const QString& method : methods)
            network->respondTo(method, QJsonObject{{"ok", true}});
        auto client = makeClient();
        await(client->session());
        activity.clear();
        QList<Invocation> calls;
        for (int i = 0; i < methods.size(); ++i)
            calls.append({methods[i], {{"accountId", "u1"}}, QString::number(i)});
        const auto responses = await(client->call(calls, {"urn:ietf:params:jmap:contacts"}));
        QCOMPARE(responses.size(), methods.size());

        QCOMPARE(network->batches().size(), 1);
        const RecordedRequest batch = network->batches().first();
        QCOMPARE(batch.headers.value("Content-Type"), QByteArray("application/json"));
        QCOMPARE(batch.headers.value("Authorization"), QByteArray("Bearer secret-token"));
        QVERIFY(!batch.body.contains('\n'));
        QCOMPARE(batch.json().value("using").toArray(),
                 QJsonArray({"urn:ietf:params:jmap:core", "urn:ietf:params:jmap:mail",
                             "urn:ietf:params:jmap:submission", "urn:ietf:params:jmap:contacts"}));
        QCOMPARE(batch.methodNames(), methods);
        QCOMPARE(batch.methodCalls().at(0).toArray().at(2).toString(), QString("0"));
        const auto kind = static_cast<JMAPActivity>(activityKind);
        QCOMPARE(activity, (QList<QPair<JMAPActivity, bool>>{{kind, true}, {kind, false}}));
    }

    void failedBatches_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("description");

        const QString rejected = "Fastmail rejected the API token. Check it in Settings.";
        const QString malformed = "Unexpected response from Fastmail: ";
        QTest::newRow("401") << 401 << QByteArray("no") << rejected;
        QTest::newRow("403 reads as a rejected token")
            << 403 << QByteArray("forbidden") << rejected;
        QTest::newRow("500 short")
            << 500 << QByteArray("Internal oops") << "Fastmail returned HTTP 500. Internal oops";
        QTest::newRow("500 long body keeps 300 bytes")
            << 500 << QByteArray(1000, 'x') << "Fastmail returned HTTP 500. " + QString(300, 'x');
        // "é" is two bytes; the 300th byte cuts it in half.
        QTest::newRow("cut UTF-8 gives an empty body")
            << 502 << (QByteArray(299, 'a') + QByteArray("\xc3\xa9") + QByteArray(50, 'b'))
            << "Fastmail returned HTTP 502. ";
        QTest::newRow("top is an array") << 200 << json("[1,2]") << malformed + "methodResponses";
        QTest::newRow("no methodResponses")
            << 200 << json(R"({"sessionState":"x"})") << malformed + "methodResponses";
        QTest::newRow("methodResponses not an array")
            << 200 << json(R"({"methodResponses":{}})") << malformed + "methodResponses";
        QTest::newRow("four elements")
            << 200 << json(R"({"methodResponses":[["Mailbox/get",{},"0","extra"]]})")
            << malformed + "invocation";
        QTest::newRow("arguments not an object")
            << 200 << json(R"({"methodResponses":[["Mailbox/get",[],"0"]]})")
            << malformed + "invocation";
    }

    void failedBatches()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, description);
        network->setResponse(FakeNetwork::apiUrl(),
                             {status, body, status == 200 ? "application/json" : "text/plain"});
        auto client = makeClient();
        const auto error = awaitError<JMAPError>(client->call({{"Mailbox/get", {}, "0"}}));
        QVERIFY(error);
        QCOMPARE(error->description(), description);
        // Every start of an activity was ended, also on failure.
        QCOMPARE(activity.count({JMAPActivity::fetching, true}),
                 activity.count({JMAPActivity::fetching, false}));
        QCOMPARE(network->batches().size(), 1); // never retried
    }

    void argumentsForCallIds()
    {
        network->setResponse(FakeNetwork::apiUrl(), {200, json(R"({"methodResponses":[]})")});
        auto client = makeClient();
        const auto empty = await(client->call({{"Mailbox/get", {}, "0"}}));
        QVERIFY(empty.isEmpty());
        try {
            arguments(empty, "0");
            QFAIL("no response must throw");
        } catch (const JMAPError& error) {
            QCOMPARE(error.description(),
                     QString("Unexpected response from Fastmail: no response for call 0"));
        }

        const QList<Invocation> responses = {
            {"error", {{"type", "invalidArguments"}, {"description", "bad filter"}}, "query"},
            {"Email/get", {{"list", QJsonArray()}}, "emails"},
            {"error", {}, "other"},
            {"error", {{"type", "serverFail"}}, "third"}};
        // Partial failure is per call id.
        QCOMPARE(arguments(responses, "emails").value("list").toArray(), QJsonArray());
        const auto failureOf = [&responses](const QString& id) {
            try {
                arguments(responses, id);
            } catch (const JMAPError& error) {
                return error.description();
            }
            return QString();
        };
        QCOMPARE(failureOf("query"), QString("JMAP error: invalidArguments (bad filter)"));
        QCOMPARE(failureOf("other"), QString("JMAP error: unknown"));
        QCOMPARE(failureOf("third"), QString("JMAP error: serverFail"));
    }

    void accountLookups()
    {
        QJsonObject session = FakeNetwork::defaultSession();
        session["primaryAccounts"] = QJsonObject{{"urn:ietf:params:jmap:mail", "A"}};
        auto client = clientFor(session);
        QCOMPARE(await(client->accountId()), QString("A"));
        QCOMPARE(*awaitError<JMAPError>(client->maskedEmailAccountId()),
                 JMAPError::noMaskedEmailAccess());
        QCOMPARE(*awaitError<JMAPError>(client->contactsAccountId()),
                 JMAPError::noContactsAccess());

        session["primaryAccounts"] = QJsonObject{};
        QCOMPARE(awaitError<JMAPError>(clientFor(session)->accountId())->description(),
                 QString("This token has no access to a mail account."));

        // Without a submission capability, or without accounts, nothing can be held for later.
        QCOMPARE(await(clientFor(FakeNetwork::defaultSession())->maxDelayedSend()), qint64(3600));
        session = FakeNetwork::defaultSession();
        session["accounts"] = QJsonObject{
            {"u1", QJsonObject{{"accountCapabilities",
                                QJsonObject{{"urn:ietf:params:jmap:mail", QJsonObject{}}}}}}};
        QCOMPARE(await(clientFor(session)->maxDelayedSend()), qint64(0));
        session.remove("accounts");
        QCOMPARE(await(clientFor(session)->maxDelayedSend()), qint64(0));
    }

    void mailboxesAndIdentities()
    {
        network->respondTo("Mailbox/get", QJsonDocument::fromJson(R"({"list":[
        {"id":"b","name":"Archive","role":"archive","sortOrder":3,"totalEmails":0,"unreadEmails":0,"totalThreads":0,"unreadThreads":0},
        {"id":"a","name":"Inbox","role":"inbox","sortOrder":1,"totalEmails":5,"unreadEmails":2,"totalThreads":4,"unreadThreads":2}]})")
                                              .object());
        network->respondTo("Identity/get", QJsonDocument::fromJson(R"({"list":[
        {"id":"i1","name":"Ann","email":"ann@example.com"},
        {"id":"i2","name":"","email":"*@example.com"},
        {"id":"i3","name":"Ann Work","email":"ann@work.example","textSignature":"-- Ann"}]})")
                                               .object());
        MailService service{std::shared_ptr<JMAPClient>(makeClient())};
        const auto mailboxes = await(service.mailboxes());
        QCOMPARE(mailboxes.size(), 2);
        QCOMPARE(mailboxes[0].id, QString("b")); // server order, not sorted
        QCOMPARE(mailboxes[1].unreadThreads, qint64(2));
        const RecordedRequest batch = network->batches().constLast();
        QCOMPARE(batch.methodNames(), QStringList{"Mailbox/get"});
        QCOMPARE(batch.callArguments("0"),
                 (QJsonObject{{"accountId", "u1"}, {"ids", QJsonValue::Null}}));

        const auto identities = await(service.identities());
        QCOMPARE(identities.size(), 2);
        QCOMPARE(identities[0].id, QString("i1"));
        QCOMPARE(identities[1].textSignature, std::optional<QString>("-- Ann"));
    }

    void transportErrorPassesThrough()
    {
        network->setResponse(FakeNetwork::sessionUrl(),
                             {0, {}, {}, QNetworkReply::HostNotFoundError});
        auto client = makeClient();
        const auto error = awaitError<TransportError>(client->session());
        QVERIFY(error);
        QCOMPARE(error->code(), QNetworkReply::HostNotFoundError);
        QCOMPARE(error->description(),
                 QString("Could not reach jmap.example.test: Simulated network failure."));
        QCOMPARE(activity.size(), 2);
    }

    void bodyCutAfterSuccessStatus_data()
    {
        QTest::addColumn<QNetworkReply::NetworkError>("failure");
        QTest::addColumn<QNetworkReply::NetworkError>("code");
        QTest::newRow("connection lost")
            << QNetworkReply::RemoteHostClosedError << QNetworkReply::RemoteHostClosedError;
        QTest::newRow("transfer timeout")
            << QNetworkReply::OperationCanceledError << QNetworkReply::TimeoutError;
    }

    void bodyCutAfterSuccessStatus()
    {
        QFETCH(QNetworkReply::NetworkError, failure);
        QFETCH(QNetworkReply::NetworkError, code);
        auto client = makeClient();
        await(client->session());
        network->setStreamPrefix(FakeNetwork::apiUrl().toString());

        // The headers say 200, then the connection breaks in the middle of the body.
        QTimer feeder;
        feeder.setInterval(0);
        connect(&feeder, &QTimer::timeout, this, [&] {
            const auto streams = network->streams();
            if (streams.isEmpty() || !streams.first() ||
                !streams.first()->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid())
                return;
            streams.first()->push(R"({"methodResponses":[["Mailbox/get",{"list":[)");
            streams.first()->failStream(failure, QStringLiteral("Connection broke"));
            feeder.stop();
        });
        feeder.start();
        const auto error = awaitError<TransportError>(client->call({{"Mailbox/get", {}, "0"}}));
        QVERIFY(error);
        QCOMPARE(error->code(), code);
        QVERIFY(error->description().startsWith("Could not reach jmap.example.test: "));
        QCOMPARE(activity.count({JMAPActivity::fetching, true}),
                 activity.count({JMAPActivity::fetching, false}));
    }

private:
    std::unique_ptr<FakeNetwork> network;
    std::vector<std::unique_ptr<FakeNetwork>> retired;
    QList<QPair<JMAPActivity, bool>> activity;
    std::unique_ptr<JMAPClient> makeClient();
    // A fresh network serving this session, and a client on it.
    std::unique_ptr<JMAPClient> clientFor(const QJsonObject& session);
};

std::unique_ptr<JMAPClient> TestJMAPClient::makeClient()
{
    return std::make_unique<JMAPClient>(FakeNetwork::sessionUrl(), "secret-token", network.get(),
                                        [this](JMAPActivity kind, bool started) {
                                            activity.append({kind, started});
                                        });
}

std::unique_ptr<JMAPClient> TestJMAPClient::clientFor(const QJsonObject& session)
{
    // Clients made before keep the network they were made on.
    retired.push_back(std::move(network));
    network = std::make_unique<FakeNetwork>();
    network->setSession(session);
    return makeClient();
}

QTEST_GUILESS_MAIN(TestJMAPClient)
#include "tst_jmapclient.moc"
