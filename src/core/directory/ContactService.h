#pragma once

#include "Contact.h"
#include "ContactDetails.h"
#include "jmap/JMAPClient.h"

#include <QCoroTask>

#include <memory>

// The account's address book over JMAP contacts. Stateless: every operation is one or two
// batches, and errors go to the caller as JMAPError. Virtual so that stores can be tested
// against a fake.
class ContactService
{
public:
    explicit ContactService(std::shared_ptr<JMAPClient> client) : m_client(std::move(client)) {}
    virtual ~ContactService() = default;
    ContactService(const ContactService&) = delete;
    ContactService& operator=(const ContactService&) = delete;

    const std::shared_ptr<JMAPClient>& client() const { return m_client; }

    // Individual contacts in display order; groups and other kinds are left out.
    virtual QCoro::Task<QList<Contact>> list();
    // Creates the card in the default address book and returns it as stored.
    virtual QCoro::Task<Contact> create(ContactDetails details);
    // Sends only what changed and returns the card as the server now has it; unchanged details
    // return `contact` without a request.
    virtual QCoro::Task<Contact> update(Contact contact, ContactDetails details);
    // Destroys the cards; an empty list makes no request.
    virtual QCoro::Task<> deleteContacts(QStringList ids);

    // The properties read from a card.
    static const QStringList cardProperties;

private:
    QCoro::Task<QString> defaultAddressBookId(QString accountId);

    std::shared_ptr<JMAPClient> m_client;
};
