#include "AsyncTest.h"
#include "FakeNetwork.h"
#include "Fixtures.h"
#include "directory/MaskedEmailService.h"
#include "jmap/JMAPDecoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace AsyncTest;

using Fixtures::object;

namespace {

const QString absent = QStringLiteral("<absent>");

} // namespace

class TestMaskedEmail : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        network = std::make_unique<FakeNetwork>();
        service = std::make_unique<MaskedEmailService>(
            std::make_shared<JMAPClient>(FakeNetwork::sessionUrl(), "token", network.get()));
    }

    void origin_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        QTest::newRow("empty is valid and empty") << ""
                                                  << "";
        QTest::newRow("bare host gets https") << "shop.example"
                                              << "https://shop.example";
        QTest::newRow("pasted link keeps its origin") << "  HTTP://Shop.EXAMPLE:8080/a?b#c "
                                                      << "http://shop.example:8080";
        QTest::newRow("https keeps an explicit 443") << "shop.example:443"
                                                     << "https://shop.example:443";
        QTest::newRow("port written anew") << "shop.example:0080"
                                           << "https://shop.example:80";
        QTest::newRow("accented host") << "Café.example"
                                       << "https://café.example";
        QTest::newRow("ftp is no site") << "ftp://shop.example" << absent;
        QTest::newRow("scheme without host") << "https://" << absent;
        QTest::newRow("localhost has no dot") << "localhost" << absent;
        QTest::newRow("user name before host") << "me@shop.example" << absent;
        QTest::newRow("leading dot") << ".shop.example" << absent;
        QTest::newRow("trailing dot") << "shop.example." << absent;
        QTest::newRow("port zero") << "shop.example:0" << absent;
        QTest::newRow("port too large") << "shop.example:65536" << absent;
        QTest::newRow("space inside") << "shop example.com" << absent;
        QTest::newRow("line break is not trimmed") << "shop.example\n" << absent;
    }

    void origin()
    {
        QFETCH(QString, input);
        QFETCH(QString, expected);
        QCOMPARE(MaskedEmailDetails::origin(input).value_or(absent), expected);
    }

    void storedForms_data()
    {
        QTest::addColumn<QString>("forDomain");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QJsonObject>("json");
        QTest::newRow("site normalised, description trimmed")
            << "Shop.example/cart"
            << "  shoes\t"
            << QJsonObject{{"forDomain", "https://shop.example"}, {"description", "shoes"}};
        QTest::newRow("no website is kept as typed, trimmed")
            << " ftp://shop.example "
            << "" << QJsonObject{{"forDomain", "ftp://shop.example"}, {"description", ""}};
        QTest::newRow("both keys also when empty")
            << ""
            << "" << QJsonObject{{"forDomain", ""}, {"description", ""}};
    }

    void storedForms()
    {
        QFETCH(QString, forDomain);
        QFETCH(QString, description);
        QFETCH(QJsonObject, json);
        QCOMPARE((MaskedEmailDetails{forDomain, description}.json()), json);
    }

    void decoding_data()
    {
        QTest::addColumn<QByteArray>("record");
        QTest::addColumn<QString>("error");
        QTest::newRow("minimal record") << QByteArray(R"({"id":"m1","email":"a@x.example"})") << "";
        QTest::newRow("nulls are defaults")
            << QByteArray(R"({"id":"m1","email":"a@x.example","state":null,"forDomain":null,
            "description":null,"url":null,"createdAt":null})")
            << "";
        QTest::newRow("unknown state")
            << QByteArray(R"({"id":"m1","email":"a@x.example","state":"paused"})")
            << "Unexpected response from Fastmail: MaskedEmail: Unknown state \"paused\".";
        QTest::newRow("no email") << QByteArray(R"({"id":"m1"})")
                                  << "Unexpected response from Fastmail: MaskedEmail: No value for "
                                     "the required key \"email\".";
        QTest::newRow("bad date")
            << QByteArray(R"({"id":"m1","email":"a@x.example","createdAt":"yesterday"})")
            << "Unexpected response from Fastmail: MaskedEmail: Invalid date yesterday";
    }

    void decoding()
    {
        QFETCH(QByteArray, record);
        QFETCH(QString, error);
        try {
            const MaskedEmail decoded =
                JMAPDecoding::decode<MaskedEmail>(QJsonDocument::fromJson(record).object());
            QVERIFY2(error.isEmpty(), "decoding should have failed");
            QCOMPARE(decoded.state, MaskedEmail::State::enabled);
            QCOMPARE(decoded.forDomain, QString(""));
            QCOMPARE(decoded.url, std::nullopt);
            QCOMPARE(decoded.createdAt, std::nullopt);
        } catch (const JMAPError& thrown) {
            QCOMPARE(thrown.description(), error);
        }
    }

    void listsNewestFirstWithoutDeleted()
    {
        network->respondTo("MaskedEmail/get", Fixtures::json("directory/maskedemails.json"));
        const QList<MaskedEmail> records = await(service->list());
        QStringList ids;
        for (const MaskedEmail& record : records)
            ids.append(record.id);
        // Undated records stand last in the server's order.
        QCOMPARE(ids, (QStringList{"me-new", "me-old", "me-undated-1", "me-undated-2"}));
        QCOMPARE(records.at(0).state, MaskedEmail::State::disabled);
        QCOMPARE(records.at(0).createdAt,
                 std::optional<QDateTime>(QDateTime(QDate(2025, 3, 10), QTime(10, 0), Qt::UTC)));
        QCOMPARE(
            records.at(1).lastMessageAt,
            std::optional<QDateTime>(QDateTime(QDate(2024, 2, 1), QTime(8, 30, 0, 123), Qt::UTC)));
        QCOMPARE(records.at(1).createdBy, std::optional<QString>("Veldrin"));
        QCOMPARE(records.at(2).state, MaskedEmail::State::pending);
        QCOMPARE(records.at(3).state, MaskedEmail::State::enabled);

        const auto batches = network->batches();
        QCOMPARE(batches.size(), 1);
        QCOMPARE(batches.first().json()["using"].toArray().last().toString(),
                 QString("https://www.fastmail.com/dev/maskedemail"));
        QCOMPARE(batches.first().methodNames(), QStringList{"MaskedEmail/get"});
        QCOMPARE(batches.first().callArguments("0"),
                 (QJsonObject{{"accountId", "u1"}, {"ids", QJsonValue::Null}}));
    }

    void createSendsDetailsAndPrefix_data()
    {
        QTest::addColumn<QString>("prefix");
        QTest::addColumn<QJsonObject>("sent");
        const QJsonObject base{
            {"forDomain", "https://shop.example"}, {"description", "Shoes"}, {"state", "enabled"}};
        QJsonObject withPrefix = base;
        withPrefix["emailPrefix"] = "shop";
        QTest::newRow("prefix trimmed") << " shop " << withPrefix;
        QTest::newRow("prefix of spaces is left out") << "   " << base;
        QTest::newRow("no prefix") << "" << base;
    }

    void createSendsDetailsAndPrefix()
    {
        QFETCH(QString, prefix);
        QFETCH(QJsonObject, sent);
        // The service answers with what it decided; the rest comes from the request.
        network->respondTo("MaskedEmail/set", object(R"({"created":{"new":{
        "id":"me-9","email":"shop.4821@fastmail.example","createdAt":"2025-07-01T09:00:00Z",
        "state":"pending","url":null}}})"));
        const MaskedEmail created = await(
            service->create(MaskedEmailDetails{"https://Shop.example/cart", " Shoes "}, prefix));

        QCOMPARE(network->batches().size(), 1);
        QCOMPARE(network->batches().first().callArguments("0"),
                 (QJsonObject{{"accountId", "u1"}, {"create", QJsonObject{{"new", sent}}}}));
        QCOMPARE(created.id, QString("me-9"));
        QCOMPARE(created.email, QString("shop.4821@fastmail.example"));
        QCOMPARE(created.forDomain, QString("https://shop.example"));
        QCOMPARE(created.description, QString("Shoes"));
        // The server's word wins over the request's.
        QCOMPARE(created.state, MaskedEmail::State::pending);
        QCOMPARE(created.createdAt,
                 std::optional<QDateTime>(QDateTime(QDate(2025, 7, 1), QTime(9, 0), Qt::UTC)));
    }

    void createFailures_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::addColumn<QString>("error");
        QTest::newRow("refused") << QByteArray(R"({"notCreated":{"new":{"type":"invalidProperties",
            "description":"emailPrefix must be lowercase letters","properties":["emailPrefix"]}}})")
                                 << "JMAP error: invalidProperties (emailPrefix must be lowercase "
                                    "letters [emailPrefix])";
        QTest::newRow("no created map")
            << QByteArray(R"({"oldState":"1"})")
            << "Unexpected response from Fastmail: created masked email";
        QTest::newRow("created entry not an object")
            << QByteArray(R"({"created":{"new":true}})")
            << "Unexpected response from Fastmail: created masked email";
        QTest::newRow("created entry without an address")
            << QByteArray(R"({"created":{"new":{"id":"me-9"}}})")
            << "Unexpected response from Fastmail: MaskedEmail: No value for the required key "
               "\"email\".";
    }

    void createFailures()
    {
        QFETCH(QByteArray, response);
        QFETCH(QString, error);
        network->respondTo("MaskedEmail/set", QJsonDocument::fromJson(response).object());
        const auto outcome = run(service->create(MaskedEmailDetails{"shop.example", ""}, "Shop"));
        QVERIFY(outcome.error);
        QCOMPARE(Errors::describe(outcome.error), error);
    }

    void updateSendsBothFields()
    {
        network->respondTo("MaskedEmail/set", object(R"({"updated":{"me-1":null}})"));
        await(service->update("me-1", MaskedEmailDetails{"https://shop.example", "new note "}));
        const QJsonObject expected{
            {"accountId", "u1"},
            {"update", QJsonObject{{"me-1", QJsonObject{{"forDomain", "https://shop.example"},
                                                        {"description", "new note"}}}}}};
        QCOMPARE(network->batches().first().callArguments("0"), expected);

        network->respondTo("MaskedEmail/set",
                           object(R"({"notUpdated":{"me-1":{"type":"notFound"}}})"));
        const auto error =
            awaitError<JMAPError>(service->update("me-1", MaskedEmailDetails{"shop.example", ""}));
        QVERIFY(error);
        QCOMPARE(*error, JMAPError::method("notFound", ""));
    }

    void setStateInOneCall()
    {
        await(service->setState(MaskedEmail::State::disabled, {}));
        QVERIFY(network->requests().isEmpty());

        network->respondTo("MaskedEmail/set", object(R"({"updated":{"a":null,"b":null}})"));
        await(service->setState(MaskedEmail::State::deleted, {"a", "b"}));
        QCOMPARE(network->batches().size(), 1);
        QCOMPARE(network->batches().first().callArguments("0"),
                 object(R"({"accountId":"u1","update":{"a":{"state":"deleted"},
                                                    "b":{"state":"deleted"}}})"));

        network->respondTo("MaskedEmail/set", object(R"({"updated":{"a":null},
        "notUpdated":{"b":{"type":"forbidden","description":"Not yours"}}})"));
        const auto error =
            awaitError<JMAPError>(service->setState(MaskedEmail::State::enabled, {"a", "b"}));
        QVERIFY(error);
        QCOMPARE(error->description(), QString("JMAP error: forbidden (Not yours)"));
    }

    void withoutMaskedEmailAccessNothingIsSent()
    {
        QJsonObject session = FakeNetwork::defaultSession();
        QJsonObject primary = session["primaryAccounts"].toObject();
        primary.remove(JMAPClient::maskedEmailCapability);
        session["primaryAccounts"] = primary;
        network->setSession(session);
        const auto error = awaitError<JMAPError>(service->list());
        QVERIFY(error);
        QCOMPARE(*error, JMAPError::noMaskedEmailAccess());
        QVERIFY(network->batches().isEmpty());
    }

private:
    std::unique_ptr<FakeNetwork> network;
    std::unique_ptr<MaskedEmailService> service;
};

QTEST_GUILESS_MAIN(TestMaskedEmail)
#include "tst_maskedemail.moc"
