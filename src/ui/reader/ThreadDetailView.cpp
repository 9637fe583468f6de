#include "ThreadDetailView.h"

#include "MessageView.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"
#include "ui/threads/EmptyState.h"
#include "ui/web/MailWebViewPool.h"

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QProgressBar>
#include <QScrollArea>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {
constexpr int contentMargin = 16;
}

ThreadDetailView::ThreadDetailView(AppState* state, QWidget* parent)
    : QWidget(parent), m_state(state), m_clock([] { return QDateTime::currentDateTime(); }),
      m_webViews(new MailWebViewPool(this))
{
    setObjectName(QStringLiteral("reader"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_stack = new QStackedWidget(this);
    layout->addWidget(m_stack);

    m_empty = new EmptyState(m_stack);
    m_empty->setObjectName(QStringLiteral("readerEmpty"));
    m_stack->addWidget(m_empty);

    m_loading = new QWidget(m_stack);
    auto* loadingLayout = new QVBoxLayout(m_loading);
    m_busy = new QProgressBar(m_loading);
    m_busy->setObjectName(QStringLiteral("readerBusy"));
    m_busy->setRange(0, 0);
    m_busy->setTextVisible(false);
    m_busy->setFixedSize(160, 4);
    m_busy->setAccessibleName(tr("Loading conversation"));
    loadingLayout->addStretch(1);
    loadingLayout->addWidget(m_busy, 0, Qt::AlignCenter);
    loadingLayout->addStretch(2);
    m_stack->addWidget(m_loading);

    m_scroll = new QScrollArea(m_stack);
    m_scroll->setObjectName(QStringLiteral("readerScroll"));
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_content = new QWidget(m_scroll);
    m_content->setObjectName(QStringLiteral("readerContent"));
    m_messages = new QVBoxLayout(m_content);
    m_messages->setContentsMargins(contentMargin, contentMargin, contentMargin, contentMargin);
    m_messages->setSpacing(10);
    m_subject = new QLabel(m_content);
    m_subject->setTextFormat(Qt::PlainText);
    m_subject->setObjectName(QStringLiteral("threadSubject"));
    m_subject->setWordWrap(true);
    m_subject->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont heading = m_subject->font();
    heading.setPointSizeF(heading.pointSizeF() * 1.35);
    heading.setWeight(QFont::DemiBold);
    m_subject->setFont(heading);
    m_messages->addWidget(m_subject);
    m_messages->addStretch(1);
    m_scroll->setWidget(m_content);
    m_stack->addWidget(m_scroll);

    for (auto signal : {&AppState::selectedThreadIdsChanged, &AppState::threadsChanged,
                        &AppState::isLoadingThreadChanged})
        QObject::connect(state, signal, this, &ThreadDetailView::showState);
    QObject::connect(state, &AppState::openEmailsChanged, this, &ThreadDetailView::showMessages);
    QObject::connect(state, &AppState::expandedEmailIdsChanged, this,
                     &ThreadDetailView::showExpansion);
    QObject::connect(state, &AppState::detailEmailIdsChanged, this, &ThreadDetailView::showDetails);
    QObject::connect(state, &AppState::scrollRequestChanged, this,
                     &ThreadDetailView::scrollRequested);
    QObject::connect(state, &AppState::messageScrollRequestChanged, this, [this] {
        if (const auto& id = m_state->focusedEmailId())
            scrollTo(*id);
    });
    for (auto signal : {&AppState::focusedEmailIdChanged, &AppState::focusedPaneChanged})
        QObject::connect(state, signal, this, &ThreadDetailView::showOutline);
    // Any click in the reader gives it the keys, and still reaches what was clicked.
    qApp->installEventFilter(this);
    showMessages();
}

ThreadDetailView::~ThreadDetailView()
{
    // The message views give their web views back while the pool still stands.
    qDeleteAll(std::exchange(m_views, {}));
}

bool ThreadDetailView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress && m_stack->currentWidget() == m_scroll) {
        auto* widget = qobject_cast<QWidget*>(watched);
        if (widget && (widget == m_scroll || m_scroll->isAncestorOf(widget)) &&
            m_state->focusedPane() != AppState::Pane::Reader)
            m_state->focus(AppState::Pane::Reader);
    }
    return QWidget::eventFilter(watched, event);
}

void ThreadDetailView::showOutline()
{
    const bool reader = m_state->focusedPane() == AppState::Pane::Reader;
    const auto& focused = m_state->focusedEmailId();
    for (auto it = m_views.cbegin(); it != m_views.cend(); ++it)
        it.value()->setOutlined(reader && focused && *focused == it.key());
}

QWidget* ThreadDetailView::currentPage() const
{
    return m_stack->currentWidget();
}

QList<MessageView*> ThreadDetailView::messageViews() const
{
    QList<MessageView*> views;
    for (const QString& id : m_order)
        views << m_views.value(id);
    return views;
}

void ThreadDetailView::showState()
{
    const qsizetype selected = m_state->selectedThreadIds().size();
    const auto thread = m_state->selectedThread();
    QWidget* page = m_scroll;
    if (selected >= 2) {
        m_empty->show(Icons::icon(QStringLiteral("square.stack")),
                      tr("%1 conversations selected").arg(selected));
        page = m_empty;
    } else if (!thread) {
        m_empty->show(Icons::icon(QStringLiteral("envelope.open")), tr("No conversation selected"));
        page = m_empty;
    } else if (m_state->isLoadingThread() && m_state->openEmails().isEmpty()) {
        page = m_loading;
    } else {
        m_subject->setText(thread->subject());
    }
    // The messages give way to another page only if the reader still has nothing to show once
    // this turn of the event loop is over. Within a turn the selection passes through nothing
    // (an archived conversation leaves before the next is selected) and through loading (one
    // fetched ahead follows at once): hiding the messages and showing them again for it is
    // wasted work.
    if (page != m_scroll && m_stack->currentWidget() == m_scroll && !m_pageDue) {
        if (!m_pageQueued) {
            m_pageQueued = true;
            QTimer::singleShot(0, this, [this] {
                m_pageQueued = false;
                m_pageDue = true;
                showState();
                m_pageDue = false;
            });
        }
        return;
    }
    m_stack->setCurrentWidget(page);
}

void ThreadDetailView::showMessages()
{
    const QList<Email>& emails = m_state->openEmails();
    QSet<QString> shown;
    for (const Email& email : emails)
        shown.insert(email.id);
    // The views of messages that are gone hand their web views back before new ones are built,
    // so that moving to another conversation reuses them instead of making new ones.
    for (auto it = m_views.begin(); it != m_views.end();) {
        if (shown.contains(it.key())) {
            ++it;
            continue;
        }
        MessageView* gone = it.value();
        gone->releaseWebView();
        m_messages->removeWidget(gone);
        gone->hide();
        gone->deleteLater();
        it = m_views.erase(it);
    }
    QStringList order;
    QHash<QString, MessageView*> kept;
    for (const Email& email : emails) {
        if (kept.contains(email.id))
            continue;
        MessageView* view = m_views.take(email.id);
        if (view) {
            view->setEmail(email);
        } else {
            view = new MessageView(m_state, email, m_content, m_webViews);
            QObject::connect(view, &MessageView::resized, this, &ThreadDetailView::messageResized);
        }
        kept.insert(email.id, view);
        order << email.id;
    }
    m_views = kept;
    m_order = order;
    // Views stand after the subject, in the order of the thread.
    for (int i = 0; i < m_order.size(); ++i) {
        MessageView* view = m_views.value(m_order.at(i));
        if (m_messages->indexOf(view) != i + 1) {
            m_messages->removeWidget(view);
            m_messages->insertWidget(i + 1, view);
        }
        view->show();
    }
    showExpansion();
    showDetails();
    showOutline();
    showState();
}

void ThreadDetailView::showExpansion()
{
    const QSet<QString>& expanded = m_state->expandedEmailIds();
    for (auto it = m_views.cbegin(); it != m_views.cend(); ++it)
        it.value()->setExpanded(expanded.contains(it.key()));
}

void ThreadDetailView::showDetails()
{
    const QSet<QString>& details = m_state->detailEmailIds();
    for (auto it = m_views.cbegin(); it != m_views.cend(); ++it)
        it.value()->setShowsDetails(details.contains(it.key()));
}

void ThreadDetailView::scrollRequested()
{
    m_pinUntil = m_clock().addMSecs(pinMilliseconds);
    scrollToTarget();
}

void ThreadDetailView::scrollToTarget()
{
    if (const auto& id = m_state->scrollTargetEmailId())
        scrollTo(*id);
}

void ThreadDetailView::scrollTo(const QString& emailId)
{
    MessageView* view = m_views.value(emailId);
    if (!view)
        return;
    // Lay out now, so the target's position and the scroll range are those of this moment.
    m_messages->activate();
    const int height = qMax(m_scroll->viewport()->height(),
                            m_content->heightForWidth(m_scroll->viewport()->width()) > 0
                                ? m_content->heightForWidth(m_scroll->viewport()->width())
                                : m_content->sizeHint().height());
    if (m_content->height() != height)
        m_content->resize(m_scroll->viewport()->width(), height);
    // The first message keeps the subject above it in sight.
    const bool first = !m_order.isEmpty() && m_order.first() == emailId;
    m_scroll->verticalScrollBar()->setValue(first ? 0 : view->y() - contentMargin / 2);
}

void ThreadDetailView::messageResized()
{
    if (m_pinUntil.isValid() && m_clock() < m_pinUntil)
        scrollToTarget();
}
