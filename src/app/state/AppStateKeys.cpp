#include "AppState.h"

namespace {

bool isPlain(const KeyBinding& binding, const QString& key)
{
    return binding == KeyBinding{key};
}

} // namespace

bool AppState::handleKeyDown(const KeyBinding& binding, const KeyContext& context)
{
    if (context.window == KeyContext::Window::Compose)
        return handleComposeKey(binding, context);
    // Settings, Contacts and the directory windows keep all their keys.
    if (context.window != KeyContext::Window::Main)
        return false;
    if (m_showsShortcuts) {
        // Any key closes the overlay and does nothing else.
        setShowsShortcuts(false);
        return true;
    }
    const bool typing = context.focus == KeyContext::Focus::Text;
    // A click into a message moves the pane focus without any other notice.
    if (context.focus == KeyContext::Focus::WebView)
        setFocusedPane(Pane::Reader);

    if (!typing && m_focusedPane == Pane::Reader && selectedThread()) {
        // In the reader the key that closes a thread goes back to the list instead.
        if (m_config.binding(MailAction::CloseThread) == binding) {
            focus(Pane::List);
            return true;
        }
        if (isPlain(binding, QStringLiteral("down"))) {
            scrollReader(0, 1);
            return true;
        }
        if (isPlain(binding, QStringLiteral("up"))) {
            scrollReader(0, -1);
            return true;
        }
    }

    for (const MailAction& action : MailAction::allCases()) {
        if (action.scope() != MailAction::Scope::Main)
            continue;
        if (m_config.binding(action) != binding)
            continue;
        // Keys without Ctrl are left to the text the user types.
        if (typing && !binding.worksWhileTyping())
            continue;
        perform(action);
        return true;
    }

    if (typing) {
        if (isPlain(binding, QStringLiteral("escape"))) {
            focus(Pane::List);
            return true;
        }
        return false;
    }
    // The list moves its own selection with the arrow keys.
    if (context.focus == KeyContext::Focus::ItemView)
        return false;
    if (isPlain(binding, QStringLiteral("down"))) {
        stepSelection(1);
        return true;
    }
    if (isPlain(binding, QStringLiteral("up"))) {
        stepSelection(-1);
        return true;
    }
    return false;
}

bool AppState::handleComposeKey(const KeyBinding& binding, const KeyContext& context)
{
    ComposeDraft* draft = context.draftId ? this->draft(*context.draftId) : nullptr;
    if (!draft)
        return false;
    // The popup takes its keys first; Escape otherwise goes to the window.
    if (!draft->suggestions().isEmpty() && handleSuggestionKey(binding, draft))
        return true;
    const bool typing = context.focus == KeyContext::Focus::Text;
    for (const MailAction& action : MailAction::allCases()) {
        if (action.scope() != MailAction::Scope::Compose)
            continue;
        if (m_config.binding(action) != binding)
            continue;
        if (typing && !binding.worksWhileTyping())
            continue;
        perform(action, draft->id());
        return true;
    }
    return false;
}

void AppState::stepSelection(int delta)
{
    if (m_threads.isEmpty())
        return;
    QList<qsizetype> selected;
    for (qsizetype index = 0; index < m_threads.size(); ++index)
        if (m_selectedThreadIds.contains(m_threads.at(index).id))
            selected.append(index);
    qsizetype target = 0;
    if (!selected.isEmpty()) {
        // From a multiple selection a step leaves by its far edge.
        const qsizetype from = delta > 0 ? selected.last() : selected.first();
        target = std::clamp<qsizetype>(from + delta, 0, m_threads.size() - 1);
    }
    setSelectedThreadIds({m_threads.at(target).id});
}

std::optional<Email> AppState::openingEmail() const
{
    for (const Email& email : m_openEmails)
        if (m_expandedEmailIds.contains(email.id))
            return email;
    if (m_openEmails.isEmpty())
        return std::nullopt;
    return m_openEmails.last();
}

void AppState::stepMessage(int delta)
{
    if (m_openEmails.isEmpty())
        return;
    std::optional<QString> target;
    for (qsizetype index = 0; m_focusedEmailId && index < m_openEmails.size(); ++index) {
        if (m_openEmails.at(index).id == *m_focusedEmailId) {
            target =
                m_openEmails.at(std::clamp<qsizetype>(index + delta, 0, m_openEmails.size() - 1))
                    .id;
            break;
        }
    }
    if (!target)
        target = openingEmail()->id;
    setFocusedEmailId(target);
    focus(Pane::Reader);
    ++m_messageScrollRequest;
    Q_EMIT messageScrollRequestChanged();
}

std::optional<QString> AppState::focusedOrOpeningEmailId() const
{
    if (m_focusedEmailId)
        return m_focusedEmailId;
    if (const auto opening = openingEmail())
        return opening->id;
    return std::nullopt;
}

void AppState::toggleFocusedMessage()
{
    const std::optional<QString> id = focusedOrOpeningEmailId();
    if (!id)
        return;
    setFocusedEmailId(id);
    QSet<QString> expanded = m_expandedEmailIds;
    if (!expanded.remove(*id))
        expanded.insert(*id);
    setExpandedEmailIds(expanded);
    focus(Pane::Reader);
}

void AppState::toggleFocusedDetails()
{
    const std::optional<QString> id = focusedOrOpeningEmailId();
    if (!id)
        return;
    setFocusedEmailId(id);
    // Details are to be seen, so the message opens too.
    setExpandedEmailIds(m_expandedEmailIds + QSet<QString>{*id});
    toggleDetails(*id);
    focus(Pane::Reader);
}

void AppState::scrollReader(double pages, double lines)
{
    if (m_windowServices.scrollReader)
        m_windowServices.scrollReader(pages, lines);
}

void AppState::stepPane(int delta)
{
    QList<Pane> panes{Pane::Sidebar, Pane::List};
    if (selectedThread())
        panes.append(Pane::Reader);
    qsizetype index = panes.indexOf(m_focusedPane);
    if (index < 0)
        index = 1;
    focus(panes.at((index + delta + panes.size()) % panes.size()));
}

void AppState::focus(Pane pane)
{
    if (pane == Pane::Reader) {
        if (!selectedThread())
            return;
        if (!m_focusedEmailId)
            if (const auto opening = openingEmail())
                setFocusedEmailId(opening->id);
        if (m_windowServices.releaseFocus)
            m_windowServices.releaseFocus();
    }
    setFocusedPane(pane);
    ++m_paneFocusRequest;
    Q_EMIT paneFocusRequestChanged();
}

void AppState::setFocusedPane(Pane pane)
{
    if (m_focusedPane == pane)
        return;
    m_focusedPane = pane;
    Q_EMIT focusedPaneChanged();
}

void AppState::setShowsShortcuts(bool shows)
{
    if (m_showsShortcuts == shows)
        return;
    m_showsShortcuts = shows;
    Q_EMIT showsShortcutsChanged();
}
