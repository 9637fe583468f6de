#include "AppState.h"

#include "content/DateFormat.h"
#include "content/EmailAddresses.h"
#include "jmap/Errors.h"

#include <QLocale>

#include <algorithm>

namespace {

// The id of the mailbox with this role. Coroutines keep ids rather than whole mailboxes: GCC 12
// mishandles optional aggregates held across suspension points in some frames.
std::optional<QString> roleId(const AppState& state, const QString& role)
{
    const auto mailbox = state.mailboxWithRole(role);
    if (!mailbox)
        return std::nullopt;
    return mailbox->id;
}

} // namespace

QCoro::Task<> AppState::send(ComposeDraft* pointer, bool archive, std::optional<QDateTime> at)
{
    if (!pointer || (!m_service && !m_environment.demo) || pointer->m_isSending)
        co_return;
    auto draft = pointer->shared_from_this();
    if (archive && !draft->archiveSource) {
        draft->setError(QStringLiteral(
            "Nothing to archive: this is not a reply to a message outside the archive."));
        co_return;
    }
    const auto to = EmailAddresses::parseList(draft->m_to);
    const auto cc = EmailAddresses::parseList(draft->m_cc);
    const auto bcc = EmailAddresses::parseList(draft->m_bcc);
    const QList<EmailAddress> all = to + cc + bcc;
    if (all.isEmpty()) {
        draft->setError(QStringLiteral("Add at least one valid recipient."));
        co_return;
    }
    if (!m_service) {
        // Demo mode: the message goes nowhere, the window closes as after a real send.
        draft->isFinished = true;
        draft->closeWindow();
        removeDraft(draft->id());
        m_addressBook.add(all, true);
        showToast(QStringLiteral("Message sent"), {}, false, 5);
        co_return;
    }
    const auto identity = sendingIdentity(*draft);
    if (!identity) {
        draft->setError(QStringLiteral("No sending identity is available for this token."));
        co_return;
    }
    const std::optional<QString> drafts = roleId(*this, QStringLiteral("drafts"));
    if (!drafts) {
        draft->setError(QStringLiteral("This account has no Drafts mailbox."));
        co_return;
    }

    std::optional<Release> release;
    if (!at) {
        const qint64 delay = std::min(m_config.undoSendSeconds, m_maxDelayedSend);
        if (delay >= 1)
            release = Release::after(delay);
    } else {
        const Release scheduled = Release::at(*at);
        const qint64 delay = scheduled.delay(QDateTime::currentDateTimeUtc());
        if (delay < 1) {
            draft->setError(QStringLiteral("Choose a time in the future."));
            co_return;
        }
        if (delay > m_maxDelayedSend) {
            draft->setError(QStringLiteral("The server can hold a message for at most %1.")
                                .arg(DateFormat::fullDuration(m_maxDelayedSend, QLocale())));
            co_return;
        }
        release = scheduled;
    }
    std::optional<Envelope> envelope;
    if (release) {
        Envelope value;
        value.from = identity->email;
        QSet<QString> seen;
        for (const EmailAddress& address : all)
            if (!seen.contains(address.email.toLower())) {
                seen.insert(address.email.toLower());
                value.to.append(address.email);
            }
        value.release = *release;
        envelope = value;
    }

    draft->setIsSending(true);
    draft->setError(std::nullopt);
    draft->m_autosave.stop();
    QPointer<AppState> self = this;
    const auto service = m_service;
    const auto emailId = co_await runSave(self, draft);
    if (!self)
        co_return;
    if (!emailId) {
        draft->setIsSending(false);
        co_return;
    }
    const std::optional<QString> sentId = roleId(*this, QStringLiteral("sent"));
    QString submissionId;
    try {
        submissionId = co_await service->submit(*emailId, identity->id, *drafts, sentId,
                                                draft->answeredEmailId, envelope);
    } catch (...) {
        draft->setError(Errors::describe(std::current_exception()));
        draft->setIsSending(false);
        co_return;
    }
    if (!self)
        co_return;
    draft->isFinished = true;
    draft->closeWindow();
    removeDraft(draft->id());
    m_addressBook.add(all, true);

    // What an archiving send moved, so that its undo can put it back.
    std::optional<QList<Email>> archived;
    QString threadId;
    QString sourceMailbox;
    QString archiveMailbox;
    const std::optional<QString> archiveBox = roleId(*this, QStringLiteral("archive"));
    if (archive && draft->archiveSource && archiveBox) {
        const auto& source = *draft->archiveSource;
        QList<Email> emails{source.email};
        for (const MailThread& thread : std::as_const(m_threads))
            if (thread.id == source.threadId)
                emails = thread.emails;
        emails.removeIf([&](const Email& e) { return !e.mailboxIds.value(source.mailboxId); });
        threadId = source.threadId;
        sourceMailbox = source.mailboxId;
        archiveMailbox = *archiveBox;
        const QSet<QString> threadIds{threadId};
        co_await move(emails, threadIds, sourceMailbox, archiveMailbox, false);
        if (!self)
            co_return;
        archived = emails;
    }

    if (release) {
        QString message;
        int seconds = 5;
        if (at) {
            message =
                QStringLiteral("Scheduled for ") +
                DateFormat::abbreviatedDateShortTime(*at, QLocale(), QTimeZone::systemTimeZone());
        } else {
            message = archived ? QStringLiteral("Message sent and conversation archived")
                               : QStringLiteral("Message sent");
            // The offer ends a second before the server releases the mail.
            const qint64 delay = release->delay(QDateTime::currentDateTimeUtc());
            seconds = static_cast<int>(std::clamp<qint64>(delay - 1, 1, 86400));
        }
        showToast(
            message,
            [self, submissionId, id = *emailId, draft, archived, threadId, sourceMailbox,
             archiveMailbox] {
                runUndoSend(self, submissionId, id, draft, archived, threadId, sourceMailbox,
                            archiveMailbox);
            },
            false, seconds);
    } else if (archived) {
        showToast(QStringLiteral("Conversation archived"), {}, false, 5);
    }
    co_await refresh();
}

QCoro::Task<> AppState::runUndoSend(QPointer<AppState> self, QString submissionId, QString emailId,
                                    std::shared_ptr<ComposeDraft> draft,
                                    std::optional<QList<Email>> archived, QString threadId,
                                    QString sourceMailbox, QString archiveMailbox)
{
    if (self)
        co_await self->unsend(submissionId, emailId, draft);
    // The conversation comes back even when the message could not be stopped.
    const QSet<QString> threadIds{threadId};
    if (archived && self)
        self->move(*archived, threadIds, archiveMailbox, sourceMailbox, false);
}

QCoro::Task<> AppState::unsend(QString submissionId, QString emailId,
                               std::shared_ptr<ComposeDraft> draft)
{
    const std::optional<QString> drafts = roleId(*this, QStringLiteral("drafts"));
    if (!m_service || !drafts)
        co_return;
    dismissToast();
    const std::optional<QString> sent = roleId(*this, QStringLiteral("sent"));
    QPointer<AppState> self = this;
    try {
        co_await m_service->cancelSubmission(submissionId, emailId, *drafts, sent);
    } catch (...) {
        if (self)
            setErrorMessage(QStringLiteral("The message could not be stopped, it may have been "
                                           "sent already. ") +
                            Errors::describe(std::current_exception()));
        co_return;
    }
    if (!self)
        co_return;
    draft->isFinished = false;
    draft->setIsSending(false);
    draft->serverDraftId = emailId;
    draft->savedContent = draft->content();
    openDraft(draft);
    co_await refresh();
}

void AppState::cancelScheduledSend(const Email& email)
{
    const auto entry = m_pendingSends.constFind(email.id);
    if (entry == m_pendingSends.cend() || !m_service || !mailboxWithRole(QStringLiteral("drafts")))
        return;
    runCancelScheduledSend(this, *entry, email);
}

QCoro::Task<> AppState::runCancelScheduledSend(QPointer<AppState> self, PendingSubmission entry,
                                               Email email)
{
    const auto service = self->m_service;
    const std::optional<QString> drafts = roleId(*self, QStringLiteral("drafts"));
    const std::optional<QString> sent = roleId(*self, QStringLiteral("sent"));
    try {
        co_await service->cancelSubmission(entry.id, entry.emailId, *drafts, sent);
    } catch (...) {
        if (self)
            self->report(std::current_exception());
        co_return;
    }
    if (!self)
        co_return;
    self->m_pendingSends.remove(entry.emailId);
    Q_EMIT self->pendingSendsChanged();
    self->editDraft(email);
    co_await self->refresh();
}

QCoro::Task<> AppState::loadPendingSends(QList<Email> emails, quint64 generation)
{
    const std::optional<QString> sent = roleId(*this, QStringLiteral("sent"));
    if (!m_service || m_maxDelayedSend <= 0 || !sent) {
        m_pendingSends.clear();
        Q_EMIT pendingSendsChanged();
        co_return;
    }
    QStringList ids;
    for (const Email& email : emails)
        if (email.mailboxIds.value(*sent))
            ids.append(email.id);
    QList<PendingSubmission> answer;
    QPointer<AppState> self = this;
    if (!ids.isEmpty()) {
        try {
            answer = co_await m_service->pendingSubmissions(ids);
        } catch (...) {
            answer.clear();
        }
    }
    if (!self || generation != m_threadGeneration)
        co_return;
    m_pendingSends.clear();
    for (const PendingSubmission& submission : answer)
        m_pendingSends.insert(submission.emailId, submission);
    Q_EMIT pendingSendsChanged();
}

void AppState::open(const QList<QUrl>& urls)
{
    for (const QUrl& url : urls) {
        const auto link = MailtoLink::fromUrl(url);
        if (!link)
            continue;
        if (m_pendingLinks)
            m_pendingLinks->append(*link);
        else
            compose(std::nullopt, std::nullopt, {}, *link);
    }
}

void AppState::composePendingLinks()
{
    const auto links = m_pendingLinks.value_or(QList<MailtoLink>{});
    m_pendingLinks.reset();
    for (const MailtoLink& link : links)
        compose(std::nullopt, std::nullopt, {}, link);
}
