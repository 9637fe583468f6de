#include "AppState.h"

#include "PushListener.h"
#include "RefreshLoop.h"

QCoro::Task<> AppState::refresh()
{
    if (!m_service)
        co_return;
    QPointer<AppState> self(this);
    co_await reloadMailboxes();
    if (!self)
        co_return;
    co_await checkForNewMail();
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

void AppState::setIsPushLive(bool live)
{
    m_isPushLive = live;
}

QCoro::Task<> AppState::refreshIfAlive(QPointer<AppState> self)
{
    if (self)
        co_await self->refresh();
}

QCoro::Task<> AppState::refreshTurn()
{
    // With a live stream the listener refreshes; the timer only ticks idle.
    if (!m_isPushLive)
        co_await refresh();
}

void AppState::startRefreshLoop()
{
    QPointer<AppState> self(this);
    m_refreshLoop = new RefreshLoop(
        [self]() -> std::chrono::milliseconds {
            // With the state gone the loop finds nothing to refresh anyway.
            if (!self)
                return std::chrono::minutes(1);
            return std::max<std::chrono::milliseconds>(
                std::chrono::seconds(self->m_config.refreshIntervalSeconds),
                self->m_environment.timing.minimumRefreshInterval);
        },
        [self]() -> QCoro::Task<> { return self ? self->refreshTurn() : refreshIfAlive(self); },
        this);
    m_refreshLoop->start();
}

void AppState::listenForChanges(std::shared_ptr<MailService> service)
{
    stopListening();
    QPointer<AppState> self(this);
    m_pushListener = new PushListener(
        std::move(service), [self] { return refreshIfAlive(self); },
        m_environment.timing.pushFirstDelay, m_environment.timing.pushMaximumDelay, this);
    QObject::connect(m_pushListener, &PushListener::liveChanged, this, &AppState::setIsPushLive);
    m_pushListener->start();
}

void AppState::stopListening()
{
    // The old connection's listener ends before anything of a new one starts.
    if (m_pushListener) {
        m_pushListener->stop();
        delete std::exchange(m_pushListener, nullptr);
    }
    setIsPushLive(false);
}
