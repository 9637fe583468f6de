#include "ComposeWindows.h"

#include "ComposeWindow.h"
#include "app/state/AppState.h"

ComposeWindows::ComposeWindows(AppState* state, QObject* parent) : QObject(parent), m_state(state)
{
    // Ctrl+Shift+A and the like reach AppState; the dialog belongs to the draft's window.
    state->setChooseAttachments([this](ComposeDraft* draft) {
        if (ComposeWindow* composeWindow = draft ? window(draft->id()) : nullptr)
            composeWindow->chooseAttachments();
    });
}

ComposeWindows::~ComposeWindows()
{
    for (ComposeWindow* composeWindow : windows())
        composeWindow->close();
    if (m_state)
        m_state->setChooseAttachments({});
}

std::function<void(QUuid)> ComposeWindows::opener()
{
    return [self = QPointer<ComposeWindows>(this)](QUuid draftId) {
        if (self)
            self->open(draftId);
    };
}

ComposeWindow* ComposeWindows::open(const QUuid& draftId)
{
    if (!m_state)
        return nullptr;
    ComposeWindow* composeWindow = window(draftId);
    if (!composeWindow) {
        ComposeDraft* draft = m_state->ensureDraft(draftId);
        if (!draft)
            return nullptr;
        composeWindow = new ComposeWindow(m_state, draft);
        m_windows.insert(draftId, composeWindow);
        connect(composeWindow, &QObject::destroyed, this,
                [this, draftId] { m_windows.remove(draftId); });
    }
    composeWindow->show();
    composeWindow->raise();
    composeWindow->activateWindow();
    return composeWindow;
}

ComposeWindow* ComposeWindows::window(const QUuid& draftId) const
{
    return m_windows.value(draftId).data();
}

QList<ComposeWindow*> ComposeWindows::windows() const
{
    QList<ComposeWindow*> open;
    for (const QPointer<ComposeWindow>& composeWindow : m_windows)
        if (composeWindow)
            open << composeWindow.data();
    return open;
}
