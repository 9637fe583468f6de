#include "AppState.h"

#include "app/demo/DemoData.h"

#include <QDateTime>

namespace {

QSet<QString> idsOf(const QList<MailThread>& threads)
{
    QSet<QString> ids;
    for (const MailThread& thread : threads)
        ids.insert(thread.id);
    return ids;
}

} // namespace

void AppState::setThreads(const QList<MailThread>& threads)
{
    if (m_threads == threads)
        return;
    m_threads = threads;
    Q_EMIT threadsChanged();
}

void AppState::setTotalThreads(qint64 total)
{
    if (m_totalThreads == total)
        return;
    m_totalThreads = total;
    Q_EMIT totalThreadsChanged();
}

void AppState::setIsLoadingList(bool loading)
{
    if (m_isLoadingList == loading)
        return;
    m_isLoadingList = loading;
    Q_EMIT isLoadingListChanged();
}

void AppState::setSelectedThreadIds(const QSet<QString>& ids)
{
    if (m_selectedThreadIds == ids)
        return;
    m_selectedThreadIds = ids;
    Q_EMIT selectedThreadIdsChanged();
}

std::optional<QString> AppState::selectedThreadId() const
{
    if (m_selectedThreadIds.size() != 1)
        return std::nullopt;
    return *m_selectedThreadIds.cbegin();
}

void AppState::setSelectedThreadId(const std::optional<QString>& id)
{
    setSelectedThreadIds(id ? QSet<QString>{*id} : QSet<QString>());
}

std::optional<MailThread> AppState::selectedThread() const
{
    const auto id = selectedThreadId();
    if (!id)
        return std::nullopt;
    for (const MailThread& thread : m_threads)
        if (thread.id == *id)
            return thread;
    return std::nullopt;
}

QList<MailThread> AppState::selectedThreads() const
{
    QList<MailThread> result;
    for (const MailThread& thread : m_threads)
        if (m_selectedThreadIds.contains(thread.id))
            result.append(thread);
    return result;
}

void AppState::setSearchText(const QString& text)
{
    if (m_searchText == text)
        return;
    m_searchText = text;
    Q_EMIT searchTextChanged();
}

QCoro::Task<> AppState::loadThreads(bool reset)
{
    if (m_environment.demo) {
        showDemoThreads();
        co_return;
    }
    co_await fetchThreads(reset ? 0 : m_threads.size(), m_config.pageSize);
}

QCoro::Task<> AppState::search()
{
    if (m_environment.demo) {
        showDemoThreads();
        co_return;
    }
    co_await fetchThreads(0, m_config.pageSize);
}

void AppState::mailboxChanged()
{
    if (!m_service && !m_environment.demo)
        return;
    // No stale rows of the old mailbox while the new one loads.
    setThreads({});
    setTotalThreads(0);
    setSelectedThreadIds({});
    setSearchText(QString());
    if (m_environment.demo)
        showDemoThreads();
    else
        fetchThreads(0, m_config.pageSize);
}

void AppState::showDemoThreads()
{
    // Made-up mail comes complete and local: the list is the selected mailbox's threads that
    // the search words all appear in.
    const QStringList words = m_searchText.split(u' ', Qt::SkipEmptyParts);
    QList<MailThread> shown;
    for (MailThread thread : DemoData::threads(QDateTime::currentDateTime())) {
        for (Email& email : thread.emails)
            email.mailboxIds = m_demoMailboxIds.value(email.id, email.mailboxIds);
        bool inMailbox = false;
        QString text;
        for (const Email& email : thread.emails) {
            inMailbox = inMailbox || (m_selectedMailboxId &&
                                      email.mailboxIds.value(*m_selectedMailboxId, false));
            text += email.subject.value_or(QString()) + u' ' + email.preview.value_or(QString()) +
                    u' ' + email.senderName() + u' ';
        }
        const bool matches = std::all_of(words.cbegin(), words.cend(), [&text](const QString& w) {
            return text.contains(w, Qt::CaseInsensitive);
        });
        if (inMailbox && matches)
            shown.append(thread);
    }
    setThreads(shown);
    setTotalThreads(shown.size());
    const QSet<QString> ids = idsOf(shown);
    if (!ids.contains(m_selectedThreadIds))
        setSelectedThreadIds(m_selectedThreadIds & ids);
}

QCoro::Task<> AppState::fetchThreads(qint64 position, qint64 limit)
{
    if (!m_service || !m_selectedMailboxId)
        co_return;
    QPointer<AppState> self(this);
    const quint64 generation = ++m_listGeneration;
    setIsLoadingList(true);
    const std::shared_ptr<MailService> service = m_service;

    ThreadPage page;
    try {
        page = co_await service->threads(*m_selectedMailboxId, m_searchText, m_mailboxes, position,
                                         limit);
    } catch (...) {
        if (!self)
            co_return;
        // Shown even when stale: a failure is news whichever fetch it came from.
        report(std::current_exception());
        if (generation == m_listGeneration)
            setIsLoadingList(false);
        co_return;
    }
    if (!self || generation != m_listGeneration)
        co_return;

    if (position != 0) {
        // Mail that arrived meanwhile shifts the server's positions: keep only new rows.
        const QSet<QString> listed = idsOf(m_threads);
        QList<MailThread> threads = m_threads;
        for (const MailThread& thread : page.threads)
            if (!listed.contains(thread.id))
                threads.append(thread);
        setThreads(threads);
    } else {
        setThreads(page.threads);
        const QSet<QString> ids = idsOf(m_threads);
        if (!ids.contains(m_selectedThreadIds))
            setSelectedThreadIds(m_selectedThreadIds & ids);
        if (m_threadToOpen && ids.contains(*m_threadToOpen))
            setSelectedThreadId(std::exchange(m_threadToOpen, std::nullopt));
        QStringList ahead;
        for (qsizetype i = 0; i < std::min<qsizetype>(8, m_threads.size()); ++i)
            if (!m_threadCache.contains(m_threads.at(i).id))
                ahead.append(m_threads.at(i).id);
        prefetchThreads(ahead);
    }
    setTotalThreads(page.total);

    QList<EmailAddress> senders;
    for (const MailThread& thread : page.threads)
        for (const Email& email : thread.emails)
            if (email.from)
                senders.append(*email.from);
    m_addressBook.add(senders, false);

    if (generation == m_listGeneration)
        setIsLoadingList(false);
}

void AppState::prefetchThreads(const QString& around)
{
    qsizetype index = -1;
    for (qsizetype i = 0; i < m_threads.size(); ++i)
        if (m_threads.at(i).id == around)
            index = i;
    if (index < 0)
        return;
    QStringList ids;
    for (const qsizetype i : {index - 2, index - 1, index + 1, index + 2})
        if (i >= 0 && i < m_threads.size() && !m_threadCache.contains(m_threads.at(i).id))
            ids.append(m_threads.at(i).id);
    prefetchThreads(ids);
}

void AppState::prefetchThreads(const QStringList& ids)
{
    if (!m_service || ids.isEmpty())
        return;
    runPrefetch(this, m_service, ids);
}

QCoro::Task<> AppState::runPrefetch(QPointer<AppState> self, std::shared_ptr<MailService> service,
                                    QStringList ids)
{
    QMap<QString, QList<Email>> found;
    try {
        found = co_await service->threads(ids);
    } catch (...) {
        // A courtesy: the thread is fetched when it is opened.
        co_return;
    }
    // Mail of an account that has since been replaced never enters the new one's cache.
    if (!self || self->m_service != service)
        co_return;
    for (auto it = found.cbegin(); it != found.cend(); ++it)
        if (!self->m_threadCache.contains(it.key()))
            self->m_threadCache.store(it.value(), it.key());
}
