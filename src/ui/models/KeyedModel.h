#pragma once

#include <QAbstractListModel>
#include <QAbstractTableModel>
#include <QList>
#include <QSet>
#include <QString>

// A list or table model whose rows are brought up to date by id, one row at a time: rows that
// left are removed, new ones inserted, moved ones moved and changed ones reported across all
// columns, never a reset, so that a view's selection and scroll position survive a refresh.
template <typename Base> class KeyedModel : public Base
{
public:
    using Base::Base;

protected:
    // `idOf` gives a row's id; rows compare with ==.
    template <typename Row, typename IdOf>
    void updateRows(QList<Row>& rows, const QList<Row>& wanted, IdOf idOf)
    {
        QSet<QString> kept;
        kept.reserve(wanted.size());
        for (const Row& row : wanted)
            kept.insert(idOf(row));
        const int lastColumn = static_cast<const QAbstractItemModel*>(this)->columnCount() - 1;
        for (int target = 0; target < wanted.size(); ++target) {
            // A row that left goes at once: sliding it down past the rows below would move each
            // of them, a signal apiece for the view and assistive technology.
            while (target < rows.size() && !kept.contains(idOf(rows.at(target)))) {
                this->beginRemoveRows({}, target, target);
                rows.removeAt(target);
                this->endRemoveRows();
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
                this->beginInsertRows({}, target, target);
                rows.insert(target, row);
                this->endInsertRows();
                continue;
            }
            if (found != target) {
                this->beginMoveRows({}, found, found, {}, target);
                rows.move(found, target);
                this->endMoveRows();
            }
            if (!(rows.at(target) == row)) {
                rows[target] = row;
                Q_EMIT this->dataChanged(this->index(target, 0), this->index(target, lastColumn));
            }
        }
        if (rows.size() > wanted.size()) {
            this->beginRemoveRows({}, int(wanted.size()), int(rows.size()) - 1);
            rows.resize(wanted.size());
            this->endRemoveRows();
        }
    }
};

using KeyedListModel = KeyedModel<QAbstractListModel>;
using KeyedTableModel = KeyedModel<QAbstractTableModel>;
