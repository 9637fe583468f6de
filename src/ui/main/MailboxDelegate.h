#pragma once

#include <QStyledItemDelegate>

// A sidebar row: indent by depth, the disclosure triangle of a folder with subfolders, icon,
// name, and the unread badge at the right edge.
class MailboxDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    static constexpr int indentPerLevel = 14;
    static constexpr int disclosureWidth = 16;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;
    // Over the triangle the tip says what a click does.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

    // Where the disclosure triangle of a row is drawn.
    static QRect disclosureRect(const QStyleOptionViewItem& option, const QModelIndex& index);

Q_SIGNALS:
    void toggleCollapsedRequested(const QString& mailboxId);
};
