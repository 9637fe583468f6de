// Mail that Veldrin writes by itself, against a real JMAP server (Cyrus on loopback, started by
// tests/integration/harness/with-cyrus.sh) whose SMTP sink keeps what goes out: an answer to an
// invitation, an unsubscribe mail, and a one-click unsubscribe to a TLS server of the test's
// own. The test removes the copies in Sent, so the seeded account stays as it was.

#include "AppTestEnvironment.h"
#include "AsyncTest.h"
#include "ServerMail.h"
#include "app/state/AppState.h"

#include <QFile>
#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

using namespace AsyncTest;

namespace {

// The message the sink has taken whose text holds `needle`.
std::optional<ServerMail::Sunk> sunk(const QString& needle)
{
    const QList<ServerMail::Sunk> found = ServerMail::sunk(needle);
    return found.isEmpty() ? std::nullopt : std::optional(found.first());
}

// The decoded content of the first part whose Content-Type starts with `type`.
QString partText(const QString& message, const QString& type)
{
    const auto header = message.indexOf("Content-Type: " + type, 0, Qt::CaseInsensitive);
    if (header < 0)
        return QString();
    const auto start = message.indexOf("\r\n\r\n", header) + 4;
    const auto end = message.indexOf("\r\n--", start);
    const QString headers = message.mid(header, start - header);
    const QByteArray content = message.mid(start, end - start).toUtf8();
    if (headers.contains("base64", Qt::CaseInsensitive))
        return QString::fromUtf8(QByteArray::fromBase64(content));
    return QString::fromUtf8(content);
}

// Removes the copies in Sent whose subject holds `text`.
void removeSent(AppState& state, const QString& text)
{
    const QStringList ids = ServerMail::idsWithSubject(state.service()->client(), text);
    if (!ids.isEmpty())
        await(state.service()->destroy(ids));
}

// A one-request HTTPS server on loopback with the harness's certificate, which the system
// trusts for 127.0.0.1: it keeps the request and answers 200.
class OneClickServer : public QSslServer
{
public:
    QByteArray request;

    bool start()
    {
        const QString tls = qEnvironmentVariable("VELDRIN_TEST_DIR") + "/tls/";
        QFile certificate(tls + "server.crt");
        QFile key(tls + "server.key");
        if (!certificate.open(QIODevice::ReadOnly) || !key.open(QIODevice::ReadOnly))
            return false;
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificate(QSslCertificate(certificate.readAll()));
        configuration.setPrivateKey(QSslKey(key.readAll(), QSsl::Ec));
        setSslConfiguration(configuration);
        QObject::connect(this, &QTcpServer::pendingConnectionAvailable, this, [this] {
            QTcpSocket* socket = nextPendingConnection();
            QObject::connect(socket, &QIODevice::readyRead, socket, [this, socket] {
                request += socket->readAll();
                const auto end = request.indexOf("\r\n\r\n");
                if (end < 0 || request.size() - end - 4 < contentLength())
                    return;
                socket->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
                socket->disconnectFromHost();
            });
        });
        return listen(QHostAddress::LocalHost);
    }

private:
    qsizetype contentLength() const
    {
        for (const QByteArray& line : request.split('\n'))
            if (line.toLower().startsWith("content-length:"))
                return line.mid(15).trimmed().toLongLong();
        return 0;
    }
};

} // namespace

class TestFlowsCyrus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        if (!server.isRunning())
            QSKIP("No test server: run under tests/integration/harness/with-cyrus.sh");
        tag = QUuid::createUuid().toString(QUuid::WithoutBraces).left(8);
    }

    void answerReachesTheOrganizer()
    {
        auto state = connected();
        QVERIFY(state);
        const QString title = "Offsite " + tag;
        const auto invitation = Invitation::parse(
            "BEGIN:VCALENDAR\r\nMETHOD:REQUEST\r\nBEGIN:VEVENT\r\nUID:" + tag +
            "@example.org\r\nSUMMARY:" + title +
            "\r\nDTSTART:20261112T130000Z\r\nDTEND:20261112T143000Z\r\n"
            "ORGANIZER;CN=Olivia Okoro:mailto:olivia@example.org\r\n"
            "ATTENDEE;CN=Test:mailto:TEST@example.com\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
        QVERIFY(invitation);
        QVERIFY(state->canAnswer(*invitation));
        Email email;
        email.id = "invitation";
        email.messageId = QStringList{tag + "@calendar.example.org"};

        await(state->answer(*invitation, email, ParticipationStatus::Accepted));
        QCOMPARE(state->errorMessage(), std::nullopt);
        QCOMPARE(state->toast()->message, QString("Accepted, Olivia Okoro is told"));
        std::optional<ServerMail::Sunk> sent;
        QTRY_VERIFY_WITH_TIMEOUT((sent = sunk("Accepted: " + title)), 20000);
        QCOMPARE(sent->recipients, QStringList{"olivia@example.org"});
        QVERIFY2(sent->text.contains("text/calendar; method=REPLY", Qt::CaseInsensitive),
                 qPrintable(sent->text));
        const QString calendar = partText(sent->text, "text/calendar");
        QVERIFY2(calendar.contains("METHOD:REPLY"), qPrintable(calendar));
        QVERIFY(calendar.contains("PARTSTAT=ACCEPTED"));
        QVERIFY(sent->text.contains("In-Reply-To: <" + tag + "@calendar.example.org>"));
        QCOMPARE(partText(sent->text, "text/plain"),
                 "Test has accepted the invitation to " + title + ".");
        removeSent(*state, title);
    }

    void unsubscribeMailReachesTheList()
    {
        auto state = connected();
        QVERIFY(state);
        Email email;
        email.id = "newsletter";
        email.from = QList<EmailAddress>{{QString("The Weekly Sprout"), "news@example.net"}};
        email.to = QList<EmailAddress>{{std::nullopt, "test@example.com"}};
        const QString list = "leave-" + tag + "@lists.example.net";
        email.listUnsubscribe = QStringList{"<mailto:" + list + "?subject=leave%20" + tag + ">"};
        state->unsubscribe(email);
        QTRY_VERIFY_WITH_TIMEOUT(state->toast() || state->errorMessage(), 20000);
        QCOMPARE(state->errorMessage(), std::nullopt);
        QCOMPARE(state->toast()->message, QString("Unsubscribed from The Weekly Sprout"));
        std::optional<ServerMail::Sunk> sent;
        QTRY_VERIFY_WITH_TIMEOUT((sent = sunk("leave " + tag)), 20000);
        QCOMPARE(sent->recipients, QStringList{list});
        removeSent(*state, "leave " + tag);
    }

    void oneClickPostsToTheList()
    {
        OneClickServer list;
        QVERIFY(list.start());
        auto state = connected();
        QVERIFY(state);
        Email email;
        email.id = "newsletter";
        email.from = QList<EmailAddress>{{QString("The Weekly Sprout"), "news@example.net"}};
        email.listUnsubscribe = QStringList{
            QString("<https://127.0.0.1:%1/leave?u=%2>").arg(list.serverPort()).arg(tag)};
        email.listUnsubscribePost = "List-Unsubscribe=One-Click";
        state->unsubscribe(email);
        QTRY_VERIFY_WITH_TIMEOUT(state->toast() || state->errorMessage(), 20000);
        QCOMPARE(state->errorMessage(), std::nullopt);
        QCOMPARE(state->toast()->message, QString("Unsubscribed from The Weekly Sprout"));
        QVERIFY2(list.request.startsWith("POST /leave?u=" + tag.toUtf8() + " HTTP/1.1"),
                 list.request.constData());
        QVERIFY(list.request.endsWith("\r\n\r\nList-Unsubscribe=One-Click"));
        QVERIFY(!list.request.toLower().contains("\ncookie:"));
    }

private:
    std::unique_ptr<AppState> connected();
    const TestServer server;
    QTemporaryDir home;
    QNetworkAccessManager network;
    MemorySecretStore keychain;
    QString tag;
};

std::unique_ptr<AppState> TestFlowsCyrus::connected()
{
    keychain.data = server.token.toUtf8();
    AppEnvironment environment =
        testEnvironment(&network, home.filePath("config/veldrin/config.json"), keychain);
    auto state = makeTestState(environment, server.sessionUrl);
    await(state->connect());
    if (!state->isConnected())
        return nullptr;
    // The user says yes.
    state->setAskQuestion([](const Question&, std::function<void()> yes) { yes(); });
    return state;
}

QTEST_GUILESS_MAIN(TestFlowsCyrus)
#include "tst_flows_cyrus.moc"
