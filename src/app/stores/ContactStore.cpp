#include "ContactStore.h"

#include "jmap/Errors.h"

#include <QPointer>
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

ContactStore::ContactStore(QObject* parent) : QObject(parent) {}

void ContactStore::setItems(QList<Contact> items)
{
    Contact::sortByDisplayName(items);
    replaceItems(std::move(items));
}

void ContactStore::replaceItems(QList<Contact> items)
{
    if (items == m_items)
        return;
    m_items = std::move(items);
    Q_EMIT itemsChanged();
}

void ContactStore::setLoading(bool loading)
{
    if (loading == m_isLoading)
        return;
    m_isLoading = loading;
    Q_EMIT isLoadingChanged();
}

void ContactStore::setHasLoaded(bool loaded)
{
    if (loaded == m_hasLoaded)
        return;
    m_hasLoaded = loaded;
    Q_EMIT hasLoadedChanged();
}

void ContactStore::setError(const QString& error)
{
    if (error == m_error)
        return;
    m_error = error;
    Q_EMIT errorChanged();
}

void ContactStore::setService(std::shared_ptr<ContactService> service)
{
    if (service == m_service)
        return;
    m_service = std::move(service);
    ++m_generation;
    replaceItems({});
    setHasLoaded(false);
    clearError();
    // A load still running belongs to the former service and is dropped when it comes back, so
    // it must not keep the new service from loading.
    setLoading(false);
}

bool ContactStore::isCurrent(quint64 generation,
                             const std::shared_ptr<ContactService>& service) const
{
    return generation == m_generation && service == m_service;
}

void ContactStore::report(std::exception_ptr error)
{
    if (Errors::isCancellation(error))
        return;
    setError(Errors::describe(error));
}

QCoro::Task<> ContactStore::load()
{
    if (!m_service || m_isLoading)
        co_return;
    const QPointer<ContactStore> self(this);
    const std::shared_ptr<ContactService> service = m_service;
    const quint64 generation = m_generation;
    setLoading(true);
    try {
        QList<Contact> contacts = co_await service->list();
        if (!self || !isCurrent(generation, service))
            co_return;
        // The service already delivers the display order.
        replaceItems(std::move(contacts));
        setHasLoaded(true);
        clearError();
    } catch (...) {
        if (!self || !isCurrent(generation, service))
            co_return;
        report(std::current_exception());
    }
    setLoading(false);
}

QCoro::Task<bool> ContactStore::create(ContactDetails details)
{
    const QPointer<ContactStore> self(this);
    const std::shared_ptr<ContactService> service = m_service;
    const quint64 generation = m_generation;
    try {
        Contact contact;
        if (service) {
            contact = co_await service->create(details);
            if (!self || !isCurrent(generation, service))
                co_return true;
        } else {
            contact = localContact(QUuid::createUuid().toString(QUuid::WithoutBraces), details);
        }
        QList<Contact> items = m_items;
        items.append(contact);
        Contact::sortByDisplayName(items);
        replaceItems(std::move(items));
        clearError();
        co_return true;
    } catch (...) {
        if (self && isCurrent(generation, service))
            report(std::current_exception());
    }
    co_return false;
}

QCoro::Task<bool> ContactStore::update(Contact contact, ContactDetails details)
{
    const QPointer<ContactStore> self(this);
    const std::shared_ptr<ContactService> service = m_service;
    const quint64 generation = m_generation;
    try {
        Contact saved;
        if (service) {
            saved = co_await service->update(contact, details);
            if (!self || !isCurrent(generation, service))
                co_return true;
        } else {
            saved = localContact(contact.id, details);
        }
        QList<Contact> items = m_items;
        for (Contact& item : items) {
            if (item.id == saved.id) {
                item = saved;
                break;
            }
        }
        Contact::sortByDisplayName(items);
        replaceItems(std::move(items));
        clearError();
        co_return true;
    } catch (...) {
        if (self && isCurrent(generation, service))
            report(std::current_exception());
    }
    co_return false;
}

QCoro::Task<> ContactStore::deleteContacts(QSet<QString> ids)
{
    if (ids.isEmpty())
        co_return;
    const QPointer<ContactStore> self(this);
    const std::shared_ptr<ContactService> service = m_service;
    const quint64 generation = m_generation;
    try {
        if (service) {
            QStringList sorted(ids.begin(), ids.end());
            sorted.sort();
            co_await service->deleteContacts(sorted);
            if (!self || !isCurrent(generation, service))
                co_return;
        }
        QList<Contact> items = m_items;
        items.removeIf([&ids](const Contact& contact) { return ids.contains(contact.id); });
        replaceItems(std::move(items));
        clearError();
    } catch (...) {
        if (self && isCurrent(generation, service))
            report(std::current_exception());
    }
}
