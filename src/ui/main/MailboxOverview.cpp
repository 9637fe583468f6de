#include "MailboxOverview.h"

#include "app/state/AppState.h"

#include <QLabel>
#include <QVBoxLayout>

MailboxOverview::MailboxOverview(AppState* state, QWidget* parent) : QWidget(parent), m_state(state)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->addStretch(1);
    m_title = new QLabel(this);
    m_title->setObjectName(QStringLiteral("overviewTitle"));
    QFont font = m_title->font();
    font.setPointSizeF(font.pointSizeF() * 1.6);
    font.setBold(true);
    m_title->setFont(font);
    m_title->setAlignment(Qt::AlignCenter);
    m_detail = new QLabel(this);
    m_detail->setObjectName(QStringLiteral("overviewDetail"));
    m_detail->setAlignment(Qt::AlignCenter);
    m_detail->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(m_title);
    layout->addWidget(m_detail);
    layout->addStretch(2);
    for (auto signal : {&AppState::selectedMailboxIdChanged, &AppState::mailboxesChanged,
                        &AppState::hasTokenChanged, &AppState::isConnectedChanged})
        QObject::connect(state, signal, this, &MailboxOverview::refresh);
    refresh();
}

void MailboxOverview::refresh()
{
    const auto mailbox = m_state->mailbox(m_state->selectedMailboxId());
    if (!mailbox) {
        m_title->setText(m_state->hasToken() && !m_state->isConnected() ? tr("Not connected")
                                                                        : QString());
        m_detail->clear();
        return;
    }
    m_title->setText(mailbox->name);
    const QString conversations = mailbox->totalThreads == 1
                                      ? tr("1 conversation")
                                      : tr("%1 conversations").arg(mailbox->totalThreads);
    m_detail->setText(mailbox->unreadThreads > 0
                          ? tr("%1, %2 unread").arg(conversations).arg(mailbox->unreadThreads)
                          : conversations);
}
