#pragma once

#include <QListView>

#include <functional>

class MailboxListModel;

// The sidebar's list of mailboxes. The rows are flat, but they form a tree: the keyboard opens
// and closes folders (Right and +, Left and −) and walks between a folder and its subfolders,
// and assistive technology meets a tree of rows with levels and open or closed states.
class MailboxListView : public QListView
{
    Q_OBJECT
public:
    explicit MailboxListView(QWidget* parent = nullptr);

    void setModel(QAbstractItemModel* model) override;
    MailboxListModel* mailboxModel() const;

    // Opens or closes the folder of a row that has subfolders; other rows are left alone.
    void setExpanded(const QModelIndex& index, bool expanded);
    static bool isExpandable(const QModelIndex& index);
    static bool isExpanded(const QModelIndex& index);
    // What the disclosure triangle of a row does: "Expand <name>" or "Collapse <name>".
    static QString disclosureLabel(const QModelIndex& index);

    // What a drop does: thread ids (text, one a line) dropped on a mailbox, true when they
    // moved; a mailbox row dropped before the shown row `toRow`.
    std::function<bool(const QSet<QString>& threadIds, const QString& mailboxId)> dropThreads;
    std::function<void(const QString& mailboxId, int toRow)> moveRow;
    // The row under a drag of threads, highlighted; empty when there is none.
    const QString& dropTargetId() const { return m_dropTargetId; }

Q_SIGNALS:
    void toggleCollapsedRequested(const QString& mailboxId);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    // The list's own events name rows by their flat position, which the tree does not use:
    // these send them for the row itself.
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void selectionChanged(const QItemSelection& selected,
                          const QItemSelection& deselected) override;

private:
    void announceReorder();
    void setDropTargetId(const QString& id);
    // The row a drop at `position` lands before, for reordering.
    int insertionRow(const QPoint& position) const;

    QString m_dropTargetId;
};
