#include "AppState.h"

namespace {

QSet<QString> idsOf(const QList<Email>& emails)
{
    QSet<QString> ids;
    for (const Email& email : emails)
        ids.insert(email.id);
    return ids;
}

} // namespace

void AppState::setOpenEmails(const QList<Email>& emails)
{
    if (m_openEmails == emails)
        return;
    m_openEmails = emails;
    Q_EMIT openEmailsChanged();
}

void AppState::setExpandedEmailIds(const QSet<QString>& ids)
{
    if (m_expandedEmailIds == ids)
        return;
    m_expandedEmailIds = ids;
    Q_EMIT expandedEmailIdsChanged();
}

void AppState::toggleExpanded(const QString& emailId)
{
    QSet<QString> ids = m_expandedEmailIds;
    if (!ids.remove(emailId))
        ids.insert(emailId);
    setExpandedEmailIds(ids);
    setFocusedEmailId(emailId);
}

void AppState::toggleDetails(const QString& emailId)
{
    if (!m_detailEmailIds.remove(emailId))
        m_detailEmailIds.insert(emailId);
    Q_EMIT detailEmailIdsChanged();
}

void AppState::setIsLoadingThread(bool loading)
{
    if (m_isLoadingThread == loading)
        return;
    m_isLoadingThread = loading;
    Q_EMIT isLoadingThreadChanged();
}

void AppState::setFocusedEmailId(const std::optional<QString>& id)
{
    if (m_focusedEmailId == id)
        return;
    m_focusedEmailId = id;
    Q_EMIT focusedEmailIdChanged();
}

void AppState::threadSelectionChanged()
{
    loadOpenThread();
}

QCoro::Task<> AppState::loadOpenThread()
{
    QPointer<AppState> self(this);
    // First and always: whatever load is in flight is stale from here on.
    const quint64 generation = ++m_threadGeneration;
    const auto id = selectedThreadId();
    if (!m_service || !id) {
        // Without a service the threads are the made-up ones, which come complete.
        const auto thread = selectedThread();
        const QList<Email> emails = !m_service && thread ? thread->emails : QList<Email>();
        setOpenEmails(emails);
        setExpandedEmailIds(idsOf(emails));
        if (m_focusedEmailId && !idsOf(emails).contains(*m_focusedEmailId))
            setFocusedEmailId(std::nullopt);
        setIsLoadingThread(false);
        if (!m_pendingSends.isEmpty()) {
            m_pendingSends.clear();
            Q_EMIT pendingSendsChanged();
        }
        performPendingAction();
        co_return;
    }

    bool opening = false;
    if (m_openEmails.isEmpty() || m_openEmails.first().threadId != *id) {
        setOpenEmails({});
        setFocusedEmailId(std::nullopt);
        QSet<QString> listed;
        if (const auto thread = selectedThread())
            listed = idsOf(thread->emails);
        const auto cached = m_threadCache.emails(*id);
        // A cached copy that lacks a message the list shows is older than the list.
        if (cached && idsOf(*cached).contains(listed))
            show(*cached, true);
        else
            opening = true;
    }
    setIsLoadingThread(true);

    const std::shared_ptr<MailService> service = m_service;
    QList<Email> answer;
    try {
        answer = co_await service->thread(*id);
    } catch (...) {
        // Only the latest load speaks; a thread the user has left fails silently.
        if (self && generation == m_threadGeneration) {
            setIsLoadingThread(false);
            report(std::current_exception());
        }
        co_return;
    }
    if (!self || generation != m_threadGeneration)
        co_return;

    m_threadCache.store(answer, *id);
    QStringList unread;
    for (const Email& email : answer)
        if (!email.isSeen() && !email.isDraft())
            unread.append(email.id);
    show(answer, opening);
    setIsLoadingThread(false);
    loadPendingSends(answer, generation);
    prefetchThreads(*id);
    // Reading a thread clears its notices.
    const QSet<QString> read = idsOf(answer);
    m_notifier->withdraw(QStringList(read.cbegin(), read.cend()));
    performPendingAction();

    // Only now, so that the list and the reader first show what was unread. A thread left
    // meanwhile is still marked: it did arrive.
    if (m_config.markReadOnOpen)
        co_await setKeyword(QStringLiteral("$seen"), true, unread);
}

QList<Email> AppState::show(const QList<Email>& emails, bool opening)
{
    const QList<Email> unique = uniqueMessages(emails, m_selectedMailboxId);
    if (!opening) {
        // A fresh copy of an open thread keeps what the user arranged on screen.
        setOpenEmails(unique);
        return unique;
    }
    QSet<QString> expanded;
    for (const Email& email : unique)
        if (!email.isSeen() && !email.isDraft())
            expanded.insert(email.id);
    if (!unique.isEmpty())
        expanded.insert(unique.last().id);
    setExpandedEmailIds(expanded);
    setOpenEmails(unique);
    // The reader reads the target when the request counter moves.
    if (unique.isEmpty()) {
        m_scrollTargetEmailId.reset();
    } else {
        qsizetype first = 0;
        while (first < unique.size() && !expanded.contains(unique.at(first).id))
            ++first;
        // One message of context above the first open one.
        m_scrollTargetEmailId = unique.at(std::max<qsizetype>(first, 1) - 1).id;
    }
    ++m_scrollRequest;
    Q_EMIT scrollRequestChanged();
    return unique;
}

void AppState::openInboxThread(const QString& threadId)
{
    const auto inbox = mailboxWithRole(QStringLiteral("inbox"));
    if (!inbox)
        return;
    const bool inboxOnShow = m_selectedMailboxId == inbox->id;
    if (inboxOnShow && m_searchText.isEmpty()) {
        for (const MailThread& thread : m_threads) {
            if (thread.id == threadId) {
                setSelectedThreadId(threadId);
                return;
            }
        }
    }
    m_threadToOpen = threadId;
    if (inboxOnShow) {
        setSearchText(QString());
        fetchThreads(0, m_config.pageSize);
    } else {
        // The main window answers a change of mailbox with mailboxChanged(), which empties the
        // list and fetches the page that will select the thread.
        setSelectedMailboxId(inbox->id);
    }
}

QCoro::Task<> AppState::setKeyword(QString keyword, bool on, QStringList emailIds)
{
    if (!m_service || emailIds.isEmpty())
        co_return;
    QPointer<AppState> self(this);
    const QSet<QString> ids(emailIds.cbegin(), emailIds.cend());
    const auto apply = [&keyword, on](Email& email) {
        if (on)
            email.keywords.insert(keyword, true);
        else
            email.keywords.remove(keyword);
    };
    QList<MailThread> threads = m_threads;
    for (MailThread& thread : threads)
        for (Email& email : thread.emails)
            if (ids.contains(email.id))
                apply(email);
    setThreads(threads);
    QList<Email> open = m_openEmails;
    for (Email& email : open)
        if (ids.contains(email.id))
            apply(email);
    setOpenEmails(open);
    m_threadCache.setKeyword(keyword, on,
                             [&ids](const Email& email) { return ids.contains(email.id); });

    const std::shared_ptr<MailService> service = m_service;
    bool failed = false;
    try {
        co_await service->setKeyword(keyword, on, emailIds);
    } catch (...) {
        if (!self)
            co_return;
        // The rollback is a fresh read of what the server holds.
        report(std::current_exception());
        failed = true;
    }
    if (!self)
        co_return;
    if (failed)
        co_await refresh();
    else
        co_await reloadMailboxes();
}
