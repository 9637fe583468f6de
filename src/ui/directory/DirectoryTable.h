#pragma once

#include <QSet>
#include <QString>
#include <QTableView>

// The table of a directory window. It speaks in row ids: Return and a double click open the
// editor, Delete asks to delete, and the context menu works on the rows under the pointer
// (the selection when the pointer is on a selected row) or, from the keyboard, the selection.
// Copy puts the chosen rows on the clipboard in the form the window chooses.
class DirectoryTable : public QTableView
{
    Q_OBJECT
public:
    // `idRole` is the model's role that gives a row's id.
    DirectoryTable(int idRole, QWidget* parent = nullptr);

    QSet<QString> selectedIds() const;
    // The ids a context menu at `pos` (viewport coordinates) works on; empty beside the rows.
    QSet<QString> idsAt(const QPoint& pos) const;
    void selectIds(const QSet<QString>& ids);

Q_SIGNALS:
    void editRequested(const QSet<QString>& ids);
    void deleteRequested(const QSet<QString>& ids);
    void copyRequested(const QSet<QString>& ids);
    void menuRequested(const QSet<QString>& ids, const QPoint& globalPos);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    QString idOf(const QModelIndex& index) const;
    int m_idRole;
};
