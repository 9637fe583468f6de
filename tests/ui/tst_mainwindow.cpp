#include "AppTestEnvironment.h"
#include "FakeNetwork.h"
#include "UiTest.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"
#include "ui/main/ErrorBar.h"
#include "ui/main/MailboxListModel.h"
#include "ui/main/MainWindow.h"
#include "ui/main/SidebarView.h"
#include "ui/main/SyncFooter.h"
#include "ui/settings/AccountSettings.h"
#include "ui/settings/SettingsWindow.h"
#include "ui/threads/MailSearchField.h"
#include "ui/threads/ThreadListView.h"
#include "ui/web/MailWebView.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QApplication>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QProgressBar>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

using UiTest::screenshot;

namespace {

Mailbox box(const QString& id, qint64 unread, qint64 total)
{
    Mailbox mailbox;
    mailbox.id = id;
    mailbox.name = id;
    mailbox.unreadThreads = unread;
    mailbox.totalThreads = total;
    return mailbox;
}

MailboxNode node(const QString& id, qint64 unread, qint64 total)
{
    return MailboxNode{box(id, unread, total), 0, false};
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }

    void init()
    {
        network = std::make_unique<FakeNetwork>();
        network->respondTo("Mailbox/get", QJsonDocument::fromJson(R"({"list":[
        {"id":"in","name":"Inbox","role":"inbox","sortOrder":1,"totalEmails":5,"unreadEmails":2,"totalThreads":4,"unreadThreads":2},
        {"id":"dr","name":"Drafts","role":"drafts","sortOrder":2,"totalEmails":1,"unreadEmails":0,"totalThreads":1,"unreadThreads":0},
        {"id":"se","name":"Sent","role":"sent","sortOrder":3,"totalEmails":9,"unreadEmails":0,"totalThreads":9,"unreadThreads":0},
        {"id":"ar","name":"Archive","role":"archive","sortOrder":4,"totalEmails":0,"unreadEmails":0,"totalThreads":0,"unreadThreads":0},
        {"id":"ju","name":"Spam","role":"junk","sortOrder":5,"totalEmails":3,"unreadEmails":3,"totalThreads":3,"unreadThreads":3},
        {"id":"tr","name":"Trash","role":"trash","sortOrder":6,"totalEmails":0,"unreadEmails":0,"totalThreads":0,"unreadThreads":0},
        {"id":"pr","name":"Projects","sortOrder":7,"totalEmails":12,"unreadEmails":1,"totalThreads":8,"unreadThreads":1}]})")
                                              .object());
        network->respondTo("Identity/get", QJsonObject{{"list", QJsonArray()}});
        network->respondTo("Email/query", QJsonObject{{"ids", QJsonArray()}, {"total", 0}});
        network->respondTo("Thread/get", QJsonObject{{"list", QJsonArray()}});
        network->respondTo("Email/get", QJsonObject{{"list", QJsonArray()}});
        keychain = MemorySecretStore();
    }

    void noTokenShowsThePrompt()
    {
        auto state = makeState();
        MainWindow window(state.get());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.windowTitle(), QString("Veldrin"));
        QVERIFY(state->hasStarted());
        auto* stack = window.sidebar()->findChild<QStackedWidget*>();
        QTRY_COMPARE(stack->currentWidget()->objectName(), QString("noTokenState"));
        const auto labels = stack->currentWidget()->findChildren<QLabel*>();
        QStringList texts;
        for (QLabel* label : labels)
            texts << label->text();
        QVERIFY(texts.contains("No API token"));
        QVERIFY(texts.contains("Add your Fastmail API token to get started."));
        QVERIFY(!window.errorBar()->isVisible());
        screenshot(&window, "main-no-token");

        // Ctrl+, opens Settings where the desktop names no key of its own for it.
        QTest::keyClick(&window, Qt::Key_Comma, Qt::ControlModifier);
        QTRY_VERIFY(window.settingsWindow()->isVisible());
        window.settingsWindow()->hide();

        // Open Settings lands in the token field of the Account tab, ready for a paste.
        auto* open = window.findChild<QPushButton*>("openSettingsButton");
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::mouseClick(open, Qt::LeftButton);
        SettingsWindow* settings = window.settingsWindow();
        QVERIFY(QTest::qWaitForWindowActive(settings));
        QCOMPARE(settings->tabs()->currentWidget(), settings->account());
        auto* token = settings->findChild<QLineEdit*>("tokenField");
        QTRY_COMPARE(QApplication::focusWidget(), token);
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(token);
        QCOMPARE(accessible->text(QAccessible::Name), QString("API token"));
        QVERIFY(accessible->state().focused);
        QCOMPARE(settings->findChild<QLabel*>("connectionStatus")->text(),
                 QString("Not connected"));
        QVERIFY(!settings->findChild<QPushButton*>("removeTokenButton")->isVisible());
        screenshot(settings, "settings-account-empty");
    }

    void accountTabConnectsAndFillsTheSidebar()
    {
        auto state = makeState();
        MainWindow window(state.get());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        window.showSettings();
        SettingsWindow* settings = window.settingsWindow();
        auto* field = settings->findChild<QLineEdit*>("tokenField");
        QTest::keyClicks(field, "  fmu1-pasted-token  ");
        settings->account()->saveButton()->click();
        QCOMPARE(field->text(), QString()); // the secret leaves the field at once
        QCOMPARE(storedToken(keychain), std::optional<QString>("fmu1-pasted-token"));

        QListView* list = window.sidebar()->list();
        QTRY_COMPARE(list->model()->rowCount(), 7);
        QTRY_COMPARE(settings->findChild<QLabel*>("connectionStatus")->text(),
                     QString("Connected as user@example.com"));
        QCOMPARE(settings->findChild<QLineEdit*>("tokenField")->placeholderText(),
                 QString("Saved in Keychain"));
        QVERIFY(settings->findChild<QPushButton*>("removeTokenButton")->isVisible());
        QCOMPARE(list->currentIndex().data().toString(), QString("Inbox"));
        // The inbox chosen at connect is asked for once, though both the connection and the window
        // answer the new selection.
        const auto inboxPages = [this] {
            int count = 0;
            for (const RecordedRequest& request : network->batches())
                count += request.body.contains(R"("inMailbox":"in")");
            return count;
        };
        QTRY_VERIFY(!state->isLoadingList());
        QCOMPARE(inboxPages(), 1);
        QCOMPARE(list->model()->index(4, 0).data(MailboxListModel::BadgeRole).toString(),
                 QString("3"));
        screenshot(settings, "settings-account-connected");
        settings->hide();
        screenshot(&window, "main-connected");

        // Choosing a mailbox in the sidebar selects it in the state.
        list->setCurrentIndex(list->model()->index(6, 0));
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("pr"));
        // The change of mailbox reaches the state, which asks for that mailbox's first page.
        QTRY_VERIFY(network->batches().last().body.contains(R"("inMailbox":"pr")"));
        QCOMPARE(window.threadList()->searchField()->accessibleDescription(),
                 QString("Search Projects"));
        // The token went out only as the bearer header.
        for (const RecordedRequest& request : network->requests())
            QVERIFY(!request.body.contains("fmu1-pasted-token"));
    }

    void failureStandsInTheErrorBarUntilDismissed()
    {
        keychain.data = QByteArray("fmu1-old");
        network->setResponse(FakeNetwork::sessionUrl(), {401, ""});
        auto state = makeState();
        MainWindow window(state.get());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_VERIFY(window.errorBar()->isVisible());
        QCOMPARE(window.errorBar()->message(),
                 QString("Fastmail rejected the API token. Check it in Settings."));
        window.showSettings();
        QTRY_COMPARE(window.settingsWindow()->findChild<QLabel*>("connectionStatus")->text(),
                     QString("Fastmail rejected the API token. Check it in Settings."));
        window.settingsWindow()->hide();

        screenshot(&window, "main-error-bar");
        window.findChild<QPushButton*>("dismissButton")->click();
        QVERIFY(!state->errorMessage());
        QVERIFY(!window.errorBar()->isVisible());
    }

    void failedKeychainWriteKeepsTheTypedToken()
    {
        keychain.failAdds = true;
        auto state = makeState();
        SettingsWindow settings(state.get());
        settings.show();
        auto* field = settings.findChild<QLineEdit*>("tokenField");
        field->setText("fmu1-new");
        settings.account()->saveAndConnect();
        QCOMPARE(field->text(), QString("fmu1-new"));
        QCOMPARE(state->errorMessage(),
                 std::optional<QString>("Could not store the token in the keychain."));
        QVERIFY(network->requests().isEmpty());
    }

    void removeTokenReturnsToThePrompt()
    {
        keychain.data = QByteArray("fmu1-old");
        auto state = makeState();
        MainWindow window(state.get());
        window.show();
        QTRY_VERIFY(state->isConnected());
        window.settingsWindow()->account()->removeToken();
        QTRY_VERIFY(!state->hasToken());
        QVERIFY(!storedToken(keychain));
        QVERIFY(!state->isConnected());
        auto* stack = window.sidebar()->findChild<QStackedWidget*>();
        QCOMPARE(stack->currentWidget()->objectName(), QString("noTokenState"));
    }

    void modelUpdatesRowsInPlace()
    {
        auto state = makeState();
        MailboxListModel model(state.get());
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.update({node("a", 0, 1), node("b", 1, 1), node("c", 0, 0)});
        QPersistentModelIndex b = model.index(1);
        model.update({node("c", 0, 0), node("a", 2, 3), node("b", 1, 1), node("d", 0, 0)});
        QCOMPARE(model.rowCount(), 4);
        QVERIFY(b.isValid());
        QCOMPARE(b.row(), 2); // moved, not reset
        QCOMPARE(model.index(1).data(MailboxListModel::BadgeRole).toString(), QString("2"));
        model.update({node("b", 1, 1)});
        QCOMPARE(model.rowCount(), 1);
        QVERIFY(b.isValid());
        QCOMPARE(b.row(), 0);
    }

    void threeColumnsWithTheSyncFooter()
    {
        keychain.data = QByteArray("fmu1-old");
        auto state = makeState();
        MainWindow window(state.get());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.size(), QSize(1280, 800));
        const QList<int> sizes = window.splitter()->sizes();
        QCOMPARE(sizes.size(), 3);
        QCOMPARE(sizes.at(0), 210);
        QCOMPARE(sizes.at(1), 356);
        // The keys act on the list first.
        QTRY_COMPARE(QApplication::focusWidget(), window.threadList()->list());

        // While the connection reads, the sidebar says so; then the line goes quiet.
        auto* footer = window.findChild<SyncFooter*>();
        QVERIFY(footer);
        QTRY_COMPARE(footer->status(), QString("Fetching mail…"));
        QVERIFY(footer->findChild<QLabel*>("syncStatus")->isVisible());
        QTRY_VERIFY(state->isConnected());
        QTRY_COMPARE(footer->status(), QString());
        QVERIFY(!footer->findChild<QLabel*>("syncStatus")->isVisible());
        QVERIFY(!footer->findChild<QProgressBar*>("syncActivity")->isVisible());
    }

private:
    std::unique_ptr<AppState> makeState();
    QTemporaryDir home;
    std::unique_ptr<FakeNetwork> network;
    MemorySecretStore keychain;
};

std::unique_ptr<AppState> TestMainWindow::makeState()
{
    return makeTestState(network.get(),
                         home.filePath(QString::fromLatin1(QTest::currentTestFunction()) + ".json"),
                         keychain, FakeNetwork::sessionUrl().toString());
}

VELDRIN_WEB_TEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
