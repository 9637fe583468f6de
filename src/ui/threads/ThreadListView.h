#pragma once

#include <QWidget>

class AppState;
class EmptyState;
class MessageContextMenu;
class QModelIndex;
class MailSearchField;
class QListView;
class QStackedWidget;
class ThreadDelegate;
class ThreadListModel;

// The middle column: the search field over the list of threads, or the empty state when the
// mailbox or the search has nothing. The list's selection and AppState's selectedThreadIds
// follow one another.
class ThreadListView : public QWidget
{
    Q_OBJECT
public:
    explicit ThreadListView(AppState* state, QWidget* parent = nullptr);

    QListView* list() const { return m_list; }
    ThreadListModel* model() const { return m_model; }
    MailSearchField* searchField() const { return m_search; }
    EmptyState* emptyState() const { return m_empty; }
    // Whether the empty state stands instead of the list.
    bool showsEmptyState() const;
    // The menu for a click on `index`: for the selection when the row is in it, else for that
    // row alone; null off the thread rows. The caller owns it.
    MessageContextMenu* contextMenu(const QModelIndex& index);

private:
    void selectionFromView();
    void selectionFromState();
    void showState();
    void activate(const QModelIndex& index);

    AppState* m_state;
    ThreadListModel* m_model;
    ThreadDelegate* m_delegate;
    MailSearchField* m_search;
    QStackedWidget* m_stack;
    QListView* m_list;
    EmptyState* m_empty;
    bool m_syncing = false;
    QString m_scrolledTo;
};
