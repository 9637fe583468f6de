#include "StateFixture.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>

using namespace AsyncTest;

namespace {

BodyPart part(const QString& blobId, const std::optional<QString>& name, const QString& type)
{
    BodyPart result;
    result.blobId = blobId;
    result.name = name;
    result.type = type;
    return result;
}

QUrl downloadUrl(const QString& blobId, const QString& name)
{
    return QUrl(QStringLiteral("https://jmap.example.test/jmap/download/u1/%1/%2")
                    .arg(JMAPClient::percentEncoded(blobId), JMAPClient::percentEncoded(name)));
}

int downloads(const FakeNetwork& network)
{
    int count = 0;
    for (const RecordedRequest& request : network.requests())
        count += request.url.path().startsWith("/jmap/download/");
    return count;
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

Email message(const QString& id, const std::optional<QString>& blobId)
{
    Email email;
    email.id = id;
    email.blobId = blobId;
    email.subject = "Subject " + id;
    return email;
}

} // namespace

class TestAttachments : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void fileNameIsSafe_data()
    {
        QTest::addColumn<std::optional<QString>>("name");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("expected");
        QTest::newRow("named") << std::optional<QString>("report.pdf") << "application/pdf"
                               << "report.pdf";
        QTest::newRow("slash and colon") << std::optional<QString>("a/b:c.pdf") << "application/pdf"
                                         << "a_b_c.pdf";
        QTest::newRow("unnamed pdf") << std::optional<QString>() << "application/pdf"
                                     << "attachment.pdf";
        QTest::newRow("empty name, png") << std::optional<QString>("") << "image/png"
                                         << "attachment.png";
        QTest::newRow("unknown type") << std::optional<QString>() << "application/x-veldrin-nothing"
                                      << "attachment";
        QTest::newRow("parent folder") << std::optional<QString>("..") << "text/plain"
                                       << "attachment.txt";
    }

    void fileNameIsSafe()
    {
        QFETCH(std::optional<QString>, name);
        QFETCH(QString, type);
        QFETCH(QString, expected);
        QCOMPARE(AppState::fileName(part("b1", name, type)), expected);
    }

    void attachmentFileIsFetchedOnce()
    {
        StateFixture f;
        auto state = f.connected();
        const BodyPart pdf = part("B/1", "report.pdf", "application/pdf");
        f.network.setResponse(downloadUrl("B/1", "report.pdf"), {200, "%PDF-1.4 bytes", "x"});
        QSignalSpy previews(state.get(), &AppState::quickLookPathChanged);
        state->quickLook(pdf);
        QTRY_COMPARE(previews.count(), 1);
        const QString path = *state->quickLookPath();
        QCOMPARE(path, QDir(f.home.filePath("cache")).filePath("B_1/report.pdf"));
        QCOMPARE(contents(path), QByteArray("%PDF-1.4 bytes"));
        QCOMPARE(downloads(f.network), 1);
        // The second time comes from the cache without a transfer.
        QCOMPARE(await(state->attachmentFile(pdf)), path);
        state->openAttachment(pdf);
        QTRY_COMPARE(f.opened, QList<QUrl>{QUrl::fromLocalFile(path)});
        QCOMPARE(downloads(f.network), 1);

        // A hostile blob id stays inside the cache.
        const BodyPart climbing = part("..", "x.txt", "text/plain");
        f.network.setResponse(downloadUrl("..", "x.txt"), {200, "x", "text/plain"});
        QVERIFY(await(state->attachmentFile(climbing)).startsWith(f.home.filePath("cache/")));

        // Without content there is nothing to fetch, and the failure reaches the error bar.
        BodyPart empty = pdf;
        empty.blobId.reset();
        const auto error = awaitError<JMAPError>(state->attachmentFile(empty));
        QVERIFY(error);
        QVERIFY(error->description().contains("attachment without content"));
        f.network.setResponse(downloadUrl("B/2", "gone.pdf"), {404, "gone", "text/plain"});
        state->quickLook(part("B/2", "gone.pdf", "application/pdf"));
        QTRY_VERIFY(state->errorMessage());
        QCOMPARE(previews.count(), 1);
    }

    void savingNumbersCopiesAndRevealsThem()
    {
        StateFixture f;
        auto state = f.connected();
        f.network.setResponse(downloadUrl("b1", "a.txt"), {200, "alpha", "text/plain"});
        f.network.setResponse(downloadUrl("b2", "notes"), {200, "beta", "text/plain"});
        const QDir downloadsDir(f.home.filePath("Downloads"));
        for (int i = 0; i < 3; ++i) {
            state->saveAttachment(part("b1", "a.txt", "text/plain"));
            QTRY_COMPARE(f.revealed.size(), i + 1);
        }
        state->saveAttachment(part("b2", "notes", "application/x-veldrin-nothing"));
        state->saveAttachment(part("b2", "notes", "application/x-veldrin-nothing"));
        QTRY_COMPARE(f.revealed.size(), 5);
        QCOMPARE(f.revealed,
                 (QStringList{downloadsDir.filePath("a.txt"), downloadsDir.filePath("a 2.txt"),
                              downloadsDir.filePath("a 3.txt"), downloadsDir.filePath("notes"),
                              downloadsDir.filePath("notes 2")}));
        QCOMPARE(contents(downloadsDir.filePath("a 3.txt")), QByteArray("alpha"));
        QCOMPARE(contents(downloadsDir.filePath("notes 2")), QByteArray("beta"));
        // Saving goes past the cache every time.
        QCOMPARE(downloads(f.network), 5);
    }

    void rawMessageGoesOnlyToItsOwnSheet()
    {
        StateFixture f;
        auto state = f.connected();
        f.network.setResponse(downloadUrl("m1", "message.eml"),
                              {200, "Subject: Hi\r\n\r\nBad \xff byte", "message/rfc822"});
        f.network.setHolding(true);
        state->showRawMessage(message("e1", "m1"));
        QCOMPARE(state->rawMessage(),
                 std::optional<AppState::RawMessage>({"e1", "Subject e1", std::nullopt}));
        f.network.release(0);
        QTRY_VERIFY(state->rawMessage()->source);
        QCOMPARE(*state->rawMessage()->source, QString("Subject: Hi\r\n\r\nBad \uFFFD byte"));

        // Closed, or opened on another message, before the source came: nothing is overwritten.
        state->showRawMessage(message("e1", "m1"));
        state->setRawMessage(std::nullopt);
        state->showRawMessage(message("e2", "m2"));
        f.network.release(0);
        QTRY_COMPARE(state->activeFetches(), 1); // e2's source is still on its way
        QCOMPARE(state->rawMessage(),
                 std::optional<AppState::RawMessage>({"e2", "Subject e2", std::nullopt}));

        // A message without a blob opens nothing; a failure closes its own sheet and says why.
        f.network.releaseAll();
        QTRY_VERIFY(state->errorMessage());
        QVERIFY(!state->rawMessage());
        state->setErrorMessage(std::nullopt);
        state->showRawMessage(message("e3", std::nullopt));
        QVERIFY(!state->rawMessage());
        f.network.setHolding(false);
        f.network.setResponse(downloadUrl("m4", "message.eml"), {500, "no", "text/plain"});
        state->showRawMessage(message("e4", "m4"));
        QTRY_VERIFY(state->errorMessage());
        QVERIFY(!state->rawMessage());
    }
};

QTEST_GUILESS_MAIN(TestAttachments)
#include "tst_attachments.moc"
