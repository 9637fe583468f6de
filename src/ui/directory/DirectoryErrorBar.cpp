#include "DirectoryErrorBar.h"

#include "app/stores/DirectoryStore.h"
#include "ui/desktop/Icons.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

DirectoryErrorBar::DirectoryErrorBar(DirectoryStore* store, QWidget* parent)
    : QWidget(parent), m_store(store)
{
    setObjectName(QStringLiteral("directoryErrorBar"));
    setAttribute(Qt::WA_StyledBackground, true);
    setStyleSheet(QStringLiteral("#directoryErrorBar { background: palette(alternate-base); "
                                 "border-bottom: 1px solid palette(mid); }"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(12, 6, 8, 6);
    auto* icon = new QLabel(this);
    icon->setAccessibleName(tr("Warning"));
    icon->setPixmap(Icons::icon(QStringLiteral("exclamationmark.triangle.fill")).pixmap(16, 16));
    m_message = new QLabel(this);
    m_message->setObjectName(QStringLiteral("errorMessage"));
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_message->setWordWrap(true);
    m_message->setTextFormat(Qt::PlainText);
    auto* dismissButton = new QPushButton(tr("Dismiss"), this);
    dismissButton->setObjectName(QStringLiteral("dismissButton"));
    dismissButton->setFlat(true);
    dismissButton->setAutoDefault(false);
    layout->addWidget(icon);
    layout->addWidget(m_message, 1);
    layout->addWidget(dismissButton);
    connect(dismissButton, &QPushButton::clicked, this, &DirectoryErrorBar::dismiss);
    connect(store, &DirectoryStore::errorChanged, this, &DirectoryErrorBar::refresh);
    refresh();
}

QString DirectoryErrorBar::message() const
{
    return m_message->text();
}

void DirectoryErrorBar::dismiss()
{
    if (m_store)
        m_store->clearError();
}

void DirectoryErrorBar::refresh()
{
    const QString text = m_store ? m_store->error() : QString();
    const bool changed = text != m_message->text();
    m_message->setText(text);
    setAccessibleName(text);
    setVisible(!text.isEmpty());
    if (!text.isEmpty() && changed) {
        QAccessibleEvent event(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&event);
    }
}
