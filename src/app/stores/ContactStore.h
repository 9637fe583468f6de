#pragma once

#include "app/stores/DirectoryStore.h"
#include "directory/Contact.h"
#include "directory/ContactDetails.h"
#include "directory/ContactService.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

// What the contacts window shows: the address book of the connected account, or demo data when
// there is no service. The list changes only after the server agreed, so a failed edit leaves
// it as it was.
class ContactStore : public DirectoryStoreOf<Contact, ContactService>
{
    Q_OBJECT
    Q_PROPERTY(QList<Contact> items READ items NOTIFY itemsChanged)

public:
    explicit ContactStore(QObject* parent = nullptr);

    // Fills the list without a server, as demo mode does; the list is put in display order.
    void setItems(QList<Contact> items);

    // True when the contact now exists.
    QCoro::Task<bool> create(ContactDetails details);
    // True when saved.
    QCoro::Task<bool> update(Contact contact, ContactDetails details);
    QCoro::Task<> deleteContacts(QSet<QString> ids);
};
