#include "MailboxDelegate.h"

#include "MailboxListModel.h"
#include "MailboxListView.h"

#include <QApplication>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

void MailboxDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const
{
    QStyleOptionViewItem base = option;
    initStyleOption(&base, index);
    const QString badge = index.data(MailboxListModel::BadgeRole).toString();
    const int badgeWidth = badge.isEmpty() ? 0 : option.fontMetrics.horizontalAdvance(badge) + 16;
    base.rect.setRight(base.rect.right() - badgeWidth);
    const QRect disclosure = disclosureRect(option, index);
    base.rect.setLeft(disclosure.right() + 1);
    QStyle* style = option.widget ? option.widget->style() : QApplication::style();
    // The background spans the whole row; the text stops before the badge.
    QStyleOptionViewItem background = option;
    background.text.clear();
    background.icon = QIcon();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &background, painter, option.widget);
    base.backgroundBrush = Qt::NoBrush;
    base.state &= ~QStyle::State_HasFocus;
    style->drawControl(QStyle::CE_ItemViewItem, &base, painter, option.widget);
    if (index.data(MailboxListModel::HasChildrenRole).toBool()) {
        QStyleOption arrow;
        arrow.rect = disclosure;
        arrow.palette = option.palette;
        arrow.state = option.state;
        const bool collapsed = index.data(MailboxListModel::CollapsedRole).toBool();
        style->drawPrimitive(collapsed ? QStyle::PE_IndicatorArrowRight
                                       : QStyle::PE_IndicatorArrowDown,
                             &arrow, painter, option.widget);
    }
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

QRect MailboxDelegate::disclosureRect(const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const int depth = index.data(MailboxListModel::DepthRole).toInt();
    return QRect(option.rect.left() + 2 + depth * indentPerLevel, option.rect.top(),
                 disclosureWidth, option.rect.height());
}

bool MailboxDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                  const QStyleOptionViewItem& option, const QModelIndex& index)
{
    if (event->type() == QEvent::MouseButtonPress &&
        index.data(MailboxListModel::HasChildrenRole).toBool()) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (disclosureRect(option, index).contains(mouse->position().toPoint())) {
            Q_EMIT toggleCollapsedRequested(index.data(MailboxListModel::IdRole).toString());
            return true;
        }
    }
    return QStyledItemDelegate::editorEvent(event, model, option, index);
}

bool MailboxDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                const QStyleOptionViewItem& option, const QModelIndex& index)
{
    if (event->type() == QEvent::ToolTip && MailboxListView::isExpandable(index) &&
        disclosureRect(option, index).contains(event->pos())) {
        QToolTip::showText(event->globalPos(), MailboxListView::disclosureLabel(index), view);
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}
