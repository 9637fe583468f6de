#pragma once

#include <optional>

#include <QMainWindow>
#include <QMessageBox>
#include <QPointer>
#include <QSet>
#include <QString>

class AppState;
class DirectoryEmptyState;
class ErrorBar;
class DirectoryStore;
class DirectoryTable;
class QAbstractItemModel;
class QAction;
class QLineEdit;
class QMenu;
class QProgressBar;
class QStackedWidget;
class QToolBar;

// The frame the contacts and Masked Email windows share: the store's error bar, a toolbar with
// a busy indicator, "Refresh", "New …" and the search field, and the table, which an empty
// state replaces while no row is on show. The windows add what they show and the store
// operations their controls call.
class DirectoryWindow : public QMainWindow
{
    Q_OBJECT
public:
    DirectoryTable* table() const { return m_table; }
    QLineEdit* searchField() const { return m_search; }
    QAction* refreshAction() const { return m_refresh; }
    QAction* newAction() const { return m_new; }
    DirectoryEmptyState* emptyState() const { return m_empty; }
    ErrorBar* errorBar() const { return m_errorBar; }
    QProgressBar* busyIndicator() const { return m_busy; }
    // The delete confirmation on show, or null.
    QMessageBox* confirmation() const { return m_confirmation; }

    // The context menu for a set of row ids, built afresh; null for the empty set.
    virtual QMenu* contextMenu(const QSet<QString>& ids) = 0;
    // Opens the editor for one row; several or none do nothing.
    virtual void edit(const QSet<QString>& ids) = 0;
    // Opens the editor for a new record.
    virtual void create() = 0;
    // Asks, window-modally, before deleting the rows.
    void askToDelete(const QSet<QString>& ids);

Q_SIGNALS:
    // The "Open Settings…" link of the not-connected state.
    void openSettingsRequested();

protected:
    DirectoryWindow(AppState* state, DirectoryStore* store, const QString& newTitle,
                    QWidget* parent);

    // Called once by the subclass when its model exists.
    void setModel(QAbstractItemModel* model, int idRole);
    QToolBar* toolBar() const { return m_toolBar; }
    AppState* state() const { return m_state; }

    // Whether the toolbar can act: the store has a service, or this is demo mode.
    virtual bool canAct() const = 0;
    // Opens the window-modal editor of one record, or of a new one when `record` is empty.
    template <typename Editor, typename Store, typename Record>
    void openEditor(Store* store, const std::optional<Record>& record)
    {
        if (!canAct())
            return;
        auto* editor = new Editor(store, record, this);
        editor->setAttribute(Qt::WA_DeleteOnClose);
        editor->open();
    }
    // Reloads the store, in a task.
    virtual void load() = 0;
    // Chooses what stands in place of an empty table.
    virtual void showEmptyState(DirectoryEmptyState* empty) = 0;
    // The confirmation's texts for `count` rows, and the deletion itself.
    virtual QString deleteTitle(qsizetype count) const = 0;
    virtual QString deleteMessage() const = 0;
    virtual void remove(const QSet<QString>& ids) = 0;
    // What Copy puts on the clipboard for the rows; nothing when empty.
    virtual QString copyText(const QSet<QString>& ids) const = 0;

    // Call when something the empty state or the toolbar depends on changed.
    void refreshState();
    // Puts the rows in the clipboard as plain text.
    static void copy(const QString& text);

    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppState* m_state;
    QPointer<DirectoryStore> m_store;
    ErrorBar* m_errorBar;
    QToolBar* m_toolBar;
    QProgressBar* m_busy;
    QAction* m_busyAction;
    QAction* m_refresh;
    QAction* m_new;
    QLineEdit* m_search;
    QStackedWidget* m_stack;
    DirectoryTable* m_table = nullptr;
    DirectoryEmptyState* m_empty;
    QPointer<QMessageBox> m_confirmation;
};
