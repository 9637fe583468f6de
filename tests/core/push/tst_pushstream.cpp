#include "AsyncTest.h"
#include "FakeNetwork.h"
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
#include <QTimer>

using namespace AsyncTest;

namespace {

const QString eventPrefix = QStringLiteral("https://jmap.example.test/jmap/event/");

QCoro::Task<std::optional<JMAPPushEvent>> nextOf(JMAPPushStream* stream)
{
    const auto event = co_await stream->next();
    co_return event;
}

template <typename E> std::optional<E> endError(const QList<QVariant>& arguments)
{
    const auto error = arguments.at(0).value<std::exception_ptr>();
    if (!error)
        return std::nullopt;
    try {
        std::rethrow_exception(error);
    } catch (const E& typed) {
        return typed;
    } catch (...) {
        return std::nullopt;
    }
}

// For the push stream over a real socket, read through a real QNetworkAccessManager, so that
// chunked bodies and header handling are Qt's own: serves a session at /jmap/session and a
// chunked event stream at /events.
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

class TestPushStream : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        stream.reset();
        network = std::make_unique<FakeNetwork>();
        network->setStreamPrefix(eventPrefix);
        activities = 0;
        client = std::make_shared<JMAPClient>(FakeNetwork::sessionUrl(), "secret", network.get(),
                                              [this](JMAPActivity, bool) { ++activities; });
    }

    void requestFollowsTheTemplate()
    {
        FakeStreamReply* reply = openStream();
        QVERIFY(reply);
        const RecordedRequest& request = network->requests().last();
        QCOMPARE(
            request.url.toString(),
            QString(
                "https://jmap.example.test/jmap/event/?types=Email,Mailbox&closeafter=no&ping=30"));
        QCOMPARE(request.verb, QByteArray("GET"));
        QCOMPARE(request.headers.value("Authorization"), QByteArray("Bearer secret"));
        QCOMPARE(request.headers.value("Accept"), QByteArray("text/event-stream"));
        QCOMPARE(request.transferTimeout, 90000);
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
        // Only the session fetch counts as activity; a standing connection does not.
        QCOMPARE(activities, 2);
    }

    void templateWithoutPing()
    {
        QJsonObject session = FakeNetwork::defaultSession();
        session["eventSourceUrl"] = eventPrefix + "?types={types}";
        network->setSession(session);
        QVERIFY(openStream({"Email"}));
        QCOMPARE(network->requests().last().url.toString(), eventPrefix + "?types=Email");
    }

    void missingEventSourceEndsAtOnce_data()
    {
        QTest::addColumn<bool>("sessionCached");
        QTest::newRow("session fetched first") << false;
        // Once connected the session is cached, so a stream can fail before pushEvents returns;
        // handlers connected right after the call must still hear of it.
        QTest::newRow("session cached") << true;
    }

    void missingEventSourceEndsAtOnce()
    {
        QFETCH(bool, sessionCached);
        QJsonObject session = FakeNetwork::defaultSession();
        session.remove("eventSourceUrl");
        network->setSession(session);
        if (sessionCached)
            await(client->session());
        stream = JMAPClient::pushEvents(client, {"Email"});
        QSignalSpy connectedSpy(stream.get(), &JMAPPushStream::connected);
        QSignalSpy endedSpy(stream.get(), &JMAPPushStream::ended);
        QCOMPARE(*awaitError<JMAPError>(nextOf(stream.get())),
                 JMAPError::malformed("event source URL"));
        QCOMPARE(endedSpy.count(), 1);
        QCOMPARE(*endError<JMAPError>(endedSpy.first()), JMAPError::malformed("event source URL"));
        QCOMPARE(connectedSpy.count(), 0);
        QCOMPARE(network->requests().size(), 1); // the session only
    }

    void refusedConnection_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<JMAPError>("expected");
        QTest::newRow("401") << 401 << JMAPError::unauthorized();
        QTest::newRow("403") << 403 << JMAPError::unauthorized();
        QTest::newRow("500 without its body") << 500 << JMAPError::http(500, "");
        // A server without push answers its event source with no content at all.
        QTest::newRow("204, no stream") << 204 << JMAPError::http(204, "");
    }

    void refusedConnection()
    {
        QFETCH(int, status);
        network->setStreamPrefix(eventPrefix, status);
        QVERIFY(openStream());
        QSignalSpy connectedSpy(stream.get(), &JMAPPushStream::connected);
        QTEST(*awaitError<JMAPError>(nextOf(stream.get())), "expected");
        QCOMPARE(connectedSpy.count(), 0);
    }

    void burstWhileBusyIsOneChange()
    {
        FakeStreamReply* reply = openStream();
        QVERIFY(reply);
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
        // The consumer is busy while three state events arrive.
        for (int i = 0; i < 3; ++i)
            reply->push("event: state\ndata: {\"changed\":{}}\n\n");
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::changed));
        // A consumer that waits first is woken by the next event.
        QTimer::singleShot(10, reply, [reply] { reply->push("event: state\ndata: {}\n"); });
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::changed));
        // Nothing of the burst is left over: the next thing seen is the end.
        QTimer::singleShot(10, reply, [reply] { reply->finishStream(); });
        QCOMPARE(await(nextOf(stream.get())), std::optional<JMAPPushEvent>());
    }

    void eventAndDataLines_data()
    {
        QTest::addColumn<QList<QByteArray>>("chunks");
        QTest::addColumn<int>("changes");
        QTest::newRow("two data lines under one event")
            << QList<QByteArray>{"event: state\ndata: a\ndata: b\n"} << 2;
        QTest::newRow("data before any event") << QList<QByteArray>{"data: a\n\n"} << 0;
        QTest::newRow("pings pass unnoticed")
            << QList<QByteArray>{"event: ping\ndata: {\"interval\":30}\n\n"} << 0;
        QTest::newRow("the name outlives a blank line")
            << QList<QByteArray>{"event:state\n\ndata: a\n\n"} << 1;
        QTest::newRow("name is trimmed, exact") << QList<QByteArray>{"event:  state \t\ndata: a\n"
                                                                     "event: State\ndata: b\n"}
                                                << 1;
        QTest::newRow("lines split across chunks and CRLF")
            << QList<QByteArray>{"event: st", "ate\r", "\ndat", "a: x\r\n"} << 1;
        QTest::newRow("comments and other fields are ignored")
            << QList<QByteArray>{": hello\nid: 7\nretry: 10\n"} << 0;
    }

    void eventAndDataLines()
    {
        QFETCH(QList<QByteArray>, chunks);
        FakeStreamReply* reply = openStream();
        QVERIFY(reply);
        QSignalSpy changedSpy(stream.get(), &JMAPPushStream::changed);
        QSignalSpy endedSpy(stream.get(), &JMAPPushStream::ended);
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
        for (const QByteArray& chunk : chunks)
            reply->push(chunk);
        reply->finishStream();
        QTRY_COMPARE(endedSpy.count(), 1);
        QTEST(int(changedSpy.count()), "changes");
    }

    void cleanCloseIsANormalEnd()
    {
        FakeStreamReply* reply = openStream();
        QVERIFY(reply);
        QSignalSpy endedSpy(stream.get(), &JMAPPushStream::ended);
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
        // A last line without its line break still counts.
        reply->push("event: state\ndata: x");
        reply->finishStream();
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::changed));
        QCOMPARE(await(nextOf(stream.get())), std::optional<JMAPPushEvent>());
        QCOMPARE(endedSpy.count(), 1);
        QVERIFY(!endedSpy.first().at(0).value<std::exception_ptr>());
        QVERIFY(stream->isEnded());
    }

    void failures_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("expected");
        QTest::addColumn<QString>("description");
        QTest::newRow("connection lost") << int(QNetworkReply::RemoteHostClosedError)
                                         << int(QNetworkReply::RemoteHostClosedError)
                                         << "Could not reach jmap.example.test: gone.";
        QTest::newRow("idle timeout aborts")
            << int(QNetworkReply::OperationCanceledError) << int(QNetworkReply::TimeoutError)
            << "Could not reach jmap.example.test: The push connection timed out.";
    }

    void failures()
    {
        QFETCH(int, code);
        FakeStreamReply* reply = openStream();
        QVERIFY(reply);
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
        reply->failStream(QNetworkReply::NetworkError(code), "gone");
        const auto error = awaitError<TransportError>(nextOf(stream.get()));
        QVERIFY(error);
        QTEST(int(error->code()), "expected");
        QTEST(error->description(), "description");
        QVERIFY(!error->isCancellation());
    }

    void overlongLines_data()
    {
        QTest::addColumn<QList<QByteArray>>("chunks");
        QTest::addColumn<bool>("fails");
        const qsizetype cap = JMAPPushStream::maxLineBytes;
        QTest::newRow("a megabyte without a line break, at once")
            << QList<QByteArray>{QByteArray(cap + 1, 'x')} << true;
        QTest::newRow("a megabyte without a line break, piece by piece")
            << QList<QByteArray>(17, QByteArray(64 * 1024, 'x')) << true;
        QTest::newRow("an overlong line that ends in the same chunk")
            << QList<QByteArray>{QByteArray(cap - 10, 'x'),
                                 QByteArray(20, 'x') + "\nevent: state\n"}
            << true;
        QTest::newRow("carriage returns alone are line breaks")
            << QList<QByteArray>(20, QByteArray(64 * 1024 - 1, 'x') + '\r') << false;
        QTest::newRow("a line just under the limit is read")
            << QList<QByteArray>{"event: state\r\ndata: " + QByteArray(cap - 6, 'x') + "\r\n"}
            << false;
    }

    void overlongLines()
    {
        QFETCH(QList<QByteArray>, chunks);
        QFETCH(bool, fails);
        QPointer<FakeStreamReply> reply = openStream();
        QVERIFY(reply);
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
        QSignalSpy endedSpy(stream.get(), &JMAPPushStream::ended);
        for (const QByteArray& chunk : chunks)
            if (reply)
                reply->push(chunk);
        if (!fails) {
            QVERIFY(!stream->isEnded());
            QVERIFY(endedSpy.isEmpty());
            return;
        }
        QCOMPARE(endedSpy.count(), 1);
        QCOMPARE(*endError<JMAPError>(endedSpy.first()),
                 JMAPError::malformed("event stream line longer than 1 MB"));
        QTRY_VERIFY(!reply || reply->wasAborted());
    }

    void clientReplacedBeforeOpening()
    {
        // A reconnect replaces the client before the stream opens on the next turn of the loop.
        stream = JMAPClient::pushEvents(client, {"Email"});
        client = std::make_shared<JMAPClient>(FakeNetwork::sessionUrl(), "new", network.get());
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
        QCOMPARE(network->requests().last().headers.value("Authorization"),
                 QByteArray("Bearer secret"));
    }

    void stopAndDestroyCloseTheConnection()
    {
        QPointer<FakeStreamReply> reply = openStream();
        QVERIFY(reply);
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
        QSignalSpy endedSpy(stream.get(), &JMAPPushStream::ended);
        QSignalSpy abortSpy(reply.data(), &QNetworkReply::errorOccurred);
        QTimer::singleShot(10, stream.get(), [this] { stream->stop(); });
        QVERIFY(awaitError<CancelledError>(nextOf(stream.get())));
        QCOMPARE(abortSpy.count(), 1);
        QCOMPARE(abortSpy.first().at(0).value<QNetworkReply::NetworkError>(),
                 QNetworkReply::OperationCanceledError);
        QCOMPARE(endedSpy.count(), 0);
        QTRY_VERIFY(!reply); // and the reply is released

        // Dropping a connected stream aborts its connection too.
        stream = JMAPClient::pushEvents(client, {"Email"});
        QTRY_COMPARE(network->streams().size(), 2);
        QPointer<FakeStreamReply> second = network->streams().last();
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
        QSignalSpy secondAbortSpy(second.data(), &QNetworkReply::errorOccurred);
        stream.reset();
        QCOMPARE(secondAbortSpy.count(), 1);
    }

    void outlivesItsNetwork()
    {
        // At exit the network access manager, and with it the reply, may go first.
        QVERIFY(openStream());
        QCOMPARE(await(nextOf(stream.get())), std::optional(JMAPPushEvent::connected));
        client.reset();
        network.reset();
        stream->stop();
        stream.reset();
    }

    void eventsOverARealConnection()
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

    void stopClosesTheSocket()
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

    void refusedToken()
    {
        EventServer server;
        server.eventStatus = 401;
        QNetworkAccessManager network;
        const auto client = std::make_shared<JMAPClient>(server.sessionUrl(), "tok", &network);
        const auto stream = JMAPClient::pushEvents(client, {"Email"});
        QCOMPARE(*awaitError<JMAPError>(nextOf(stream.get())), JMAPError::unauthorized());
    }

    void followsARedirect()
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

private:
    FakeStreamReply* openStream(const QStringList& types = {"Email", "Mailbox"});

    std::unique_ptr<FakeNetwork> network;
    std::shared_ptr<JMAPClient> client;
    std::unique_ptr<JMAPPushStream> stream;
    int activities = 0;
};

FakeStreamReply* TestPushStream::openStream(const QStringList& types)
{
    stream = JMAPClient::pushEvents(client, types);
    if (!QTest::qWaitFor([this] { return !network->streams().isEmpty(); }))
        return nullptr;
    return network->streams().first();
}

QTEST_GUILESS_MAIN(TestPushStream)
#include "tst_pushstream.moc"
