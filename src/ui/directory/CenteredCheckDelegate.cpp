#include "CenteredCheckDelegate.h"

#include <QApplication>
#include <QPainter>

QStyleOptionViewItem CenteredCheckDelegate::centred(const QStyleOptionViewItem& option)
{
    QStyleOptionViewItem narrow(option);
    const QStyle* style = option.widget ? option.widget->style() : QApplication::style();
    const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
    const int width =
        style->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, option.widget) + 2 * margin;
    if (width < option.rect.width())
        narrow.rect = QRect(option.rect.x() + (option.rect.width() - width) / 2, option.rect.y(),
                            width, option.rect.height());
    return narrow;
}

void CenteredCheckDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const
{
    // The selection spans the whole cell, the box sits in its middle.
    QStyleOptionViewItem whole(option);
    initStyleOption(&whole, index);
    const QStyle* style = option.widget ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &whole, painter, option.widget);
    QStyledItemDelegate::paint(painter, centred(option), index);
}

bool CenteredCheckDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                        const QStyleOptionViewItem& option,
                                        const QModelIndex& index)
{
    return QStyledItemDelegate::editorEvent(event, model, centred(option), index);
}
