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

    void failedTransfers_data()
    {
        QTest::addColumn<bool>("upload");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("message");
        const QString unexpected = "Unexpected response from Fastmail: upload response";
        QTest::newRow("download: 401 is a rejected token")
            << false << 401 << QByteArray("blob gone")
            << "Fastmail rejected the API token. Check it in Settings.";
        QTest::newRow("download: 404 is HTTP")
            << false << 404 << QByteArray("blob gone") << "Fastmail returned HTTP 404. blob gone";
        QTest::newRow("upload: blobId not a string")
            << true << 200 << QByteArray(R"({"blobId":5})") << unexpected;
        QTest::newRow("upload: an array") << true << 200 << QByteArray(R"(["G1"])") << unexpected;
        QTest::newRow("upload: too large")
            << true << 413 << QByteArray("Request Entity Too Large")
            << "Fastmail returned HTTP 413. Request Entity Too Large";
    }

    void failedTransfers()
    {
        QFETCH(bool, upload);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        auto jmap = client();
        network->setResponse(QUrl(upload ? "https://jmap.example.test/jmap/upload/u1/"
                                         : "https://jmap.example.test/jmap/download/u1/B1/a.bin"),
                             {status, body, upload ? "application/json" : "text/plain"});
        const std::exception_ptr error = upload ? run(jmap->upload("data", "text/plain")).error
                                                : run(jmap->download("B1", "a.bin", "x")).error;
        QVERIFY(error);
        QTEST(Errors::describe(error), "message");
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
