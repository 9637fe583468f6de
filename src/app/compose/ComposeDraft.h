#pragma once

#include "app/compose/DraftAttachment.h"
#include "app/compose/DraftContent.h"
#include "mail/Email.h"
#include "mail/EmailAddress.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QUuid>

#include <memory>
#include <optional>

enum class RecipientField
{
    To,
    Cc,
    Bcc,
};

// What a draft needs of its window: the interface implements it on the compose window.
class ComposeWindowHandle
{
public:
    virtual ~ComposeWindowHandle() = default;
    virtual void raise() = 0;
    virtual void close() = 0;
};

// The state behind one compose window. AppState creates, saves, sends and discards it; the
// window edits the fields and calls AppState::draftChanged() after each change of content().
class ComposeDraft : public QObject, public std::enable_shared_from_this<ComposeDraft>
{
    Q_OBJECT
    Q_PROPERTY(QUuid id READ id CONSTANT)
    Q_PROPERTY(QString to READ to WRITE setTo NOTIFY toChanged)
    Q_PROPERTY(QString cc READ cc WRITE setCc NOTIFY ccChanged)
    Q_PROPERTY(QString bcc READ bcc WRITE setBcc NOTIFY bccChanged)
    Q_PROPERTY(QString subject READ subject WRITE setSubject NOTIFY subjectChanged)
    Q_PROPERTY(QString body READ body WRITE setBody NOTIFY bodyChanged)
    Q_PROPERTY(bool isMarkdown READ isMarkdown WRITE setIsMarkdown NOTIFY isMarkdownChanged)
    Q_PROPERTY(bool showsPreview READ showsPreview WRITE setShowsPreview NOTIFY showsPreviewChanged)
    Q_PROPERTY(bool isSending READ isSending NOTIFY isSendingChanged)
    Q_PROPERTY(QString statusText READ statusText NOTIFY savedAtChanged)

public:
    ComposeDraft(QUuid id, bool isMarkdown, QObject* parent = nullptr);

    QUuid id() const { return m_id; }

    // The identity to send from, by id.
    const std::optional<QString>& identityId() const { return m_identityId; }
    void setIdentityId(const std::optional<QString>& id);
    // Field texts as typed; parsed only when used.
    const QString& to() const { return m_to; }
    void setTo(const QString& text);
    const QString& cc() const { return m_cc; }
    void setCc(const QString& text);
    const QString& bcc() const { return m_bcc; }
    void setBcc(const QString& text);
    const QString& field(RecipientField field) const;
    void setField(RecipientField field, const QString& text);
    const QString& subject() const { return m_subject; }
    void setSubject(const QString& subject);
    // Plain text, or the Markdown source.
    const QString& body() const { return m_body; }
    void setBody(const QString& body);
    const QList<DraftAttachment>& attachments() const { return m_attachments; }
    void setAttachments(const QList<DraftAttachment>& attachments);
    void removeAttachment(const QUuid& id);
    bool isMarkdown() const { return m_isMarkdown; }
    void setIsMarkdown(bool markdown);
    bool showsPreview() const { return m_showsPreview; }
    void setShowsPreview(bool shows);
    // A send is running: the controls are disabled and nothing autosaves.
    bool isSending() const { return m_isSending; }
    void setIsSending(bool sending);
    bool isConfirmingDiscard() const { return m_isConfirmingDiscard; }
    void setIsConfirmingDiscard(bool confirming);
    const std::optional<QString>& error() const { return m_error; }
    void setError(const std::optional<QString>& error);
    // The last successful write to the server.
    const std::optional<QDateTime>& savedAt() const { return m_savedAt; }
    void setSavedAt(const std::optional<QDateTime>& at);
    // "Draft saved <time>", or empty before the first save.
    QString statusText() const;

    // The recipient completion popup.
    const std::optional<RecipientField>& suggestionField() const { return m_suggestionField; }
    const QList<EmailAddress>& suggestions() const { return m_suggestions; }
    int suggestionIndex() const { return m_suggestionIndex; }
    void setSuggestions(const std::optional<RecipientField>& field,
                        const QList<EmailAddress>& suggestions, int index);
    void setSuggestionIndex(int index);

    // The window; the handle is forgotten when `owner` is destroyed.
    void setWindow(ComposeWindowHandle* window, QObject* owner);
    ComposeWindowHandle* window() const;
    void raiseWindow() const;
    void closeWindow() const;

    // The snapshot compared to tell whether the draft changed.
    DraftContent content() const;

    // Not observed by the window.
    struct ArchiveSource
    {
        QString threadId;
        QString mailboxId;
        Email email;
    };
    std::optional<QStringList> inReplyTo;
    std::optional<QStringList> references;
    std::optional<QString> answeredEmailId;
    std::optional<ArchiveSource> archiveSource;
    // The editor, not the To field, gets the focus when the window opens.
    bool focusesBody = false;
    // The email that holds this draft on the server now; it changes with every save.
    std::optional<QString> serverDraftId;
    std::optional<DraftContent> initialContent;
    std::optional<DraftContent> savedContent;
    // Sent or discarded: nothing may be written any more.
    bool isFinished = false;

Q_SIGNALS:
    void identityIdChanged();
    void toChanged();
    void ccChanged();
    void bccChanged();
    void subjectChanged();
    void bodyChanged();
    void attachmentsChanged();
    void isMarkdownChanged();
    void showsPreviewChanged();
    void isSendingChanged();
    void isConfirmingDiscardChanged();
    void errorChanged();
    void savedAtChanged();
    void suggestionsChanged();
    // A write of the chain ended (for AppState's write chain).
    void writeEnded();

private:
    friend class AppState;

    QUuid m_id;
    std::optional<QString> m_identityId;
    QString m_to;
    QString m_cc;
    QString m_bcc;
    QString m_subject;
    QString m_body;
    QList<DraftAttachment> m_attachments;
    bool m_isMarkdown = false;
    bool m_showsPreview = false;
    bool m_isSending = false;
    bool m_isConfirmingDiscard = false;
    std::optional<QString> m_error;
    std::optional<QDateTime> m_savedAt;
    std::optional<RecipientField> m_suggestionField;
    QList<EmailAddress> m_suggestions;
    int m_suggestionIndex = 0;
    ComposeWindowHandle* m_window = nullptr;
    QPointer<QObject> m_windowOwner;

    // The autosave debounce.
    QTimer m_autosave;
    // The write chain: writes run one at a time in the order of their tickets.
    quint64 m_nextTicket = 0;
    quint64 m_servingTicket = 0;
    std::optional<QString> m_lastWriteResult;
};
