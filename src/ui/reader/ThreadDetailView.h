#pragma once

#include <QDateTime>
#include <QHash>
#include <QWidget>

#include <functional>

class AppState;
class EmptyState;
class MailWebViewPool;
class MessageView;
class QLabel;
class QProgressBar;
class QScrollArea;
class QStackedWidget;
class QVBoxLayout;

// The reader: the open thread's subject and its messages, or why there is nothing to read.
// While the web views of a freshly opened thread measure themselves, the reader keeps the
// message it was asked to show at the top.
class ThreadDetailView : public QWidget
{
    Q_OBJECT
public:
    explicit ThreadDetailView(AppState* state, QWidget* parent = nullptr);
    ~ThreadDetailView() override;

    // How long after a scroll request a growing message scrolls to the target again.
    static constexpr qint64 pinMilliseconds = 1500;

    // The present moment, for the pin window; tests move it on by hand.
    void setClock(std::function<QDateTime()> clock) { m_clock = std::move(clock); }

    QScrollArea* scrollArea() const { return m_scroll; }
    EmptyState* emptyState() const { return m_empty; }
    QProgressBar* busyIndicator() const { return m_busy; }
    QLabel* subjectLabel() const { return m_subject; }
    // What stands in the reader now.
    QWidget* currentPage() const;
    // The message views in order.
    QList<MessageView*> messageViews() const;
    MessageView* messageView(const QString& emailId) const { return m_views.value(emailId); }
    // The web views the message views share between conversations.
    MailWebViewPool* webViewPool() const { return m_webViews; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showOutline();
    void showState();
    void showMessages();
    void showExpansion();
    void showDetails();
    void scrollRequested();
    void scrollToTarget();
    void scrollTo(const QString& emailId);
    void messageResized();

    AppState* m_state;
    std::function<QDateTime()> m_clock;
    QDateTime m_pinUntil;
    QStackedWidget* m_stack;
    EmptyState* m_empty;
    QWidget* m_loading;
    QProgressBar* m_busy;
    QScrollArea* m_scroll;
    QWidget* m_content;
    QVBoxLayout* m_messages;
    QLabel* m_subject;
    MailWebViewPool* m_webViews;
    QHash<QString, MessageView*> m_views;
    // A page other than the messages waits for the end of the turn that asked for it (see
    // showState).
    bool m_pageQueued = false;
    bool m_pageDue = false;
    QStringList m_order;
};
