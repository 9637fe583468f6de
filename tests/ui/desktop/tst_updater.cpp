#include "AsyncTest.h"
#include "ui/desktop/Updater.h"

#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

namespace {

// A web server on loopback that answers every request with one canned response.
class FeedServer : public QObject
{
public:
    FeedServer()
    {
        server.listen(QHostAddress::LocalHost);
        QObject::connect(&server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = server.nextPendingConnection()) {
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    request += socket->readAll();
                    if (!request.contains("\r\n\r\n"))
                        return;
                    socket->write("HTTP/1.1 " + QByteArray::number(status) +
                                  " Whatever\r\nContent-Type: application/rss+xml\r\n"
                                  "Connection: close\r\nContent-Length: " +
                                  QByteArray::number(body.size()) + "\r\n\r\n" + body);
                    socket->disconnectFromHost();
                });
                QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
    }
    QUrl url() const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/appcast.xml").arg(server.serverPort()));
    }

    QTcpServer server;
    int status = 200;
    QByteArray body;
    QByteArray request;
};

QByteArray feed(const QByteArray& items)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<rss version=\"2.0\" xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/"
           "sparkle\"><channel><title>Veldrin</title>" +
           items + "</channel></rss>";
}

QByteArray item(const QByteArray& version, const QByteArray& extra = {})
{
    return "<item><title>Veldrin " + version + "</title><link>https://veldrin.example/" + version +
           "</link><sparkle:version>" + version + "</sparkle:version>" + extra + "</item>";
}

Updater::Options options(const QUrl& feed, const QString& current, const QString& stateFile)
{
    Updater::Options result;
    result.feed = feed;
    result.currentVersion = current;
    result.stateFile = stateFile;
    return result;
}

} // namespace

class TestUpdater : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void check_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("current");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<QString>("found");
        QTest::addColumn<QString>("message");
        const int newer = int(Updater::Check::Outcome::Newer);
        const int upToDate = int(Updater::Check::Outcome::UpToDate);
        const int failed = int(Updater::Check::Outcome::Failed);

        const QByteArray three = feed(item("1.0") + item("1.2") + item("1.1"));
        QTest::newRow("newest of several") << 200 << three << "1.0" << newer << "1.2"
                                           << "";
        QTest::newRow("none newer") << 200 << three << "1.2" << upToDate << ""
                                    << "";
        QTest::newRow("a pre-release is older than its release")
            << 200 << feed(item("2.0b3")) << "2.0" << upToDate << ""
            << "";
        // Builds for other systems, on a test channel or without a web page are passed over; a
        // version and page may come from the enclosure and the release notes.
        QTest::newRow("only what is meant for us")
            << 200
            << feed(item("3.0",
                         "<enclosure url=\"https://x.example/a.dmg\" sparkle:os=\"macos\"/>") +
                    item("3.1", "<sparkle:channel>beta</sparkle:channel>") +
                    "<item><title>Script</title><link>javascript:alert(1)</link>"
                    "<sparkle:version>3.2</sparkle:version></item>"
                    "<item><sparkle:releaseNotesLink>https://veldrin.example/notes/1.5"
                    "</sparkle:releaseNotesLink><enclosure url=\"file:///etc/passwd\" "
                    "sparkle:version=\"1.5\" sparkle:shortVersionString=\"1.5 (Spring)\" "
                    "sparkle:os=\"linux\"/></item>")
            << "1.0" << newer << "1.5"
            << "";
        QTest::newRow("broken feed")
            << 200 << QByteArray("<rss><channel><item><title>1.3</item>") << "1.0" << failed << ""
            << "The update feed could not be read: ";
        QTest::newRow("server error") << 404 << QByteArray("Not found") << "1.0" << failed << ""
                                      << "The update feed could not be read: the server answered "
                                         "with status 404.";
    }

    void check()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, current);
        QFETCH(int, outcome);
        QFETCH(QString, found);
        QFETCH(QString, message);
        FeedServer server;
        server.status = status;
        server.body = body;
        QNetworkAccessManager network;
        QTemporaryDir home;
        Updater updater(options(server.url(), current, home.filePath("updater.ini")), &network);

        QCoro::Task<Updater::Check> task = updater.check();
        QVERIFY(!updater.canCheckForUpdates());
        const auto result = AsyncTest::run(std::move(task));
        QVERIFY(updater.canCheckForUpdates());
        QVERIFY(server.request.startsWith("GET /appcast.xml "));
        QCOMPARE(int(result.value->outcome), outcome);
        QCOMPARE(result.value->release.has_value(), !found.isEmpty());
        if (!found.isEmpty()) {
            QCOMPARE(result.value->release->version, found);
            const QUrl page = result.value->release->page;
            QVERIFY(page.scheme() == "https");
            QVERIFY(page.path().endsWith(found));
        }
        if (message.isEmpty())
            QVERIFY2(result.value->error.isEmpty(), qPrintable(result.value->error));
        else
            QVERIFY2(result.value->error.startsWith(message), qPrintable(result.value->error));
    }

    void compareVersions_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("order");
        QTest::newRow("leading zeros") << "1.02"
                                       << "1.2" << 0;
        QTest::newRow("longer is newer") << "1.0.1"
                                         << "1.0" << 1;
        QTest::newRow("numeric") << "1.10"
                                 << "1.9" << 1;
        QTest::newRow("beta before release") << "2.0b1"
                                             << "2.0" << -1;
        QTest::newRow("dashed pre-release") << "2.0-rc1"
                                            << "2.0" << -1;
        QTest::newRow("huge numbers") << "1.99999999999999999999"
                                      << "1.99999999999999999998" << 1;
    }

    void compareVersions()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(int, order);
        QCOMPARE(Appcast::compareVersions(a, b), order);
        QCOMPARE(Appcast::compareVersions(b, a), -order);
    }
};

QTEST_GUILESS_MAIN(TestUpdater)
#include "tst_updater.moc"
