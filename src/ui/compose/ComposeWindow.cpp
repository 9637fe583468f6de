#include "ComposeWindow.h"

#include "SendLaterPopover.h"
#include "SuggestionPopup.h"
#include "app/state/AppState.h"
#include "content/EmailAddresses.h"
#include "content/EmailHTML.h"
#include "content/SendLater.h"
#include "markdown/MarkdownRenderer.h"
#include "ui/desktop/Icons.h"
#include "ui/threads/ElidedLabel.h"
#include "ui/web/MailWebView.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFontDatabase>
#include <QFrame>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QTimeZone>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr std::array recipientFields{RecipientField::To, RecipientField::Cc, RecipientField::Bcc};

QFrame* divider(QWidget* parent)
{
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    return line;
}

QString sizeText(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

} // namespace

// The draft reaches its window through this; QWidget's own raise() and close() differ in type.
class ComposeWindow::Handle : public ComposeWindowHandle
{
public:
    explicit Handle(ComposeWindow* window) : m_window(window) {}
    void raise() override
    {
        m_window->show();
        m_window->raise();
        m_window->activateWindow();
    }
    void close() override { m_window->close(); }

private:
    ComposeWindow* m_window;
};

ComposeWindow::ComposeWindow(AppState* state, ComposeDraft* draft, QWidget* parent)
    : QWidget(parent, Qt::Window), m_state(state), m_draft(draft), m_draftId(draft->id()),
      m_handle(std::make_unique<Handle>(this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setAcceptDrops(true);
    resize(820, 640);
    setAccessibleName(tr("Compose"));
    // Ctrl+W closes the window as every desktop window closes; the draft is kept.
    auto* closeShortcut = new QShortcut(QKeySequence::Close, this);
    connect(closeShortcut, &QShortcut::activated, this, &QWidget::close);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto* header = new QWidget(this);
    buildHeader(header);
    layout->addWidget(header);
    layout->addWidget(divider(this));

    m_split = new QSplitter(Qt::Horizontal, this);
    m_split->setChildrenCollapsible(false);
    m_body = new QPlainTextEdit(m_split);
    m_body->setAccessibleName(tr("Message"));
    m_body->setMinimumHeight(280);
    // Tab leaves the text for the bottom bar, so the keyboard reaches every control.
    m_body->setTabChangesFocus(true);
    m_body->setFrameShape(QFrame::NoFrame);
    m_body->document()->setDocumentMargin(8);
    // Files dragged onto the text must reach the window's drop handling, never become paths.
    m_body->setAcceptDrops(false);
    m_body->viewport()->setAcceptDrops(false);
    m_preview = new MailWebView(m_split);
    m_preview->setAccessibleName(tr("Message preview"));
    m_preview->setMinimumHeight(240);
    m_split->addWidget(m_body);
    m_split->addWidget(m_preview);
    layout->addWidget(m_split, 1);
    layout->addWidget(divider(this));

    auto* bar = new QWidget(this);
    buildBottomBar(bar);
    layout->addWidget(bar);

    m_popup = new SuggestionPopup(this);
    connect(m_popup, &SuggestionPopup::rowClicked, this, &ComposeWindow::completeWith);

    const QList<QWidget*> tabOrder{m_from,
                                   m_to,
                                   m_cc,
                                   m_bcc,
                                   m_subject,
                                   m_body,
                                   m_markdown,
                                   m_previewToggle,
                                   m_attach,
                                   m_discard,
                                   m_sendAndArchive,
                                   m_sendLater,
                                   m_send};
    for (qsizetype index = 1; index < tabOrder.size(); ++index)
        setTabOrder(tabOrder.at(index - 1), tabOrder.at(index));
    for (QWidget* widget : {static_cast<QWidget*>(m_to), static_cast<QWidget*>(m_cc),
                            static_cast<QWidget*>(m_bcc), static_cast<QWidget*>(m_subject),
                            static_cast<QWidget*>(m_body), static_cast<QWidget*>(m_from)})
        widget->installEventFilter(this);

    m_from->setCurrentIndex(-1);
    m_to->setText(draft->to());
    m_cc->setText(draft->cc());
    m_bcc->setText(draft->bcc());
    m_subject->setText(draft->subject());
    m_body->setPlainText(draft->body());
    refreshIdentities();
    connectDraft();
    refresh();
    refreshAttachments();
    refreshPreview();
    draft->setWindow(m_handle.get(), this);

    // A reply's caret stands above the quote and the signature, where the user writes.
    placeCaretAtStart();
    if (draft->focusesBody)
        m_body->setFocus(Qt::OtherFocusReason);
    else
        m_to->setFocus(Qt::OtherFocusReason);
}

ComposeWindow::~ComposeWindow() = default;

void ComposeWindow::buildHeader(QWidget* header)
{
    auto* grid = new QGridLayout(header);
    grid->setContentsMargins(12, 12, 12, 12);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(6);
    int row = 0;
    auto addRow = [&](const QString& title, QWidget* control) {
        auto* label = new QLabel(title, header);
        label->setForegroundRole(QPalette::PlaceholderText);
        label->setBuddy(control);
        grid->addWidget(label, row, 0, Qt::AlignRight | Qt::AlignVCenter);
        grid->addWidget(control, row, 1);
        ++row;
        return label;
    };

    m_from = new QComboBox(header);
    m_from->setAccessibleName(tr("From"));
    addRow(tr("From"), m_from);
    connect(m_from, &QComboBox::activated, this, [this](int index) {
        if (!m_draft || index < 0)
            return;
        m_draft->setIdentityId(m_from->itemData(index).toString());
        m_state->draftChanged(m_draft);
    });

    auto recipient = [&](const QString& title) {
        auto* edit = new QLineEdit(header);
        edit->setAccessibleName(title);
        addRow(title, edit);
        return edit;
    };
    m_to = recipient(tr("To"));
    m_cc = recipient(tr("Cc"));
    m_bcc = recipient(tr("Bcc"));
    for (RecipientField field : recipientFields) {
        QLineEdit* edit = recipientEdit(field);
        // textEdited, not textChanged: a completion or a mail link opens no popup.
        connect(edit, &QLineEdit::textEdited, this, [this, field](const QString& text) {
            if (!m_draft)
                return;
            m_draft->setField(field, text);
            m_state->draftChanged(m_draft);
            m_state->updateSuggestions(field, m_draft);
        });
    }

    m_subject = new QLineEdit(header);
    m_subject->setAccessibleName(tr("Subject"));
    addRow(tr("Subject"), m_subject);
    connect(m_subject, &QLineEdit::textEdited, this, [this](const QString& text) {
        if (!m_draft)
            return;
        m_draft->setSubject(text);
        m_state->draftChanged(m_draft);
    });

    m_attachmentRow = new QScrollArea(header);
    auto* scroll = static_cast<QScrollArea*>(m_attachmentRow);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* strip = new QWidget(scroll);
    m_attachmentChips = new QHBoxLayout(strip);
    m_attachmentChips->setContentsMargins(0, 0, 0, 0);
    m_attachmentChips->setSpacing(8);
    scroll->setWidget(strip);
    scroll->setAccessibleName(tr("Attachments"));
    m_attachLabel = addRow(tr("Attach"), m_attachmentRow);
    grid->setColumnStretch(1, 1);
}

void ComposeWindow::buildBottomBar(QWidget* bar)
{
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(10, 10, 10, 10);
    row->setSpacing(14);

    auto tooltip = [this](MailAction action) {
        const auto binding = m_state->config().binding(action);
        return binding ? action.title() + "   " + binding->display() : action.title();
    };

    m_markdown = new QCheckBox(tr("Markdown"), bar);
    m_markdown->setAccessibleName(tr("Markdown"));
    m_markdown->setToolTip(tooltip(MailAction::ToggleMarkdown));
    connect(m_markdown, &QCheckBox::clicked, this, [this](bool on) {
        if (!m_draft)
            return;
        m_draft->setIsMarkdown(on);
        m_state->draftChanged(m_draft);
    });
    row->addWidget(m_markdown);

    m_previewToggle = new QToolButton(bar);
    m_previewToggle->setText(tr("Preview"));
    m_previewToggle->setAccessibleName(tr("Preview"));
    m_previewToggle->setCheckable(true);
    m_previewToggle->setToolTip(tooltip(MailAction::TogglePreview));
    // The preview is not part of the content: toggling it saves nothing.
    connect(m_previewToggle, &QToolButton::clicked, this, [this](bool on) {
        if (m_draft)
            m_draft->setShowsPreview(on);
    });
    row->addWidget(m_previewToggle);

    m_attach = new QToolButton(bar);
    m_attach->setIcon(Icons::icon("paperclip"));
    m_attach->setText(tr("Attach"));
    m_attach->setAccessibleName(tr("Attach"));
    m_attach->setToolTip(tooltip(MailAction::Attach));
    connect(m_attach, &QToolButton::clicked, this, &ComposeWindow::chooseAttachments);
    row->addWidget(m_attach);

    // The caption gives way first when the bar runs out of room.
    m_format = new ElidedLabel(bar);
    m_format->setForegroundRole(QPalette::PlaceholderText);
    row->addWidget(m_format, 1);

    m_status = new QLabel(bar);
    m_status->setAccessibleName(tr("Status"));
    m_status->setForegroundRole(QPalette::PlaceholderText);
    row->addWidget(m_status);
    m_error = new QLabel(bar);
    m_error->setAccessibleName(tr("Error"));
    m_error->setStyleSheet("color: #d70015;");
    m_error->setWordWrap(true);
    row->addWidget(m_error, 1);

    auto* progress = new QProgressBar(bar);
    progress->setRange(0, 0);
    progress->setMaximumWidth(60);
    progress->setAccessibleName(tr("Sending"));
    m_progress = progress;
    row->addWidget(m_progress);

    m_discard = new QToolButton(bar);
    m_discard->setIcon(Icons::icon("trash"));
    m_discard->setText(tr("Discard"));
    m_discard->setAccessibleName(tr("Discard"));
    m_discard->setToolTip(tooltip(MailAction::Discard));
    connect(m_discard, &QToolButton::clicked, this, [this] {
        if (m_draft)
            m_draft->setIsConfirmingDiscard(true);
    });
    row->addWidget(m_discard);

    m_sendAndArchive = new QPushButton(tr("Send && Archive"), bar);
    m_sendAndArchive->setAccessibleName(tr("Send & Archive"));
    m_sendAndArchive->setToolTip(tooltip(MailAction::SendAndArchive));
    m_sendAndArchive->setAutoDefault(false);
    connect(m_sendAndArchive, &QPushButton::clicked, this, [this] {
        if (m_draft)
            m_state->perform(MailAction::SendAndArchive, m_draftId);
    });
    row->addWidget(m_sendAndArchive);

    m_sendLater = new QPushButton(tr("Send Later"), bar);
    m_sendLater->setAccessibleName(tr("Send Later"));
    m_sendLater->setAutoDefault(false);
    m_sendLaterMenu = new QMenu(m_sendLater);
    m_sendLater->setMenu(m_sendLaterMenu);
    connect(m_sendLaterMenu, &QMenu::aboutToShow, this, &ComposeWindow::refreshSendLaterMenu);
    refreshSendLaterMenu();
    row->addWidget(m_sendLater);

    m_send = new QPushButton(tr("Send"), bar);
    m_send->setAccessibleName(tr("Send"));
    m_send->setToolTip(tooltip(MailAction::Send));
    m_send->setAutoDefault(false);
    connect(m_send, &QPushButton::clicked, this, [this] {
        if (m_draft)
            m_state->perform(MailAction::Send, m_draftId);
    });
    row->addWidget(m_send);
}

void ComposeWindow::refreshSendLaterMenu()
{
    m_sendLaterMenu->clear();
    const auto options =
        SendLater::options(QDateTime::currentDateTime(), QTimeZone::systemTimeZone(), QLocale(), 8);
    for (const SendLater::Option& option : options) {
        const QDateTime date = option.date;
        m_sendLaterMenu->addAction(option.title, this, [this, date] {
            if (m_draft)
                m_state->sendLater(m_draft, date);
        });
    }
    m_sendLaterMenu->addSeparator();
    m_sendLaterMenu->addAction(tr("Choose Date and Time…"), this, &ComposeWindow::chooseSendDate);
}

void ComposeWindow::chooseSendDate()
{
    const QDateTime now = QDateTime::currentDateTime();
    auto* popover = new SendLaterPopover(now, m_state->maxDelayedSend(), now.addSecs(3600), this);
    popover->setAttribute(Qt::WA_DeleteOnClose);
    connect(popover, &QDialog::accepted, this, [this, popover] {
        if (m_draft)
            m_state->sendLater(m_draft, popover->chosen());
    });
    popover->open();
}

void ComposeWindow::connectDraft()
{
    ComposeDraft* draft = m_draft;
    auto refreshing = [this] { refresh(); };
    for (auto signal : {&ComposeDraft::isMarkdownChanged, &ComposeDraft::showsPreviewChanged,
                        &ComposeDraft::isSendingChanged, &ComposeDraft::errorChanged,
                        &ComposeDraft::savedAtChanged, &ComposeDraft::subjectChanged})
        connect(draft, signal, this, refreshing);
    connect(m_state, &AppState::isConnectedChanged, this, refreshing);
    connect(m_state, &AppState::identitiesChanged, this, &ComposeWindow::refreshIdentities);
    connect(draft, &ComposeDraft::identityIdChanged, this, &ComposeWindow::refreshIdentities);
    connect(draft, &ComposeDraft::attachmentsChanged, this, &ComposeWindow::refreshAttachments);
    connect(draft, &ComposeDraft::isSendingChanged, this, &ComposeWindow::refreshAttachments);
    connect(draft, &ComposeDraft::suggestionsChanged, this, &ComposeWindow::refreshSuggestions);
    connect(draft, &ComposeDraft::isMarkdownChanged, this, &ComposeWindow::refreshPreview);
    connect(draft, &ComposeDraft::showsPreviewChanged, this, &ComposeWindow::refreshPreview);

    // Text set by code (a completion, a mail link) comes back into the fields; the user's own
    // typing matches already and leaves the cursor alone.
    for (RecipientField field : recipientFields) {
        auto signal = field == RecipientField::To   ? &ComposeDraft::toChanged
                      : field == RecipientField::Cc ? &ComposeDraft::ccChanged
                                                    : &ComposeDraft::bccChanged;
        connect(draft, signal, this, [this, field] {
            QLineEdit* edit = recipientEdit(field);
            if (m_draft && edit->text() != m_draft->field(field))
                edit->setText(m_draft->field(field));
        });
    }
    connect(draft, &ComposeDraft::subjectChanged, this, [this] {
        if (m_draft && m_subject->text() != m_draft->subject())
            m_subject->setText(m_draft->subject());
    });
    connect(draft, &ComposeDraft::bodyChanged, this, [this] {
        if (m_draft && m_body->toPlainText() != m_draft->body())
            m_body->setPlainText(m_draft->body());
        refreshPreview();
    });
    connect(m_body, &QPlainTextEdit::textChanged, this, [this] {
        if (!m_draft || m_body->toPlainText() == m_draft->body())
            return;
        m_draft->setBody(m_body->toPlainText());
        m_state->draftChanged(m_draft);
    });
    connect(draft, &ComposeDraft::isConfirmingDiscardChanged, this, [this] {
        if (m_draft && m_draft->isConfirmingDiscard())
            confirmDiscard();
    });
    connect(draft, &QObject::destroyed, this, [this] { close(); });
}

void ComposeWindow::refresh()
{
    if (!m_draft)
        return;
    const ComposeDraft& draft = *m_draft;
    setWindowTitle(draft.subject().isEmpty() ? tr("New Message") : draft.subject());

    m_markdown->setChecked(draft.isMarkdown());
    m_previewToggle->setChecked(draft.showsPreview());
    m_previewToggle->setEnabled(draft.isMarkdown());
    QFont font = m_body->font();
    font.setFamily(draft.isMarkdown() ? QFontDatabase::systemFont(QFontDatabase::FixedFont).family()
                                      : QApplication::font().family());
    m_body->setFont(font);
    m_format->setFullText(draft.isMarkdown() ? tr("Sent as HTML with a plain text alternative")
                                             : tr("Sent as plain text"));

    const bool sending = draft.isSending();
    m_attach->setEnabled(!sending);
    m_discard->setEnabled(!sending);
    const bool canSend = !sending && m_state->isConnected();
    m_send->setEnabled(canSend);
    m_sendAndArchive->setEnabled(canSend);
    m_sendLater->setEnabled(canSend);
    m_sendAndArchive->setVisible(draft.archiveSource.has_value());
    m_sendLater->setVisible(m_state->maxDelayedSend() >= 1);
    m_progress->setVisible(sending);

    m_error->setText(draft.error().value_or(QString()));
    m_error->setVisible(draft.error().has_value());
    m_status->setText(draft.statusText());
    m_status->setVisible(!draft.error() && draft.savedAt());
}

void ComposeWindow::refreshIdentities()
{
    if (!m_draft)
        return;
    const QSignalBlocker blocker(m_from);
    m_from->clear();
    for (const Identity& identity : m_state->identities())
        m_from->addItem(EmailAddresses::formatted(identityAddress(identity)), identity.id);
    m_from->setCurrentIndex(m_draft->identityId() ? m_from->findData(*m_draft->identityId()) : -1);
}

void ComposeWindow::refreshAttachments()
{
    if (!m_draft)
        return;
    while (QLayoutItem* item = m_attachmentChips->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    const QList<DraftAttachment>& attachments = m_draft->attachments();
    QWidget* strip = m_attachmentRow->findChild<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    for (const DraftAttachment& attachment : attachments) {
        auto* chip = new QFrame(strip);
        chip->setFrameShape(QFrame::StyledPanel);
        auto* chipRow = new QHBoxLayout(chip);
        chipRow->setContentsMargins(6, 2, 2, 2);
        chipRow->setSpacing(4);
        auto* icon = new QLabel(chip);
        icon->setPixmap(Icons::icon("paperclip").pixmap(14, 14));
        chipRow->addWidget(icon);
        const QString title = attachment.size
                                  ? attachment.name + " (" + sizeText(*attachment.size) + ")"
                                  : attachment.name;
        chipRow->addWidget(new QLabel(title, chip));
        auto* remove = new QToolButton(chip);
        remove->setIcon(Icons::icon("xmark.circle.fill"));
        remove->setAutoRaise(true);
        remove->setToolTip(tr("Remove"));
        remove->setAccessibleName(tr("Remove %1").arg(attachment.name));
        remove->setEnabled(!m_draft->isSending());
        const QUuid id = attachment.id;
        connect(remove, &QToolButton::clicked, this, [this, id] {
            if (!m_draft)
                return;
            m_draft->removeAttachment(id);
            m_state->draftChanged(m_draft);
        });
        chipRow->addWidget(remove);
        chip->setAccessibleName(title);
        m_attachmentChips->addWidget(chip);
    }
    if (m_isDropTargeted) {
        auto* hint = new QLabel(attachments.isEmpty() ? tr("Drop files here to attach them")
                                                      : tr("Drop to add"),
                                strip);
        hint->setStyleSheet(
            "border: 1px dashed palette(mid); border-radius: 6px; padding: 3px 8px;");
        m_attachmentChips->addWidget(hint);
    }
    m_attachmentChips->addStretch();
    const bool shown = !attachments.isEmpty() || m_isDropTargeted;
    m_attachmentRow->setVisible(shown);
    m_attachLabel->setVisible(shown);
    if (shown) {
        // The strip's own hint is stale until its layout runs: measure the chips themselves.
        int height = 0;
        int width = 0;
        for (int index = 0; index < m_attachmentChips->count(); ++index) {
            if (QWidget* chip = m_attachmentChips->itemAt(index)->widget()) {
                height = std::max(height, chip->sizeHint().height());
                width += chip->sizeHint().width() + m_attachmentChips->spacing();
            }
        }
        auto* scroll = static_cast<QScrollArea*>(m_attachmentRow);
        if (width > scroll->viewport()->width())
            height += scroll->horizontalScrollBar()->sizeHint().height();
        m_attachmentRow->setFixedHeight(height + 2);
    }
}

void ComposeWindow::refreshSuggestions()
{
    if (!m_draft || !m_draft->suggestionField()) {
        m_popup->dismiss();
        return;
    }
    m_popup->show(m_draft->suggestions(), m_draft->suggestionIndex(),
                  recipientEdit(*m_draft->suggestionField()));
}

void ComposeWindow::refreshPreview()
{
    if (!m_draft)
        return;
    const bool shown = m_draft->isMarkdown() && m_draft->showsPreview();
    const bool wasShown = !m_preview->isHidden();
    m_preview->setVisible(shown);
    if (!shown)
        return;
    if (!wasShown) {
        // Side by side, half each, however the splitter was left.
        const int half = std::max(1, m_split->width() / 2);
        m_split->setSizes({half, half});
    }
    const QString body = m_draft->body();
    if (m_renderedOnce && body == m_renderedBody)
        return;
    m_renderedBody = body;
    m_renderedOnce = true;
    const QString html =
        EmailHTML::wrap(MarkdownRenderer::html(body, m_state->config().markdownHardBreaks), true);
    // The preview shows the user's own text; it has no message parts to serve.
    m_preview->setDocument(html, {}, [](BodyPart) -> QCoro::Task<QByteArray> {
        throw std::runtime_error("The preview has no message parts.");
        co_return QByteArray();
    });
}

void ComposeWindow::chooseAttachments()
{
    if (!m_draft || m_draft->isSending())
        return;
    auto* dialog = new QFileDialog(this, tr("Attach Files"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setLabelText(QFileDialog::Accept, tr("Attach"));
    connect(dialog, &QFileDialog::urlsSelected, this, [this](const QList<QUrl>& urls) {
        if (m_draft)
            m_state->attach(urls, m_draft);
    });
    dialog->open();
}

void ComposeWindow::confirmDiscard()
{
    auto* box = new QMessageBox(QMessageBox::Warning, tr("Discard this draft?"),
                                tr("Discard this draft?"), QMessageBox::NoButton, this);
    box->setInformativeText(tr("The message is closed and deleted from Drafts."));
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    QPushButton* discard = box->addButton(tr("Discard"), QMessageBox::DestructiveRole);
    QPushButton* cancel = box->addButton(QMessageBox::Cancel);
    // A stray Return must not throw the message away.
    box->setDefaultButton(cancel);
    box->setEscapeButton(cancel);
    connect(box, &QMessageBox::finished, this, [this, box, discard] {
        if (!m_draft)
            return;
        m_draft->setIsConfirmingDiscard(false);
        if (box->clickedButton() == discard)
            m_state->discard(m_draft);
    });
    box->open();
}

QLineEdit* ComposeWindow::recipientEdit(RecipientField field) const
{
    switch (field) {
    case RecipientField::To:
        return m_to;
    case RecipientField::Cc:
        return m_cc;
    case RecipientField::Bcc:
        return m_bcc;
    }
    return m_to;
}

std::optional<RecipientField> ComposeWindow::recipientField(QObject* widget) const
{
    for (RecipientField field : recipientFields)
        if (recipientEdit(field) == widget)
            return field;
    return std::nullopt;
}

void ComposeWindow::completeWith(int row)
{
    if (!m_draft || !m_draft->suggestionField() || row < 0 || row >= m_draft->suggestions().size())
        return;
    const RecipientField field = *m_draft->suggestionField();
    m_draft->setField(
        field, EmailAddresses::completing(m_draft->field(field), m_draft->suggestions().at(row)));
    m_state->dismissSuggestions(m_draft);
    m_state->draftChanged(m_draft);
    recipientEdit(field)->setFocus(Qt::OtherFocusReason);
}

bool ComposeWindow::handleKey(QObject* watched, QKeyEvent* event)
{
    const auto binding = KeyBinding::fromEvent(event->key(), event->modifiers(), event->text());
    if (!binding || !m_draft)
        return false;
    if (recipientField(watched) && m_draft->suggestionField())
        if (m_state->handleSuggestionKey(*binding, m_draft))
            return true;
    // The compose actions; plain keys stay with the text the user types.
    if (!binding->worksWhileTyping())
        return false;
    for (MailAction action : MailAction::allCases()) {
        if (action.scope() != MailAction::Scope::Compose ||
            m_state->config().binding(action) != binding)
            continue;
        // The keys obey the same rules as the buttons.
        const bool blocked = (action == MailAction::Send && !m_send->isEnabled()) ||
                             (action == MailAction::SendAndArchive &&
                              (!m_sendAndArchive->isEnabled() || m_sendAndArchive->isHidden())) ||
                             ((action == MailAction::Attach || action == MailAction::Discard) &&
                              m_draft->isSending());
        if (!blocked)
            m_state->perform(action, m_draftId);
        return true;
    }
    return false;
}

bool ComposeWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress && handleKey(watched, static_cast<QKeyEvent*>(event)))
        return true;
    if (event->type() == QEvent::FocusOut && recipientField(watched) && m_draft &&
        m_draft->suggestionField() && !m_popup->underMouse())
        m_state->dismissSuggestions(m_draft);
    return QWidget::eventFilter(watched, event);
}

// Keys the controls of the bottom bar leave alone come up here.
void ComposeWindow::keyPressEvent(QKeyEvent* event)
{
    if (!handleKey(this, event))
        QWidget::keyPressEvent(event);
}

void ComposeWindow::placeCaretAtStart()
{
    QTextCursor cursor = m_body->textCursor();
    cursor.movePosition(QTextCursor::Start);
    m_body->setTextCursor(cursor);
    m_body->ensureCursorVisible();
}

void ComposeWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    refreshSuggestions();
}

void ComposeWindow::closeEvent(QCloseEvent* event)
{
    if (!m_closedDraft) {
        m_closedDraft = true;
        m_popup->dismiss();
        // However the window closes, the draft is written or dropped by its owner.
        m_state->closeDraft(m_draftId);
    }
    QWidget::closeEvent(event);
}

void ComposeWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (!event->mimeData()->hasUrls())
        return;
    event->acceptProposedAction();
    setDropTargeted(true);
}

void ComposeWindow::dragLeaveEvent(QDragLeaveEvent* event)
{
    QWidget::dragLeaveEvent(event);
    setDropTargeted(false);
}

void ComposeWindow::setDropTargeted(bool targeted)
{
    if (m_isDropTargeted == targeted)
        return;
    m_isDropTargeted = targeted;
    refreshAttachments();
}

void ComposeWindow::dropEvent(QDropEvent* event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.isEmpty() || !m_draft)
        return;
    event->acceptProposedAction();
    setDropTargeted(false);
    m_state->attach(urls, m_draft);
}
