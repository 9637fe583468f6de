#include "DirectoryEmptyState.h"

#include "ui/desktop/Icons.h"
#include "ui/threads/ViewColors.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

DirectoryEmptyState::DirectoryEmptyState(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("emptyState"));
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(6);
    layout->addStretch(1);
    m_icon = new QLabel(this);
    m_icon->setAlignment(Qt::AlignCenter);
    m_title = new QLabel(this);
    m_title->setObjectName(QStringLiteral("emptyTitle"));
    m_title->setAlignment(Qt::AlignCenter);
    m_title->setWordWrap(true);
    m_title->setTextFormat(Qt::PlainText);
    QFont font = m_title->font();
    font.setPointSizeF(font.pointSizeF() * 1.3);
    font.setWeight(QFont::DemiBold);
    m_title->setFont(font);
    m_text = new QLabel(this);
    m_text->setObjectName(QStringLiteral("emptyText"));
    m_text->setAlignment(Qt::AlignCenter);
    m_text->setWordWrap(true);
    m_text->setTextFormat(Qt::PlainText);
    QPalette palette = m_text->palette();
    palette.setColor(QPalette::WindowText, secondaryTextColor(palette));
    m_text->setPalette(palette);
    m_action = new QPushButton(this);
    m_action->setObjectName(QStringLiteral("emptyAction"));
    m_action->setAutoDefault(false);
    layout->addWidget(m_icon);
    layout->addSpacing(4);
    layout->addWidget(m_title);
    layout->addWidget(m_text);
    layout->addSpacing(8);
    layout->addWidget(m_action, 0, Qt::AlignHCenter);
    layout->addStretch(2);
    connect(m_action, &QPushButton::clicked, this, &DirectoryEmptyState::actionTriggered);
}

void DirectoryEmptyState::show(const QString& symbol, const QString& title, const QString& text,
                               const QString& action, bool asLink)
{
    m_icon->setPixmap(Icons::icon(symbol).pixmap(48, 48, QIcon::Disabled));
    m_icon->setVisible(true);
    m_title->setText(title);
    m_text->setText(text);
    m_text->setVisible(!text.isEmpty());
    m_action->setText(action);
    m_action->setVisible(!action.isEmpty());
    m_action->setFlat(asLink);
    QPalette palette = m_action->palette();
    if (asLink)
        palette.setColor(QPalette::ButtonText, palette.color(QPalette::Link));
    else
        palette.setColor(QPalette::ButtonText, QWidget::palette().color(QPalette::ButtonText));
    m_action->setPalette(palette);
    m_action->setCursor(asLink ? Qt::PointingHandCursor : Qt::ArrowCursor);
    setAccessibleName(title);
    setAccessibleDescription(text);
}

void DirectoryEmptyState::clear()
{
    m_icon->setVisible(false);
    m_title->clear();
    m_text->clear();
    m_action->setVisible(false);
    setAccessibleName(QString());
}

QString DirectoryEmptyState::title() const
{
    return m_title->text();
}

QString DirectoryEmptyState::text() const
{
    return m_text->text();
}
