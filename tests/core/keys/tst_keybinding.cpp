#include "keys/KeyBinding.h"

#include <QTest>

using Binding = std::optional<KeyBinding>;
Q_DECLARE_METATYPE(Binding)

namespace {

KeyBinding make(const QString& key, bool command = false, bool control = false, bool option = false,
                bool shift = false)
{
    return KeyBinding{key, command, control, option, shift};
}

QString describe(const Binding& binding)
{
    if (!binding)
        return QStringLiteral("none");
    return QStringLiteral("key=\"%1\" command=%2 control=%3 option=%4 shift=%5")
        .arg(binding->key)
        .arg(binding->command)
        .arg(binding->control)
        .arg(binding->option)
        .arg(binding->shift);
}

} // namespace

class TestKeyBinding : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void fromText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Binding>("expected");

        const Binding none;
        QTest::newRow("empty") << "" << none;
        QTest::newRow("plain letter") << "e" << Binding(make("e"));
        QTest::newRow("blanks around are trimmed") << "  e \t" << Binding(make("e"));
        QTest::newRow("lone plus") << "+" << Binding(make("+"));
        QTest::newRow("cmd plus plus") << "cmd++" << Binding(make("+", true));
        QTest::newRow("shift plus plus folds nothing") << "shift++" << Binding(make("+"));
        QTest::newRow("cmd with trailing plus has key cmd") << "cmd+" << none;
        QTest::newRow("only pluses between") << "+a+" << Binding(make("a"));
        QTest::newRow("blanks inside are a word") << "cmd + r" << none;
        QTest::newRow("unknown word") << "hyper+a" << none;
        QTest::newRow("function key is no key") << "ctrl+f1" << none;
        QTest::newRow("shift folds into letter") << "shift+a" << Binding(make("A"));
        QTest::newRow("upper-case letter") << "A" << Binding(make("A"));
        QTest::newRow("escape in any case") << "ESC" << Binding(make("escape"));
        QTest::newRow("cmd shift letter") << "cmd+shift+a" << Binding(make("A", true));
        QTest::newRow("shift on digit stays a digit") << "shift+1" << Binding(make("1"));
        QTest::newRow("words and names in any case")
            << "Cmd+Shift+Return" << Binding(make("enter", true, false, false, true));
        QTest::newRow("backspace is delete") << "backspace" << Binding(make("delete"));
        QTest::newRow("symbols of the modifiers")
            << "⌃+⌥+⇧+⌘+x" << Binding(make("X", true, true, true, false));
        QTest::newRow("option words")
            << "alt+opt+option+x" << Binding(make("x", false, false, true));
        QTest::newRow("accented letter") << "é" << Binding(make("é"));
        QTest::newRow("combining sequence is one character")
            << QStringLiteral("e\u0301") << Binding(make(QStringLiteral("e\u0301")));
        QTest::newRow("two letters") << "ab" << none;
#ifdef Q_OS_MACOS
        QTest::newRow("ctrl is control") << "ctrl+x" << Binding(make("x", false, true));
#else
        QTest::newRow("ctrl is the primary modifier") << "ctrl+x" << Binding(make("x", true));
        QTest::newRow("super") << "super+x" << Binding(make("x", false, true));
        QTest::newRow("ctrl and cmd are one key") << "ctrl+cmd+r" << Binding(make("r", true));
#endif
    }

    void fromText()
    {
        QFETCH(QString, text);
        QFETCH(Binding, expected);
        const Binding parsed = KeyBinding::fromText(text);
        QCOMPARE(describe(parsed), describe(expected));
    }

    void fromKey_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("shift");
        QTest::addColumn<Binding>("expected");

        QTest::newRow("named key in upper case")
            << "TAB" << true << Binding(make("tab", false, false, false, true));
        QTest::newRow("shift upper-cases a letter") << "q" << true << Binding(make("Q"));
        QTest::newRow("no shift keeps the case") << "Q" << false << Binding(make("Q"));
        QTest::newRow("shift on punctuation drops the flag") << "?" << true << Binding(make("?"));
        QTest::newRow("empty key") << "" << false << Binding();
        QTest::newRow("word that is no name") << "home" << false << Binding();
    }

    void fromKey()
    {
        QFETCH(QString, key);
        QFETCH(bool, shift);
        QFETCH(Binding, expected);
        QCOMPARE(describe(KeyBinding::fromKey(key, false, false, false, shift)),
                 describe(expected));
    }

    void fromEvent_data()
    {
        QTest::addColumn<int>("qtKey");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("bindingText"); // empty: no binding

        const Qt::KeyboardModifiers none;
        QTest::newRow("return") << int(Qt::Key_Return) << none << "\r"
                                << "enter";
        QTest::newRow("keypad enter is the same key")
            << int(Qt::Key_Enter) << Qt::KeyboardModifiers(Qt::KeypadModifier) << "\r"
            << "enter";
        QTest::newRow("ctrl keypad enter")
            << int(Qt::Key_Enter) << (Qt::ControlModifier | Qt::KeypadModifier) << ""
            << "cmd+enter";
        QTest::newRow("shift space")
            << int(Qt::Key_Space) << Qt::KeyboardModifiers(Qt::ShiftModifier) << " "
            << "shift+space";
        QTest::newRow("backtab is shift tab")
            << int(Qt::Key_Backtab) << Qt::KeyboardModifiers(Qt::ShiftModifier) << ""
            << "shift+tab";
        QTest::newRow("backtab without the flag") << int(Qt::Key_Backtab) << none << ""
                                                  << "shift+tab";
        QTest::newRow("backspace") << int(Qt::Key_Backspace) << none << "\b"
                                   << "delete";
        QTest::newRow("forward delete") << int(Qt::Key_Delete) << none << "\x7f"
                                        << "delete";
        QTest::newRow("ctrl shift backspace")
            << int(Qt::Key_Backspace) << (Qt::ControlModifier | Qt::ShiftModifier) << ""
            << "cmd+shift+delete";
        QTest::newRow("arrow") << int(Qt::Key_Down) << Qt::KeyboardModifiers(Qt::KeypadModifier)
                               << ""
                               << "down";
        QTest::newRow("letter") << int(Qt::Key_E) << none << "e"
                                << "e";
        QTest::newRow("shift on a layout's digit key")
            << int(Qt::Key_1) << Qt::KeyboardModifiers(Qt::ShiftModifier) << "!"
            << "!";
        QTest::newRow("ctrl letter types a control character")
            << int(Qt::Key_R) << Qt::KeyboardModifiers(Qt::ControlModifier) << "\x12"
            << "cmd+r";
        QTest::newRow("ctrl shift letter")
            << int(Qt::Key_A) << (Qt::ControlModifier | Qt::ShiftModifier) << "\x01"
            << "cmd+shift+a";
        QTest::newRow("super is control")
            << int(Qt::Key_K) << Qt::KeyboardModifiers(Qt::MetaModifier) << "k"
            << "⌃+k";
        QTest::newRow("alt is option")
            << int(Qt::Key_K) << Qt::KeyboardModifiers(Qt::AltModifier) << "k"
            << "alt+k";
        QTest::newRow("text wins over the key code")
            << int(Qt::Key_Slash) << Qt::KeyboardModifiers(Qt::ShiftModifier) << "?"
            << "?";
        QTest::newRow("accented letter of a layout") << int(Qt::Key_Eacute) << none << "é"
                                                     << "é";
        QTest::newRow("modifier alone")
            << int(Qt::Key_Shift) << Qt::KeyboardModifiers(Qt::ShiftModifier) << ""
            << "";
        QTest::newRow("function key") << int(Qt::Key_F1) << none << ""
                                      << "";
        QTest::newRow("dead key") << int(Qt::Key_Dead_Acute) << none << ""
                                  << "";
        QTest::newRow("text of two characters falls back to the key")
            << int(Qt::Key_A) << none << "ab"
            << "a";
    }

    void fromEvent()
    {
        QFETCH(int, qtKey);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(QString, text);
        QFETCH(QString, bindingText);
        const Binding expected =
            bindingText.isEmpty() ? Binding() : KeyBinding::fromText(bindingText);
        QVERIFY(bindingText.isEmpty() || expected);
        QCOMPARE(describe(KeyBinding::fromEvent(qtKey, modifiers, text)), describe(expected));
    }

    void display_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("onLinux");
        QTest::addColumn<QString>("onMac");

        QTest::newRow("cmd shift delete") << "cmd+shift+delete"
                                          << "Ctrl+Shift+Backspace"
                                          << "⇧⌘⌫";
        QTest::newRow("shift space") << "shift+space"
                                     << "Shift+Space"
                                     << "⇧Space";
        QTest::newRow("upper-case letter") << "A"
                                           << "Shift+A"
                                           << "⇧A";
        QTest::newRow("lower-case letter") << "a"
                                           << "A"
                                           << "A";
        QTest::newRow("plus") << "cmd++"
                              << "Ctrl++"
                              << "⌘+";
        QTest::newRow("escape") << "escape"
                                << "Esc"
                                << "⎋";
        QTest::newRow("enter") << "cmd+enter"
                               << "Ctrl+Enter"
                               << "⌘↩";
        QTest::newRow("all four in order") << "shift+⌃+⌥+⌘+left"
                                           << "Ctrl+Alt+Shift+Super+Left"
                                           << "⌃⌥⇧⌘←";
    }

    void display()
    {
        QFETCH(QString, text);
        QFETCH(QString, onLinux);
        QFETCH(QString, onMac);
        const auto binding = KeyBinding::fromText(text);
        QVERIFY(binding);
#ifdef Q_OS_MACOS
        Q_UNUSED(onLinux);
        QCOMPARE(binding->display(), onMac);
#else
        Q_UNUSED(onMac);
        QCOMPARE(binding->display(), onLinux);
#endif
    }

    void worksWhileTyping_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("works");

        QTest::newRow("plain letter") << "e" << false;
        QTest::newRow("shifted named key") << "shift+tab" << false;
        QTest::newRow("alt") << "alt+e" << false;
        QTest::newRow("primary modifier") << "cmd+enter" << true;
        QTest::newRow("secondary modifier") << "⌃+e" << true;
    }

    void worksWhileTyping()
    {
        QFETCH(QString, text);
        QFETCH(bool, works);
        const auto binding = KeyBinding::fromText(text);
        QVERIFY(binding);
        QCOMPARE(binding->worksWhileTyping(), works);
    }

    void equalBindingsHashAlike()
    {
        // Bindings made different ways must meet in a hash, e.g. a lookup of a pressed key.
        QHash<KeyBinding, int> table;
        table.insert(*KeyBinding::fromText("shift+a"), 1);
        table.insert(*KeyBinding::fromText("a"), 2);
        QCOMPARE(table.value(*KeyBinding::fromEvent(Qt::Key_A, Qt::ShiftModifier, "A")), 1);
        QCOMPARE(table.value(*KeyBinding::fromEvent(Qt::Key_A, Qt::NoModifier, "a")), 2);
        QCOMPARE(table.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestKeyBinding)
#include "tst_keybinding.moc"
