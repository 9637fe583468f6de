#include "KeyBinding.h"

#include <QStringList>
#include <QTextBoundaryFinder>

namespace {

int graphemeCount(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

enum class Modifier
{
    Command,
    Control,
    Option,
    Shift,
};

std::optional<Modifier> modifierWord(const QString& word)
{
    static const QHash<QString, Modifier> words = {
        {QStringLiteral("cmd"), Modifier::Command},
        {QStringLiteral("command"), Modifier::Command},
        {QStringLiteral("⌘"), Modifier::Command},
        {QStringLiteral("⌃"), Modifier::Control},
        {QStringLiteral("alt"), Modifier::Option},
        {QStringLiteral("opt"), Modifier::Option},
        {QStringLiteral("option"), Modifier::Option},
        {QStringLiteral("⌥"), Modifier::Option},
        {QStringLiteral("shift"), Modifier::Shift},
        {QStringLiteral("⇧"), Modifier::Shift},
#ifdef Q_OS_MACOS
        {QStringLiteral("ctrl"), Modifier::Control},
        {QStringLiteral("control"), Modifier::Control},
#else
        // On Linux the Ctrl key is the primary modifier, so the word a user writes for it
        // means `command`; the Super key takes the role of the secondary one.
        {QStringLiteral("ctrl"), Modifier::Command},
        {QStringLiteral("control"), Modifier::Command},
        {QStringLiteral("super"), Modifier::Control},
        {QStringLiteral("meta"), Modifier::Control},
        {QStringLiteral("win"), Modifier::Control},
#endif
    };
    const auto found = words.constFind(word.toLower());
    if (found == words.constEnd())
        return std::nullopt;
    return *found;
}

// The key found by position, independent of the keyboard layout.
std::optional<QString> namedKeyOfCode(int qtKey)
{
    switch (qtKey) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return QStringLiteral("enter");
    case Qt::Key_Escape:
        return QStringLiteral("escape");
    case Qt::Key_Space:
        return QStringLiteral("space");
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        return QStringLiteral("tab");
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
        return QStringLiteral("delete");
    case Qt::Key_Left:
        return QStringLiteral("left");
    case Qt::Key_Right:
        return QStringLiteral("right");
    case Qt::Key_Down:
        return QStringLiteral("down");
    case Qt::Key_Up:
        return QStringLiteral("up");
    default:
        return std::nullopt;
    }
}

bool isOnePrintableCharacter(const QString& text)
{
    if (text.isEmpty() || graphemeCount(text) != 1)
        return false;
    const auto codePoints = text.toUcs4();
    return QChar::isPrint(codePoints.first()) && !QChar::isSpace(codePoints.first());
}

// What the key types without modifiers, from the key code: Qt's codes below the special range
// are the Unicode code points of the upper-case character.
std::optional<QString> characterOfCode(int qtKey, bool shift)
{
    if (qtKey <= 0x20 || qtKey >= 0x01000000 || (qtKey >= 0xD800 && qtKey <= 0xDFFF))
        return std::nullopt;
    const char32_t codePoint = char32_t(qtKey);
    if (!QChar::isPrint(codePoint))
        return std::nullopt;
    const QString character = QString::fromUcs4(&codePoint, 1);
    return shift ? character.toUpper() : character.toLower();
}

} // namespace

std::optional<KeyBinding> KeyBinding::fromText(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;

    QString key;
    QStringList words;
    if (trimmed == QLatin1String("+") || trimmed.endsWith(QLatin1String("++"))) {
        key = QStringLiteral("+");
        words = trimmed.chopped(1).split(QLatin1Char('+'), Qt::SkipEmptyParts);
    } else {
        words = trimmed.split(QLatin1Char('+'), Qt::SkipEmptyParts);
        if (words.isEmpty())
            return std::nullopt;
        key = words.takeLast();
    }

    bool command = false;
    bool control = false;
    bool option = false;
    bool shift = false;
    for (const QString& word : std::as_const(words)) {
        const auto modifier = modifierWord(word);
        if (!modifier)
            return std::nullopt;
        switch (*modifier) {
        case Modifier::Command:
            command = true;
            break;
        case Modifier::Control:
            control = true;
            break;
        case Modifier::Option:
            option = true;
            break;
        case Modifier::Shift:
            shift = true;
            break;
        }
    }
    return fromKey(key, command, control, option, shift);
}

std::optional<KeyBinding> KeyBinding::fromKey(const QString& key, bool command, bool control,
                                              bool option, bool shift)
{
    const auto named = namedKeys().constFind(key.toLower());
    if (named != namedKeys().constEnd())
        return KeyBinding{*named, command, control, option, shift};
    if (graphemeCount(key) != 1)
        return std::nullopt;
    if (!shift)
        return KeyBinding{key, command, control, option, false};
    return KeyBinding{key.toUpper(), command, control, option, false};
}

std::optional<KeyBinding> KeyBinding::fromEvent(int qtKey, Qt::KeyboardModifiers modifiers,
                                                const QString& text)
{
    // Qt maps the Command key of macOS to ControlModifier and its Control key to
    // MetaModifier, so one mapping serves both platforms.
    const bool command = modifiers.testFlag(Qt::ControlModifier);
    const bool control = modifiers.testFlag(Qt::MetaModifier);
    const bool option = modifiers.testFlag(Qt::AltModifier);
    bool shift = modifiers.testFlag(Qt::ShiftModifier);

    if (const auto named = namedKeyOfCode(qtKey)) {
        // Backtab is what Shift+Tab reports; keep the Shift even where the flag got lost.
        if (qtKey == Qt::Key_Backtab)
            shift = true;
        return fromKey(*named, command, control, option, shift);
    }
    if (isOnePrintableCharacter(text))
        return fromKey(text, command, control, option, shift);
    if (const auto character = characterOfCode(qtKey, shift))
        return fromKey(*character, command, control, option, shift);
    return std::nullopt;
}

QString KeyBinding::display() const
{
    const QString shown = symbols().value(key, key.toUpper());
    const bool upperCaseLetter = key != key.toLower();
#ifdef Q_OS_MACOS
    QString result;
    if (control)
        result += QStringLiteral("⌃");
    if (option)
        result += QStringLiteral("⌥");
    if (shift || upperCaseLetter)
        result += QStringLiteral("⇧");
    if (command)
        result += QStringLiteral("⌘");
    return result + shown;
#else
    QString result;
    if (command)
        result += QStringLiteral("Ctrl+");
    if (option)
        result += QStringLiteral("Alt+");
    if (shift || upperCaseLetter)
        result += QStringLiteral("Shift+");
    if (control)
        result += QStringLiteral("Super+");
    return result + shown;
#endif
}

const QHash<QString, QString>& KeyBinding::namedKeys()
{
    static const QHash<QString, QString> names = {
        {QStringLiteral("enter"), QStringLiteral("enter")},
        {QStringLiteral("return"), QStringLiteral("enter")},
        {QStringLiteral("escape"), QStringLiteral("escape")},
        {QStringLiteral("esc"), QStringLiteral("escape")},
        {QStringLiteral("space"), QStringLiteral("space")},
        {QStringLiteral("tab"), QStringLiteral("tab")},
        {QStringLiteral("delete"), QStringLiteral("delete")},
        {QStringLiteral("backspace"), QStringLiteral("delete")},
        {QStringLiteral("up"), QStringLiteral("up")},
        {QStringLiteral("down"), QStringLiteral("down")},
        {QStringLiteral("left"), QStringLiteral("left")},
        {QStringLiteral("right"), QStringLiteral("right")},
    };
    return names;
}

const QHash<QString, QString>& KeyBinding::symbols()
{
#ifdef Q_OS_MACOS
    static const QHash<QString, QString> shown = {
        {QStringLiteral("enter"), QStringLiteral("↩")},
        {QStringLiteral("escape"), QStringLiteral("⎋")},
        {QStringLiteral("space"), QStringLiteral("Space")},
        {QStringLiteral("tab"), QStringLiteral("⇥")},
        {QStringLiteral("delete"), QStringLiteral("⌫")},
        {QStringLiteral("up"), QStringLiteral("↑")},
        {QStringLiteral("down"), QStringLiteral("↓")},
        {QStringLiteral("left"), QStringLiteral("←")},
        {QStringLiteral("right"), QStringLiteral("→")},
    };
#else
    static const QHash<QString, QString> shown = {
        {QStringLiteral("enter"), QStringLiteral("Enter")},
        {QStringLiteral("escape"), QStringLiteral("Esc")},
        {QStringLiteral("space"), QStringLiteral("Space")},
        {QStringLiteral("tab"), QStringLiteral("Tab")},
        {QStringLiteral("delete"), QStringLiteral("Backspace")},
        {QStringLiteral("up"), QStringLiteral("Up")},
        {QStringLiteral("down"), QStringLiteral("Down")},
        {QStringLiteral("left"), QStringLiteral("Left")},
        {QStringLiteral("right"), QStringLiteral("Right")},
    };
#endif
    return shown;
}

size_t qHash(const KeyBinding& binding, size_t seed)
{
    return qHashMulti(seed, binding.key, binding.command, binding.control, binding.option,
                      binding.shift);
}
