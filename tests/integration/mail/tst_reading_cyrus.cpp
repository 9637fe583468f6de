// Reading mail through the state against a real JMAP server (Cyrus on loopback, started by
// tests/integration/harness/with-cyrus.sh): the first page, a thread with an HTML body, an
// inline image and an attachment, the files and the source behind them, search, and mail that
// arrives while the program runs.

#include "AppTestEnvironment.h"
#include "AsyncTest.h"
#include "ServerMail.h"
#include "app/state/AppState.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

using namespace AsyncTest;

namespace {

// A 1x1 PNG.
const QByteArray png = QByteArray::fromBase64("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlE"
                                              "QVR42mNkYPhfDwAChwGA60e6kgAAAABJRU5ErkJggg==");
const QByteArray notes = "Minutes of the meeting\nEveryone agreed.\n";

// An HTML message whose text embeds an image by content id and carries a text attachment.
QByteArray htmlMessage(const QString& subject, const QString& messageId)
{
    QString text =
        QStringLiteral("From: Anna Berg <anna@example.com>\nTo: test@example.com\nSubject: %1\n"
                       "Date: Mon, 1 Jan 2035 10:00:00 +0000\nMessage-ID: <%2>\nMIME-Version: 1.0\n"
                       "Content-Type: multipart/mixed; boundary=\"outer\"\n\n"
                       "--outer\nContent-Type: multipart/related; boundary=\"inner\"\n\n"
                       "--inner\nContent-Type: text/html; charset=utf-8\n\n"
                       "<p>The plan:</p><p><img src=\"cid:plan@example.com\"></p>\n"
                       "--inner\nContent-Type: image/png\nContent-ID: <plan@example.com>\n"
                       "Content-Disposition: inline\nContent-Transfer-Encoding: base64\n\n%3\n"
                       "--inner--\n"
                       "--outer\nContent-Type: text/plain; name=\"notes.txt\"\n"
                       "Content-Disposition: attachment; filename=\"notes.txt\"\n"
                       "Content-Transfer-Encoding: base64\n\n%4\n"
                       "--outer--\n")
            .arg(subject, messageId, QString::fromLatin1(png.toBase64()),
                 QString::fromLatin1(notes.toBase64()));
    text.replace(QStringLiteral("\n"), QStringLiteral("\r\n"));
    return text.toUtf8();
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestReadingCyrus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        const TestServer server;
        if (!server.isRunning())
            QSKIP("No test server: run under tests/integration/harness/with-cyrus.sh");
        sessionUrl = server.sessionUrl;
        token = server.token;
    }

    void readingSession()
    {
        QTemporaryDir home;
        QNetworkAccessManager network;
        MemorySecretStore keychain;
        keychain.data = token.toUtf8();
        QStringList revealed;
        AppEnvironment environment =
            testEnvironment(&network, home.filePath("config/veldrin/config.json"), keychain);
        environment.attachmentCacheDir = home.filePath("cache");
        environment.downloadsDir = home.filePath("Downloads");
        environment.revealFile = [&revealed](const QString& path) { revealed.append(path); };
        auto state = makeTestState(environment, sessionUrl);

        // The first page of the inbox comes with the connection.
        await(state->connect());
        QVERIFY2(state->isConnected(), qPrintable(state->errorMessage().value_or(QString())));
        QVERIFY(!state->threads().isEmpty());
        QCOMPARE(state->totalThreads(), state->threads().size());
        QStringList subjects;
        for (const MailThread& thread : state->threads())
            subjects.append(thread.subject());
        QVERIFY2(subjects.contains("Lunch on Friday?"), qPrintable(subjects.join(", ")));

        // Mail delivered while the program runs is on the list after a refresh.
        const QString subject = "Plans " + QUuid::createUuid().toString(QUuid::WithoutBraces);
        ServerMail::deliver(
            state->service()->client(),
            htmlMessage(subject,
                        QUuid::createUuid().toString(QUuid::WithoutBraces) + "@example.com"),
            state->mailboxWithRole("inbox")->id, QDateTime::currentDateTimeUtc().addYears(10));
        await(state->refresh());
        QVERIFY2(!state->errorMessage(), qPrintable(state->errorMessage().value_or(QString())));
        QCOMPARE(state->threads().first().subject(), subject);
        QVERIFY(state->threads().first().isUnread());

        // Opening it shows the HTML body, its inline image and its attachment, and marks it read.
        state->setSelectedThreadId(state->threads().first().id);
        state->threadSelectionChanged();
        QTRY_VERIFY(!state->openEmails().isEmpty() && !state->isLoadingThread());
        const Email email = state->openEmails().first();
        QVERIFY(email.htmlBody && !email.htmlBody->isEmpty());
        QCOMPARE(email.htmlBody->first().type, QString("text/html"));
        QVERIFY(email.bodyValues->value(*email.htmlBody->first().partId)
                    .value.contains("cid:plan@example.com"));
        const BodyPart image = email.inlineParts().value("plan@example.com");
        QCOMPARE(image.type, QString("image/png"));
        QCOMPARE(await(state->partData(image)), png);
        QCOMPARE(email.listedAttachments().size(), 1);
        const BodyPart attachment = email.listedAttachments().first();
        QCOMPARE(attachment.name, std::optional<QString>("notes.txt"));
        QTRY_VERIFY(!state->threads().first().isUnread());

        const QString cached = await(state->attachmentFile(attachment));
        QVERIFY(cached.startsWith(home.filePath("cache")));
        QCOMPARE(contents(cached), notes);
        state->saveAttachment(attachment);
        QTRY_COMPARE(revealed, QStringList{QDir(home.filePath("Downloads")).filePath("notes.txt")});
        QCOMPARE(contents(revealed.first()), notes);

        state->showRawMessage(email);
        QTRY_VERIFY(state->rawMessage() && state->rawMessage()->source);
        QVERIFY(state->rawMessage()->source->contains("Subject: " + subject));
        QVERIFY(state->rawMessage()->source->contains("Content-ID: <plan@example.com>"));

        // A search narrows the list to what matches.
        state->setSearchText("Lunch");
        await(state->search());
        QVERIFY(!state->threads().isEmpty());
        QVERIFY(state->threads().size() < subjects.size() + 1);
        for (const MailThread& thread : state->threads())
            QVERIFY2(thread.subject().contains("Lunch"), qPrintable(thread.subject()));
        QVERIFY(!state->errorMessage());
    }

private:
    QString sessionUrl;
    QString token;
};

QTEST_GUILESS_MAIN(TestReadingCyrus)
#include "tst_reading_cyrus.moc"
