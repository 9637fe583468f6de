#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QSet>
#include <QString>

// The table twin of KeyedListModel: rows are brought up to date by id, one at a time (removed,
// inserted, moved, changed across all columns), never reset, so that a table's selection and
// scroll position survive every change of the list beneath it.
class KeyedTableModel : public QAbstractTableModel
{
public:
    using QAbstractTableModel::QAbstractTableModel;

protected:
    // `idOf` gives a row's id; rows compare with ==.
    template <typename Row, typename IdOf>
    void updateRows(QList<Row>& rows, const QList<Row>& wanted, IdOf idOf)
    {
        QSet<QString> kept;
        kept.reserve(wanted.size());
        for (const Row& row : wanted)
            kept.insert(idOf(row));
        const int lastColumn = columnCount() - 1;
        for (int target = 0; target < wanted.size(); ++target) {
            while (target < rows.size() && !kept.contains(idOf(rows.at(target)))) {
                beginRemoveRows({}, target, target);
                rows.removeAt(target);
                endRemoveRows();
            }
            const Row& row = wanted.at(target);
            const QString id = idOf(row);
            int found = -1;
            for (int candidate = target; candidate < rows.size(); ++candidate)
                if (idOf(rows.at(candidate)) == id) {
                    found = candidate;
                    break;
                }
            if (found < 0) {
                beginInsertRows({}, target, target);
                rows.insert(target, row);
                endInsertRows();
                continue;
            }
            if (found != target) {
                beginMoveRows({}, found, found, {}, target);
                rows.move(found, target);
                endMoveRows();
            }
            if (!(rows.at(target) == row)) {
                rows[target] = row;
                Q_EMIT dataChanged(index(target, 0), index(target, lastColumn));
            }
        }
        if (rows.size() > wanted.size()) {
            beginRemoveRows({}, int(wanted.size()), int(rows.size()) - 1);
            rows.resize(wanted.size());
            endRemoveRows();
        }
    }
};
