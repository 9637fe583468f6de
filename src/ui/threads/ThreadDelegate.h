#pragma once

#include <QStyledItemDelegate>

// Paints a row of the thread list: unread dot, avatar, participants, count, flag, paperclip
// and date on the first line, the subject and the preview below; date headers in small
// semibold secondary text; the "Load more" row as a link.
class ThreadDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    explicit ThreadDelegate(QObject* parent = nullptr);

    void setShowAvatars(bool show) { m_showAvatars = show; }
    bool showsAvatars() const { return m_showAvatars; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    void paintThread(QPainter* painter, const QStyleOptionViewItem& option,
                     const QModelIndex& index) const;

    bool m_showAvatars = true;
};
