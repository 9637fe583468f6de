#pragma once

#include <QFont>
#include <QHash>
#include <QStaticText>
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
    // One line of text laid out in `font`, cut to `width` with an ellipsis (never cut when
    // `width` is negative), from the cache.
    QStaticText line(const QFont& font, const QString& text, int width) const;
    // Draws a line in the painter's font at the left of `rect`, cut to its width, centred in
    // its height.
    void drawLine(QPainter* painter, const QRect& rect, const QString& text) const;
    static void drawLine(QPainter* painter, const QRect& rect, const QStaticText& line);

    bool m_showAvatars = true;
    // Shaping text is most of what a row costs to paint, and rows repaint whenever the list
    // moves under them (an archive shifts every row below it): each line is laid out once.
    struct LineKey
    {
        QString text;
        QFont font;
        int width;
        bool operator==(const LineKey&) const = default;
    };
    friend size_t qHash(const LineKey& key, size_t seed)
    {
        return qHashMulti(seed, key.text, key.font, key.width);
    }
    mutable QHash<LineKey, QStaticText> m_lines;
};
