#include "config/AppConfig.h"
#include "keys/KeyBinding.h"
#include "keys/MailAction.h"

#include <QSet>
#include <QTest>

class TestMailAction : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void rawValuesRoundTrip();
    void unknownRawValues_data();
    void unknownRawValues();
    void everyDefaultParses();
    void noTwoActionsOfAScopeShareADefault();
    void composeScopeIsTheLastSix();
    void titlesAreDistinct();
    void defaultKeybindingsHoldEveryActionOnce();
    void bindingFromConfig_data();
    void bindingFromConfig();
};

void TestMailAction::rawValuesRoundTrip()
{
    const auto& actions = MailAction::allCases();
    QCOMPARE(actions.size(), 31);
    QCOMPARE(actions.first().rawValue(), QString("compose"));
    QCOMPARE(actions.last().rawValue(), QString("discard"));
    for (int index = 0; index < actions.size(); ++index) {
        const MailAction action = actions.at(index);
        QCOMPARE(int(MailAction::Value(action)), index);
        const auto back = MailAction::fromRawValue(action.rawValue());
        QVERIFY2(back && *back == action, qPrintable(action.rawValue()));
    }
}

void TestMailAction::unknownRawValues_data()
{
    QTest::addColumn<QString>("rawValue");
    QTest::newRow("empty") << "";
    QTest::newRow("other case") << "Archive";
    QTest::newRow("title instead of name") << "Reply All";
    QTest::newRow("unknown") << "snooze";
}

void TestMailAction::unknownRawValues()
{
    QFETCH(QString, rawValue);
    QVERIFY(!MailAction::fromRawValue(rawValue));
}

void TestMailAction::everyDefaultParses()
{
    for (const MailAction action : MailAction::allCases()) {
        const auto binding = KeyBinding::fromText(action.defaultBinding());
        QVERIFY2(binding, qPrintable(action.rawValue()));
        // The compose window needs keys that act while the user types in the body.
        if (action.scope() == MailAction::Scope::Compose)
            QVERIFY2(binding->worksWhileTyping(), qPrintable(action.rawValue()));
    }
}

void TestMailAction::noTwoActionsOfAScopeShareADefault()
{
    // Matching runs the first action of a binding, so a shared default would hide the other.
    QHash<KeyBinding, MailAction> seen;
    for (const MailAction action : MailAction::allCases()) {
        const KeyBinding binding = *KeyBinding::fromText(action.defaultBinding());
        const auto clash = seen.constFind(binding);
        if (clash != seen.constEnd() && clash->scope() == action.scope())
            QFAIL(qPrintable(QStringLiteral("%1 and %2 share a default")
                                 .arg(clash->rawValue(), action.rawValue())));
        seen.insert(binding, action);
    }
}

void TestMailAction::composeScopeIsTheLastSix()
{
    QStringList compose;
    for (const MailAction action : MailAction::allCases()) {
        if (action.scope() == MailAction::Scope::Compose)
            compose.append(action.rawValue());
    }
    QCOMPARE(compose, QStringList({"send", "sendAndArchive", "attach", "toggleMarkdown",
                                   "togglePreview", "discard"}));
}

void TestMailAction::titlesAreDistinct()
{
    QSet<QString> titles;
    for (const MailAction action : MailAction::allCases())
        titles.insert(action.title());
    QCOMPARE(titles.size(), MailAction::allCases().size());
    QCOMPARE(MailAction(MailAction::Move).title(), QString("Move to Folder…"));
}

void TestMailAction::defaultKeybindingsHoldEveryActionOnce()
{
    const auto& defaults = AppConfig::defaultKeybindings();
    QCOMPARE(defaults.size(), MailAction::allCases().size());
    for (const MailAction action : MailAction::allCases())
        QCOMPARE(defaults.value(action.rawValue()), action.defaultBinding());
}

void TestMailAction::bindingFromConfig_data()
{
    QTest::addColumn<QString>("stored");   // "<missing>": no entry for the action
    QTest::addColumn<QString>("expected"); // empty: no binding

    QTest::newRow("default") << "e"
                             << "e";
    QTest::newRow("changed") << "cmd+shift+e"
                             << "cmd+shift+e";
    QTest::newRow("deliberately unbound") << ""
                                          << "";
    QTest::newRow("text that does not parse") << "hyper+e"
                                              << "";
    QTest::newRow("entry missing") << "<missing>"
                                   << "";
}

void TestMailAction::bindingFromConfig()
{
    QFETCH(QString, stored);
    QFETCH(QString, expected);
    AppConfig config;
    if (stored == "<missing>")
        config.keybindings.remove("archive");
    else
        config.keybindings.insert("archive", stored);
    const auto binding = config.binding(MailAction::Archive);
    if (expected.isEmpty()) {
        QVERIFY(!binding);
        return;
    }
    QCOMPARE(binding, KeyBinding::fromText(expected));
    // Other actions are untouched.
    QCOMPARE(config.binding(MailAction::Reply), KeyBinding::fromText("r"));
}

QTEST_GUILESS_MAIN(TestMailAction)
#include "tst_mailaction.moc"
