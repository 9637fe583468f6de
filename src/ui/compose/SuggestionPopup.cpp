#include "SuggestionPopup.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int framePadding = 3;
constexpr int rowSidePadding = 8;
constexpr int rowVerticalPadding = 3;
constexpr int shadow = 3;

} // namespace

SuggestionPopup::SuggestionPopup(QWidget* window) : QWidget(window)
{
    setAccessibleName(tr("Suggestions"));
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_TranslucentBackground);
    setCursor(Qt::PointingHandCursor);
    hide();
}

int SuggestionPopup::rowHeight() const
{
    return fontMetrics().height() + 2 * rowVerticalPadding;
}

QRect SuggestionPopup::rowRect(int row) const
{
    return QRect(framePadding, framePadding + row * rowHeight(),
                 width() - 2 * framePadding - shadow, rowHeight());
}

void SuggestionPopup::show(const QList<EmailAddress>& suggestions, int highlighted, QWidget* anchor)
{
    m_suggestions = suggestions;
    m_highlighted = highlighted;
    if (suggestions.isEmpty() || !anchor || !parentWidget()) {
        hide();
        return;
    }
    const QPoint bottomLeft = anchor->mapTo(parentWidget(), QPoint(0, anchor->height()));
    setGeometry(bottomLeft.x(), bottomLeft.y() + 3, anchor->width() + shadow,
                int(suggestions.size()) * rowHeight() + 2 * framePadding + shadow);
    raise();
    QWidget::show();
    update();
}

void SuggestionPopup::dismiss()
{
    m_suggestions.clear();
    m_highlighted = 0;
    hide();
}

void SuggestionPopup::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -shadow - 0.5, -shadow - 0.5);
    for (int step = shadow; step > 0; --step) {
        QColor shade(0, 0, 0, 20);
        painter.setPen(Qt::NoPen);
        painter.setBrush(shade);
        painter.drawRoundedRect(frame.translated(step * 0.7, step), 6, 6);
    }
    painter.setPen(palette().color(QPalette::Mid));
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRoundedRect(frame, 6, 6);

    const QColor secondary = palette().color(QPalette::PlaceholderText);
    for (int row = 0; row < m_suggestions.size(); ++row) {
        const QRect area = rowRect(row);
        if (row == m_highlighted) {
            QColor accent = palette().color(QPalette::Highlight);
            accent.setAlphaF(0.25);
            painter.setPen(Qt::NoPen);
            painter.setBrush(accent);
            painter.drawRoundedRect(area, 4, 4);
        }
        const EmailAddress& address = m_suggestions.at(row);
        QRect text = area.adjusted(rowSidePadding, 0, -rowSidePadding, 0);
        const QString name = address.name.value_or(QString()).trimmed();
        if (!name.isEmpty()) {
            QFont bold = font();
            bold.setWeight(QFont::DemiBold);
            painter.setFont(bold);
            painter.setPen(palette().color(QPalette::Text));
            const QString shown =
                QFontMetrics(bold).elidedText(name, Qt::ElideRight, text.width() / 2);
            painter.drawText(text, Qt::AlignVCenter | Qt::AlignLeft, shown);
            text.setLeft(text.left() + QFontMetrics(bold).horizontalAdvance(shown) + 6);
            painter.setFont(font());
            painter.setPen(secondary);
        } else {
            painter.setPen(palette().color(QPalette::Text));
        }
        painter.drawText(text, Qt::AlignVCenter | Qt::AlignLeft,
                         fontMetrics().elidedText(address.email, Qt::ElideRight, text.width()));
    }
}

void SuggestionPopup::mousePressEvent(QMouseEvent* event)
{
    for (int row = 0; row < m_suggestions.size(); ++row) {
        if (rowRect(row).contains(event->position().toPoint())) {
            Q_EMIT rowClicked(row);
            return;
        }
    }
}
