#include "AppState.h"

#include "mail/MailboxTree.h"

#include <QTimer>
#include <QUndoCommand>

// A move on the window's undo stack. Undo runs the same move with source and target exchanged;
// redo runs it again. The move has already happened when the command is pushed, and the stack
// calls redo() on push, so that first call is skipped.
class MoveCommand : public QUndoCommand
{
public:
    MoveCommand(AppState* state, QList<Email> emails, QSet<QString> threadIds, QString source,
                QString target, bool announce, const QString& text)
        : QUndoCommand(text), m_state(state), m_emails(std::move(emails)),
          m_threadIds(std::move(threadIds)), m_source(std::move(source)),
          m_target(std::move(target)), m_announce(announce)
    {
    }

    void undo() override
    {
        if (m_state)
            m_state->move(m_emails, m_threadIds, m_target, m_source, m_announce,
                          AppState::MoveKind::Undo);
    }

    void redo() override
    {
        if (m_pushed) {
            m_pushed = false;
            return;
        }
        if (m_state)
            m_state->move(m_emails, m_threadIds, m_source, m_target, m_announce,
                          AppState::MoveKind::Redo);
    }

private:
    QPointer<AppState> m_state;
    QList<Email> m_emails;
    QSet<QString> m_threadIds;
    QString m_source;
    QString m_target;
    bool m_announce;
    bool m_pushed = true;
};

namespace {

QCoro::Task<> nothing()
{
    co_return;
}

} // namespace

void AppState::setWindowServices(WindowServices services)
{
    m_windowServices = std::move(services);
}

void AppState::perform(MailAction action)
{
    switch (action) {
    case MailAction::Compose:
        compose();
        break;
    case MailAction::Reply:
        compose(ReplyKind::Reply);
        break;
    case MailAction::ReplyAll:
        compose(ReplyKind::ReplyAll);
        break;
    case MailAction::Forward:
        compose(ReplyKind::Forward);
        break;
    case MailAction::Archive:
        moveSelectedThreads(QStringLiteral("archive"));
        break;
    case MailAction::Spam:
        // A chosen spam folder that is gone falls back to the server's junk mailbox silently.
        if (const auto spam = mailbox(m_config.spamMailboxId))
            moveThreads(m_selectedThreadIds, *spam);
        else
            moveSelectedThreads(QStringLiteral("junk"));
        break;
    case MailAction::Trash:
        moveSelectedThreads(QStringLiteral("trash"));
        break;
    case MailAction::Move:
        setFolderPicker(selectedThreads().isEmpty() ? std::nullopt
                                                    : std::optional(FolderPicker::Move));
        break;
    case MailAction::ToggleRead:
        toggleRead();
        break;
    case MailAction::ToggleFlag:
        toggleFlag();
        break;
    case MailAction::NextThread:
        stepSelection(1);
        break;
    case MailAction::PreviousThread:
        stepSelection(-1);
        break;
    case MailAction::CloseThread:
        setSelectedThreadIds({});
        break;
    case MailAction::NextMessage:
        stepMessage(1);
        break;
    case MailAction::PreviousMessage:
        stepMessage(-1);
        break;
    case MailAction::ToggleMessage:
        toggleFocusedMessage();
        break;
    case MailAction::ToggleDetails:
        toggleFocusedDetails();
        break;
    case MailAction::ScrollDown:
        scrollReader(1, 0);
        break;
    case MailAction::ScrollUp:
        scrollReader(-1, 0);
        break;
    case MailAction::NextPane:
        stepPane(1);
        break;
    case MailAction::PreviousPane:
        stepPane(-1);
        break;
    case MailAction::Refresh:
        refreshIfAlive(this);
        break;
    case MailAction::Search:
        ++m_searchFocusRequest;
        Q_EMIT searchFocusRequestChanged();
        break;
    case MailAction::GoToFolder:
        setFolderPicker(FolderPicker::GoTo);
        break;
    case MailAction::ShowShortcuts:
        setShowsShortcuts(!m_showsShortcuts);
        break;
    default:
        // The compose window's own actions go to perform(action, draftId).
        break;
    }
}

void AppState::perform(MailAction action, const QSet<QString>& threadIds)
{
    if (threadIds == m_selectedThreadIds) {
        perform(action);
        return;
    }
    setSelectedThreadIds(threadIds);
    if (action == MailAction::Reply || action == MailAction::ReplyAll ||
        action == MailAction::Forward) {
        // These need the thread's messages, which arrive only when it has opened.
        const auto id = selectedThreadId();
        if (m_selectedThreadIds.size() == 1 && id)
            m_pendingAction = std::pair(*id, action);
        else
            m_pendingAction.reset();
        return;
    }
    perform(action);
}

void AppState::performPendingAction()
{
    if (!m_pendingAction)
        return;
    const auto [threadId, action] = *m_pendingAction;
    m_pendingAction.reset();
    if (m_selectedThreadIds.size() == 1 && *m_selectedThreadIds.cbegin() == threadId)
        perform(action);
}

void AppState::moveSelectedThreads(const QString& role)
{
    const auto destination = mailboxWithRole(role);
    if (!destination) {
        setErrorMessage(QStringLiteral("This account has no %1 mailbox.").arg(role));
        return;
    }
    moveThreads(m_selectedThreadIds, *destination);
}

bool AppState::moveThreads(const QSet<QString>& threadIds, const Mailbox& destination)
{
    if (!m_selectedMailboxId)
        return false;
    const QString source = *m_selectedMailboxId;
    if (destination.id == source)
        return false;
    QSet<QString> moving;
    QList<Email> emails;
    for (const MailThread& thread : std::as_const(m_threads)) {
        if (!threadIds.contains(thread.id))
            continue;
        moving.insert(thread.id);
        // A message of the thread in another mailbox, as a sent reply, stays where it is.
        for (const Email& email : thread.emails)
            if (email.mailboxIds.value(source))
                emails.append(email);
    }
    if (emails.isEmpty())
        return false;
    move(emails, moving, source, destination.id, true);
    return true;
}

QCoro::Task<> AppState::move(const QList<Email>& emails, const QSet<QString>& threadIds,
                             const QString& source, const QString& target, bool announce,
                             MoveKind kind)
{
    // Demo mode moves on screen only.
    if ((!m_service && !m_environment.demo) || emails.isEmpty())
        return nothing();

    // The list changes at once; the server is told afterwards.
    if (m_selectedMailboxId == source) {
        qsizetype first = -1;
        QList<MailThread> kept;
        for (qsizetype index = 0; index < m_threads.size(); ++index) {
            if (threadIds.contains(m_threads.at(index).id)) {
                if (first < 0)
                    first = index;
            } else {
                kept.append(m_threads.at(index));
            }
        }
        if (first >= 0) {
            const qint64 removed = m_threads.size() - kept.size();
            setThreads(kept);
            setTotalThreads(std::max<qint64>(0, m_totalThreads - removed));
            if (m_selectedThreadIds.intersects(threadIds)) {
                const QSet<QString> remaining = m_selectedThreadIds - threadIds;
                if (remaining.isEmpty() && threadIds.size() == 1) {
                    // One thread went: the one that took its row is next, or the new last.
                    std::optional<QString> next;
                    if (first < kept.size())
                        next = kept.at(first).id;
                    else if (!kept.isEmpty())
                        next = kept.last().id;
                    setSelectedThreadId(next);
                } else {
                    setSelectedThreadIds(remaining);
                }
            }
        }
    }

    const auto targetMailbox = mailbox(target);
    QUndoStack* undoStack = m_windowServices.undoStack;
    if (undoStack && kind == MoveKind::First) {
        const QString text =
            QStringLiteral("Move to %1")
                .arg(targetMailbox ? targetMailbox->name : QStringLiteral("Folder"));
        undoStack->push(new MoveCommand(this, emails, threadIds, source, target, announce, text));
    }

    if (kind == MoveKind::Undo) {
        if (announce)
            showToast(QStringLiteral("Move undone"), {}, false, 5);
    } else if (announce) {
        const QString subject = threadIds.size() == 1
                                    ? QStringLiteral("Conversation")
                                    : QStringLiteral("%1 conversations").arg(threadIds.size());
        QString message;
        if (targetMailbox && targetMailbox->role == QStringLiteral("archive"))
            message = subject + QStringLiteral(" archived");
        else
            message = subject + QStringLiteral(" moved to ") +
                      (targetMailbox ? targetMailbox->name : QStringLiteral("folder"));
        if (undoStack) {
            QPointer<QUndoStack> stack = undoStack;
            // The stack's top at the moment of the click, which may be a later entry.
            showToast(
                message,
                [stack] {
                    if (stack)
                        stack->undo();
                },
                true, 5);
        } else {
            showToast(message, {}, false, 5);
        }
    }

    if (!m_service) {
        // Made-up mail keeps its moves in memory; the list then reads them like a refresh.
        for (const Email& email : emails) {
            QMap<QString, bool> mailboxIds = m_demoMailboxIds.value(email.id, email.mailboxIds);
            mailboxIds.remove(source);
            mailboxIds.insert(target, true);
            m_demoMailboxIds.insert(email.id, mailboxIds);
        }
        if (m_selectedMailboxId == target)
            showDemoThreads();
        return nothing();
    }
    return runMove(this, m_service, emails, source, target);
}

QCoro::Task<> AppState::runMove(QPointer<AppState> self, std::shared_ptr<MailService> service,
                                QList<Email> emails, QString source, QString target)
{
    bool failed = false;
    try {
        co_await service->move(emails, source, target);
    } catch (...) {
        if (!self)
            co_return;
        // The rollback is a fresh read of what the server holds; the toast stays.
        self->report(std::current_exception());
        failed = true;
    }
    if (!self)
        co_return;
    // Into the mailbox on show (an undo, say): the threads come back with the list.
    if (failed || self->m_selectedMailboxId == target)
        co_await self->refresh();
    else
        co_await self->reloadMailboxes();
}

void AppState::toggleRead()
{
    const QList<MailThread> selected = selectedThreads();
    const bool anyUnread = std::any_of(selected.cbegin(), selected.cend(),
                                       [](const MailThread& thread) { return thread.isUnread(); });
    QStringList ids;
    for (const MailThread& thread : selected) {
        if (!anyUnread) {
            // One unseen message makes a thread unread, so marking unread touches one only.
            ids.append(thread.anchor().id);
            continue;
        }
        for (const Email& email : thread.emails)
            if (!email.isSeen())
                ids.append(email.id);
    }
    setKeyword(QStringLiteral("$seen"), anyUnread, ids);
}

void AppState::toggleFlag()
{
    const QList<MailThread> selected = selectedThreads();
    const bool anyUnflagged =
        std::any_of(selected.cbegin(), selected.cend(),
                    [](const MailThread& thread) { return !thread.isFlagged(); });
    QStringList ids;
    for (const MailThread& thread : selected) {
        if (anyUnflagged) {
            if (!thread.isFlagged())
                ids.append(thread.anchor().id);
            continue;
        }
        // Any one flagged message keeps the thread flagged, so all of them are cleared.
        for (const Email& email : thread.emails)
            if (email.isFlagged())
                ids.append(email.id);
    }
    setKeyword(QStringLiteral("$flagged"), anyUnflagged, ids);
}

void AppState::markAllRead(const QString& mailboxId)
{
    if (!m_service)
        return;
    QList<Mailbox> mailboxes = m_mailboxes;
    const auto found =
        std::find_if(mailboxes.begin(), mailboxes.end(),
                     [&mailboxId](const Mailbox& box) { return box.id == mailboxId; });
    if (found == mailboxes.end())
        return;
    found->unreadEmails = 0;
    found->unreadThreads = 0;
    setMailboxes(mailboxes);

    const auto inMailbox = [&mailboxId](const Email& email) {
        return email.mailboxIds.value(mailboxId);
    };
    const QString seen = QStringLiteral("$seen");
    QList<MailThread> threads = m_threads;
    for (MailThread& thread : threads)
        for (Email& email : thread.emails)
            if (inMailbox(email))
                email.keywords.insert(seen, true);
    setThreads(threads);
    QList<Email> open = m_openEmails;
    for (Email& email : open)
        if (inMailbox(email))
            email.keywords.insert(seen, true);
    setOpenEmails(open);
    m_threadCache.setKeyword(seen, true, inMailbox);

    runMarkAllRead(this, m_service, mailboxId,
                   std::max<qint64>(1, m_environment.markAllReadBatchSize));
}

QCoro::Task<> AppState::runMarkAllRead(QPointer<AppState> self,
                                       std::shared_ptr<MailService> service, QString mailboxId,
                                       qint64 batchSize)
{
    bool failed = false;
    try {
        co_await service->markAllRead(mailboxId, batchSize);
    } catch (...) {
        if (!self)
            co_return;
        self->report(std::current_exception());
        failed = true;
    }
    if (!self)
        co_return;
    // Counts first, then the list, so that both come back from the server.
    co_await self->reloadMailboxes();
    if (failed && self)
        co_await self->refresh();
}

std::optional<QString> AppState::archivableMailbox(const Email& email) const
{
    const auto archive = mailboxWithRole(QStringLiteral("archive"));
    if (!archive)
        return std::nullopt;
    QList<std::optional<QString>> candidates{m_selectedMailboxId};
    if (const auto inbox = mailboxWithRole(QStringLiteral("inbox")))
        candidates.append(inbox->id);
    for (const auto& candidate : candidates)
        if (candidate && *candidate != archive->id && email.mailboxIds.value(*candidate))
            return candidate;
    return std::nullopt;
}

void AppState::archiveFromInbox(const QString& emailId)
{
    const auto inbox = mailboxWithRole(QStringLiteral("inbox"));
    const auto archive = mailboxWithRole(QStringLiteral("archive"));
    if (!m_service || !inbox || !archive)
        return;
    QJsonObject patch{{QStringLiteral("mailboxIds/") + inbox->id, QJsonValue::Null},
                      {QStringLiteral("mailboxIds/") + archive->id, true}};
    runArchiveFromInbox(this, m_service, {{emailId, patch}});
}

QCoro::Task<> AppState::runArchiveFromInbox(QPointer<AppState> self,
                                            std::shared_ptr<MailService> service,
                                            QMap<QString, QJsonObject> patch)
{
    try {
        co_await service->update(patch);
    } catch (...) {
        if (self)
            self->report(std::current_exception());
        co_return;
    }
    if (self)
        co_await self->refresh();
}

void AppState::markRead(const QString& emailId)
{
    setKeyword(QStringLiteral("$seen"), true, {emailId});
}

void AppState::showToast(const QString& message, std::function<void()> undo, bool isOnUndoKey,
                         int seconds)
{
    const quint64 generation = ++m_toastGeneration;
    m_toast = Toast{QUuid::createUuid(), message, std::move(undo), isOnUndoKey};
    Q_EMIT toastChanged();
    // A younger toast has its own timer; this one then finds another generation.
    QTimer::singleShot(std::max(0, seconds) * m_environment.timing.toastSecond, this,
                       [this, generation] {
                           if (generation == m_toastGeneration)
                               dismissToast();
                       });
}

void AppState::undoFromToast()
{
    if (!m_toast)
        return;
    const std::function<void()> undo = m_toast->undo;
    dismissToast();
    if (undo)
        undo();
}

void AppState::dismissToast()
{
    if (!m_toast)
        return;
    m_toast.reset();
    Q_EMIT toastChanged();
}

void AppState::setFolderPicker(const std::optional<FolderPicker>& picker)
{
    if (m_folderPicker == picker)
        return;
    m_folderPicker = picker;
    Q_EMIT folderPickerChanged();
}

void AppState::goToMailbox(const Mailbox& target)
{
    QSet<QString> collapsed(m_config.collapsedMailboxes.cbegin(),
                            m_config.collapsedMailboxes.cend());
    bool unfolded = false;
    QSet<QString> seen;
    std::optional<QString> parentId = target.parentId;
    // The server's parent links may loop; each folder is visited once.
    while (parentId && !seen.contains(*parentId)) {
        seen.insert(*parentId);
        const auto parent = mailbox(parentId);
        if (!parent)
            break;
        unfolded |= collapsed.remove(parent->id);
        parentId = parent->parentId;
    }
    if (unfolded) {
        AppConfig changed = m_config;
        changed.collapsedMailboxes = QStringList(collapsed.cbegin(), collapsed.cend());
        changed.collapsedMailboxes.sort();
        setConfig(changed);
        saveConfig();
    }
    setSelectedMailboxId(target.id);
}

bool AppState::hidesWhenEmpty(const QString& mailboxId) const
{
    return m_config.hideWhenEmpty.contains(mailboxId);
}

void AppState::setHidesWhenEmpty(const QString& mailboxId, bool hide)
{
    setMailboxMembership(&AppConfig::hideWhenEmpty, mailboxId, hide);
}

bool AppState::showsTotalCount(const QString& mailboxId) const
{
    return m_config.showTotalCount.contains(mailboxId);
}

void AppState::setShowsTotalCount(const QString& mailboxId, bool show)
{
    setMailboxMembership(&AppConfig::showTotalCount, mailboxId, show);
}

void AppState::setMailboxMembership(QStringList AppConfig::*list, const QString& mailboxId,
                                    bool member)
{
    AppConfig changed = m_config;
    (changed.*list).removeAll(mailboxId);
    if (member)
        (changed.*list).append(mailboxId);
    setConfig(changed);
    saveConfig();
}

void AppState::moveMailbox(const QString& mailboxId, int toRow)
{
    const QSet<QString> hiding(m_config.hideWhenEmpty.cbegin(), m_config.hideWhenEmpty.cend());
    const QSet<QString> collapsed(m_config.collapsedMailboxes.cbegin(),
                                  m_config.collapsedMailboxes.cend());
    const QList<MailboxNode> rows = MailboxTree::hierarchy(m_mailboxes, hiding, m_selectedMailboxId,
                                                           collapsed, m_config.mailboxOrder);
    AppConfig changed = m_config;
    changed.mailboxOrder =
        MailboxTree::order(m_config.mailboxOrder, mailboxId, toRow, rows, m_mailboxes);
    setConfig(changed);
    saveConfig();
}

void AppState::resetFolderOrder()
{
    AppConfig changed = m_config;
    changed.mailboxOrder.clear();
    setConfig(changed);
    saveConfig();
}
