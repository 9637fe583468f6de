// The push stream over a real socket: a small event source server on loopback, read through
// a real QNetworkAccessManager, so that chunked bodies and header handling are Qt's own.

#include "AsyncTest.h"
#include "jmap/JMAPClient.h"
#include "jmap/JMAPPushStream.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace AsyncTest;

namespace {

QCoro::Task<std::optional<JMAPPushEvent>> nextOf(JMAPPushStream* stream)
{
    const auto event = co_await stream->next();
    co_return event;
}

// Serves a session at /jmap/session and a chunked event stream at /events.
class EventServer : public QObject
{
    Q_OBJECT
public:
    int eventStatus = 200;
    QString eventPath = QStringLiteral("/events");
    QByteArray eventRequest;
    QPointer<QTcpSocket> events;

    EventServer()
    {
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection())
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        });
    }

    QUrl sessionUrl() const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/jmap/session").arg(m_server.serverPort()));
    }

    void send(const QByteArray& data)
    {
        events->write(QByteArray::number(data.size(), 16) + "\r\n" + data + "\r\n");
        events->flush();
    }
    void end()
    {
        events->write("0\r\n\r\n");
        events->disconnectFromHost();
    }

Q_SIGNALS:
    void eventsOpened();

private:
    void read(QTcpSocket* socket)
    {
        QByteArray& buffer = m_buffers[socket];
        buffer += socket->readAll();
        if (!buffer.contains("\r\n\r\n"))
            return;
        const QByteArray request = buffer;
        buffer.clear();
        if (request.startsWith("GET /jmap/session")) {
            const QByteArray body =
                QJsonDocument(
                    QJsonObject{
                        {"apiUrl", "/jmap/api/"},
                        {"downloadUrl", "/jmap/download/{accountId}/{blobId}/{name}"},
                        {"eventSourceUrl",
                         eventPath + "?types={types}&closeafter={closeafter}&ping={ping}"},
                        {"primaryAccounts", QJsonObject{{"urn:ietf:params:jmap:mail", "u1"}}}})
                    .toJson(QJsonDocument::Compact);
            socket->write("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " +
                          QByteArray::number(body.size()) + "\r\n\r\n" + body);
            return;
        }
        if (request.startsWith("GET /moved")) {
            // The event source has moved: the same path and query under /events.
            const QByteArray target = request.mid(10, request.indexOf(' ', 4) - 10);
            socket->write("HTTP/1.1 302 Found\r\nLocation: /events" + target +
                          "\r\nContent-Length: 0\r\n\r\n");
            return;
        }
        eventRequest = request;
        events = socket;
        if (eventStatus != 200) {
            socket->write("HTTP/1.1 " + QByteArray::number(eventStatus) +
                          " Refused\r\nContent-Length: 4\r\n\r\nnope");
            socket->disconnectFromHost();
            return;
        }
        socket->write("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n"
                      "Cache-Control: no-cache\r\nTransfer-Encoding: chunked\r\n\r\n");
        socket->flush();
        Q_EMIT eventsOpened();
    }

    QTcpServer m_server;
    QHash<QTcpSocket*, QByteArray> m_buffers;
};

} // namespace

class TestPushStreamLoopback : public QObject
{
    Q_OBJECT
private slots:
    void eventsOverARealConnection();
    void stopClosesTheSocket();
    void refusedToken();
    void followsARedirect();
};

void TestPushStreamLoopback::eventsOverARealConnection()
{
    EventServer server;
    QNetworkAccessManager network;
    const auto client = std::make_shared<JMAPClient>(server.sessionUrl(), "tok", &network);
    const auto stream = JMAPClient::pushEvents(client, {"Email", "Mailbox"});
    QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
    QVERIFY(server.eventRequest.startsWith(
        "GET /events?types=Email,Mailbox&closeafter=no&ping=30 HTTP/1.1\r\n"));
    QVERIFY(server.eventRequest.contains("\r\nAuthorization: Bearer tok\r\n"));
    QVERIFY(server.eventRequest.contains("\r\nAccept: text/event-stream\r\n"));

    QSignalSpy changedSpy(stream.get(), &JMAPPushStream::changed);
    server.send("event: ping\ndata: {}\n\n");
    server.send("event: state\ndata: {\"changed\":{\"u1\":{\"Email\":\"s2\"}}}\n\nevent: st");
    server.send("ate\ndata: {}\n\nevent: state\ndata: {}\n\n");
    QTRY_COMPARE(changedSpy.count(), 3);
    // Three changes while the consumer was busy are one.
    QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::changed));
    server.end();
    QCOMPARE(await(nextOf(stream.get())), std::optional<JMAPPushEvent>());
}

void TestPushStreamLoopback::stopClosesTheSocket()
{
    EventServer server;
    QNetworkAccessManager network;
    const auto client = std::make_shared<JMAPClient>(server.sessionUrl(), "tok", &network);
    const auto stream = JMAPClient::pushEvents(client, {"Email"});
    QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
    QVERIFY(server.events);
    QSignalSpy closed(server.events.data(), &QTcpSocket::disconnected);
    stream->stop();
    QVERIFY(closed.wait(5000) || closed.count() == 1);
}

void TestPushStreamLoopback::refusedToken()
{
    EventServer server;
    server.eventStatus = 401;
    QNetworkAccessManager network;
    const auto client = std::make_shared<JMAPClient>(server.sessionUrl(), "tok", &network);
    const auto stream = JMAPClient::pushEvents(client, {"Email"});
    QCOMPARE(*awaitError<JMAPError>(nextOf(stream.get())), JMAPError::unauthorized());
}

void TestPushStreamLoopback::followsARedirect()
{
    EventServer server;
    server.eventPath = QStringLiteral("/moved");
    QNetworkAccessManager network;
    const auto client = std::make_shared<JMAPClient>(server.sessionUrl(), "tok", &network);
    const auto stream = JMAPClient::pushEvents(client, {"Email"});
    QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
    QVERIFY(server.eventRequest.startsWith(
        "GET /events?types=Email&closeafter=no&ping=30 HTTP/1.1\r\n"));
    QVERIFY(server.eventRequest.contains("\r\nAuthorization: Bearer tok\r\n"));
    QSignalSpy changedSpy(stream.get(), &JMAPPushStream::changed);
    server.send("event: state\ndata: {}\n\n");
    QVERIFY(changedSpy.wait(5000) || changedSpy.count() == 1);
}

QTEST_GUILESS_MAIN(TestPushStreamLoopback)
#include "tst_pushstream_loopback.moc"
