#pragma once

#include "mail/Email.h"

#include <QFrame>
#include <QPointer>

class AppState;
class AttachmentChip;
class AvatarView;
class ElidedLabel;
class InvitationBox;
class MailWebView;
class MailWebViewPool;
class QLabel;
class QPushButton;
class QToolButton;
class QVBoxLayout;

// The header of a message: who, when, to whom. A click or Return opens and closes the
// message; Tab reaches it, so the reader can be read from the keyboard.
class MessageHeader : public QFrame
{
    Q_OBJECT
public:
    explicit MessageHeader(QWidget* parent = nullptr);

Q_SIGNALS:
    void toggled();
    void contextMenuRequested(const QPoint& globalPosition);

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

// One message of the open thread: its header always, and when expanded its details, the hint
// about hidden images, the body in a web view and its attachments. A collapsed message owns no
// web view: it takes one from the pool when expanded and gives it back when collapsed or gone.
class MessageView : public QFrame
{
    Q_OBJECT
public:
    MessageView(AppState* state, const Email& email, QWidget* parent = nullptr,
                MailWebViewPool* webViews = nullptr);
    ~MessageView() override;

    QString emailId() const { return m_email.id; }
    const Email& email() const { return m_email; }
    void setEmail(const Email& email);
    bool isExpanded() const { return m_body != nullptr; }
    void setExpanded(bool expanded);
    void setShowsDetails(bool shows);
    // Gives the body's web view back to the pool now, for a message about to go.
    void releaseWebView();
    // The ring around the message the keys act on while the reader has them.
    bool isOutlined() const;
    void setOutlined(bool outlined);

    MessageHeader* header() const { return m_header; }
    // The body's web view; null while collapsed.
    MailWebView* webView() const { return m_web; }
    QWidget* detailsBox() const { return m_details; }
    QWidget* remoteContentRow() const { return m_remoteRow; }
    QPushButton* editDraftButton() const { return m_editDraft; }
    // Shown when the message came from a list that can be left.
    QPushButton* unsubscribeButton() const { return m_unsubscribe; }
    // The calendar invitation of an expanded message; null otherwise.
    InvitationBox* invitationBox() const { return m_invitation; }
    // "Sends <date>" with "Cancel Send", while the server holds this message.
    QWidget* pendingSendRow() const { return m_pendingRow; }
    QList<AttachmentChip*> attachmentChips() const;

Q_SIGNALS:
    // The body's measured height changed.
    void resized();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void showHeader();
    void buildBody();
    void showDetails();
    void showPendingSend();
    void showDocument();
    void showAttachments();
    void showContextMenu(const QPoint& globalPosition);
    bool remoteContentAllowed() const;

    QPointer<AppState> m_state;
    QPointer<MailWebViewPool> m_webViews;
    Email m_email;
    bool m_showsDetails = false;
    // The user pressed "Show Images" on this message.
    bool m_allowRemoteContent = false;

    QWidget* m_outline;
    MessageHeader* m_header;
    AvatarView* m_avatar;
    ElidedLabel* m_sender;
    QLabel* m_flag;
    QLabel* m_date;
    ElidedLabel* m_recipients;
    QToolButton* m_detailsToggle;
    QPushButton* m_editDraft;
    QPushButton* m_unsubscribe;

    QWidget* m_body = nullptr;
    QVBoxLayout* m_bodyLayout = nullptr;
    QWidget* m_details = nullptr;
    QWidget* m_remoteRow = nullptr;
    QWidget* m_pendingRow = nullptr;
    QLabel* m_pendingText = nullptr;
    InvitationBox* m_invitation = nullptr;
    MailWebView* m_web = nullptr;
    QWidget* m_attachments = nullptr;
    QList<BodyPart> m_shownAttachments;
};
