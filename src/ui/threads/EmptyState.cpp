#include "EmptyState.h"

#include "ViewColors.h"

#include <QIcon>
#include <QLabel>
#include <QVBoxLayout>

EmptyState::EmptyState(QWidget* parent) : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->addStretch(1);
    m_icon = new QLabel(this);
    m_icon->setAlignment(Qt::AlignCenter);
    m_title = new QLabel(this);
    m_title->setObjectName(QStringLiteral("emptyTitle"));
    m_title->setAlignment(Qt::AlignCenter);
    m_title->setWordWrap(true);
    QFont font = m_title->font();
    font.setPointSizeF(font.pointSizeF() * 1.2);
    font.setWeight(QFont::DemiBold);
    m_title->setFont(font);
    QPalette palette = m_title->palette();
    palette.setColor(QPalette::WindowText, secondaryTextColor(palette));
    m_title->setPalette(palette);
    layout->addWidget(m_icon);
    layout->addSpacing(6);
    layout->addWidget(m_title);
    layout->addStretch(2);
}

void EmptyState::show(const QIcon& icon, const QString& title)
{
    m_icon->setPixmap(icon.pixmap(48, 48, QIcon::Disabled));
    m_title->setText(title);
    setAccessibleName(title);
}

QString EmptyState::title() const
{
    return m_title->text();
}
