#pragma once

#include "app/compose/ComposeDraft.h"

#include <QPointer>
#include <QWidget>

#include <memory>

class AppState;
class ElidedLabel;
class MailWebView;
class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QMenu;
class QPlainTextEdit;
class QPushButton;
class QSplitter;
class QToolButton;
class QWidget;
class SuggestionPopup;

// One window per draft. It keeps nothing of its own: every field edits the draft, every button
// calls an operation of AppState, and the draft's changes come back to the controls.
class ComposeWindow : public QWidget
{
    Q_OBJECT
public:
    ComposeWindow(AppState* state, ComposeDraft* draft, QWidget* parent = nullptr);
    ~ComposeWindow() override;

    QUuid draftId() const { return m_draftId; }
    // The file dialog of "Attach": several files, added to the draft when accepted.
    void chooseAttachments();

    // The offers of the Send Later menu, rebuilt each time it opens; exposed for tests.
    QMenu* sendLaterMenu() const { return m_sendLaterMenu; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    class Handle;

    void buildHeader(QWidget* header);
    void buildBottomBar(QWidget* bar);
    void connectDraft();
    void refresh();
    void refreshIdentities();
    void refreshAttachments();
    void refreshSuggestions();
    void refreshPreview();
    void refreshSendLaterMenu();
    void chooseSendDate();
    void confirmDiscard();
    bool handleKey(QObject* watched, QKeyEvent* event);
    QLineEdit* recipientEdit(RecipientField field) const;
    std::optional<RecipientField> recipientField(QObject* widget) const;
    void completeWith(int row);
    void placeCaretAtStart();
    void setDropTargeted(bool targeted);

    AppState* m_state;
    QPointer<ComposeDraft> m_draft;
    QUuid m_draftId;
    std::unique_ptr<Handle> m_handle;
    bool m_closedDraft = false;
    bool m_isDropTargeted = false;

    QComboBox* m_from = nullptr;
    QLineEdit* m_to = nullptr;
    QLineEdit* m_cc = nullptr;
    QLineEdit* m_bcc = nullptr;
    QLineEdit* m_subject = nullptr;
    QWidget* m_attachmentRow = nullptr;
    QLabel* m_attachLabel = nullptr;
    QHBoxLayout* m_attachmentChips = nullptr;
    QSplitter* m_split = nullptr;
    QPlainTextEdit* m_body = nullptr;
    MailWebView* m_preview = nullptr;
    SuggestionPopup* m_popup = nullptr;

    QCheckBox* m_markdown = nullptr;
    QToolButton* m_previewToggle = nullptr;
    QToolButton* m_attach = nullptr;
    ElidedLabel* m_format = nullptr;
    QLabel* m_status = nullptr;
    QLabel* m_error = nullptr;
    QWidget* m_progress = nullptr;
    QToolButton* m_discard = nullptr;
    QPushButton* m_sendAndArchive = nullptr;
    QPushButton* m_sendLater = nullptr;
    QMenu* m_sendLaterMenu = nullptr;
    QPushButton* m_send = nullptr;

    QString m_renderedBody;
    bool m_renderedOnce = false;
};
