#pragma once

#include <QAbstractListModel>
#include <QList>
#include <QSet>
#include <QString>

// A list model whose rows are brought up to date by id, one row at a time: rows that left are
// removed, new ones inserted, moved ones moved and changed ones reported, never a reset, so
// that a view's selection and scroll position survive a refresh.
class KeyedListModel : public QAbstractListModel
{
public:
    using QAbstractListModel::QAbstractListModel;

protected:
    // `idOf` gives a row's id; rows compare with ==.
    template <typename Row, typename IdOf>
    void updateRows(QList<Row>& rows, const QList<Row>& wanted, IdOf idOf)
    {
        QSet<QString> kept;
        kept.reserve(wanted.size());
        for (const Row& row : wanted)
            kept.insert(idOf(row));
        for (int target = 0; target < wanted.size(); ++target) {
            // A row that left goes at once: sliding it down past the rows below would move each
            // of them, a signal apiece for the view and assistive technology.
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
                Q_EMIT dataChanged(index(target), index(target));
            }
        }
        if (rows.size() > wanted.size()) {
            beginRemoveRows({}, int(wanted.size()), int(rows.size()) - 1);
            rows.resize(wanted.size());
            endRemoveRows();
        }
    }
};
