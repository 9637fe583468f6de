#include "AsyncTest.h"
#include "FakeNetwork.h"
#include "MailFixtures.h"
#include "mail/MailService.h"

#include <QSet>
#include <QTest>

using namespace AsyncTest;
using namespace MailFixtures;

class TestMailChanges : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        network = std::make_unique<FakeNetwork>();
        client = std::make_shared<JMAPClient>(FakeNetwork::sessionUrl(), "t", network.get());
        service = std::make_unique<MailService>(client);
        network->respondTo("Email/set", object(R"({"updated":{}})"));
    }

    void emptyChangesSendNothing()
    {
        await(service->update({}));
        await(service->setKeyword("$seen", true, {}));
        await(service->move({}, QString("inbox"), "archive"));
        await(service->destroy({}));
        QVERIFY(network->requests().isEmpty());
    }

    void patches_data()
    {
        QTest::addColumn<int>("operation");
        QTest::addColumn<QJsonObject>("expected");
        QTest::newRow("move out of one mailbox") << 0 << object(R"({
        "m1":{"mailboxIds/inbox":null,"mailboxIds/archive":true},
        "m2":{"mailboxIds/inbox":null,"mailboxIds/archive":true}})");
        QTest::newRow("move without a source replaces all mailboxes") << 1 << object(R"({
        "m1":{"mailboxIds":{"archive":true}},"m2":{"mailboxIds":{"archive":true}}})");
        QTest::newRow("keyword on") << 2 << object(R"({
        "m1":{"keywords/$flagged":true},"m2":{"keywords/$flagged":true}})");
        QTest::newRow("keyword off writes null") << 3 << object(R"({
        "m1":{"keywords/$seen":null},"m2":{"keywords/$seen":null}})");
    }

    void patches()
    {
        QFETCH(int, operation);
        QFETCH(QJsonObject, expected);
        Email first;
        first.id = "m1";
        Email second;
        second.id = "m2";
        switch (operation) {
        case 0:
            await(service->move({first, second}, QString("inbox"), "archive"));
            break;
        case 1:
            await(service->move({first, second}, std::nullopt, "archive"));
            break;
        case 2:
            await(service->setKeyword("$flagged", true, {"m1", "m2"}));
            break;
        default:
            await(service->setKeyword("$seen", false, {"m1", "m2"}));
            break;
        }
        QCOMPARE(network->batches().size(), 1);
        QCOMPARE(network->batches().first().methodCalls(),
                 (QJsonArray{QJsonArray{
                     "Email/set", QJsonObject{{"accountId", "u1"}, {"update", expected}}, "0"}}));
    }

    void refusals_data()
    {
        QTest::addColumn<QJsonObject>("response");
        QTest::addColumn<QString>("message"); // empty: no error
        QTest::newRow("notUpdated empty") << object(R"({"updated":{},"notUpdated":{}})") << "";
        QTest::newRow("notUpdated null") << object(R"({"notUpdated":null})") << "";
        QTest::newRow("refused patch with properties")
            << object(R"({"notUpdated":{"m1":{"type":"invalidProperties",
                      "description":" Bad keyword ","properties":["keywords/x y"]}}})")
            << "JMAP error: invalidProperties (Bad keyword  [keywords/x y])";
        QTest::newRow("refusal without type")
            << object(R"({"notUpdated":{"m1":{"description":"gone"}}})")
            << "JMAP error: unknown (gone)";
        QTest::newRow("only blanks are trimmed from the description")
            << object(R"({"notUpdated":{"m1":{"type":"forbidden","description":"\n\t No. \r\n"}}})")
            << "JMAP error: forbidden (\n\t No. \r\n)";
        QTest::newRow("first refusal in map order")
            << object(R"({"notUpdated":{"m2":{"type":"b"},"m1":{"type":"a"}}})") << "JMAP error: a";
    }

    void refusals()
    {
        QFETCH(QJsonObject, response);
        QFETCH(QString, message);
        network->respondTo("Email/set", response);
        const auto outcome = run(service->setKeyword("$seen", true, {"m1", "m2"}));
        if (message.isEmpty()) {
            QVERIFY(!outcome.error);
            return;
        }
        QVERIFY(outcome.error);
        QCOMPARE(Errors::describe(outcome.error), message);
    }

    void markAllReadRounds_data()
    {
        QTest::addColumn<int>("unread");
        QTest::addColumn<int>("queries");
        QTest::addColumn<int>("sets");
        QTest::newRow("1200 in rounds of 500, 500 and 200") << 1200 << 3 << 3;
        QTest::newRow("exactly 500 needs an empty second query") << 500 << 2 << 1;
        QTest::newRow("nothing unread") << 0 << 1 << 0;
    }

    void markAllReadRounds()
    {
        QFETCH(int, unread);
        // A mailbox that really marks mail read.
        QStringList store;
        for (int i = 0; i < unread; ++i)
            store.append(QStringLiteral("e%1").arg(i));
        network->respondTo("Email/query", [&store](const QJsonObject& arguments) {
            return QJsonObject{
                {"ids", QJsonArray::fromStringList(store.mid(0, arguments["limit"].toInt()))}};
        });
        QList<int> roundSizes;
        network->respondTo("Email/set", [&store, &roundSizes](const QJsonObject& arguments) {
            const QJsonObject update = arguments["update"].toObject();
            roundSizes.append(int(update.size()));
            for (auto it = update.begin(); it != update.end(); ++it) {
                if (it.value().toObject() == QJsonObject{{"keywords/$seen", true}})
                    store.removeAll(it.key());
            }
            return QJsonObject{{"updated", QJsonObject{}}};
        });

        const QStringList changed = await(service->markAllRead("inbox", 500));
        QCOMPARE(changed.size(), unread);
        QCOMPARE(QSet<QString>(changed.begin(), changed.end()).size(), unread);
        QVERIFY(store.isEmpty());
        int queries = 0;
        int sets = 0;
        for (const RecordedRequest& batch : network->batches()) {
            QCOMPARE(batch.methodNames().size(), 1);
            if (batch.methodNames().first() == u"Email/query") {
                ++queries;
                QCOMPARE(batch.methodCalls().first().toArray(),
                         array(R"(["Email/query", {"accountId":"u1",
                        "filter":{"inMailbox":"inbox","notKeyword":"$seen"},"limit":500},
                        "query"])"));
            } else {
                ++sets;
            }
        }
        QTEST(queries, "queries");
        QTEST(sets, "sets");
        if (unread == 1200)
            QCOMPARE(roundSizes, QList<int>({500, 500, 200}));
    }

    void markAllReadStopsWhenNothingIsNew()
    {
        // A server that accepts the changes but keeps reporting the same mail unread, ignores the
        // limit and repeats ids: each is patched once, in the order first seen.
        QStringList stuck;
        QJsonArray reported;
        const int count = 60000;
        for (int i = 0; i < count; ++i) {
            stuck.append(QStringLiteral("s%1").arg(i));
            reported.append(stuck.last());
            reported.append(QStringLiteral("s%1").arg(i / 2));
        }
        network->respondTo("Email/query", QJsonObject{{"ids", reported}});
        QCOMPARE(await(service->markAllRead("inbox", 3)), stuck);
        QCOMPARE(network->batches().size(), 3); // query, set, query
        QCOMPARE(network->batches()
                     .at(1)
                     .methodCalls()
                     .first()
                     .toArray()
                     .at(1)["update"]
                     .toObject()
                     .size(),
                 count);
    }

    void markAllReadFailureInALaterRound()
    {
        int round = 0;
        network->respondTo("Email/query", [&round](const QJsonObject&) {
            ++round;
            return QJsonObject{{"ids", round == 1 ? QJsonArray{"a", "b"} : QJsonArray{"c"}}};
        });
        network->respondTo("Email/set", [&round](const QJsonObject&) {
            if (round == 2)
                return object(R"({"notUpdated":{"c":{"type":"forbidden"}}})");
            return object(R"({"updated":{}})");
        });
        QCOMPARE(*awaitError<JMAPError>(service->markAllRead("inbox", 2)),
                 JMAPError::method("forbidden", ""));
    }

    void destroy()
    {
        await(service->destroy({"m1", "m2"}));
        QCOMPARE(network->batches().first().methodCalls(),
                 array(R"([["Email/set",{"accountId":"u1","destroy":["m1","m2"]},"0"]])"));
        network->respondTo("Email/set", object(R"({"notDestroyed":{"m2":{"type":"notFound"}}})"));
        QCOMPARE(*awaitError<JMAPError>(service->destroy({"m2"})),
                 JMAPError::method("notFound", ""));
    }

private:
    std::unique_ptr<FakeNetwork> network;
    std::shared_ptr<JMAPClient> client;
    std::unique_ptr<MailService> service;
};

QTEST_GUILESS_MAIN(TestMailChanges)
#include "tst_mailchanges.moc"
