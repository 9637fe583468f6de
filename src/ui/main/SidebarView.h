#pragma once

#include "MailboxListView.h"

#include <QWidget>

class AppState;
class MailboxListModel;
class QMenu;
class QStackedWidget;
class QToolButton;

// The mailboxes column: the account's mailboxes, or the prompt to add a token, with the
// sync footer below.
class SidebarView : public QWidget
{
    Q_OBJECT
public:
    explicit SidebarView(AppState* state, QWidget* parent = nullptr);
    MailboxListView* list() const { return m_list; }
    MailboxListModel* model() const { return m_model; }
    // The menu of a mailbox row; null off the rows. The caller owns it.
    QMenu* contextMenu(const QModelIndex& index);

Q_SIGNALS:
    void openSettingsRequested();

private:
    void showState();
    void selectCurrent();
    void updateComposeHelp();

    AppState* m_state;
    MailboxListModel* m_model;
    QStackedWidget* m_stack;
    MailboxListView* m_list;
    QToolButton* m_composeButton;
};
