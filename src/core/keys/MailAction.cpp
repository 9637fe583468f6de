#include "MailAction.h"

#include <iterator>

namespace {

struct ActionInfo
{
    const char* rawValue;
    const char* title;
    const char* defaultBinding;
};

// One row per case, in the order of the enumeration.
constexpr ActionInfo actionTable[] = {
    {"compose", "New Message", "c"},
    {"reply", "Reply", "r"},
    {"replyAll", "Reply All", "a"},
    {"forward", "Forward", "f"},
    {"archive", "Archive", "e"},
    {"spam", "Move to Spam", "!"},
    {"trash", "Move to Trash", "#"},
    {"move", "Move to Folder…", "v"},
    {"toggleRead", "Toggle Read", "u"},
    {"toggleFlag", "Toggle Flag", "s"},
    {"nextThread", "Next Conversation", "j"},
    {"previousThread", "Previous Conversation", "k"},
    {"closeThread", "Close Conversation", "escape"},
    {"nextMessage", "Next Message", "n"},
    {"previousMessage", "Previous Message", "p"},
    {"toggleMessage", "Expand or Collapse Message", "o"},
    {"toggleDetails", "Show or Hide Details", "h"},
    {"scrollDown", "Scroll Down", "space"},
    {"scrollUp", "Scroll Up", "shift+space"},
    {"nextPane", "Next Pane", "tab"},
    {"previousPane", "Previous Pane", "shift+tab"},
    {"refresh", "Refresh", "cmd+r"},
    {"search", "Search", "/"},
    {"goToFolder", "Go to Folder…", "g"},
    {"showShortcuts", "Keyboard Shortcuts", "?"},
    {"send", "Send", "cmd+enter"},
    {"sendAndArchive", "Send & Archive", "cmd+shift+enter"},
    {"attach", "Attach Files…", "cmd+shift+a"},
    {"toggleMarkdown", "Toggle Markdown", "cmd+shift+m"},
    {"togglePreview", "Toggle Markdown Preview", "cmd+shift+p"},
    {"discard", "Discard Draft", "cmd+shift+delete"},
};

constexpr int caseCount = int(std::size(actionTable));
static_assert(caseCount == MailAction::Discard + 1, "one table row per action");

// The compose window's actions are the tail of the list.
constexpr int firstComposeCase = MailAction::Send;

const ActionInfo& info(MailAction action)
{
    return actionTable[int(MailAction::Value(action))];
}

} // namespace

const QList<MailAction>& MailAction::allCases()
{
    static const QList<MailAction> cases = [] {
        QList<MailAction> list;
        list.reserve(caseCount);
        for (int index = 0; index < caseCount; ++index)
            list.append(MailAction(Value(index)));
        return list;
    }();
    return cases;
}

std::optional<MailAction> MailAction::fromRawValue(const QString& rawValue)
{
    for (int index = 0; index < caseCount; ++index) {
        if (rawValue == QLatin1String(actionTable[index].rawValue))
            return MailAction(Value(index));
    }
    return std::nullopt;
}

QString MailAction::rawValue() const
{
    return QString::fromLatin1(info(*this).rawValue);
}

QString MailAction::title() const
{
    return QString::fromUtf8(info(*this).title);
}

QString MailAction::defaultBinding() const
{
    return QString::fromLatin1(info(*this).defaultBinding);
}

MailAction::Scope MailAction::scope() const
{
    return m_value >= firstComposeCase ? Scope::Compose : Scope::Main;
}
