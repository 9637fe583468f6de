#include "AppTestEnvironment.h"
#include "FakeNetwork.h"
#include "UiTest.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"
#include "ui/desktop/Updater.h"
#include "ui/main/MainMenus.h"
#include "ui/main/MainWindow.h"
#include "ui/main/ShortcutsOverlay.h"
#include "ui/settings/AccountSettings.h"
#include "ui/settings/FolderSettings.h"
#include "ui/settings/GeneralSettings.h"
#include "ui/settings/KeybindingSettings.h"
#include "ui/settings/SettingsWindow.h"
#include "ui/settings/Stepper.h"

#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

using UiTest::screenshot;

namespace {

Mailbox box(const QString& id, const QString& name, const std::optional<QString>& role = {},
            const std::optional<QString>& parent = {})
{
    Mailbox mailbox;
    mailbox.id = id;
    mailbox.name = name;
    mailbox.role = role;
    mailbox.parentId = parent;
    return mailbox;
}

QList<Mailbox> folders()
{
    return {box("m-inbox", "Inbox", "inbox"),
            box("m-junk", "Junk Mail", "junk"),
            box("m-trash", "Trash", "trash"),
            box("m-work", "Work"),
            box("m-clients", "Clients", {}, "m-work"),
            box("m-acme", "Acme", {}, "m-clients"),
            box("m-receipts", "Receipts")};
}

Updater::Options updaterOptions(const QString& stateFile)
{
    Updater::Options options;
    options.feed = QUrl("http://127.0.0.1:9/appcast.xml"); // nothing listens there
    options.currentVersion = "1.0";
    options.stateFile = stateFile;
    return options;
}

} // namespace

class TestSettingsWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }

    void init()
    {
        network = std::make_unique<FakeNetwork>();
        network->respondTo("Mailbox/get", QJsonObject{{"list", QJsonArray()}});
        network->respondTo("Identity/get", QJsonObject{{"list", QJsonArray()}});
        keychain = MemorySecretStore();
        revealed.clear();
    }

    void tabsAndScreenshots()
    {
        // The tabs in order with icons, opening on General.
        auto state = makeState(true);
        state->setMailboxes(folders());
        AppConfig config = state->config();
        config.hideWhenEmpty = {"m-receipts", "m-acme"};
        config.keybindings.insert("archive", "j");
        config.keybindings.insert("toggleFlag", "cmd+");
        state->setConfig(config);
        Updater updater(updaterOptions(home.filePath("screenshots.ini")), &web);
        SettingsWindow settings(state.get(), nullptr, &updater);
        settings.show();
        QVERIFY(QTest::qWaitForWindowExposed(&settings));
        QCOMPARE(settings.tabs()->currentWidget(), settings.general());
        const QStringList names{"General", "Folders", "Keybindings", "Account"};
        QCOMPARE(settings.tabs()->count(), names.size());
        for (int i = 0; i < names.size(); ++i) {
            QCOMPARE(settings.tabs()->tabText(i), names[i]);
            QVERIFY(!settings.tabs()->tabIcon(i).isNull());
            settings.tabs()->setCurrentIndex(i);
            QTest::qWait(100);
            screenshot(&settings, "settings-" + names[i].toLower());
        }
        settings.tabs()->setCurrentIndex(0);
        QScrollBar* bar = settings.general()->findChild<QScrollArea*>()->verticalScrollBar();
        bar->setValue(bar->maximum());
        screenshot(&settings, "settings-general-end");
    }

    void togglesWriteTheirKeys_data()
    {
        QTest::addColumn<QString>("key");
        for (const char* key :
             {"markReadOnOpen", "loadRemoteImages", "groupByDate", "showAvatars", "showDockBadge",
              "notifyNewMail", "markdownByDefault", "markdownHardBreaks"})
            QTest::newRow(key) << QString(key);
    }

    void togglesWriteTheirKeys()
    {
        QFETCH(QString, key);
        auto state = makeState();
        const bool before = state->config().toJson().value(key).toBool();
        SettingsWindow settings(state.get());
        settings.show();
        auto* toggle = settings.general()->findChild<QCheckBox*>(key);
        QVERIFY(toggle);
        QCOMPARE(toggle->isChecked(), before);
        toggle->setFocus();
        QTest::keyClick(toggle, Qt::Key_Space);
        QCOMPARE(file().value(key), QJsonValue(!before));
        // Only that key changed.
        QJsonObject expected = AppConfig().toJson();
        expected.insert(key, !before);
        expected.insert("sessionUrl", FakeNetwork::sessionUrl().toString());
        QCOMPARE(file(), expected);
    }

    void steppers_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<qint64>("start");
        QTest::addColumn<QString>("presses");
        QTest::addColumn<QList<qint64>>("saved");
        QTest::addColumn<QString>("shown");
        using L = QList<qint64>;
        QTest::newRow("page size stops at 10")
            << "pageSize" << qint64(20) << "--+" << L{10, 10, 20} << "Conversations per page: 20";
        QTest::newRow("refresh steps by 15 from 15")
            << "refreshIntervalSeconds" << qint64(15) << "-+" << L{15, 30}
            << "Refresh every 30 seconds";
        QTest::newRow("undo send off at 0")
            << "undoSendSeconds" << qint64(5) << "--" << L{0, 0} << "Undo Send: off";
        QTest::newRow("undo send on again")
            << "undoSendSeconds" << qint64(0) << "+" << L{5} << "Undo Send: 5 seconds";
        // Values from a hand-edited file stand as they are until the user steps.
        QTest::newRow("off the steps")
            << "pageSize" << qint64(37) << "+" << L{47} << "Conversations per page: 47";
        QTest::newRow("beyond the bound")
            << "pageSize" << qint64(500) << "+-" << L{500, 200} << "Conversations per page: 200";
    }

    void steppers()
    {
        QFETCH(QString, key);
        QFETCH(qint64, start);
        QFETCH(QString, presses);
        QFETCH(QList<qint64>, saved);
        QFETCH(QString, shown);
        auto state = makeState();
        QJsonObject stored = state->config().toJson();
        stored.insert(key, start);
        state->setConfig(AppConfig::fromJson(stored));
        state->saveConfig();
        SettingsWindow settings(state.get());
        settings.show();
        auto* stepper = settings.general()->findChild<Stepper*>(key);
        QVERIFY(stepper);
        QCOMPARE(stepper->value(), start);
        stepper->setFocus();
        for (qsizetype i = 0; i < presses.size(); ++i) {
            QTest::keyClick(stepper, presses[i] == '+' ? Qt::Key_Up : Qt::Key_Down);
            QCOMPARE(file().value(key).toInteger(), saved[i]);
        }
        QCOMPARE(stepper->text(), shown);
    }

    void updatesAndConfigFile()
    {
        // Only a build with an update feed has the menu item and the Updates section.
        auto state = makeState();
        MainWindow plain(state.get());
        QVERIFY(!plain.menus()->checkForUpdatesAction());
        QVERIFY(!plain.settingsWindow()->general()->automaticUpdates());

        Updater updater(updaterOptions(home.filePath("updater.ini")), &web);
        MainWindow window(state.get());
        window.setUpdater(&updater);
        window.show();
        SettingsWindow* settings = window.settingsWindow();
        settings->show();
        QToolButton* path = settings->general()->configFileButton();
        QVERIFY(path->accessibleName().endsWith(QDir::toNativeSeparators(configPath())));
        QTest::mouseClick(path, Qt::LeftButton);
        QCOMPARE(revealed, QStringList{configPath()});

        // The choice lives with the updater, not in the settings file, and is kept.
        const QJsonObject stored = file();
        QCheckBox* automatic = settings->general()->automaticUpdates();
        QVERIFY(automatic->isChecked());
        automatic->setFocus();
        QTest::keyClick(automatic, Qt::Key_Space);
        QCOMPARE(file(), stored);
        QVERIFY(!Updater(updaterOptions(home.filePath("updater.ini")), &web).checksAutomatically());

        // The item is greyed while a check runs, and a check the user asked for always answers.
        settings->hide();
        QAction* item = window.menus()->checkForUpdatesAction();
        QCOMPARE(item->text(), QString("Check for Updates…"));
        item->trigger();
        QVERIFY(!item->isEnabled());
        QTRY_VERIFY(item->isEnabled());
        auto* alert = window.findChild<QMessageBox*>();
        QTRY_VERIFY(alert && alert->isVisible());
        QCOMPARE(alert->text(), QString("Veldrin could not check for updates."));
        QVERIFY(alert->informativeText().startsWith("The update feed could not be read: "));
    }

    void spamPicker()
    {
        auto state = makeState();
        AppConfig config = state->config();
        config.spamMailboxId = QStringLiteral("m-deleted");
        state->setConfig(config);
        state->saveConfig();
        SettingsWindow settings(state.get());
        settings.show();
        settings.tabs()->setCurrentWidget(settings.folders());
        QComboBox* picker = settings.folders()->spamPicker();
        QVERIFY(!picker->isEnabled());
        QVERIFY(settings.folders()->findChild<QLabel*>("noFolders")->isVisible());

        state->setMailboxes(folders());
        QVERIFY(picker->isEnabled());
        QStringList items;
        for (int i = 0; i < picker->count(); ++i)
            items << picker->itemText(i);
        QCOMPARE(items, QStringList({"Junk Mail (default)", "", "Inbox", "Junk Mail", "Trash",
                                     "Receipts", "Work", "    Clients", "        Acme"}));
        // The deleted folder reads as the default, and stays in the file until a choice is made.
        QCOMPARE(picker->currentIndex(), 0);
        QCOMPARE(file().value("spamMailboxId"), QJsonValue("m-deleted"));

        picker->setFocus();
        QTest::keyClick(picker, Qt::Key_End);
        QCOMPARE(picker->currentText(), QString("        Acme"));
        QCOMPARE(file().value("spamMailboxId"), QJsonValue("m-acme"));
        QCOMPARE(state->config().spamMailboxId, std::optional<QString>("m-acme"));
        QTest::keyClick(picker, Qt::Key_Home);
        QVERIFY(!file().contains("spamMailboxId"));

        // Without a junk folder the first entry is plain "Default".
        QList<Mailbox> noJunk = folders();
        noJunk.removeAt(1);
        state->setMailboxes(noJunk);
        QCOMPARE(picker->itemText(0), QString("Default"));
    }

    void hideWhenEmptyAllThenNone()
    {
        auto state = makeState();
        state->setMailboxes(folders());
        SettingsWindow settings(state.get());
        settings.show();
        settings.tabs()->setCurrentWidget(settings.folders());
        FolderSettings* tab = settings.folders();

        // New counts from a refresh leave the rows, and so the focus, where they are.
        QCheckBox* work = tab->hideToggle("m-work");
        QList<Mailbox> counted = folders();
        counted[3].unreadEmails = 4;
        state->setMailboxes(counted);
        QCOMPARE(tab->hideToggle("m-work"), work);

        QTest::mouseClick(tab->hideToggle("m-receipts"), Qt::LeftButton);
        QCOMPARE(file().value("hideWhenEmpty").toArray(), QJsonArray({"m-receipts"}));

        QTest::mouseClick(tab->allButton(), Qt::LeftButton);
        QCOMPARE(file().value("hideWhenEmpty").toArray(),
                 QJsonArray({"m-acme", "m-clients", "m-inbox", "m-junk", "m-receipts", "m-trash",
                             "m-work"}));
        for (const Mailbox& mailbox : folders())
            QVERIFY(tab->hideToggle(mailbox.id)->isChecked());

        // A folder made after "All" is not covered by it.
        state->setMailboxes(folders() << box("m-new", "Newsletters"));
        QVERIFY(!tab->hideToggle("m-new")->isChecked());
        QVERIFY(tab->hideToggle("m-work")->isChecked());

        QTest::mouseClick(tab->noneButton(), Qt::LeftButton);
        QCOMPARE(file().value("hideWhenEmpty").toArray(), QJsonArray());
        QVERIFY(!tab->hideToggle("m-work")->isChecked());
    }

    void keybindingNotes_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("row");
        QTest::addColumn<QString>("note");
        QTest::addColumn<QString>("color");
        QTest::newRow("half-written key") << "archive"
                                          << "cmd+"
                                          << "archive"
                                          << "not a valid key"
                                          << "#c62828";
        // Clashes within the main window: each names the first other action with the key.
        QTest::newRow("clash, later row") << "archive"
                                          << "j"
                                          << "nextThread"
                                          << "also Archive"
                                          << "#e65100";
        QTest::newRow("clash, earlier row") << "archive"
                                            << "j"
                                            << "archive"
                                            << "also Next Conversation"
                                            << "#e65100";
        QTest::newRow("clash in compose") << "attach"
                                          << "cmd+enter"
                                          << "attach"
                                          << "also Send"
                                          << "#e65100";
        // The compose window and the main window may share keys.
        QTest::newRow("across scopes") << "send"
                                       << "e"
                                       << "send"
                                       << "E"
                                       << "";
        QTest::newRow("display") << "archive"
                                 << "Cmd+Shift+Return"
                                 << "archive"
                                 << "Ctrl+Shift+Enter"
                                 << "";
    }

    void keybindingNotes()
    {
        QFETCH(QString, action);
        QFETCH(QString, typed);
        QFETCH(QString, row);
        QFETCH(QString, note);
        QFETCH(QString, color);
        auto state = makeState();
        SettingsWindow settings(state.get());
        settings.show();
        settings.tabs()->setCurrentWidget(settings.keybindings());
        KeybindingSettings* tab = settings.keybindings();
        QLineEdit* field = tab->field(*MailAction::fromRawValue(action));
        field->setFocus();
        field->selectAll();
        QTest::keyClick(field, Qt::Key_Backspace);
        QTest::keyClicks(field, typed);
        // Saved as written, whatever the note says.
        QCOMPARE(file().value("keybindings").toObject().value(action), QJsonValue(typed));
        QLabel* label = tab->note(*MailAction::fromRawValue(row));
        QCOMPARE(label->text(), note);
        QCOMPARE(label->styleSheet().contains(color), true);
        if (color.isEmpty())
            QVERIFY(label->styleSheet().isEmpty());
    }

    void keyChangesShowAtOnce()
    {
        auto state = makeState(true);
        MainWindow window(state.get());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const auto before = sessionFetches();
        window.showSettings();
        SettingsWindow* settings = window.settingsWindow();
        QVERIFY(QTest::qWaitForWindowExposed(settings));
        settings->tabs()->setCurrentWidget(settings->keybindings());
        QLineEdit* field = settings->keybindings()->field(MailAction::Archive);
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, "z");
        QCOMPARE(window.menus()->action(MailAction::Archive)->text(), QString("Archive\tZ"));
        state->setShowsShortcuts(true);
        const auto overlayShows = [&](const QString& text) {
            for (QLabel* label : window.shortcutsOverlay()->findChildren<QLabel*>())
                if (label->text() == text)
                    return true;
            return false;
        };
        QVERIFY(overlayShows("Z"));
        // Return in the field ends the edit and nothing else: no connection starts.
        QTest::keyClick(field, Qt::Key_Return);
        QVERIFY(settings->isVisible());
        QCOMPARE(sessionFetches(), before);

        QTest::mouseClick(settings->keybindings()->resetButton(), Qt::LeftButton);
        QCOMPARE(field->text(), QString("e"));
        QCOMPARE(window.menus()->action(MailAction::Archive)->text(), QString("Archive\tE"));
        QVERIFY(overlayShows("E"));
        QJsonObject defaults;
        for (auto it = AppConfig::defaultKeybindings().cbegin();
             it != AppConfig::defaultKeybindings().cend(); ++it)
            defaults.insert(it.key(), it.value());
        QCOMPARE(file().value("keybindings").toObject(), defaults);
    }

    void returnKeySavesAndConnectsOnce_data()
    {
        QTest::addColumn<QString>("focus");
        QTest::addColumn<bool>("connected");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("storedAfter");
        QTest::newRow("in the token field") << "tokenField" << false << "fmu1-typed"
                                            << "fmu1-typed";
        QTest::newRow("in the session URL field") << "sessionUrlField" << true << ""
                                                  << "fmu1-token";
        QTest::newRow("on Remove Token") << "removeTokenButton" << true << ""
                                         << "fmu1-token";
    }

    void returnKeySavesAndConnectsOnce()
    {
        // One press of Return saves and connects once, and never removes the token.
        QFETCH(QString, focus);
        QFETCH(bool, connected);
        QFETCH(QString, typed);
        QFETCH(QString, storedAfter);
        auto state = makeState(connected);
        state->start([](QUuid) {});
        const auto before = sessionFetches();
        SettingsWindow settings(state.get());
        settings.show();
        QVERIFY(QTest::qWaitForWindowExposed(&settings));
        settings.tabs()->setCurrentWidget(settings.account());
        QTest::keyClicks(settings.findChild<QLineEdit*>("tokenField"), typed);
        auto* target = settings.findChild<QWidget*>(focus);
        QVERIFY(target->isVisible());
        target->setFocus();
        QTest::keyClick(target, Qt::Key_Return);
        QTRY_VERIFY(!settings.account()->isConnecting());
        QCOMPARE(sessionFetches(), before + 1);
        QCOMPARE(storedToken(keychain), std::optional<QString>(storedAfter));
    }

    void firstConnectToEndClearsConnecting()
    {
        auto state = makeState(true);
        SettingsWindow settings(state.get());
        settings.show();
        QVERIFY(QTest::qWaitForWindowExposed(&settings));
        settings.tabs()->setCurrentWidget(settings.account());
        auto* progress = settings.findChild<QProgressBar*>();
        QTest::mouseClick(settings.account()->saveButton(), Qt::LeftButton);
        QVERIFY(progress->isVisible());
        // A second press while the first runs; its session fetch never ends.
        network->setStreamPrefix(FakeNetwork::sessionUrl().toString());
        QTest::mouseClick(settings.account()->saveButton(), Qt::LeftButton);
        QTRY_VERIFY(!settings.account()->isConnecting());
        QVERIFY(!progress->isVisible());
        network->streams().constLast()->failStream(QNetworkReply::TimeoutError, "timed out");
    }

    void sessionUrlSetByAssistiveTechnologyIsSaved_data()
    {
        QTest::addColumn<bool>("replace");
        QTest::newRow("value set") << false;
        QTest::newRow("text replaced") << true;
    }

    void sessionUrlSetByAssistiveTechnologyIsSaved()
    {
        // Dictation and braille displays change the text through the accessibility interface,
        // without a key press.
        QFETCH(bool, replace);
        auto state = makeState(true);
        SettingsWindow settings(state.get());
        settings.show();
        QVERIFY(QTest::qWaitForWindowExposed(&settings));
        settings.tabs()->setCurrentWidget(settings.account());
        auto* field = settings.findChild<QLineEdit*>("sessionUrlField");
        QTest::keyClicks(field, "x"); // a typed edit first, which the new text replaces
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(field);
        const QString url = "http://jmap.example.test/";
        if (replace)
            accessible->editableTextInterface()->replaceText(0, int(field->text().size()), url);
        else
            accessible->setText(QAccessible::Value, url);
        QCOMPARE(field->text(), url);
        QTest::mouseClick(settings.account()->saveButton(), Qt::LeftButton);
        QCOMPARE(state->config().sessionUrl, url);
        QTRY_COMPARE(state->errorMessage(),
                     std::optional<QString>("The JMAP session URL must be an https URL."));
    }

private:
    std::unique_ptr<AppState> makeState(bool connected = false);
    // Session fetches so far: one per connection attempt.
    qsizetype sessionFetches() const;
    QJsonObject file() const;
    QString configPath() const;
    QTemporaryDir home;
    std::unique_ptr<FakeNetwork> network;
    MemorySecretStore keychain;
    QStringList revealed;
    QNetworkAccessManager web;
};

QString TestSettingsWindow::configPath() const
{
    return home.filePath(QString::fromLatin1(QTest::currentTestFunction()) +
                         QString(QTest::currentDataTag()).replace(' ', '-') + "/config.json");
}

std::unique_ptr<AppState> TestSettingsWindow::makeState(bool connected)
{
    AppEnvironment environment = testEnvironment(network.get(), configPath(), keychain);
    environment.revealFile = [this](const QString& path) { revealed.append(path); };
    if (connected)
        keychain.data = QByteArray("fmu1-token");
    auto state = makeTestState(std::move(environment), FakeNetwork::sessionUrl().toString());
    if (connected) {
        state->start([](QUuid) {});
        [&] { QTRY_VERIFY(state->isConnected()); }();
    }
    return state;
}

qsizetype TestSettingsWindow::sessionFetches() const
{
    return std::count_if(
        network->requests().begin(), network->requests().end(),
        [](const RecordedRequest& request) { return request.url == FakeNetwork::sessionUrl(); });
}

QJsonObject TestSettingsWindow::file() const
{
    QFile config(configPath());
    if (!config.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(config.readAll()).object();
}

QTEST_MAIN(TestSettingsWindow)
#include "tst_settingswindow.moc"
