#include "ThreadDelegate.h"

#include "Avatar.h"
#include "ThreadListModel.h"
#include "ViewColors.h"
#include "ui/desktop/Icons.h"

#include <QApplication>
#include <QPainter>
#include <QtMath>

namespace {

constexpr int horizontalPadding = 8;
constexpr int verticalPadding = 8;
constexpr int dotColumn = 14;
constexpr int dotSize = 8;
constexpr int avatarSize = 32;
constexpr int gap = 8;
constexpr int lineGap = 2;
// Lines kept laid out: a few screens of rows. Past it the cache starts again.
constexpr qsizetype cachedLines = 4000;

QFont weighted(QFont font, QFont::Weight weight)
{
    font.setWeight(weight);
    return font;
}

QFont headerFont(const QFont& base)
{
    QFont font = weighted(base, QFont::DemiBold);
    font.setPointSizeF(base.pointSizeF() > 0 ? base.pointSizeF() * 0.85 : 8);
    return font;
}

} // namespace

ThreadDelegate::ThreadDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

QSize ThreadDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const auto kind = index.data(ThreadListModel::KindRole).value<ThreadListModel::Kind>();
    const QFontMetrics metrics(option.font);
    if (kind == ThreadListModel::Kind::Header)
        return {0, QFontMetrics(headerFont(option.font)).height() + 12};
    if (kind == ThreadListModel::Kind::LoadMore)
        return {0, metrics.height() + 2 * verticalPadding + 4};
    const int lines = 3 * metrics.height() + 2 * lineGap;
    return {0, 2 * verticalPadding + qMax(lines, m_showAvatars ? avatarSize : 0)};
}

void ThreadDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const
{
    const auto kind = index.data(ThreadListModel::KindRole).value<ThreadListModel::Kind>();
    if (kind == ThreadListModel::Kind::Thread) {
        paintThread(painter, option, index);
        return;
    }
    painter->save();
    const QRect rect =
        option.rect.adjusted(horizontalPadding + dotColumn, 0, -horizontalPadding, 0);
    if (kind == ThreadListModel::Kind::Header) {
        painter->setFont(headerFont(option.font));
        painter->setPen(secondaryTextColor(option.palette));
        painter->drawText(rect.adjusted(0, 0, 0, -3), Qt::AlignLeft | Qt::AlignBottom,
                          index.data().toString());
    } else {
        const bool enabled = option.state & QStyle::State_Enabled;
        if (option.state & QStyle::State_HasFocus) {
            QStyleOptionFocusRect focus;
            focus.QStyleOption::operator=(option);
            focus.rect = option.rect.adjusted(2, 2, -2, -2);
            QApplication::style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter);
        }
        painter->setFont(option.font);
        painter->setPen(enabled ? option.palette.color(QPalette::Link)
                                : secondaryTextColor(option.palette));
        painter->drawText(option.rect, Qt::AlignCenter, index.data().toString());
    }
    painter->restore();
}

void ThreadDelegate::paintThread(QPainter* painter, const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const
{
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    background.icon = QIcon();
    QStyle* style = option.widget ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &background, painter, option.widget);

    painter->save();
    const bool selected = option.state & QStyle::State_Selected;
    const QPalette& palette = option.palette;
    // A hairline between rows, from where the text starts; selected rows stand on their own.
    if (!selected) {
        QColor line = secondaryTextColor(palette);
        line.setAlphaF(0.25f);
        painter->setPen(line);
        const int left = option.rect.left() + horizontalPadding + dotColumn;
        painter->drawLine(left, option.rect.bottom(), option.rect.right() - horizontalPadding,
                          option.rect.bottom());
    }
    const QColor text = palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
    const QColor secondary = secondaryTextColor(palette, selected);
    const bool unread = index.data(ThreadListModel::UnreadRole).toBool();
    const QFontMetrics metrics(option.font);
    const int lineHeight = metrics.height();

    QRect content = option.rect.adjusted(horizontalPadding, verticalPadding, -horizontalPadding,
                                         -verticalPadding);
    // The unread dot; a clear one keeps the text of read rows aligned with unread ones.
    if (unread) {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(selected ? text : palette.color(QPalette::Highlight));
        const int dotTop = content.top() + (lineHeight - dotSize) / 2;
        painter->drawEllipse(
            QRect(content.left() + (dotColumn - dotSize) / 2 - 1, dotTop, dotSize, dotSize));
    }
    content.setLeft(content.left() + dotColumn);

    if (m_showAvatars) {
        const QString email = index.data(ThreadListModel::SenderEmailRole).toString();
        std::optional<EmailAddress> address;
        if (!email.isEmpty()) {
            const QString name = index.data(ThreadListModel::SenderNameRole).toString();
            address = EmailAddress{name.isEmpty() ? std::nullopt : std::optional(name), email};
        }
        Avatar::paint(painter, QRect(content.left(), content.top(), avatarSize, avatarSize),
                      address, palette);
        content.setLeft(content.left() + avatarSize + gap + 2);
    }

    // First line, from the right: date, paperclip, flag, count; then the participants.
    QRect line(content.left(), content.top(), content.width(), lineHeight);
    int right = line.right();
    painter->setFont(option.font);
    painter->setPen(secondary);
    const QStaticText date =
        this->line(option.font, index.data(ThreadListModel::DateTextRole).toString(), -1);
    const int dateWidth = qCeil(date.size().width());
    drawLine(painter, QRect(right - dateWidth + 1, line.top(), dateWidth, lineHeight), date);
    right -= dateWidth + 6;
    const int iconSize = qMin(16, lineHeight);
    const QIcon::Mode mode = selected ? QIcon::Selected : QIcon::Normal;
    auto drawIcon = [&](const QIcon& icon) {
        const QRect target(right - iconSize + 1, line.top() + (lineHeight - iconSize) / 2, iconSize,
                           iconSize);
        icon.paint(painter, target, Qt::AlignCenter, mode);
        right -= iconSize + 4;
    };
    if (index.data(ThreadListModel::AttachmentRole).toBool())
        drawIcon(Icons::icon(QStringLiteral("paperclip")));
    if (index.data(ThreadListModel::FlaggedRole).toBool())
        drawIcon(Icons::icon(QStringLiteral("flag.fill")));
    const qint64 count = index.data(ThreadListModel::MessageCountRole).toLongLong();
    if (count > 1) {
        // The count stands in a quiet pill, so that it does not read as part of the date.
        const QString number = QString::number(count);
        const int width = metrics.horizontalAdvance(number) + 10;
        const QRect pill(right - width + 1, line.top() + 1, width, lineHeight - 2);
        QColor fill = secondary;
        fill.setAlphaF(0.18f);
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(fill);
        painter->drawRoundedRect(pill, pill.height() / 2.0, pill.height() / 2.0);
        painter->setPen(secondary);
        painter->drawText(pill, Qt::AlignCenter, number);
        right -= width + 6;
    }
    const QFont participantsFont = unread ? weighted(option.font, QFont::DemiBold) : option.font;
    painter->setFont(participantsFont);
    painter->setPen(text);
    const QRect participantsRect(line.left(), line.top(), qMax(0, right - line.left() - 2),
                                 lineHeight);
    drawLine(painter, participantsRect, index.data(ThreadListModel::ParticipantsRole).toString());

    // Second line: the subject; third: the preview.
    line.translate(0, lineHeight + lineGap);
    const QFont subjectFont = unread ? weighted(option.font, QFont::Medium) : option.font;
    painter->setFont(subjectFont);
    drawLine(painter, line, index.data(ThreadListModel::SubjectRole).toString());
    line.translate(0, lineHeight + lineGap);
    painter->setFont(option.font);
    painter->setPen(secondary);
    drawLine(painter, line, index.data(ThreadListModel::PreviewRole).toString());
    painter->restore();
}

QStaticText ThreadDelegate::line(const QFont& font, const QString& text, int width) const
{
    LineKey key{text, font, width};
    auto found = m_lines.constFind(key);
    if (found != m_lines.cend())
        return *found;
    if (m_lines.size() >= cachedLines)
        m_lines.clear();
    QStaticText laidOut(width < 0 ? text
                                  : QFontMetrics(font).elidedText(text, Qt::ElideRight, width));
    laidOut.setTextFormat(Qt::PlainText);
    laidOut.prepare(QTransform(), font);
    return *m_lines.insert(std::move(key), std::move(laidOut));
}

void ThreadDelegate::drawLine(QPainter* painter, const QRect& rect, const QString& text) const
{
    drawLine(painter, rect, line(painter->font(), text, rect.width()));
}

void ThreadDelegate::drawLine(QPainter* painter, const QRect& rect, const QStaticText& line)
{
    painter->drawStaticText(
        QPointF(rect.left(), rect.top() + (rect.height() - line.size().height()) / 2), line);
}
