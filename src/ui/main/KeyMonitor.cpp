#include "KeyMonitor.h"

#include "MainWindow.h"
#include "app/state/AppState.h"

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QWebEngineView>

KeyMonitor::KeyMonitor(AppState* state, QObject* parent) : QObject(parent), m_state(state)
{
    qApp->installEventFilter(this);
}

KeyMonitor::~KeyMonitor()
{
    if (qApp)
        qApp->removeEventFilter(this);
}

void KeyMonitor::install(AppState* state)
{
    if (state)
        new KeyMonitor(state, state);
}

KeyContext KeyMonitor::context(const QWidget* receiver)
{
    KeyContext context;
    if (!receiver)
        return context;
    const QWidget* window = receiver->window();
    context.window = qobject_cast<const MainWindow*>(window) ? KeyContext::Window::Main
                                                             : KeyContext::Window::Other;
    if (receiver == window && !window->focusWidget()) {
        context.focus = KeyContext::Focus::None;
        return context;
    }
    // A message body first: its focus lies on an inner widget of the web view.
    for (const QWidget* widget = receiver; widget; widget = widget->parentWidget())
        if (qobject_cast<const QWebEngineView*>(widget)) {
            context.focus = KeyContext::Focus::WebView;
            return context;
        }
    const auto* combo = qobject_cast<const QComboBox*>(receiver);
    if (qobject_cast<const QLineEdit*>(receiver) || qobject_cast<const QPlainTextEdit*>(receiver) ||
        qobject_cast<const QTextEdit*>(receiver) ||
        qobject_cast<const QAbstractSpinBox*>(receiver) || (combo && combo->isEditable()))
        context.focus = KeyContext::Focus::Text;
    else if (qobject_cast<const QAbstractItemView*>(receiver))
        context.focus = KeyContext::Focus::ItemView;
    else
        context.focus = receiver == window ? KeyContext::Focus::None : KeyContext::Focus::Other;
    return context;
}

bool KeyMonitor::decide(const QWidget* receiver, const QKeyEvent* event)
{
    if (!m_state)
        return false;
    const auto binding = KeyBinding::fromEvent(event->key(), event->modifiers(), event->text());
    if (!binding)
        return false;
    return m_state->handleKeyDown(*binding, context(receiver));
}

bool KeyMonitor::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::ShortcutOverride && type != QEvent::KeyPress)
        return false;
    // A key event climbs from the focused widget to its parents, and passes the window object
    // before it: only its first stop, the widget with the focus, counts.
    auto* widget = qobject_cast<QWidget*>(watched);
    if (!widget)
        return false;
    const QWidget* focus = widget->window()->focusWidget();
    if (focus ? widget != focus : !widget->isWindow())
        return false;

    auto* key = static_cast<QKeyEvent*>(event);
    if (type == QEvent::ShortcutOverride) {
        const bool consumed = decide(widget, key);
        m_pending = Decision{key->key(), int(key->modifiers()), consumed};
        if (consumed)
            key->accept();
        return consumed;
    }
    bool consumed = false;
    if (m_pending && m_pending->key == key->key() && m_pending->modifiers == int(key->modifiers()))
        consumed = m_pending->consumed;
    else
        consumed = decide(widget, key);
    m_pending.reset();
    if (consumed)
        key->accept();
    return consumed;
}
