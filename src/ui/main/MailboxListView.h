#pragma once

#include <QListView>

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

Q_SIGNALS:
    void toggleCollapsedRequested(const QString& mailboxId);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    // The list's own events name rows by their flat position, which the tree does not use:
    // these send them for the row itself.
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void selectionChanged(const QItemSelection& selected,
                          const QItemSelection& deselected) override;

private:
    void announceReorder();
};
