#include "config/AppConfig.h"
#include "keys/KeyBinding.h"
#include "keys/MailAction.h"

#include <QSet>
#include <QTest>

class TestMailAction : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyActionIsWellFormed()
    {
        const auto& actions = MailAction::allCases();
        const auto& defaults = AppConfig::defaultKeybindings();
        QCOMPARE(defaults.size(), actions.size());
        QSet<QString> titles;
        QHash<KeyBinding, MailAction> seen;
        for (int index = 0; index < actions.size(); ++index) {
            const MailAction action = actions.at(index);
            const char* name = qPrintable(action.rawValue());
            // Config files store the raw value: it must read back as the same action.
            QCOMPARE(int(MailAction::Value(action)), index);
            const auto back = MailAction::fromRawValue(action.rawValue());
            QVERIFY2(back && *back == action, name);
            QCOMPARE(defaults.value(action.rawValue()), action.defaultBinding());
            titles.insert(action.title());

            const auto binding = KeyBinding::fromText(action.defaultBinding());
            QVERIFY2(binding, name);
            // The compose window needs keys that act while the user types in the body.
            if (action.scope() == MailAction::Scope::Compose)
                QVERIFY2(binding->worksWhileTyping(), name);
            // Matching runs the first action of a binding, so a shared default would hide the
            // other.
            const auto clash = seen.constFind(*binding);
            QVERIFY2(clash == seen.constEnd() || clash->scope() != action.scope(), name);
            seen.insert(*binding, action);
        }
        QCOMPARE(titles.size(), actions.size());
        for (const QString raw : {"", "Archive", "Reply All", "snooze"})
            QVERIFY2(!MailAction::fromRawValue(raw), qPrintable(raw));
    }

    void bindingFromConfig_data()
    {
        QTest::addColumn<QString>("stored");   // "<missing>": no entry for the action
        QTest::addColumn<QString>("expected"); // empty: no binding

        QTest::newRow("changed") << "cmd+shift+e"
                                 << "cmd+shift+e";
        QTest::newRow("deliberately unbound") << ""
                                              << "";
        QTest::newRow("text that does not parse") << "hyper+e"
                                                  << "";
        QTest::newRow("entry missing") << "<missing>"
                                       << "";
    }

    void bindingFromConfig()
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
};

QTEST_GUILESS_MAIN(TestMailAction)
#include "tst_mailaction.moc"
