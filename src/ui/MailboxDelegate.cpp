#include "MailboxDelegate.h"

#include "MailboxListModel.h"

#include <QApplication>
#include <QPainter>

void MailboxDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const
{
    QStyleOptionViewItem base = option;
    initStyleOption(&base, index);
    const QString badge = index.data(MailboxListModel::BadgeRole).toString();
    const int badgeWidth = badge.isEmpty() ? 0 : option.fontMetrics.horizontalAdvance(badge) + 16;
    base.rect.setRight(base.rect.right() - badgeWidth);
    QStyle* style = option.widget ? option.widget->style() : QApplication::style();
    // The background spans the whole row; the text stops before the badge.
    QStyleOptionViewItem background = option;
    background.text.clear();
    background.icon = QIcon();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &background, painter, option.widget);
    base.backgroundBrush = Qt::NoBrush;
    base.state &= ~QStyle::State_HasFocus;
    style->drawControl(QStyle::CE_ItemViewItem, &base, painter, option.widget);
    if (badge.isEmpty())
        return;
    painter->save();
    const bool selected = option.state & QStyle::State_Selected;
    painter->setPen(
        option.palette.color(selected ? QPalette::HighlightedText : QPalette::PlaceholderText));
    const QRect badgeRect(option.rect.right() - badgeWidth, option.rect.top(), badgeWidth - 8,
                          option.rect.height());
    painter->drawText(badgeRect, Qt::AlignRight | Qt::AlignVCenter, badge);
    painter->restore();
}

QSize MailboxDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setHeight(std::max(size.height(), option.fontMetrics.height() + 10));
    return size;
}
