#include "AppState.h"

QCoro::Task<> AppState::checkForNewMail()
{
    const auto inbox = mailboxWithRole(QStringLiteral("inbox"));
    if (!m_service || !inbox)
        co_return;
    co_await m_notifier->check(m_service, inbox->id, m_config.notifyNewMail);
}

void AppState::showMainWindow()
{
    ++m_windowRequest;
    Q_EMIT windowRequestChanged();
}

void AppState::updateBadge()
{
    if (!m_showsBadge || !m_environment.setBadgeCount)
        return;
    // Conversations, not messages, and only those of the inbox.
    qint64 count = 0;
    if (m_config.showDockBadge)
        if (const auto inbox = mailboxWithRole(QStringLiteral("inbox")))
            count = inbox->unreadThreads;
    m_environment.setBadgeCount(count);
}
