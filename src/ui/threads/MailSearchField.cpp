#include "MailSearchField.h"

#include "app/state/AppState.h"
#include "mail/SearchQuery.h"
#include "ui/desktop/Icons.h"

#include <QAction>

MailSearchField::MailSearchField(AppState* state, QWidget* parent)
    : QLineEdit(parent), m_state(state)
{
    setObjectName(QStringLiteral("searchField"));
    setAccessibleName(tr("Search"));
    setToolTip(tr("Search operators:") + QLatin1Char('\n') + SearchQuery::help);
    addAction(Icons::icon(QStringLiteral("magnifyingglass")), QLineEdit::LeadingPosition);
    m_clear =
        new QAction(Icons::icon(QStringLiteral("xmark.circle.fill")), tr("Clear Search"), this);
    m_clear->setToolTip(tr("Clear Search"));
    addAction(m_clear, QLineEdit::TrailingPosition);

    QObject::connect(this, &QLineEdit::textEdited, state, &AppState::setSearchText);
    QObject::connect(this, &QLineEdit::returnPressed, this, &MailSearchField::submit);
    QObject::connect(m_clear, &QAction::triggered, this, &MailSearchField::clearSearch);
    for (auto signal : {&AppState::searchTextChanged, &AppState::selectedMailboxIdChanged,
                        &AppState::mailboxesChanged, &AppState::configChanged})
        QObject::connect(state, signal, this, &MailSearchField::showState);
    showState();
}

void MailSearchField::submit()
{
    m_state->setSearchText(text());
    m_state->search();
}

void MailSearchField::clearSearch()
{
    m_state->setSearchText(QString());
    m_state->search();
}

void MailSearchField::focusInEvent(QFocusEvent* event)
{
    QLineEdit::focusInEvent(event);
    showState();
}

void MailSearchField::focusOutEvent(QFocusEvent* event)
{
    QLineEdit::focusOutEvent(event);
    showState();
}

void MailSearchField::showState()
{
    const QString& search = m_state->searchText();
    if (text() != search)
        setText(search);
    m_clear->setVisible(!search.isEmpty());

    const auto mailbox = m_state->mailbox(m_state->selectedMailboxId());
    const QString prompt = tr("Search %1").arg(mailbox ? mailbox->name : tr("mail"));
    // The key hint stands in the empty field while the user is elsewhere.
    const auto binding = m_state->config().binding(MailAction::Search);
    setPlaceholderText(binding && !hasFocus() && search.isEmpty()
                           ? tr("Press %1 to search").arg(binding->display())
                           : prompt);
    setAccessibleDescription(prompt);
}
