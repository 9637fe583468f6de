#include "AppTestEnvironment.h"
#include "FakeNetwork.h"
#include "app/state/AppState.h"
#include "ui/settings/AccountSettings.h"
#include "ui/settings/SettingsWindow.h"

#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

class TestAccountSettings : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void returnKey_data();
    void returnKey();
    void firstConnectToEndClearsConnecting();
    void sessionUrlSetByAssistiveTechnologyIsSaved_data();
    void sessionUrlSetByAssistiveTechnologyIsSaved();

private:
    std::unique_ptr<AppState> makeState();
    // Session fetches so far: one per connection attempt.
    int connections() const;
    QTemporaryDir home;
    std::unique_ptr<FakeNetwork> network;
    MemorySecretStore keychain;
};

void TestAccountSettings::init()
{
    network = std::make_unique<FakeNetwork>();
    network->respondTo("Mailbox/get", QJsonObject{{"list", QJsonArray()}});
    network->respondTo("Identity/get", QJsonObject{{"list", QJsonArray()}});
    keychain = MemorySecretStore();
}

std::unique_ptr<AppState> TestAccountSettings::makeState()
{
    return makeTestState(network.get(),
                         home.filePath(QString::fromLatin1(QTest::currentTestFunction()) +
                                       QTest::currentDataTag() + ".json"),
                         keychain, FakeNetwork::sessionUrl().toString());
}

int TestAccountSettings::connections() const
{
    return int(std::count_if(
        network->requests().begin(), network->requests().end(),
        [](const RecordedRequest& request) { return request.url == FakeNetwork::sessionUrl(); }));
}

void TestAccountSettings::returnKey_data()
{
    QTest::addColumn<QString>("focus");
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("storedAfter");
    QTest::newRow("in the token field") << "tokenField" << QByteArray() << "fmu1-typed"
                                        << "fmu1-typed";
    QTest::newRow("in the session URL field") << "sessionUrlField" << QByteArray("fmu1-old") << ""
                                              << "fmu1-old";
    QTest::newRow("on Remove Token") << "removeTokenButton" << QByteArray("fmu1-old") << ""
                                     << "fmu1-old";
}

void TestAccountSettings::returnKey()
{
    // One press of Return saves and connects once, and never removes the token.
    QFETCH(QString, focus);
    QFETCH(QByteArray, stored);
    QFETCH(QString, typed);
    QFETCH(QString, storedAfter);
    if (!stored.isEmpty())
        keychain.data = stored;
    auto state = makeState();
    state->start([](QUuid) {});
    QTRY_COMPARE(state->isConnected(), !stored.isEmpty());
    const int before = connections();
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
    QCOMPARE(connections(), before + 1);
    QCOMPARE(storedToken(keychain), std::optional<QString>(storedAfter));
}

void TestAccountSettings::firstConnectToEndClearsConnecting()
{
    keychain.data = QByteArray("fmu1-old");
    auto state = makeState();
    state->start([](QUuid) {});
    QTRY_VERIFY(state->isConnected());
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

void TestAccountSettings::sessionUrlSetByAssistiveTechnologyIsSaved_data()
{
    QTest::addColumn<bool>("replace");
    QTest::newRow("value set") << false;
    QTest::newRow("text replaced") << true;
}

void TestAccountSettings::sessionUrlSetByAssistiveTechnologyIsSaved()
{
    // Dictation and braille displays change the text through the accessibility interface,
    // without a key press.
    QFETCH(bool, replace);
    keychain.data = QByteArray("fmu1-old");
    auto state = makeState();
    state->start([](QUuid) {});
    QTRY_VERIFY(state->isConnected());
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

QTEST_MAIN(TestAccountSettings)
#include "tst_accountsettings.moc"
