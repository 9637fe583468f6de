#include "AsyncTest.h"
#include "FakeNetwork.h"
#include "jmap/JMAPClient.h"

#include <QTest>

using namespace AsyncTest;

// Downloads and uploads of blobs; the JMAP client test leaves them to this one.
class TestBlobTransfer : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        network = std::make_unique<FakeNetwork>();
        activity.clear();
    }

    void downloadUrl_data()
    {
        QTest::addColumn<QString>("templateUrl");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QByteArray>("expected");
        const QString base = "https://jmap.example.test/dl/";
        QTest::newRow("blanks encoded, accented letters kept")
            << base + "{accountId}/{blobId}/{name}?type={type}"
            << "Café menü.pdf"
            << "application/pdf"
            << QByteArray("https://jmap.example.test/dl/u1/B%2B1/Caf%C3%A9%20men%C3%BC.pdf"
                          "?type=application%2Fpdf");
        QTest::newRow("slash of the type encoded in the path")
            << base + "{blobId}/{type}/{name}"
            << "a.txt"
            << "text/plain" << QByteArray("https://jmap.example.test/dl/B%2B1/text%2Fplain/a.txt");
        QTest::newRow("template without a name")
            << base + "{accountId}/{blobId}"
            << "ignored"
            << "text/plain" << QByteArray("https://jmap.example.test/dl/u1/B%2B1");
        QTest::newRow("every occurrence replaced")
            << base + "{blobId}/{blobId}"
            << "x"
            << "y" << QByteArray("https://jmap.example.test/dl/B%2B1/B%2B1");
        QTest::newRow("symbols and emoji encoded, other scripts kept")
            << base + "{name}"
            << "日本 & Co 😀~_-.txt"
            << "x"
            << QByteArray("https://jmap.example.test/dl/%E6%97%A5%E6%9C%AC%20%26%20Co%20"
                          "%F0%9F%98%80~_-.txt");
    }

    void downloadUrl()
    {
        QFETCH(QString, templateUrl);
        QFETCH(QString, name);
        QFETCH(QString, type);
        QJsonObject session = FakeNetwork::defaultSession();
        session["downloadUrl"] = templateUrl;
        auto jmap = client(session);
        const auto outcome = run(jmap->download("B+1", name, type));
        const RecordedRequest& request = network->requests().last();
        QTEST(request.url.toEncoded(), "expected");
        QCOMPARE(request.verb, QByteArray("GET"));
        QCOMPARE(request.headers.value("Authorization"), QByteArray("Bearer tok"));
        QCOMPARE(request.transferTimeout, 60000);
        Q_UNUSED(outcome); // the fake has no blob there: only the request matters here
    }

    void downloadWithoutUploadUrl()
    {
        QJsonObject session = FakeNetwork::defaultSession();
        session.remove("uploadUrl");
        auto jmap = client(session);
        network->setResponse(QUrl("https://jmap.example.test/jmap/download/u1/B1/a.bin"),
                             {200, QByteArray("\x00\x01\x02", 3), "application/octet-stream"});
        QCOMPARE(await(jmap->download("B1", "a.bin", "application/octet-stream")),
                 QByteArray("\x00\x01\x02", 3));
        QCOMPARE(activity, (QList<QPair<JMAPActivity, bool>>{{JMAPActivity::fetching, true},
                                                             {JMAPActivity::fetching, false},
                                                             {JMAPActivity::fetching, true},
                                                             {JMAPActivity::fetching, false}}));
        QCOMPARE(*awaitError<JMAPError>(jmap->upload("x", "text/plain")),
                 JMAPError::malformed("upload URL"));
    }

    void downloadFailures_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<JMAPError>("expected");
        QTest::newRow("401 is a rejected token") << 401 << JMAPError::unauthorized();
        QTest::newRow("404 is HTTP") << 404 << JMAPError::http(404, "blob gone");
    }

    void downloadFailures()
    {
        QFETCH(int, status);
        auto jmap = client();
        network->setResponse(QUrl("https://jmap.example.test/jmap/download/u1/B1/a.bin"),
                             {status, "blob gone", "text/plain"});
        QTEST(*awaitError<JMAPError>(jmap->download("B1", "a.bin", "x")), "expected");
    }

    void uploadRequest()
    {
        auto jmap = client();
        const QUrl uploadUrl("https://jmap.example.test/jmap/upload/u1/");
        network->setResponse(uploadUrl, {201, R"({"accountId":"u1","blobId":"G9","type":"image/png",
                                               "size":4})"});
        QCOMPARE(await(jmap->upload(QByteArray("\x89PNG", 4), "image/png")), QString("G9"));
        const RecordedRequest& request = network->requests().last();
        QCOMPARE(request.url, uploadUrl);
        QCOMPARE(request.verb, QByteArray("POST"));
        QCOMPARE(request.headers.value("Content-Type"), QByteArray("image/png"));
        QCOMPARE(request.headers.value("Authorization"), QByteArray("Bearer tok"));
        QCOMPARE(request.body, QByteArray("\x89PNG", 4));
        QCOMPARE(activity.mid(2),
                 (QList<QPair<JMAPActivity, bool>>{{JMAPActivity::pushing, true},
                                                   {JMAPActivity::pushing, false}}));
    }

    void uploadResponses_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("message");
        QTest::newRow("blobId not a string")
            << 200 << QByteArray(R"({"blobId":5})")
            << "Unexpected response from Fastmail: upload response";
        QTest::newRow("an array") << 200 << QByteArray(R"(["G1"])")
                                  << "Unexpected response from Fastmail: upload response";
        QTest::newRow("too large") << 413 << QByteArray("Request Entity Too Large")
                                   << "Fastmail returned HTTP 413. Request Entity Too Large";
    }

    void uploadResponses()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        auto jmap = client();
        network->setResponse(QUrl("https://jmap.example.test/jmap/upload/u1/"), {status, body});
        const auto outcome = run(jmap->upload("data", "text/plain"));
        QVERIFY(outcome.error);
        QTEST(Errors::describe(outcome.error), "message");
    }

private:
    std::unique_ptr<JMAPClient> client(const QJsonObject& session = FakeNetwork::defaultSession());

    std::unique_ptr<FakeNetwork> network;
    QList<QPair<JMAPActivity, bool>> activity;
};

std::unique_ptr<JMAPClient> TestBlobTransfer::client(const QJsonObject& session)
{
    network->setSession(session);
    return std::make_unique<JMAPClient>(FakeNetwork::sessionUrl(), "tok", network.get(),
                                        [this](JMAPActivity kind, bool started) {
                                            activity.append({kind, started});
                                        });
}

QTEST_GUILESS_MAIN(TestBlobTransfer)
#include "tst_blobtransfer.moc"
