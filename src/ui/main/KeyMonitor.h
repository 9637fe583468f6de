#pragma once

#include "app/state/KeyContext.h"

#include <QObject>
#include <QPointer>

#include <optional>

class AppState;
class QKeyEvent;
class QWidget;

// Sees every key press of the application before any widget does, asks AppState what it
// means where it happened, and swallows the keys it consumed. The decision is taken once per
// press, on the shortcut check that comes first, and the key press that follows obeys it; so a
// bound key never reaches a menu shortcut nor the focused control.
class KeyMonitor : public QObject
{
    Q_OBJECT
public:
    explicit KeyMonitor(AppState* state, QObject* parent = nullptr);
    ~KeyMonitor() override;

    // Puts a monitor on the application object, owned by the state; for AppEnvironment.
    static void install(AppState* state);

    // Where a key for `receiver` is pressed: which window, and what holds the focus.
    static KeyContext context(const QWidget* receiver);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool decide(const QWidget* receiver, const QKeyEvent* event);

    struct Decision
    {
        int key = 0;
        int modifiers = 0;
        bool consumed = false;
    };

    QPointer<AppState> m_state;
    // The decision of the last shortcut check, for the key press that follows it.
    std::optional<Decision> m_pending;
};
