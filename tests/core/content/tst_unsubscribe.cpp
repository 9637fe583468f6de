#include "AsyncTest.h"
#include "content/Unsubscribe.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {

// A one-request-per-connection HTTP server on loopback that records what it was sent.
class LoopbackServer : public QObject
{
public:
    struct Request
    {
        QByteArray method;
        QByteArray path;
        QMap<QByteArray, QByteArray> headers; // names lower-cased
        QByteArray body;
    };

    QByteArray statusLine = "HTTP/1.1 200 OK";
    QByteArray extraHeaders;
    QList<Request> requests;

    LoopbackServer()
    {
        QObject::connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection()) {
                socket->setParent(this);
                QObject::connect(socket, &QTcpSocket::readyRead, this,
                                 [this, socket] { read(socket); });
            }
        });
        m_server.listen(QHostAddress::LocalHost);
    }

    QUrl url(const QString& path) const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path));
    }

private:
    void read(QTcpSocket* socket)
    {
        QByteArray& buffer = m_buffers[socket];
        buffer += socket->readAll();
        const qsizetype end = buffer.indexOf("\r\n\r\n");
        if (end < 0)
            return;
        Request request;
        const QList<QByteArray> lines = buffer.left(end).split('\n');
        const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
        request.method = first.value(0);
        request.path = first.value(1);
        for (qsizetype index = 1; index < lines.size(); ++index) {
            const qsizetype colon = lines[index].indexOf(':');
            if (colon > 0)
                request.headers.insert(lines[index].left(colon).trimmed().toLower(),
                                       lines[index].mid(colon + 1).trimmed());
        }
        const qsizetype length = request.headers.value("content-length", "0").toLongLong();
        if (buffer.size() < end + 4 + length)
            return;
        request.body = buffer.mid(end + 4, length);
        requests.append(request);
        m_buffers.remove(socket);

        const QByteArray body = statusLine.contains(" 304 ") ? QByteArray() : "ignored body";
        socket->write(statusLine + "\r\nContent-Length: " + QByteArray::number(body.size()) +
                      "\r\nConnection: close\r\n" + extraHeaders + "\r\n" + body);
        socket->disconnectFromHost();
    }

    QTcpServer m_server;
    QHash<QTcpSocket*, QByteArray> m_buffers;
};

// Unsubscribe::method over the two header fields of a message.
std::optional<Unsubscribe> methodFor(const QStringList& urls, const QString& post)
{
    Email email;
    email.id = QStringLiteral("e1");
    email.threadId = QStringLiteral("t1");
    if (!urls.isEmpty())
        email.listUnsubscribe = urls;
    if (!post.isNull())
        email.listUnsubscribePost = post;
    return Unsubscribe::method(email);
}

} // namespace

class TestUnsubscribe : public QObject
{
    Q_OBJECT

private slots:
    void method_data()
    {
        QTest::addColumn<QStringList>("urls");
        QTest::addColumn<QString>("post");
        QTest::addColumn<std::optional<Unsubscribe>>("expected");

        const QString oneClick = QStringLiteral("List-Unsubscribe=One-Click");
        const QUrl secure(QStringLiteral("https://x/u"));
        QTest::newRow("secure link and post header: one click")
            << QStringList{"<https://x/u>"} << oneClick
            << std::optional(Unsubscribe::oneClick(secure));
        QTest::newRow("post header in any case, with blanks")
            << QStringList{" <https://x/u> "} << "\tlist-unsubscribe=ONE-CLICK "
            << std::optional(Unsubscribe::oneClick(secure));
        QTest::newRow("a mailto first in the header still loses to one click")
            << QStringList{"<mailto:leave@x>", "<https://x/u>"} << oneClick
            << std::optional(Unsubscribe::oneClick(secure));
        QTest::newRow("the first secure link is taken")
            << QStringList{"<http://x/plain>", "<https://x/u>", "<https://x/other>"} << oneClick
            << std::optional(Unsubscribe::oneClick(secure));
        QTest::newRow("no post header: the mail")
            << QStringList{"<https://x/u>", "<mailto:leave@x>"} << QString()
            << std::optional(Unsubscribe::mail("leave@x", "unsubscribe", ""));
        QTest::newRow("a different post header counts as none")
            << QStringList{"<https://x/u>", "<mailto:leave@x>"} << "List-Unsubscribe=Yes"
            << std::optional(Unsubscribe::mail("leave@x", "unsubscribe", ""));
        QTest::newRow("no post header, no mailto: the page")
            << QStringList{"<https://x/u>"} << QString() << std::optional(Unsubscribe::web(secure));
        QTest::newRow("post header but only plain http: the page, never a POST")
            << QStringList{"<http://x/u>"} << oneClick
            << std::optional(Unsubscribe::web(QUrl(QStringLiteral("http://x/u"))));
        QTest::newRow("mailto subject and body from the query, names in any case")
            << QStringList{"<mailto:leave@x?Subject=stop&BODY=please%20remove%20me&subject=later>"}
            << QString() << std::optional(Unsubscribe::mail("leave@x", "stop", "please remove me"));
        QTest::newRow("mailto subject item without a value: the default")
            << QStringList{"<mailto:leave@x?subject&body>"} << QString()
            << std::optional(Unsubscribe::mail("leave@x", "unsubscribe", ""));
        QTest::newRow("mailto with an empty subject keeps it empty")
            << QStringList{"<mailto:leave@x?subject=>"} << QString()
            << std::optional(Unsubscribe::mail("leave@x", "", ""));
        QTest::newRow("mailto without @ passed over for the next")
            << QStringList{"<mailto:nobody>", "<mailto:list%2Bleave@x>"} << QString()
            << std::optional(Unsubscribe::mail("list+leave@x", "unsubscribe", ""));
        QTest::newRow("mailto beats a plain https page")
            << QStringList{"<https://x/u>", "<mailto:leave@x>"} << QString()
            << std::optional(Unsubscribe::mail("leave@x", "unsubscribe", ""));
        QTest::newRow("mailto without @ and nothing else: no way out")
            << QStringList{"<mailto:nobody>"} << oneClick << std::optional<Unsubscribe>();
        QTest::newRow("unreadable and unknown entries dropped")
            << QStringList{"<not a url>", "<ftp://x/u>", "", "<https://x/u>"} << QString()
            << std::optional(Unsubscribe::web(secure));
        QTest::newRow("characters browsers tolerate in a link")
            << QStringList{"<https://x/u?list=a|b&id={7}^`\\>"} << oneClick
            << std::optional(
                   Unsubscribe::oneClick(QUrl("https://x/u?list=a%7Cb&id=%7B7%7D%5E%60%5C")));
        QTest::newRow("header absent") << QStringList{} << oneClick << std::optional<Unsubscribe>();
    }

    void method()
    {
        QFETCH(QStringList, urls);
        QFETCH(QString, post);
        QFETCH(std::optional<Unsubscribe>, expected);
        const auto actual = methodFor(urls, post);
        QCOMPARE(actual.has_value(), expected.has_value());
        if (actual) {
            QCOMPARE(int(actual->kind), int(expected->kind));
            QCOMPARE(actual->url, expected->url);
            QCOMPARE(actual->to, expected->to);
            QCOMPARE(actual->subject, expected->subject);
            QCOMPARE(actual->body, expected->body);
        }
    }

    void onePostWithTheRightShapeAndNoCookies()
    {
        LoopbackServer server;
        server.statusLine = "HTTP/1.1 204 No Content";
        server.extraHeaders = "Set-Cookie: tracker=abc; Path=/\r\n";
        QNetworkAccessManager* session = Unsubscribe::makeEphemeralSession(this);
        AsyncTest::await(Unsubscribe::postOneClick(server.url("/leave?list=42&u=abc"), session));
        AsyncTest::await(Unsubscribe::postOneClick(server.url("/u"), session));

        QCOMPARE(server.requests.size(), 2);
        const auto& request = server.requests.first();
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.path, QByteArray("/leave?list=42&u=abc"));
        QCOMPARE(request.headers.value("content-type"),
                 QByteArray("application/x-www-form-urlencoded"));
        QCOMPARE(request.body, QByteArray("List-Unsubscribe=One-Click"));
        // The cookie the first answer set is neither kept nor sent.
        QVERIFY(!request.headers.contains("cookie"));
        QVERIFY(!server.requests[1].headers.contains("cookie"));
    }

    void failingStatuses_data()
    {
        QTest::addColumn<QByteArray>("statusLine");
        QTest::addColumn<int>("status");

        QTest::newRow("not found") << QByteArray("HTTP/1.1 404 Not Found") << 404;
        QTest::newRow("server error") << QByteArray("HTTP/1.1 500 Internal Server Error") << 500;
        QTest::newRow("redirect that is not followed")
            << QByteArray("HTTP/1.1 304 Not Modified") << 304;
        QTest::newRow("informational range ends below 200")
            << QByteArray("HTTP/1.1 199 Odd") << 199;
        QTest::newRow("just above the success range") << QByteArray("HTTP/1.1 300 Multiple") << 300;
    }

    void failingStatuses()
    {
        QFETCH(QByteArray, statusLine);
        QFETCH(int, status);
        LoopbackServer server;
        server.statusLine = statusLine;
        QNetworkAccessManager* session = Unsubscribe::makeEphemeralSession(this);
        const auto failure = AsyncTest::awaitError<Unsubscribe::Failure>(
            Unsubscribe::postOneClick(server.url("/u"), session));
        QVERIFY(failure);
        QCOMPARE(failure->status(), status);
        QCOMPARE(
            failure->description(),
            QStringLiteral("The sender's unsubscribe link answered with HTTP %1.").arg(status));
    }

    void transferErrorIsPassedOn()
    {
        // A port that was just free: nothing listens there any more.
        quint16 port = 0;
        {
            QTcpServer probe;
            QVERIFY(probe.listen(QHostAddress::LocalHost));
            port = probe.serverPort();
        }
        QNetworkAccessManager* session = Unsubscribe::makeEphemeralSession(this);
        const auto error = AsyncTest::awaitError<TransportError>(Unsubscribe::postOneClick(
            QUrl(QStringLiteral("http://127.0.0.1:%1/u").arg(port)), session));
        QVERIFY(error);
        QCOMPARE(error->code(), QNetworkReply::ConnectionRefusedError);
        QCOMPARE(error->description(), QString("Could not reach 127.0.0.1: Connection refused."));
    }
};

QTEST_GUILESS_MAIN(TestUnsubscribe)
#include "tst_unsubscribe.moc"
