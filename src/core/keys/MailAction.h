#pragma once

#include <QList>
#include <QString>

#include <optional>

// Everything the user can do from the keyboard. The order of the cases is the order in which
// key matching tries them and in which Settings lists them; the last six belong to the compose
// window.
class MailAction
{
public:
    enum Value : int
    {
        Compose,
        Reply,
        ReplyAll,
        Forward,
        Archive,
        Spam,
        Trash,
        Move,
        ToggleRead,
        ToggleFlag,
        NextThread,
        PreviousThread,
        CloseThread,
        NextMessage,
        PreviousMessage,
        ToggleMessage,
        ToggleDetails,
        ScrollDown,
        ScrollUp,
        NextPane,
        PreviousPane,
        Refresh,
        Search,
        GoToFolder,
        ShowShortcuts,
        Send,
        SendAndArchive,
        Attach,
        ToggleMarkdown,
        TogglePreview,
        Discard,
    };

    enum class Scope
    {
        Main,
        Compose,
    };

    constexpr MailAction(Value value) : m_value(value) {}
    constexpr operator Value() const { return m_value; }

    static const QList<MailAction>& allCases();
    // The action whose raw value is exactly `rawValue`; an unknown name gives none.
    static std::optional<MailAction> fromRawValue(const QString& rawValue);

    // The name stored in the settings file, spelled like the case in lower camel case.
    QString rawValue() const;
    // The menu title.
    QString title() const;
    // The binding text of the default scheme.
    QString defaultBinding() const;
    Scope scope() const;

private:
    Value m_value;
};

inline size_t qHash(MailAction action, size_t seed = 0)
{
    return ::qHash(static_cast<int>(MailAction::Value(action)), seed);
}
