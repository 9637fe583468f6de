#include "AppState.h"

#include "content/EmailAddresses.h"
#include "content/EmailHTML.h"
#include "content/ReplyBuilder.h"
#include "jmap/Errors.h"
#include "markdown/MarkdownRenderer.h"

#include <QCoroSignal>

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

QString joined(const QList<EmailAddress>& addresses)
{
    QStringList entries;
    for (const EmailAddress& address : addresses)
        entries.append(EmailAddresses::listEntry(address));
    return entries.join(QStringLiteral(", "));
}

const QString saveFailure = QStringLiteral("Could not save the draft: ");

} // namespace

ComposeDraft* AppState::draft(const QUuid& id) const
{
    const auto found = m_drafts.constFind(id);
    return found == m_drafts.cend() ? nullptr : found->get();
}

QList<DraftAttachment> AppState::forwardedAttachments(const Email& email) const
{
    QList<DraftAttachment> attachments;
    for (const BodyPart& part : email.listedAttachments()) {
        if (!part.blobId)
            continue;
        DraftAttachment attachment;
        attachment.id = QUuid::createUuid();
        attachment.name = part.name.value_or(QStringLiteral("attachment"));
        attachment.type = part.type;
        attachment.size = part.size;
        attachment.blobId = part.blobId;
        attachments.append(attachment);
    }
    return attachments;
}

ComposeDraft* AppState::compose(std::optional<ReplyKind> kind, const std::optional<Email>& email,
                                const QList<EmailAddress>& to,
                                const std::optional<MailtoLink>& link)
{
    auto draft = std::make_shared<ComposeDraft>(QUuid::createUuid(), m_config.markdownByDefault);
    draft->m_to = joined(to);
    if (link) {
        draft->m_to = link->to.join(QStringLiteral(", "));
        draft->m_cc = link->cc.join(QStringLiteral(", "));
        draft->m_bcc = link->bcc.join(QStringLiteral(", "));
        draft->m_subject = link->subject;
        draft->focusesBody = !link->to.isEmpty() && !link->subject.isEmpty();
    }

    std::optional<Identity> identity;
    if (m_accountName)
        for (const Identity& candidate : std::as_const(m_identities))
            if (candidate.email.compare(*m_accountName, Qt::CaseInsensitive) == 0) {
                identity = candidate;
                break;
            }
    if (!identity && !m_identities.isEmpty())
        identity = m_identities.first();

    if (kind) {
        std::optional<Email> source = email;
        if (!source)
            for (const Email& open : std::as_const(m_openEmails))
                if (open.id == m_focusedEmailId && !open.isDraft())
                    source = open;
        if (!source)
            for (auto it = m_openEmails.crbegin(); it != m_openEmails.crend(); ++it)
                if (!it->isDraft()) {
                    source = *it;
                    break;
                }
        if (!source)
            return nullptr;
        QSet<QString> own;
        for (const Identity& candidate : std::as_const(m_identities))
            own.insert(candidate.email.toLower());
        const DraftSeed seed = ReplyBuilder::seed(*kind, *source, own);
        draft->m_to = joined(seed.to);
        draft->m_cc = joined(seed.cc);
        draft->m_subject = seed.subject;
        draft->m_body = seed.body;
        draft->inReplyTo = seed.inReplyTo;
        draft->references = seed.references;
        draft->answeredEmailId = seed.answeredEmailId;
        draft->focusesBody = *kind != ReplyKind::Forward;
        if (*kind == ReplyKind::Forward) {
            draft->m_attachments = forwardedAttachments(*source);
        } else if (const auto mailboxId = archivableMailbox(*source)) {
            draft->archiveSource =
                ComposeDraft::ArchiveSource{source->threadId, *mailboxId, *source};
        }
        // The answer goes out from the address the message came to.
        QSet<QString> addressed;
        for (const EmailAddress& address : source->to.value_or(QList<EmailAddress>{}) +
                                               source->cc.value_or(QList<EmailAddress>{}))
            addressed.insert(address.email.toLower());
        for (const Identity& candidate : std::as_const(m_identities))
            if (addressed.contains(candidate.email.toLower())) {
                identity = candidate;
                break;
            }
    }

    if (identity) {
        draft->m_identityId = identity->id;
        if (identity->textSignature && !identity->textSignature->isEmpty())
            draft->m_body = QStringLiteral("\n\n-- \n") + *identity->textSignature + draft->m_body;
    }
    if (link)
        draft->m_body = link->body + draft->m_body;
    draft->initialContent = draft->content();
    ComposeDraft* result = draft.get();
    openDraft(std::move(draft));
    return result;
}

ComposeDraft* AppState::editDraft(const Email& email)
{
    for (const auto& open : std::as_const(m_drafts))
        if (open->serverDraftId == email.id) {
            open->raiseWindow();
            return open.get();
        }
    bool markdown = false;
    for (const BodyPart& part : email.htmlBody.value_or(QList<BodyPart>{}))
        markdown = markdown || part.type == QStringLiteral("text/html");
    auto draft = std::make_shared<ComposeDraft>(QUuid::createUuid(), markdown);
    draft->m_to = joined(email.to.value_or(QList<EmailAddress>{}));
    draft->m_cc = joined(email.cc.value_or(QList<EmailAddress>{}));
    draft->m_bcc = joined(email.bcc.value_or(QList<EmailAddress>{}));
    draft->m_subject = email.subject.value_or(QString());
    draft->m_body = EmailHTML::plainText(email);
    draft->inReplyTo = email.inReplyTo;
    draft->references = email.references;
    draft->m_attachments = forwardedAttachments(email);
    const QString sender =
        email.from && !email.from->isEmpty() ? email.from->first().email.toLower() : QString();
    for (const Identity& identity : std::as_const(m_identities))
        if (identity.email.toLower() == sender) {
            draft->m_identityId = identity.id;
            break;
        }
    if (!draft->m_identityId && !m_identities.isEmpty())
        draft->m_identityId = m_identities.first().id;
    draft->focusesBody = true;
    draft->serverDraftId = email.id;
    draft->initialContent = draft->content();
    draft->savedContent = draft->initialContent;
    ComposeDraft* result = draft.get();
    openDraft(std::move(draft));
    return result;
}

ComposeDraft* AppState::ensureDraft(const QUuid& id)
{
    if (auto* existing = draft(id))
        return existing;
    auto draft = std::make_shared<ComposeDraft>(id, m_config.markdownByDefault);
    if (!m_identities.isEmpty())
        draft->m_identityId = m_identities.first().id;
    draft->initialContent = draft->content();
    ComposeDraft* result = draft.get();
    adoptDraft(std::move(draft));
    return result;
}

void AppState::adoptDraft(std::shared_ptr<ComposeDraft> draft)
{
    const QUuid id = draft->id();
    // A draft that comes back after an undo send is adopted again: one save per pause.
    QObject::disconnect(&draft->m_autosave, nullptr, this, nullptr);
    QPointer<AppState> self = this;
    QObject::connect(&draft->m_autosave, &QTimer::timeout, this, [self, id] {
        if (!self)
            return;
        if (const auto found = self->m_drafts.value(id))
            runSave(self, found);
    });
    m_drafts.insert(id, std::move(draft));
    Q_EMIT draftsChanged();
}

void AppState::openDraft(std::shared_ptr<ComposeDraft> draft)
{
    const QUuid id = draft->id();
    adoptDraft(std::move(draft));
    if (m_openComposeWindow)
        m_openComposeWindow(id);
}

void AppState::removeDraft(const QUuid& id)
{
    if (m_drafts.remove(id))
        Q_EMIT draftsChanged();
}

void AppState::draftChanged(ComposeDraft* draft)
{
    if (!draft || draft->m_isSending || draft->isFinished)
        return;
    draft->m_autosave.start(m_environment.timing.autosaveDelay);
}

QCoro::Task<std::optional<QString>> AppState::saveDraft(ComposeDraft* draft)
{
    if (!draft)
        co_return std::nullopt;
    co_return co_await runSave(this, draft->shared_from_this());
}

QCoro::Task<std::optional<QString>> AppState::runSave(QPointer<AppState> self,
                                                      std::shared_ptr<ComposeDraft> draft)
{
    // Writes of one draft run one after the other, each seeing the id the one before left.
    const quint64 ticket = draft->m_nextTicket++;
    while (draft->m_servingTicket != ticket)
        co_await qCoro(draft.get(), &ComposeDraft::writeEnded);
    std::optional<QString> result;
    if (self)
        result = co_await self->writeDraft(draft);
    ++draft->m_servingTicket;
    Q_EMIT draft->writeEnded();
    co_return result;
}

std::optional<Identity> AppState::sendingIdentity(const ComposeDraft& draft) const
{
    for (const Identity& identity : m_identities)
        if (identity.id == draft.m_identityId)
            return identity;
    if (m_identities.isEmpty())
        return std::nullopt;
    return m_identities.first();
}

OutgoingMessage AppState::outgoingMessage(const ComposeDraft& draft, const Identity& identity) const
{
    OutgoingMessage message;
    message.identity = identity;
    message.to = EmailAddresses::parseList(draft.m_to);
    message.cc = EmailAddresses::parseList(draft.m_cc);
    message.bcc = EmailAddresses::parseList(draft.m_bcc);
    message.subject = draft.m_subject;
    message.textBody = draft.m_body;
    if (draft.m_isMarkdown)
        message.htmlBody =
            MarkdownRenderer::emailDocument(draft.m_body, m_config.markdownHardBreaks);
    message.inReplyTo = draft.inReplyTo;
    message.references = draft.references;
    message.answeredEmailId = draft.answeredEmailId;
    return message;
}

QCoro::Task<std::optional<QString>> AppState::writeDraft(std::shared_ptr<ComposeDraft> draft)
{
    const DraftContent content = draft->content();
    if (draft->serverDraftId && draft->savedContent == content)
        co_return draft->serverDraftId;
    const auto service = m_service;
    if (!service || draft->isFinished)
        co_return std::nullopt;
    const std::optional<QString> drafts = roleId(*this, QStringLiteral("drafts"));
    if (!drafts) {
        draft->setError(QStringLiteral("This account has no Drafts mailbox."));
        co_return std::nullopt;
    }
    const auto identity = sendingIdentity(*draft);
    if (!identity) {
        draft->setError(QStringLiteral("No sending identity is available for this token."));
        co_return std::nullopt;
    }
    OutgoingMessage message = outgoingMessage(*draft, *identity);
    QPointer<AppState> self = this;
    std::optional<QString> id;
    try {
        message.attachments = co_await upload(draft->m_attachments, draft, service);
        id = co_await service->saveDraft(message, *drafts, draft->serverDraftId);
    } catch (...) {
        draft->setError(saveFailure + Errors::describe(std::current_exception()));
        co_return std::nullopt;
    }
    draft->serverDraftId = id;
    draft->savedContent = content;
    draft->setSavedAt(QDateTime::currentDateTime());
    if (draft->m_error && draft->m_error->startsWith(saveFailure))
        draft->setError(std::nullopt);
    if (self && self->m_selectedMailboxId == *drafts)
        co_await self->refresh();
    co_return id;
}

void AppState::closeDraft(const QUuid& id)
{
    const auto draft = m_drafts.value(id);
    if (!draft)
        return;
    removeDraft(id);
    draft->m_autosave.stop();
    // A send under way goes on, and writes what it needs itself.
    if (draft->isFinished || draft->m_isSending)
        return;
    // A window opened and left untouched leaves no trace on the server.
    if (!draft->serverDraftId && draft->content() == draft->initialContent)
        return;
    runClose(this, draft);
}

QCoro::Task<> AppState::runClose(QPointer<AppState> self, std::shared_ptr<ComposeDraft> draft)
{
    if (draft->content() == draft->savedContent)
        co_return;
    const auto id = co_await runSave(self, draft);
    if (id && self)
        self->showToast(QStringLiteral("Draft saved"), {}, false, 5);
}

void AppState::discard(ComposeDraft* draft)
{
    if (!draft)
        return;
    auto held = draft->shared_from_this();
    held->isFinished = true;
    held->m_autosave.stop();
    held->closeWindow();
    removeDraft(held->id());
    runDiscard(this, held);
}

QCoro::Task<> AppState::runDiscard(QPointer<AppState> self, std::shared_ptr<ComposeDraft> draft)
{
    // A write under way must not bring the draft back after it is gone.
    while (draft->m_servingTicket != draft->m_nextTicket)
        co_await qCoro(draft.get(), &ComposeDraft::writeEnded);
    if (!self || !self->m_service || !draft->serverDraftId)
        co_return;
    const QStringList ids{*draft->serverDraftId};
    try {
        co_await self->m_service->destroy(ids);
    } catch (...) {
        if (self)
            self->report(std::current_exception());
        co_return;
    }
    if (!self)
        co_return;
    self->showToast(QStringLiteral("Draft discarded"), {}, false, 5);
    co_await self->refresh();
}

void AppState::updateSuggestions(RecipientField field, ComposeDraft* draft)
{
    if (!draft)
        return;
    const QString query = EmailAddresses::unfinishedEntry(draft->field(field));
    const auto excluded = EmailAddresses::parseList(
        QStringList{draft->m_to, draft->m_cc, draft->m_bcc}.join(QLatin1Char(',')));
    const auto suggestions = m_addressBook.suggestions(query, excluded, 6);
    draft->setSuggestions(suggestions.isEmpty() ? std::nullopt : std::optional(field), suggestions,
                          0);
}

void AppState::dismissSuggestions(ComposeDraft* draft)
{
    if (draft)
        draft->setSuggestions(std::nullopt, {}, 0);
}

bool AppState::handleSuggestionKey(const KeyBinding& binding, ComposeDraft* draft)
{
    if (!draft || binding.command || binding.control || binding.option || binding.shift)
        return false;
    const QString key = binding.key;
    if (key == QStringLiteral("down")) {
        draft->setSuggestionIndex(
            std::max(0, std::min(draft->m_suggestionIndex + 1,
                                 static_cast<int>(draft->m_suggestions.size()) - 1)));
        return true;
    }
    if (key == QStringLiteral("up")) {
        draft->setSuggestionIndex(std::max(0, draft->m_suggestionIndex - 1));
        return true;
    }
    if (key == QStringLiteral("enter") || key == QStringLiteral("tab")) {
        if (draft->m_suggestionField && draft->m_suggestionIndex < draft->m_suggestions.size()) {
            const RecipientField field = *draft->m_suggestionField;
            draft->setField(
                field, EmailAddresses::completing(draft->field(field),
                                                  draft->m_suggestions[draft->m_suggestionIndex]));
            dismissSuggestions(draft);
            draftChanged(draft);
        }
        return true;
    }
    if (key == QStringLiteral("escape")) {
        dismissSuggestions(draft);
        return true;
    }
    return false;
}

void AppState::perform(MailAction action, const QUuid& draftId)
{
    ComposeDraft* draft = this->draft(draftId);
    if (!draft)
        return;
    switch (action) {
    case MailAction::Send:
        send(draft);
        break;
    case MailAction::SendAndArchive:
        send(draft, true);
        break;
    case MailAction::Attach:
        if (m_chooseAttachments)
            m_chooseAttachments(draft);
        break;
    case MailAction::ToggleMarkdown:
        draft->setIsMarkdown(!draft->isMarkdown());
        draftChanged(draft);
        break;
    case MailAction::TogglePreview:
        draft->setShowsPreview(!draft->showsPreview());
        break;
    case MailAction::Discard:
        // The window asks first; discard() runs when the user confirms.
        draft->setIsConfirmingDiscard(true);
        break;
    default:
        break;
    }
}
