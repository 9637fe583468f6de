#include "RawMessageView.h"

#include "app/state/AppState.h"

#include <QClipboard>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

RawMessageView::RawMessageView(AppState* state, QWidget* parent) : QDialog(parent), m_state(state)
{
    setObjectName(QStringLiteral("rawMessage"));
    setWindowModality(Qt::WindowModal);
    setWindowTitle(tr("Raw Message"));
    resize(760, 560);
    auto* layout = new QVBoxLayout(this);
    m_subject = new QLabel(this);
    m_subject->setTextFormat(Qt::PlainText);
    m_subject->setObjectName(QStringLiteral("rawSubject"));
    m_subject->setWordWrap(true);
    QFont heading = m_subject->font();
    heading.setPointSizeF(heading.pointSizeF() * 1.2);
    heading.setWeight(QFont::DemiBold);
    m_subject->setFont(heading);
    layout->addWidget(m_subject);

    m_source = new QPlainTextEdit(this);
    m_source->setObjectName(QStringLiteral("rawSource"));
    m_source->setReadOnly(true);
    m_source->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_source->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_source->setAccessibleName(tr("Message source"));
    layout->addWidget(m_source, 1);
    m_busy = new QProgressBar(this);
    m_busy->setRange(0, 0);
    m_busy->setTextVisible(false);
    m_busy->setFixedHeight(4);
    m_busy->setAccessibleName(tr("Loading message source"));
    layout->addWidget(m_busy);

    auto* buttons = new QDialogButtonBox(this);
    m_copy = buttons->addButton(tr("Copy"), QDialogButtonBox::ActionRole);
    m_copy->setObjectName(QStringLiteral("copyButton"));
    QPushButton* close = buttons->addButton(tr("Close"), QDialogButtonBox::RejectRole);
    close->setObjectName(QStringLiteral("closeButton"));
    close->setDefault(true);
    layout->addWidget(buttons);
    QObject::connect(m_copy, &QPushButton::clicked, this, [this] {
        if (const auto& raw = m_state->rawMessage(); raw && raw->source)
            QGuiApplication::clipboard()->setText(*raw->source);
    });
    QObject::connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    QObject::connect(state, &AppState::rawMessageChanged, this, &RawMessageView::showState);
    showState();
}

void RawMessageView::showState()
{
    const auto& raw = m_state->rawMessage();
    if (!raw) {
        if (isVisible())
            QDialog::done(Rejected);
        return;
    }
    m_subject->setText(raw->subject.isEmpty() ? tr("(no subject)") : raw->subject);
    const bool loaded = raw->source.has_value();
    if (loaded && m_source->toPlainText() != *raw->source)
        m_source->setPlainText(*raw->source);
    m_source->setVisible(loaded);
    m_busy->setVisible(!loaded);
    m_copy->setEnabled(loaded);
    if (!isVisible())
        open();
}

void RawMessageView::done(int result)
{
    QDialog::done(result);
    // Closing the window ends the request; a source still on its way is dropped by the state.
    m_state->setRawMessage(std::nullopt);
}
