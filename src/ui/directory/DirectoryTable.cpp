#include "DirectoryTable.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QKeyEvent>

DirectoryTable::DirectoryTable(int idRole, QWidget* parent) : QTableView(parent), m_idRole(idRole)
{
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setSortingEnabled(true);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTextElideMode(Qt::ElideRight);
    setEditTriggers(NoEditTriggers);
    setDragEnabled(true);
    setDragDropMode(DragOnly);
    setDefaultDropAction(Qt::CopyAction);
    setTabKeyNavigation(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 10);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    horizontalHeader()->setStretchLastSection(true);
    connect(this, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex& index) {
        if (index.isValid())
            Q_EMIT editRequested(selectedIds());
    });
}

QString DirectoryTable::idOf(const QModelIndex& index) const
{
    return index.siblingAtColumn(0).data(m_idRole).toString();
}

QSet<QString> DirectoryTable::selectedIds() const
{
    QSet<QString> ids;
    if (!selectionModel())
        return ids;
    for (const QModelIndex& index : selectionModel()->selectedRows())
        ids.insert(idOf(index));
    return ids;
}

QSet<QString> DirectoryTable::idsAt(const QPoint& pos) const
{
    const QModelIndex index = indexAt(pos);
    if (!index.isValid())
        return {};
    if (selectionModel() && selectionModel()->isRowSelected(index.row(), {}))
        return selectedIds();
    return {idOf(index)};
}

void DirectoryTable::selectIds(const QSet<QString>& ids)
{
    QItemSelection selection;
    for (int row = 0; row < model()->rowCount(); ++row) {
        const QModelIndex index = model()->index(row, 0);
        if (ids.contains(idOf(index)))
            selection.select(index, index);
    }
    selectionModel()->select(selection,
                             QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (!selection.isEmpty())
        selectionModel()->setCurrentIndex(selection.first().topLeft(),
                                          QItemSelectionModel::NoUpdate);
}

void DirectoryTable::keyPressEvent(QKeyEvent* event)
{
    const QSet<QString> ids = selectedIds();
    if (event->matches(QKeySequence::Copy)) {
        if (!ids.isEmpty())
            Q_EMIT copyRequested(ids);
        return;
    }
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier) {
            Q_EMIT editRequested(ids);
            return;
        }
        break;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        if (!ids.isEmpty()) {
            Q_EMIT deleteRequested(ids);
            return;
        }
        break;
    default:
        break;
    }
    QTableView::keyPressEvent(event);
}

void DirectoryTable::contextMenuEvent(QContextMenuEvent* event)
{
    if (event->reason() == QContextMenuEvent::Mouse) {
        const QPoint pos = viewport()->mapFrom(this, event->pos());
        Q_EMIT menuRequested(idsAt(pos), event->globalPos());
        return;
    }
    // From the keyboard: the selection, with the menu at the current row.
    QPoint pos = viewport()->rect().center();
    if (currentIndex().isValid())
        pos = visualRect(currentIndex()).bottomLeft();
    Q_EMIT menuRequested(selectedIds(), viewport()->mapToGlobal(pos));
}
