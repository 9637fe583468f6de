#include "AsyncTest.h"
#include "EmailIds.h"
#include "FakeNetwork.h"
#include "MailFixtures.h"
#include "mail/MailService.h"

#include <QTest>

using namespace AsyncTest;
using namespace MailFixtures;

class TestMailReads : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void pageBatchIsOneRequest();
    void pageAssembly();
    void pageEdgeCases_data();
    void pageEdgeCases();
    void pageSearchBecomesTheFilter();
    void pageFailsOnAnyReadResponse_data();
    void pageFailsOnAnyReadResponse();
    void fullThreads();
    void noThreadsNoRequest();
    void unreadEmails();
    void recipientsKeepDuplicates();

private:
    std::unique_ptr<FakeNetwork> network;
    std::shared_ptr<JMAPClient> client;
    std::unique_ptr<MailService> service;
    // The summary emails the fake's Email/get answers with; the anchor call gets id and
    // threadId of the same records.
    QJsonArray emails;
    void answerEmailGets();
};

void TestMailReads::init()
{
    network = std::make_unique<FakeNetwork>();
    client = std::make_shared<JMAPClient>(FakeNetwork::sessionUrl(), "t", network.get());
    service = std::make_unique<MailService>(client);
    emails = {};
}

void TestMailReads::answerEmailGets()
{
    network->respondTo("Email/get", [this](const QJsonObject& arguments) {
        if (arguments.value("properties") == QJsonArray{"threadId"}) {
            QJsonArray anchors;
            for (const QJsonValue& email : emails)
                anchors.append(QJsonObject{{"id", email["id"]}, {"threadId", email["threadId"]}});
            return list(anchors);
        }
        return list(emails);
    });
}

void TestMailReads::pageBatchIsOneRequest()
{
    network->respondTo("Email/query", object(R"({"ids":[],"total":0,"position":0})"));
    network->respondTo("Thread/get", list({}));
    answerEmailGets();
    const ThreadPage page = await(service->threads("inbox", "", {}, 100, 50));
    QCOMPARE(page, ThreadPage{});

    QCOMPARE(network->batches().size(), 1);
    const QJsonArray expected = array(R"([
        ["Email/query", {"accountId":"u1","filter":{"inMailbox":"inbox"},
            "sort":[{"property":"receivedAt","isAscending":false}],"collapseThreads":true,
            "position":100,"limit":50,"calculateTotal":true}, "query"],
        ["Email/get", {"accountId":"u1",
            "#ids":{"resultOf":"query","name":"Email/query","path":"/ids"},
            "properties":["threadId"]}, "anchors"],
        ["Thread/get", {"accountId":"u1",
            "#ids":{"resultOf":"anchors","name":"Email/get","path":"/list/*/threadId"}}, "threads"],
        ["Email/get", {"accountId":"u1",
            "#ids":{"resultOf":"threads","name":"Thread/get","path":"/list/*/emailIds"},
            "properties":["id","threadId","blobId","mailboxIds","keywords","from","to","subject",
                          "receivedAt","preview","hasAttachment","messageId"]}, "emails"]
    ])");
    QCOMPARE(network->batches().first().methodCalls(), expected);
}

void TestMailReads::pageAssembly()
{
    // Query order is the page order; T3 lost one of its three emails between the calls; the
    // anchor of T4 is gone; T5 has no thread record; a repeated record keeps the first.
    network->respondTo("Email/query", object(R"({"ids":["c2","a1","b1","d1","e1"],"total":42})"));
    network->respondTo("Thread/get", list(array(R"([
        {"id":"T1","emailIds":["a1"]},
        {"id":"T3","emailIds":["c1","gone","c2"]},
        {"id":"T2","emailIds":["b1"]},
        {"id":"T1","emailIds":["zz"]},
        {"id":"T4","emailIds":["d2"]}
    ])")));
    emails = {summaryEmail("a1", "T1"), summaryEmail("b1", "T2"),
              summaryEmail("c1", "T3"), summaryEmail("c2", "T3", "bo@example.com", false),
              summaryEmail("d2", "T4"), summaryEmail("e1", "T5")};
    answerEmailGets();

    const ThreadPage page = await(service->threads("inbox", "", {}, 0, 50));
    QCOMPARE(page.total, 42);
    QCOMPARE(page.threads.size(), 3);
    QCOMPARE(page.threads[0].id, QString("T3"));
    QCOMPARE(page.threads[0].anchorId, QString("c2"));
    QCOMPARE(idsOf(page.threads[0].emails), QStringList({"c1", "c2"}));
    QVERIFY(page.threads[0].isUnread());
    QCOMPARE(page.threads[1].id, QString("T1"));
    QCOMPARE(idsOf(page.threads[1].emails), QStringList({"a1"}));
    QCOMPARE(page.threads[2].id, QString("T2"));
    QCOMPARE(network->batches().size(), 1);
}

void TestMailReads::pageEdgeCases_data()
{
    QTest::addColumn<QJsonObject>("query");
    QTest::addColumn<int>("rows");
    QTest::addColumn<qint64>("total");
    QTest::newRow("position beyond the end keeps the total")
        << object(R"({"ids":[],"total":120})") << 0 << qint64(120);
    QTest::newRow("no total counts the rows") << object(R"({"ids":["a1","b1"]})") << 2 << qint64(2);
    QTest::newRow("total not an integer counts the rows")
        << object(R"({"ids":["a1"],"total":"many"})") << 1 << qint64(1);
    QTest::newRow("ids not strings count as none")
        << object(R"({"ids":["a1",7],"total":5})") << 0 << qint64(5);
    QTest::newRow("no ids") << object(R"({"total":5})") << 0 << qint64(5);
}

void TestMailReads::pageEdgeCases()
{
    QFETCH(QJsonObject, query);
    network->respondTo("Email/query", query);
    network->respondTo(
        "Thread/get",
        list(array(R"([{"id":"T1","emailIds":["a1"]},{"id":"T2","emailIds":["b1"]}])")));
    emails = {summaryEmail("a1", "T1"), summaryEmail("b1", "T2")};
    answerEmailGets();
    const ThreadPage page = await(service->threads("inbox", "", {}, 0, 50));
    QTEST(int(page.threads.size()), "rows");
    QTEST(page.total, "total");
}

void TestMailReads::pageSearchBecomesTheFilter()
{
    network->respondTo("Email/query", object(R"({"ids":[]})"));
    network->respondTo("Thread/get", list({}));
    answerEmailGets();
    Mailbox archive;
    archive.id = "arch";
    archive.name = "Archive";
    await(service->threads("inbox", "in:archive from:anna after:2026-10-01", {archive}, 0, 20,
                           QTimeZone("Europe/Berlin")));
    QCOMPARE(network->batches().first().callArguments("query").value("filter").toObject(),
             object(R"({"operator":"AND","conditions":[{"inMailbox":"arch"},{"from":"anna"},
                       {"after":"2026-09-30T22:00:00Z"}]})"));
}

void TestMailReads::pageFailsOnAnyReadResponse_data()
{
    QTest::addColumn<QString>("failing");
    QTest::addColumn<JMAPError>("expected");
    QTest::newRow("query") << "Email/query" << JMAPError::method("unsupportedFilter", "bad");
    QTest::newRow("threads") << "Thread/get" << JMAPError::method("unsupportedFilter", "bad");
    QTest::newRow("emails") << "Email/get" << JMAPError::method("unsupportedFilter", "bad");
}

void TestMailReads::pageFailsOnAnyReadResponse()
{
    QFETCH(QString, failing);
    network->respondTo("Email/query", object(R"({"ids":["a1"],"total":1})"));
    network->respondTo("Thread/get", list(array(R"([{"id":"T1","emailIds":["a1"]}])")));
    emails = {summaryEmail("a1", "T1")};
    answerEmailGets();
    network->respondWithError(failing, "unsupportedFilter", "bad");
    QTEST(*awaitError<JMAPError>(service->threads("inbox", "", {}, 0, 50)), "expected");
}

void TestMailReads::fullThreads()
{
    network->respondTo("Thread/get", list(array(R"([
        {"id":"T1","emailIds":["a1","a2"]},{"id":"T2","emailIds":["b1","lost"]}])")));
    QJsonObject full = summaryEmail("a2", "T1");
    full["bodyValues"] = object(R"({"1":{"value":"Hello"}})");
    full["textBody"] = array(R"([{"partId":"1","type":"text/plain"}])");
    emails = {summaryEmail("b1", "T2"), full, summaryEmail("a1", "T1")};
    answerEmailGets();

    const auto threads = await(service->threads(QStringList{"T1", "T2", "T9"}));
    QCOMPARE(threads.keys(), QStringList({"T1", "T2"}));
    QCOMPARE(idsOf(threads["T1"]), QStringList({"a1", "a2"}));
    QCOMPARE(threads["T1"][1].bodyValues->value("1").value, QString("Hello"));
    QCOMPARE(idsOf(threads["T2"]), QStringList({"b1"}));

    QCOMPARE(network->batches().size(), 1);
    const QJsonArray expected = array(R"([
        ["Thread/get", {"accountId":"u1","ids":["T1","T2","T9"]}, "thread"],
        ["Email/get", {"accountId":"u1",
            "#ids":{"resultOf":"thread","name":"Thread/get","path":"/list/*/emailIds"},
            "properties":["id","threadId","blobId","mailboxIds","keywords","from","to","subject",
                "receivedAt","preview","hasAttachment","messageId","cc","bcc","replyTo",
                "inReplyTo","references","size","bodyValues","textBody","htmlBody","attachments",
                "header:List-Unsubscribe:asURLs","header:List-Unsubscribe-Post:asText"],
            "fetchTextBodyValues":true,"fetchHTMLBodyValues":true}, "emails"]
    ])");
    QCOMPARE(network->batches().first().methodCalls(), expected);

    QCOMPARE(idsOf(await(service->thread("T1"))), QStringList({"a1", "a2"}));
    QVERIFY(await(service->thread("T9")).isEmpty());
    QCOMPARE(network->batches().size(), 3);
}

void TestMailReads::noThreadsNoRequest()
{
    QVERIFY(await(service->threads(QStringList{})).isEmpty());
    QVERIFY(network->requests().isEmpty());
}

void TestMailReads::unreadEmails()
{
    emails = {summaryEmail("n2", "T2", "x@example.com", false),
              summaryEmail("n1", "T1", "y@example.com", false)};
    answerEmailGets();
    network->respondTo("Email/query", object(R"({"ids":["n2","n1"]})"));
    const QDateTime since(QDate(2026, 11, 20), QTime(9, 30, 15, 500), QTimeZone("Europe/Berlin"));
    QCOMPARE(idsOf(await(service->unreadEmails("inbox", since, 20))), QStringList({"n2", "n1"}));
    QCOMPARE(network->batches().size(), 1);
    const QJsonArray expected = array(R"([
        ["Email/query", {"accountId":"u1",
            "filter":{"inMailbox":"inbox","notKeyword":"$seen","after":"2026-11-20T08:30:15Z"},
            "sort":[{"property":"receivedAt","isAscending":false}],"limit":20}, "query"],
        ["Email/get", {"accountId":"u1",
            "#ids":{"resultOf":"query","name":"Email/query","path":"/ids"},
            "properties":["id","threadId","blobId","mailboxIds","keywords","from","to","subject",
                          "receivedAt","preview","hasAttachment","messageId"]}, "emails"]
    ])");
    QCOMPARE(network->batches().first().methodCalls(), expected);
}

void TestMailReads::recipientsKeepDuplicates()
{
    network->respondTo("Email/query", object(R"({"ids":["a","b"]})"));
    network->respondTo("Email/get", list(array(R"([
        {"id":"a","to":[{"name":"Anna","email":"anna@x"}],"cc":null,
         "bcc":[{"email":"boss@x"}]},
        {"id":"b","to":[{"email":"anna@x"}],"cc":[{"name":"Carl","email":"carl@x"}]}
    ])")));
    const auto addresses = await(service->recipients("sent", 200));
    QStringList emails;
    for (const EmailAddress& address : addresses)
        emails.append(address.email);
    QCOMPARE(emails, QStringList({"anna@x", "boss@x", "anna@x", "carl@x"}));
    QCOMPARE(addresses.first().name, std::optional<QString>("Anna"));
    QCOMPARE(network->batches().size(), 1);
    const QJsonArray expected = array(R"([
        ["Email/query", {"accountId":"u1","filter":{"inMailbox":"sent"},
            "sort":[{"property":"receivedAt","isAscending":false}],"limit":200}, "query"],
        ["Email/get", {"accountId":"u1",
            "#ids":{"resultOf":"query","name":"Email/query","path":"/ids"},
            "properties":["to","cc","bcc"]}, "emails"]
    ])");
    QCOMPARE(network->batches().first().methodCalls(), expected);
}

QTEST_GUILESS_MAIN(TestMailReads)
#include "tst_mailreads.moc"
