#include "ContactsWindow.h"

#include "ContactEditor.h"
#include "ContactTableModel.h"
#include "DirectoryEmptyState.h"
#include "DirectoryTable.h"
#include "app/state/AppState.h"
#include "app/stores/ContactStore.h"
#include "content/EmailAddresses.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>

ContactsWindow::ContactsWindow(AppState* state, QWidget* parent)
    : DirectoryWindow(state, state->contacts(), tr("New Contact"), parent),
      m_store(state->contacts()), m_model(new ContactTableModel(m_store, this))
{
    setObjectName(QStringLiteral("contactsWindow"));
    setWindowTitle(tr("Contacts"));
    resize(900, 560);
    searchField()->setPlaceholderText(tr("Search contacts"));
    searchField()->setAccessibleName(tr("Search contacts"));
    connect(searchField(), &QLineEdit::textChanged, m_model, &ContactTableModel::setSearch);
    setModel(m_model, ContactTableModel::IdRole);
    table()->setAccessibleName(tr("Contacts"));
    QHeaderView* header = table()->horizontalHeader();
    header->resizeSection(ContactTableModel::NameColumn, 220);
    header->resizeSection(ContactTableModel::EmailColumn, 260);
    header->resizeSection(ContactTableModel::PhoneColumn, 160);
    header->setSortIndicator(ContactTableModel::NameColumn, Qt::AscendingOrder);
    // Email and phone do not sort: a click there leaves the order and its arrow as they were.
    connect(header, &QHeaderView::sortIndicatorChanged, this, [this, header](int column) {
        if (!ContactTableModel::isSortable(column)) {
            const QSignalBlocker blocker(header);
            header->setSortIndicator(m_model->sortColumn(), m_model->sortOrder());
        }
    });
}

bool ContactsWindow::canAct() const
{
    return m_store->service() || state()->isDemo();
}

void ContactsWindow::load()
{
    m_store->load();
}

void ContactsWindow::showEmptyState(DirectoryEmptyState* empty)
{
    disconnect(empty, &DirectoryEmptyState::actionTriggered, this, nullptr);
    if (!state()->hasContacts() && !state()->isDemo()) {
        empty->show(QStringLiteral("network.slash"), tr("Not Connected"),
                    tr("Add a Fastmail API token with access to contacts in Settings."),
                    tr("Open Settings…"), true);
        connect(empty, &DirectoryEmptyState::actionTriggered, this,
                &DirectoryWindow::openSettingsRequested);
    } else if (m_store->items().isEmpty()) {
        if (m_store->isLoading() && !m_store->hasLoaded())
            return empty->clear();
        empty->show(QStringLiteral("person.crop.circle"), tr("No Contacts"),
                    tr("People you add here are kept in your Fastmail address book."),
                    tr("New Contact"));
        connect(empty, &DirectoryEmptyState::actionTriggered, this, &ContactsWindow::create);
    } else {
        empty->show(QStringLiteral("magnifyingglass"),
                    tr("No Results for “%1”").arg(searchField()->text().trimmed()),
                    tr("Check the spelling or try a new search."));
    }
}

QMenu* ContactsWindow::contextMenu(const QSet<QString>& ids)
{
    if (ids.isEmpty())
        return nullptr;
    const QList<Contact> chosen = m_model->contacts(ids);
    auto* menu = new QMenu(this);
    QAction* message = menu->addAction(tr("New Message"), this, [this, ids] { newMessage(ids); });
    message->setEnabled(!ContactTableModel::recipients(chosen).isEmpty());
    if (chosen.size() == 1) {
        const Contact contact = chosen.first();
        if (const auto email = contact.primaryEmail())
            menu->addAction(tr("Copy Email Address"), this, [email] { copy(*email); });
        if (!contact.phones.isEmpty())
            menu->addAction(tr("Copy Phone Number"), this,
                            [phone = contact.phones.first().value] { copy(phone); });
        menu->addSeparator();
        menu->addAction(tr("Edit…"), this, [this, ids] { edit(ids); });
    }
    menu->addSeparator();
    menu->addAction(tr("Delete…"), this, [this, ids] { askToDelete(ids); });
    return menu;
}

void ContactsWindow::edit(const QSet<QString>& ids)
{
    const QList<Contact> chosen = ids.size() == 1 ? m_model->contacts(ids) : QList<Contact>();
    if (!chosen.isEmpty())
        openEditor<ContactEditor>(m_store, std::optional(chosen.first()));
}

void ContactsWindow::create()
{
    openEditor<ContactEditor>(m_store, std::optional<Contact>());
}

void ContactsWindow::newMessage(const QSet<QString>& ids)
{
    const QList<EmailAddress> to = ContactTableModel::recipients(m_model->contacts(ids));
    if (!to.isEmpty())
        state()->compose(std::nullopt, std::nullopt, to);
}

QString ContactsWindow::deleteTitle(qsizetype count) const
{
    return count == 1 ? tr("Delete this contact?") : tr("Delete %1 contacts?").arg(count);
}

QString ContactsWindow::deleteMessage() const
{
    return tr("It is removed from your Fastmail address book on all your devices.");
}

void ContactsWindow::remove(const QSet<QString>& ids)
{
    m_store->deleteContacts(ids);
}

QString ContactsWindow::copyText(const QSet<QString>& ids) const
{
    // The form a recipient field reads back, so a paste into To addresses them all.
    QStringList entries;
    for (const EmailAddress& address : ContactTableModel::recipients(m_model->contacts(ids)))
        entries.append(EmailAddresses::listEntry(address));
    return entries.join(QStringLiteral(", "));
}
