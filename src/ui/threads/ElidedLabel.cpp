#include "ElidedLabel.h"

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent)
{
    // Names and subjects come from mail: never read them as markup.
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void ElidedLabel::setFullText(const QString& text)
{
    m_text = text;
    setAccessibleName(text);
    elide();
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {fontMetrics().horizontalAdvance(QStringLiteral("M…")),
            QLabel::minimumSizeHint().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    elide();
}

void ElidedLabel::elide()
{
    const QString shown = fontMetrics().elidedText(m_text, Qt::ElideRight, width());
    if (shown != text())
        setText(shown);
    // A tool tip that looks like markup is shown as markup, so the full text goes in escaped.
    setToolTip(shown == m_text ? QString()
                               : QStringLiteral("<p>%1</p>").arg(m_text.toHtmlEscaped()));
}
