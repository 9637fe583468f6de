#include "AsyncTest.h"
#include "FakeNetwork.h"
#include "MailFixtures.h"
#include "mail/MailService.h"

#include <QTest>

using namespace AsyncTest;
using namespace MailFixtures;

namespace {

OutgoingMessage message()
{
    OutgoingMessage result;
    result.identity = Identity{"I1", "", "me@example.com", std::nullopt};
    result.to = {EmailAddress{"Anna", "anna@example.com"}};
    result.subject = "Hello";
    result.textBody = "Hi Anna";
    return result;
}

// The keys every draft holds.
QJsonObject base()
{
    return object(R"({
        "mailboxIds":{"drafts":true},"keywords":{"$draft":true,"$seen":true},
        "from":[{"name":null,"email":"me@example.com"}],
        "to":[{"name":"Anna","email":"anna@example.com"}],"cc":[],"bcc":[],
        "subject":"Hello","bodyValues":{"text":{"value":"Hi Anna"}}})");
}

QJsonObject with(QJsonObject object, const char* extra)
{
    const QJsonObject additions = MailFixtures::object(extra);
    for (auto it = additions.begin(); it != additions.end(); ++it)
        object.insert(it.key(), it.value());
    return object;
}

} // namespace

class TestMailDrafts : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void draftObject_data();
    void draftObject();
    void saveDraftReplacesInOneCall();
    void saveDraftFailures_data();
    void saveDraftFailures();
    void calendarFallback_data();
    void calendarFallback();
    void submitBatch();
    void submitWithoutSentOrEnvelope();
    void submitFailures();
    void sendStoresThenSubmits();
    void cancelSubmission();
    void pendingSubmissions();
    void release();

private:
    std::unique_ptr<FakeNetwork> network;
    std::shared_ptr<JMAPClient> client;
    std::unique_ptr<MailService> service;
};

void TestMailDrafts::init()
{
    network = std::make_unique<FakeNetwork>();
    client = std::make_shared<JMAPClient>(FakeNetwork::sessionUrl(), "t", network.get());
    service = std::make_unique<MailService>(client);
    network->respondTo("Email/set", object(R"({"created":{"draft":{"id":"D1"}}})"));
    network->respondTo("EmailSubmission/set", object(R"({"created":{"send":{"id":"S1"}}})"));
}

void TestMailDrafts::draftObject_data()
{
    QTest::addColumn<OutgoingMessage>("message");
    QTest::addColumn<bool>("calendarMethod");
    QTest::addColumn<QJsonObject>("expected");

    QTest::newRow("plain text") << message() << true
                                << with(base(), R"({"textBody":[{"partId":"text",
                                        "type":"text/plain"}]})");

    OutgoingMessage html = message();
    html.htmlBody = "<p>Hi Anna</p>";
    html.identity.name = "Me";
    html.cc = {EmailAddress{std::nullopt, "carl@example.com"}};
    html.inReplyTo = QStringList{};
    html.references = QStringList{"a@x", "b@x"};
    QTest::newRow("html alternative, named sender, empty inReplyTo")
        << html << true << with(base(), R"({
            "from":[{"name":"Me","email":"me@example.com"}],
            "cc":[{"name":null,"email":"carl@example.com"}],
            "bodyValues":{"text":{"value":"Hi Anna"},"html":{"value":"<p>Hi Anna</p>"}},
            "textBody":[{"partId":"text","type":"text/plain"}],
            "htmlBody":[{"partId":"html","type":"text/html"}],
            "references":["a@x","b@x"]})");

    OutgoingMessage attached = message();
    attached.inReplyTo = QStringList{"orig@x"};
    attached.attachments = {{"B1", "report.pdf", "application/pdf"},
                            {"B2", "photo.jpg", "image/jpeg"}};
    QTest::newRow("attachments in order") << attached << true << with(base(), R"({
            "textBody":[{"partId":"text","type":"text/plain"}],
            "attachments":[
                {"blobId":"B1","type":"application/pdf","name":"report.pdf","disposition":"attachment"},
                {"blobId":"B2","type":"image/jpeg","name":"photo.jpg","disposition":"attachment"}],
            "inReplyTo":["orig@x"]})");

    OutgoingMessage invitation = message();
    invitation.calendar = OutgoingMessage::Calendar{"BEGIN:VCALENDAR", "Reply"};
    invitation.attachments = attached.attachments;
    invitation.htmlBody = "<p>unused</p>";
    QTest::newRow("calendar with its method as written, no attachments")
        << invitation << true << with(base(), R"({
            "bodyValues":{"text":{"value":"Hi Anna"},"html":{"value":"<p>unused</p>"},
                          "calendar":{"value":"BEGIN:VCALENDAR"}},
            "bodyStructure":{"type":"multipart/alternative","subParts":[
                {"partId":"text","type":"text/plain"},
                {"partId":"calendar",
                 "header:Content-Type":" text/calendar; method=Reply; charset=utf-8"}]}})");
    QTest::newRow("calendar without the raw header") << invitation << false << with(base(), R"({
            "bodyValues":{"text":{"value":"Hi Anna"},"html":{"value":"<p>unused</p>"},
                          "calendar":{"value":"BEGIN:VCALENDAR"}},
            "bodyStructure":{"type":"multipart/alternative","subParts":[
                {"partId":"text","type":"text/plain"},
                {"partId":"calendar","type":"text/calendar"}]}})");
}

void TestMailDrafts::draftObject()
{
    QFETCH(OutgoingMessage, message);
    QFETCH(bool, calendarMethod);
    QFETCH(QJsonObject, expected);
    const QJsonObject actual = MailService::draft(message, "drafts", calendarMethod);
    if (actual != expected)
        qWarning().noquote() << QJsonDocument(actual).toJson(QJsonDocument::Compact);
    QCOMPARE(actual, expected);
}

void TestMailDrafts::saveDraftReplacesInOneCall()
{
    QCOMPARE(await(service->saveDraft(message(), "drafts", QString("D0"))), QString("D1"));
    QCOMPARE(network->batches().size(), 1);
    const QJsonArray expected{QJsonArray{
        "Email/set",
        QJsonObject{
            {"accountId", "u1"},
            {"create", QJsonObject{{"draft", MailService::draft(message(), "drafts", true)}}},
            {"destroy", QJsonArray{"D0"}}},
        "0"}};
    QCOMPARE(network->batches().first().methodCalls(), expected);

    // A first draft destroys nothing; an old draft that could not be destroyed is no error.
    network->respondTo("Email/set", object(R"({"created":{"draft":{"id":"D2"}},
                                              "notDestroyed":{"D1":{"type":"notFound"}}})"));
    QCOMPARE(await(service->saveDraft(message(), "drafts", std::nullopt)), QString("D2"));
    QVERIFY(!network->batches().last().callArguments("0").contains("destroy"));
}

void TestMailDrafts::saveDraftFailures_data()
{
    QTest::addColumn<QJsonObject>("response");
    QTest::addColumn<QString>("message");
    QTest::newRow("refused draft names its properties")
        << object(R"({"notCreated":{"draft":{"type":"invalidProperties",
                      "description":"Bad address.","properties":["to","cc"]}}})")
        << "JMAP error: invalidProperties (Bad address. [to, cc])";
    QTest::newRow("no created id") << object(R"({"notCreated":{"other":{"type":"tooLarge"}}})")
                                   << "Unexpected response from Fastmail: created draft";
}

void TestMailDrafts::saveDraftFailures()
{
    QFETCH(QJsonObject, response);
    network->respondTo("Email/set", response);
    const auto outcome = run(service->saveDraft(message(), "drafts", std::nullopt));
    QVERIFY(outcome.error);
    QTEST(Errors::describe(outcome.error), "message");
}

void TestMailDrafts::calendarFallback_data()
{
    QTest::addColumn<bool>("calendar");
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("requests");
    QTest::addColumn<bool>("succeeds");
    QTest::newRow("calendar retried without the header")
        << true << "invalidProperties" << 2 << true;
    QTest::newRow("other errors are not retried") << true << "overQuota" << 1 << false;
    QTest::newRow("no calendar, no retry") << false << "invalidProperties" << 1 << false;
}

void TestMailDrafts::calendarFallback()
{
    QFETCH(bool, calendar);
    QFETCH(QString, type);
    OutgoingMessage outgoing = message();
    if (calendar)
        outgoing.calendar = OutgoingMessage::Calendar{"BEGIN:VCALENDAR", "REPLY"};
    network->respondTo("Email/set", [type](const QJsonObject& arguments) {
        const QJsonObject created = arguments["create"]["draft"].toObject();
        if (created.contains("bodyStructure") &&
            created["bodyStructure"]["subParts"][1]["type"] == "text/calendar")
            return object(R"({"created":{"draft":{"id":"D9"}}})");
        return QJsonObject{{"notCreated", QJsonObject{{"draft", QJsonObject{{"type", type}}}}}};
    });
    const auto outcome = run(service->saveDraft(outgoing, "drafts", std::nullopt));
    QTEST(int(network->batches().size()), "requests");
    QFETCH(bool, succeeds);
    if (succeeds) {
        QCOMPARE(*outcome.value, QString("D9"));
    } else {
        QVERIFY(outcome.error);
        QCOMPARE(Errors::describe(outcome.error), "JMAP error: " + type);
    }
}

void TestMailDrafts::submitBatch()
{
    const QDateTime at(QDate(2026, 11, 21), QTime(7, 0, 0, 400), Qt::UTC);
    const Envelope envelope{
        "me@example.com", {"anna@example.com", "carl@example.com"}, Release::at(at)};
    QCOMPARE(
        await(service->submit("D1", "I1", "drafts", QString("sent"), QString("orig"), envelope)),
        QString("S1"));
    QCOMPARE(network->batches().size(), 1);
    const QJsonArray expected = array(R"([
        ["EmailSubmission/set", {"accountId":"u1",
            "create":{"send":{"emailId":"D1","identityId":"I1","envelope":{
                "mailFrom":{"email":"me@example.com",
                            "parameters":{"HOLDUNTIL":"2026-11-21T07:00:00Z"}},
                "rcptTo":[{"email":"anna@example.com","parameters":null},
                          {"email":"carl@example.com","parameters":null}]}}},
            "onSuccessUpdateEmail":{"#send":{"keywords/$draft":null,
                "mailboxIds/drafts":null,"mailboxIds/sent":true}}}, "submit"],
        ["Email/set", {"accountId":"u1","update":{"orig":{"keywords/$answered":true}}},
         "answered"]
    ])");
    QCOMPARE(network->batches().first().methodCalls(), expected);
}

void TestMailDrafts::submitWithoutSentOrEnvelope()
{
    const Envelope envelope{"me@example.com", {"anna@example.com"}, Release::after(30)};
    await(service->submit("D1", "I1", "drafts", std::nullopt, std::nullopt, envelope));
    const QJsonObject arguments = network->batches().first().callArguments("submit");
    QCOMPARE(arguments["onSuccessUpdateEmail"].toObject(),
             object(R"({"#send":{"keywords/$draft":null}})"));
    QCOMPARE(arguments["create"]["send"]["envelope"]["mailFrom"]["parameters"].toObject(),
             object(R"({"HOLDFOR":"30"})"));
    QCOMPARE(network->batches().first().methodNames(), QStringList{"EmailSubmission/set"});

    await(service->submit("D1", "I1", "drafts", QString("sent"), std::nullopt, std::nullopt));
    const QJsonObject plain = network->batches().last().callArguments("submit");
    QVERIFY(!plain["create"]["send"].toObject().contains("envelope"));
}

void TestMailDrafts::submitFailures()
{
    // A failed answered mark does not fail the send.
    network->respondTo("Email/set", object(R"({"notUpdated":{"orig":{"type":"notFound"}}})"));
    QCOMPARE(await(service->submit("D1", "I1", "drafts", QString("sent"), QString("orig"),
                                   std::nullopt)),
             QString("S1"));
    network->respondTo("EmailSubmission/set",
                       object(R"({"notCreated":{"send":{"type":"forbiddenFrom"}}})"));
    QCOMPARE(*awaitError<JMAPError>(
                 service->submit("D1", "I1", "drafts", std::nullopt, std::nullopt, std::nullopt)),
             JMAPError::method("forbiddenFrom", ""));
    network->respondTo("EmailSubmission/set", object(R"({"created":{}})"));
    QCOMPARE(*awaitError<JMAPError>(
                 service->submit("D1", "I1", "drafts", std::nullopt, std::nullopt, std::nullopt)),
             JMAPError::malformed("created submission"));
}

void TestMailDrafts::sendStoresThenSubmits()
{
    OutgoingMessage outgoing = message();
    outgoing.answeredEmailId = "orig";
    await(service->send(outgoing, "drafts", QString("sent")));
    const auto batches = network->batches();
    QCOMPARE(batches.size(), 2);
    QCOMPARE(batches[0].methodNames(), QStringList{"Email/set"});
    QVERIFY(!batches[0].callArguments("0").contains("destroy"));
    QCOMPARE(batches[1].methodNames(), QStringList({"EmailSubmission/set", "Email/set"}));
    const QJsonObject arguments = batches[1].callArguments("submit");
    const QJsonObject submission = arguments["create"]["send"].toObject();
    QCOMPARE(submission, object(R"({"emailId":"D1","identityId":"I1"})"));
}

void TestMailDrafts::cancelSubmission()
{
    network->respondTo("EmailSubmission/set", object(R"({"updated":{"S1":null}})"));
    network->respondTo("Email/set", object(R"({"updated":{"D1":null}})"));
    await(service->cancelSubmission("S1", "D1", "drafts", QString("sent")));
    const auto batches = network->batches();
    QCOMPARE(batches.size(), 2);
    QCOMPARE(batches[0].methodCalls(), array(R"([["EmailSubmission/set",{"accountId":"u1",
                 "update":{"S1":{"undoStatus":"canceled"}}},"cancel"]])"));
    QCOMPARE(batches[1].methodCalls(),
             array(R"([["Email/set",{"accountId":"u1","update":{"D1":{"keywords/$draft":true,
                 "mailboxIds/drafts":true,"mailboxIds/sent":null}}},"0"]])"));

    // Too late: the refusal surfaces and the email is not touched.
    network->clearRequests();
    network->respondTo("EmailSubmission/set", object(R"({"notUpdated":{"S1":{"type":"cannotUnsend",
                                 "description":"Already sent."}}})"));
    QCOMPARE(*awaitError<JMAPError>(service->cancelSubmission("S1", "D1", "drafts", std::nullopt)),
             JMAPError::method("cannotUnsend", "Already sent."));
    QCOMPARE(network->batches().size(), 1);
}

void TestMailDrafts::pendingSubmissions()
{
    QVERIFY(await(service->pendingSubmissions({})).isEmpty());
    QVERIFY(network->requests().isEmpty());

    network->respondTo("EmailSubmission/query", object(R"({"ids":["S1"]})"));
    network->respondTo("EmailSubmission/get", list(array(R"([
        {"id":"S1","emailId":"D1","sendAt":"2026-11-21T07:00:05Z"}])")));
    const auto pending = await(service->pendingSubmissions({"D1", "D2"}));
    QCOMPARE(pending, (QList<PendingSubmission>{
                          {"S1", "D1", QDateTime(QDate(2026, 11, 21), QTime(7, 0, 5), Qt::UTC)}}));
    QCOMPARE(network->batches().size(), 1);
    QCOMPARE(network->batches().first().methodCalls(), array(R"([
        ["EmailSubmission/query",{"accountId":"u1",
            "filter":{"emailIds":["D1","D2"],"undoStatus":"pending"}},"query"],
        ["EmailSubmission/get",{"accountId":"u1",
            "#ids":{"resultOf":"query","name":"EmailSubmission/query","path":"/ids"},
            "properties":["id","emailId","sendAt"]},"get"]])"));

    network->respondTo("EmailSubmission/get", list(array(R"([{"id":"S1","emailId":"D1"}])")));
    QCOMPARE(*awaitError<JMAPError>(service->pendingSubmissions({"D1"})),
             JMAPError::malformed(
                 "Array<PendingSubmission>: No value for the required key \"sendAt\"."));
}

void TestMailDrafts::release()
{
    const QDateTime now(QDate(2026, 11, 21), QTime(7, 0, 0), Qt::UTC);
    QCOMPARE(Release::at(now.addMSecs(10200)).delay(now), 11);
    QCOMPARE(Release::at(now.addSecs(10)).delay(now), 10);
    QCOMPARE(Release::at(now.addMSecs(-1500)).delay(now), -1);
    QCOMPARE(Release::after(30).delay(now), 30);
    QCOMPARE(Release::after(30).parameter(), std::make_pair(QString("HOLDFOR"), QString("30")));
    const QDateTime local(QDate(2026, 11, 21), QTime(9, 0, 0), QTimeZone("Europe/Berlin"));
    QCOMPARE(Release::at(local).parameter(),
             std::make_pair(QString("HOLDUNTIL"), QString("2026-11-21T08:00:00Z")));
}

QTEST_GUILESS_MAIN(TestMailDrafts)
#include "tst_maildrafts.moc"
