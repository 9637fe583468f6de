#include "AppTestEnvironment.h"
#include "AsyncTest.h"
#include "app/state/AppState.h"
#include "config/Keychain.h"
#include "ui/main/MailboxListModel.h"
#include "ui/main/MainWindow.h"
#include "ui/main/SidebarView.h"
#include "ui/settings/AccountSettings.h"
#include "ui/settings/SettingsWindow.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QNetworkAccessManager>
#include <QPushButton>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

// The start and connection sequence against a real JMAP server on loopback, reached over
// HTTPS with a certificate that the system trusts. Runs under the Cyrus harness, which sets
// VELDRIN_TEST_SESSION_URL and VELDRIN_TEST_TOKEN.
class TestConnectCyrus : public QObject
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

    void aTokenPastedInSettingsFillsTheSidebar()
    {
        MemorySecretStore store;
        auto owner = makeState(store);
        AppState& state = *owner;
        MainWindow window(&state);
        window.resize(1000, 600);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_VERIFY(state.hasStarted());
        QVERIFY(!state.hasToken());

        SettingsWindow* settings = window.settingsWindow();
        settings->show();
        settings->findChild<QLineEdit*>("tokenField")->setText(token + "\n");
        settings->account()->saveButton()->click();
        QTRY_VERIFY_WITH_TIMEOUT(state.isConnected(), 20000);
        QCOMPARE(Keychain::readToken(store), std::optional<QString>(token));
        QTRY_COMPARE(settings->findChild<QLabel*>("connectionStatus")->text(),
                     QString("Connected as test@example.com"));

        QCOMPARE(state.accountName(), std::optional<QString>("test@example.com"));
        QSet<QString> roles;
        for (const Mailbox& mailbox : state.mailboxes())
            if (mailbox.role)
                roles.insert(*mailbox.role);
        QCOMPARE(roles, (QSet<QString>{"inbox", "drafts", "sent", "archive", "junk", "trash"}));
        QVERIFY(state.mailboxWithRole("inbox")->totalEmails > 0);
        QCOMPARE(state.identities().size(), 1);
        QCOMPARE(state.identities().first().email, QString("test@example.com"));
        QCOMPARE(state.maxDelayedSend(), qint64(86400));
        // The test server offers neither contacts nor Masked Email.
        QVERIFY(!state.hasContacts());
        QVERIFY(!state.hasMaskedEmail());

        QListView* list = window.sidebar()->list();
        QCOMPARE(list->model()->rowCount(), state.mailboxes().size());
        QCOMPARE(list->currentIndex().data().toString(), QString("Inbox"));
        QCOMPARE(state.selectedMailboxId(),
                 std::optional<QString>(state.mailboxWithRole("inbox")->id));
        const QString shots = qEnvironmentVariable("VELDRIN_SCREENSHOTS");
        if (!shots.isEmpty()) {
            QDir().mkpath(shots);
            settings->hide();
            window.grab().save(QDir(shots).filePath("cyrus-connected.png"));
        }
    }

    void aWrongTokenIsRejected()
    {
        MemorySecretStore store;
        QVERIFY(Keychain::saveToken(store, "not-a-valid-token"));
        auto owner = makeState(store);
        AppState& state = *owner;
        AsyncTest::await(state.connect());
        QCOMPARE(state.errorMessage(),
                 std::optional<QString>("Fastmail rejected the API token. Check it in Settings."));
        QVERIFY(!state.isConnected());
    }

private:
    std::unique_ptr<AppState> makeState(MemorySecretStore& store);
    QString sessionUrl;
    QString token;
    QTemporaryDir home;
    QNetworkAccessManager network;
};

std::unique_ptr<AppState> TestConnectCyrus::makeState(MemorySecretStore& store)
{
    return makeTestState(
        &network, home.filePath(QString::fromLatin1(QTest::currentTestFunction()) + "/config.json"),
        store, sessionUrl);
}

QTEST_MAIN(TestConnectCyrus)
#include "tst_connect_cyrus.moc"
