#pragma once

#include <QStyledItemDelegate>

// Draws a cell's check box in the middle of its column, and takes clicks there, for a narrow
// column that holds nothing else.
class CenteredCheckDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

protected:
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

private:
    // The option with its rectangle narrowed so that the style puts the check box centred.
    static QStyleOptionViewItem centred(const QStyleOptionViewItem& option);
};
