#include "AsyncTest.h"
#include "FakeNetwork.h"
#include "jmap/JMAPDecoding.h"
#include "mail/MailService.h"
#include "mail/SearchQuery.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

namespace {

// 100 threads of five messages: 500 summary emails, as a full inbox page would bring.
QJsonArray summaryEmails()
{
    QJsonArray emails;
    for (int i = 0; i < 500; ++i) {
        const QString id = QStringLiteral("M%1").arg(i);
        emails.append(QJsonObject{
            {"id", id},
            {"threadId", QStringLiteral("T%1").arg(i / 5)},
            {"blobId", "B" + id},
            {"mailboxIds", QJsonObject{{"inbox", true}}},
            {"keywords", i % 3 ? QJsonObject{{"$seen", true}} : QJsonObject{}},
            {"from",
             QJsonArray{QJsonObject{{"name", QStringLiteral("Sender %1").arg(i % 17)},
                                    {"email", QStringLiteral("s%1@example.com").arg(i % 17)}}}},
            {"to",
             QJsonArray{QJsonObject{{"name", QJsonValue::Null}, {"email", "me@example.com"}}}},
            {"subject", QStringLiteral("Re: A conversation about item %1").arg(i / 5)},
            {"receivedAt", QStringLiteral("2026-11-%1T08:%2:30Z")
                               .arg(1 + i % 28, 2, 10, QLatin1Char('0'))
                               .arg(i % 60, 2, 10, QLatin1Char('0'))},
            {"preview", QStringLiteral("A preview of some two hundred characters of text that the "
                                       "list shows under the subject line of message %1")
                            .arg(i)},
            {"hasAttachment", i % 7 == 0},
            {"messageId", QJsonArray{id + "@example.com"}}});
    }
    return emails;
}

QStringList searchLines()
{
    const QStringList parts = {"invoice",           "from:anna",
                               "-in:Trash",         "\"weekly report\"",
                               "is:unread",         "after:2026-10-01",
                               "larger:2M",         "subject:re: hi",
                               "in:Archive",        "has:attachment",
                               "-from:noreply",     "note:x",
                               "before:2026/12/24", "in:\"Projects/Veldrin\"",
                               "smaller:500k"};
    QStringList lines;
    lines.reserve(10000);
    for (int i = 0; i < 10000; ++i) {
        QStringList words;
        for (int j = 0; j <= i % 4; ++j)
            words.append(parts.at((i * 7 + j * 3) % parts.size()));
        lines.append(words.join(u' '));
    }
    return lines;
}

} // namespace

class BenchMail : public QObject
{
    Q_OBJECT
private slots:
    void decodeSummaryEmails();
    void threadPageThroughTheService();
    void filtersFromSearchLines();
};

void BenchMail::decodeSummaryEmails()
{
    const QByteArray body =
        QJsonDocument(QJsonObject{{"list", summaryEmails()}}).toJson(QJsonDocument::Compact);
    qsizetype count = 0;
    QBENCHMARK
    {
        const QJsonObject response = QJsonDocument::fromJson(body).object();
        count = JMAPDecoding::decodeList<Email>(response.value("list")).size();
    }
    QCOMPARE(count, 500);
}

void BenchMail::threadPageThroughTheService()
{
    FakeNetwork network;
    const QJsonArray emails = summaryEmails();
    QJsonArray ids;
    QJsonArray anchors;
    QJsonArray threads;
    for (int t = 0; t < 100; ++t) {
        const QString anchor = QStringLiteral("M%1").arg(t * 5 + 4);
        ids.append(anchor);
        anchors.append(QJsonObject{{"id", anchor}, {"threadId", QStringLiteral("T%1").arg(t)}});
        QJsonArray members;
        for (int m = 0; m < 5; ++m)
            members.append(QStringLiteral("M%1").arg(t * 5 + m));
        threads.append(QJsonObject{{"id", QStringLiteral("T%1").arg(t)}, {"emailIds", members}});
    }
    network.respondTo("Email/query", QJsonObject{{"ids", ids}, {"total", 4000}});
    network.respondTo("Thread/get", QJsonObject{{"list", threads}});
    network.respondTo("Email/get", [emails, anchors](const QJsonObject& arguments) {
        return QJsonObject{
            {"list", arguments.value("properties").toArray().size() == 1 ? anchors : emails}};
    });
    auto client = std::make_shared<JMAPClient>(FakeNetwork::sessionUrl(), "t", &network);
    MailService service(client);
    AsyncTest::await(client->session());
    ThreadPage page;
    QBENCHMARK
    {
        page = AsyncTest::await(service.threads("inbox", "", {}, 0, 100));
    }
    QCOMPARE(page.threads.size(), 100);
    QCOMPARE(page.threads.first().emails.size(), 5);
}

void BenchMail::filtersFromSearchLines()
{
    Mailbox archive;
    archive.id = "a";
    archive.name = "Archive";
    archive.role = "archive";
    Mailbox projects;
    projects.id = "p";
    projects.name = "Projects";
    Mailbox veldrin;
    veldrin.id = "v";
    veldrin.name = "Veldrin";
    veldrin.parentId = "p";
    Mailbox trash;
    trash.id = "t";
    trash.name = "Trash";
    trash.role = "trash";
    const QList<Mailbox> mailboxes = {archive, projects, veldrin, trash};
    const QStringList lines = searchLines();
    const QTimeZone zone("Europe/Berlin");
    qsizetype built = 0;
    QBENCHMARK
    {
        built = 0;
        for (const QString& line : lines)
            built += SearchQuery::filter("inbox", line, mailboxes, zone).isEmpty() ? 0 : 1;
    }
    QCOMPARE(built, 10000);
}

QTEST_GUILESS_MAIN(BenchMail)
#include "bench_mail.moc"
