#include "FeedbackWindow.h"

#include "app/state/AppState.h"
#include "jmap/Errors.h"
#include "ui/desktop/Icons.h"
#include "ui/threads/ViewColors.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

void makeSecondary(QWidget* widget)
{
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, secondaryTextColor(palette));
    widget->setPalette(palette);
}

QLabel* wrapped(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace

FeedbackWindow::FeedbackWindow(AppState* state, QWidget* parent)
    : QWidget(parent, Qt::Window), m_state(state)
{
    setObjectName(QStringLiteral("feedbackWindow"));
    setWindowTitle(tr("Report a Bug or Request a Feature"));
    resize(520, 440);
    setMinimumSize(440, 360);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(10);

    auto* form = new QFormLayout();
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    m_kind = new QComboBox(this);
    m_kind->setObjectName(QStringLiteral("feedbackKind"));
    m_kind->addItem(Feedback::title(FeedbackKind::Bug), int(FeedbackKind::Bug));
    m_kind->addItem(Feedback::title(FeedbackKind::Feature), int(FeedbackKind::Feature));
    m_kind->setAccessibleName(tr("Kind"));
    m_kind->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    auto* kindRow = new QHBoxLayout();
    kindRow->addWidget(m_kind);
    kindRow->addStretch(1);
    form->addRow(tr("Kind:"), kindRow);
    layout->addLayout(form);

    m_text = new QPlainTextEdit(this);
    m_text->setObjectName(QStringLiteral("feedbackText"));
    m_text->setTabChangesFocus(true);
    layout->addWidget(m_text, 1);

    // What goes along with a bug report, shown in full before it is sent.
    m_diagnostics = new QFrame(this);
    m_diagnostics->setObjectName(QStringLiteral("feedbackDiagnostics"));
    static_cast<QFrame*>(m_diagnostics)->setFrameShape(QFrame::StyledPanel);
    auto* section = new QGridLayout(m_diagnostics);
    section->setContentsMargins(10, 8, 10, 8);
    section->setHorizontalSpacing(10);
    section->setVerticalSpacing(3);
    auto* shield = new QLabel(m_diagnostics);
    shield->setPixmap(Icons::icon(QStringLiteral("lock.shield")).pixmap(16, 16));
    auto* heading = new QLabel(tr("Sent along with your message"), m_diagnostics);
    QFont bold = heading->font();
    bold.setWeight(QFont::DemiBold);
    heading->setFont(bold);
    auto* headingRow = new QHBoxLayout();
    headingRow->setSpacing(6);
    headingRow->addWidget(shield);
    headingRow->addWidget(heading, 1);
    section->addLayout(headingRow, 0, 0, 1, 2);
    int row = 1;
    for (const auto& [name, value] : Feedback::diagnostics()) {
        auto* label = new QLabel(name, m_diagnostics);
        makeSecondary(label);
        auto* text = wrapped(value, m_diagnostics);
        text->setTextInteractionFlags(Qt::TextSelectableByMouse);
        text->setAccessibleName(name);
        section->addWidget(label, row, 0, Qt::AlignLeft | Qt::AlignTop);
        section->addWidget(text, row, 1);
        ++row;
    }
    auto* promise = wrapped(tr("That is all. Your address is only used to answer you. No mail, "
                               "contacts, names or other personal information is sent."),
                            m_diagnostics);
    makeSecondary(promise);
    section->addWidget(promise, row, 0, 1, 2);
    section->setColumnStretch(1, 1);
    layout->addWidget(m_diagnostics);

    auto* replyRow = new QHBoxLayout();
    auto* replyLabel = new QLabel(tr("Reply to:"), this);
    makeSecondary(replyLabel);
    m_replyTo = new QLabel(this);
    m_replyTo->setObjectName(QStringLiteral("feedbackReplyTo"));
    m_replyTo->setTextFormat(Qt::PlainText);
    replyLabel->setBuddy(m_replyTo);
    replyRow->addWidget(replyLabel);
    replyRow->addWidget(m_replyTo, 1);
    layout->addLayout(replyRow);

    m_error = wrapped(QString(), this);
    m_error->setObjectName(QStringLiteral("feedbackError"));
    QPalette errorPalette = m_error->palette();
    errorPalette.setColor(QPalette::WindowText, QColor(0xc0, 0x1c, 0x28));
    m_error->setPalette(errorPalette);
    m_error->hide();
    layout->addWidget(m_error);

    m_noAddress = wrapped(tr("This build of Veldrin has no address to send feedback to, so it "
                             "cannot be sent from here."),
                          this);
    m_noAddress->setObjectName(QStringLiteral("feedbackNoAddress"));
    makeSecondary(m_noAddress);
    layout->addWidget(m_noAddress);

    auto* buttons = new QHBoxLayout();
    buttons->addStretch(1);
    m_cancel = new QPushButton(tr("Cancel"), this);
    m_cancel->setObjectName(QStringLiteral("feedbackCancel"));
    m_send = new QPushButton(tr("Send"), this);
    m_send->setObjectName(QStringLiteral("feedbackSend"));
    m_send->setDefault(true);
    buttons->addWidget(m_cancel);
    buttons->addWidget(m_send);
    layout->addLayout(buttons);

    QObject::connect(m_kind, &QComboBox::currentIndexChanged, this, &FeedbackWindow::showState);
    QObject::connect(m_text, &QPlainTextEdit::textChanged, this, &FeedbackWindow::showState);
    QObject::connect(m_cancel, &QPushButton::clicked, this, &QWidget::close);
    QObject::connect(m_send, &QPushButton::clicked, this, &FeedbackWindow::send);
    auto* close = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    QObject::connect(close, &QShortcut::activated, this, &QWidget::close);
    // Ctrl+Return sends from inside the text, where Return starts a new line.
    auto* sendKey = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Return), this);
    QObject::connect(sendKey, &QShortcut::activated, this, [this] {
        if (m_send->isVisible() && m_send->isEnabled())
            send();
    });
    QObject::connect(state, &AppState::identitiesChanged, this, &FeedbackWindow::showState);
    QObject::connect(state, &AppState::accountNameChanged, this, &FeedbackWindow::showState);
    showState();
    m_text->setFocus();
}

FeedbackKind FeedbackWindow::kind() const
{
    return FeedbackKind(m_kind->currentData().toInt());
}

void FeedbackWindow::setKind(FeedbackKind kind)
{
    m_kind->setCurrentIndex(m_kind->findData(int(kind)));
}

void FeedbackWindow::showState()
{
    const bool bug = kind() == FeedbackKind::Bug;
    m_text->setPlaceholderText(bug ? tr("What happened, and what did you expect instead?")
                                   : tr("What would you like Veldrin to do?"));
    m_text->setAccessibleName(m_text->placeholderText());
    m_diagnostics->setVisible(bug);
    const auto identity = m_state ? m_state->feedbackIdentity() : std::nullopt;
    m_replyTo->setText(identity ? identity->email : tr("No account"));
    const bool addressed = m_state && !m_state->supportAddress().isEmpty();
    m_noAddress->setVisible(!addressed);
    m_send->setVisible(addressed);
    m_send->setEnabled(!m_isSending && identity && !m_text->toPlainText().trimmed().isEmpty());
    m_text->setReadOnly(m_isSending);
}

void FeedbackWindow::send()
{
    if (m_isSending || !m_state)
        return;
    m_isSending = true;
    m_error->clear();
    m_error->hide();
    showState();
    runSend(this, m_state, m_text->toPlainText(), kind());
}

QCoro::Task<> FeedbackWindow::runSend(QPointer<FeedbackWindow> self, QPointer<AppState> state,
                                      QString text, FeedbackKind kind)
{
    if (!state)
        co_return;
    std::exception_ptr failure;
    try {
        co_await state->sendFeedback(text, kind);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    self->m_isSending = false;
    if (failure) {
        // The window stays open with the text, so nothing typed is lost.
        self->m_error->setText(Errors::describe(failure));
        self->m_error->show();
        self->showState();
        co_return;
    }
    self->m_text->clear();
    self->showState();
    self->close();
    if (state)
        state->showToast(
            QStringLiteral("Thanks, your %1 is sent").arg(Feedback::title(kind).toLower()), {},
            false, 5);
}
