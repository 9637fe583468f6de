#include "app/compose/ComposeDraft.h"

#include <QLocale>

ComposeDraft::ComposeDraft(QUuid id, bool isMarkdown, QObject* parent)
    : QObject(parent), m_id(id), m_isMarkdown(isMarkdown)
{
    m_autosave.setSingleShot(true);
}

namespace {

template <typename T, typename Signal>
void assign(ComposeDraft* draft, T& field, const T& value, Signal changed)
{
    if (field == value)
        return;
    field = value;
    Q_EMIT(draft->*changed)();
}

} // namespace

void ComposeDraft::setIdentityId(const std::optional<QString>& id)
{
    assign(this, m_identityId, id, &ComposeDraft::identityIdChanged);
}

void ComposeDraft::setTo(const QString& text)
{
    assign(this, m_to, text, &ComposeDraft::toChanged);
}

void ComposeDraft::setCc(const QString& text)
{
    assign(this, m_cc, text, &ComposeDraft::ccChanged);
}

void ComposeDraft::setBcc(const QString& text)
{
    assign(this, m_bcc, text, &ComposeDraft::bccChanged);
}

const QString& ComposeDraft::field(RecipientField field) const
{
    switch (field) {
    case RecipientField::To:
        return m_to;
    case RecipientField::Cc:
        return m_cc;
    case RecipientField::Bcc:
        break;
    }
    return m_bcc;
}

void ComposeDraft::setField(RecipientField field, const QString& text)
{
    switch (field) {
    case RecipientField::To:
        setTo(text);
        return;
    case RecipientField::Cc:
        setCc(text);
        return;
    case RecipientField::Bcc:
        setBcc(text);
        return;
    }
}

void ComposeDraft::setSubject(const QString& subject)
{
    assign(this, m_subject, subject, &ComposeDraft::subjectChanged);
}

void ComposeDraft::setBody(const QString& body)
{
    assign(this, m_body, body, &ComposeDraft::bodyChanged);
}

void ComposeDraft::setAttachments(const QList<DraftAttachment>& attachments)
{
    assign(this, m_attachments, attachments, &ComposeDraft::attachmentsChanged);
}

void ComposeDraft::removeAttachment(const QUuid& id)
{
    auto attachments = m_attachments;
    attachments.removeIf([&](const DraftAttachment& a) { return a.id == id; });
    setAttachments(attachments);
}

void ComposeDraft::setIsMarkdown(bool markdown)
{
    assign(this, m_isMarkdown, markdown, &ComposeDraft::isMarkdownChanged);
}

void ComposeDraft::setShowsPreview(bool shows)
{
    assign(this, m_showsPreview, shows, &ComposeDraft::showsPreviewChanged);
}

void ComposeDraft::setIsSending(bool sending)
{
    assign(this, m_isSending, sending, &ComposeDraft::isSendingChanged);
}

void ComposeDraft::setIsConfirmingDiscard(bool confirming)
{
    assign(this, m_isConfirmingDiscard, confirming, &ComposeDraft::isConfirmingDiscardChanged);
}

void ComposeDraft::setError(const std::optional<QString>& error)
{
    assign(this, m_error, error, &ComposeDraft::errorChanged);
}

void ComposeDraft::setSavedAt(const std::optional<QDateTime>& at)
{
    assign(this, m_savedAt, at, &ComposeDraft::savedAtChanged);
}

QString ComposeDraft::statusText() const
{
    if (!m_savedAt)
        return {};
    return QStringLiteral("Draft saved %1")
        .arg(QLocale().toString(m_savedAt->toLocalTime().time(), QLocale::ShortFormat));
}

void ComposeDraft::setSuggestions(const std::optional<RecipientField>& field,
                                  const QList<EmailAddress>& suggestions, int index)
{
    if (m_suggestionField == field && m_suggestions == suggestions && m_suggestionIndex == index)
        return;
    m_suggestionField = field;
    m_suggestions = suggestions;
    m_suggestionIndex = index;
    Q_EMIT suggestionsChanged();
}

void ComposeDraft::setSuggestionIndex(int index)
{
    setSuggestions(m_suggestionField, m_suggestions, index);
}

void ComposeDraft::setWindow(ComposeWindowHandle* window, QObject* owner)
{
    m_window = window;
    m_windowOwner = owner;
}

ComposeWindowHandle* ComposeDraft::window() const
{
    return m_windowOwner ? m_window : nullptr;
}

void ComposeDraft::raiseWindow() const
{
    if (auto* handle = window())
        handle->raise();
}

void ComposeDraft::closeWindow() const
{
    if (auto* handle = window())
        handle->close();
}

DraftContent ComposeDraft::content() const
{
    DraftContent content;
    content.identityId = m_identityId;
    content.to = m_to;
    content.cc = m_cc;
    content.bcc = m_bcc;
    content.subject = m_subject;
    content.body = m_body;
    content.isMarkdown = m_isMarkdown;
    for (const DraftAttachment& attachment : m_attachments)
        content.attachmentIds.append(attachment.id);
    return content;
}
