#pragma once

#include <QHash>
#include <QString>
#include <Qt>

#include <optional>

// One key combination, read from binding text or from a key event, compared and shown.
// Shift on a single character is never kept as a flag but folded into the character, so
// "A", "shift+a" and pressing Shift+A are one value; `shift` is only set with a named key.
//
// The flags keep the portable names: `command` is the primary modifier (the Ctrl key on Linux,
// Command on macOS), `control` the secondary one (Super on Linux, Control on macOS), `option`
// is Alt.
struct KeyBinding
{
    QString key;
    bool command = false;
    bool control = false;
    bool option = false;
    bool shift = false;

    bool operator==(const KeyBinding&) const = default;

    // Binding text such as "cmd+shift+enter" or "!"; fails on unknown words and on keys that
    // are neither a name nor one character.
    static std::optional<KeyBinding> fromText(const QString& text);
    static std::optional<KeyBinding> fromKey(const QString& key, bool command, bool control,
                                             bool option, bool shift);
    // A key press as Qt reports it: the key code, the modifiers and the text it typed.
    static std::optional<KeyBinding> fromEvent(int qtKey, Qt::KeyboardModifiers modifiers,
                                               const QString& text);

    // The text a user reads in menus, tooltips and Settings, e.g. "Ctrl+Shift+Backspace".
    QString display() const;
    // Bindings with the primary or secondary modifier act even while a text field has focus.
    bool worksWhileTyping() const { return command || control; }

    // Lower-case key text to its normal name ("return" -> "enter").
    static const QHash<QString, QString>& namedKeys();
    // Normal name to what display() shows for it.
    static const QHash<QString, QString>& symbols();
};

size_t qHash(const KeyBinding& binding, size_t seed = 0);
