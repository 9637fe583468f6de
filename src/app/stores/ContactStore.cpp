#include "ContactStore.h"

#include <QUuid>

namespace {

// A contact made here without a server, as demo mode does: the server would have agreed.
Contact localContact(QString id, const ContactDetails& details)
{
    const ContactDetails form = details.trimmed();
    return Contact(std::move(id), form.givenName, form.surname, QString(), form.organization,
                   form.emails, form.phones, form.note);
}

} // namespace

ContactStore::ContactStore(QObject* parent) : DirectoryStoreOf(parent) {}

void ContactStore::setItems(QList<Contact> items)
{
    Contact::sortByDisplayName(items);
    replaceItems(std::move(items));
}

QCoro::Task<bool> ContactStore::create(ContactDetails details)
{
    const Call call(this);
    try {
        Contact contact;
        if (call.service) {
            contact = co_await call.service->create(details);
            if (!call.isCurrent())
                co_return true;
        } else {
            contact = localContact(QUuid::createUuid().toString(QUuid::WithoutBraces), details);
        }
        QList<Contact> contacts = items();
        contacts.append(contact);
        setItems(std::move(contacts));
        clearError();
        co_return true;
    } catch (...) {
        if (call.isCurrent())
            report(std::current_exception());
    }
    co_return false;
}

QCoro::Task<bool> ContactStore::update(Contact contact, ContactDetails details)
{
    const Call call(this);
    try {
        Contact saved;
        if (call.service) {
            saved = co_await call.service->update(contact, details);
            if (!call.isCurrent())
                co_return true;
        } else {
            saved = localContact(contact.id, details);
        }
        QList<Contact> contacts = items();
        for (Contact& item : contacts) {
            if (item.id == saved.id) {
                item = saved;
                break;
            }
        }
        setItems(std::move(contacts));
        clearError();
        co_return true;
    } catch (...) {
        if (call.isCurrent())
            report(std::current_exception());
    }
    co_return false;
}

QCoro::Task<> ContactStore::deleteContacts(QSet<QString> ids)
{
    if (ids.isEmpty())
        co_return;
    const Call call(this);
    try {
        if (call.service) {
            co_await call.service->deleteContacts(sortedIds(ids));
            if (!call.isCurrent())
                co_return;
        }
        QList<Contact> contacts = items();
        contacts.removeIf([&ids](const Contact& contact) { return ids.contains(contact.id); });
        replaceItems(std::move(contacts));
        clearError();
    } catch (...) {
        if (call.isCurrent())
            report(std::current_exception());
    }
}
