#include "Toast.h"

#include "app/state/AppState.h"
#include "ui/threads/ViewColors.h"

#include <QAccessible>
#include <QEvent>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPropertyAnimation>
#include <QPushButton>

namespace {
constexpr int bottomMargin = 20;
}

ToastView::ToastView(AppState* state, QWidget* parent)
    : QFrame(parent), m_state(state), m_slide(new QPropertyAnimation(this, "pos", this))
{
    setObjectName(QStringLiteral("toast"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::ToolTipBase);
    setForegroundRole(QPalette::ToolTipText);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 8, 14, 8);
    layout->setSpacing(10);
    m_message = new QLabel(this);
    m_message->setObjectName(QStringLiteral("toastMessage"));
    m_message->setTextFormat(Qt::PlainText);
    m_message->setForegroundRole(QPalette::ToolTipText);
    m_undo = new QPushButton(tr("Undo"), this);
    m_undo->setObjectName(QStringLiteral("toastUndo"));
    m_undo->setFlat(true);
    m_undo->setCursor(Qt::PointingHandCursor);
    m_undo->setStyleSheet(QStringLiteral("QPushButton { color: palette(link); border: none; "
                                         "padding: 0 2px; font-weight: 600; }"));
    m_hint = new QLabel(this);
    m_hint->setObjectName(QStringLiteral("toastKeyHint"));
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    mono.setPointSizeF(m_message->font().pointSizeF() * 0.85);
    m_hint->setFont(mono);
    QPalette hintPalette = m_hint->palette();
    hintPalette.setColor(QPalette::WindowText, secondaryTextColor(palette()));
    m_hint->setPalette(hintPalette);
    m_hint->setText(QKeySequence(QKeySequence::Undo).toString(QKeySequence::NativeText));
    layout->addWidget(m_message);
    layout->addWidget(m_undo);
    layout->addWidget(m_hint);

    m_slide->setDuration(180);
    m_slide->setEasingCurve(QEasingCurve::OutCubic);
    QObject::connect(m_undo, &QPushButton::clicked, state, &AppState::undoFromToast);
    QObject::connect(state, &AppState::toastChanged, this, &ToastView::showToast);
    parent->installEventFilter(this);
    hide();
    showToast();
}

void ToastView::showToast()
{
    const auto& toast = m_state->toast();
    if (!toast) {
        m_slide->stop();
        hide();
        return;
    }
    m_message->setText(toast->message);
    setAccessibleName(toast->message);
    m_undo->setVisible(bool(toast->undo));
    m_hint->setVisible(bool(toast->undo) && toast->isOnUndoKey);
    adjustSize();
    const bool wasVisible = isVisible();
    show();
    raise();
    if (wasVisible) {
        place(false);
    } else {
        // Moves in from below the window's edge.
        place(true);
        const QPoint hidden = pos();
        place(false);
        m_slide->setStartValue(hidden);
        m_slide->setEndValue(pos());
        move(hidden);
        m_slide->start();
    }
    if (QAccessible::isActive()) {
        // An alert makes screen readers speak the notice without moving the focus.
        QAccessibleEvent event(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&event);
    }
}

void ToastView::place(bool hidden)
{
    const QWidget* area = parentWidget();
    const int x = (area->width() - width()) / 2;
    move(x, hidden ? area->height() : area->height() - height() - bottomMargin);
}

bool ToastView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize && isVisible()) {
        m_slide->stop();
        place(false);
    }
    return QFrame::eventFilter(watched, event);
}
