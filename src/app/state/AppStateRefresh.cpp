#include "AppState.h"

QCoro::Task<> AppState::refresh()
{
    if (!m_service)
        co_return;
    QPointer<AppState> self(this);
    co_await reloadMailboxes();
    if (!self)
        co_return;
    // As many threads as are on show, so that a refresh does not shrink a scrolled list.
    co_await fetchThreads(0, std::max<qint64>(m_threads.size(), m_config.pageSize));
    if (!self)
        co_return;
    // The reader is fetched again only when messages joined or left its thread.
    if (const auto thread = selectedThread()) {
        QSet<QString> listed;
        for (const Email& email : uniqueMessages(thread->emails, m_selectedMailboxId))
            listed.insert(email.id);
        QSet<QString> shown;
        for (const Email& email : m_openEmails)
            shown.insert(email.id);
        if (listed != shown)
            co_await loadOpenThread();
    }
}

QCoro::Task<> AppState::reloadMailboxes()
{
    if (!m_service)
        co_return;
    QPointer<AppState> self(this);
    const std::shared_ptr<MailService> service = m_service;
    try {
        const QList<Mailbox> mailboxes = co_await service->mailboxes();
        if (self)
            setMailboxes(mailboxes);
    } catch (...) {
        if (self)
            report(std::current_exception());
    }
}
