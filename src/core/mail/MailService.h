#pragma once

#include "jmap/Identity.h"
#include "jmap/JMAPClient.h"
#include "jmap/Mailbox.h"

#include <QCoroTask>

#include <memory>

// Builds the JMAP mail batches; every read and write of mail goes through here.
// Callers hold the service in a shared_ptr and keep it alive across their awaits.
class MailService
{
public:
    explicit MailService(std::shared_ptr<JMAPClient> client) : m_client(std::move(client)) {}

    const std::shared_ptr<JMAPClient>& client() const { return m_client; }

    // All mailboxes, in the server's order.
    QCoro::Task<QList<Mailbox>> mailboxes();
    // The identities the account may send from, without wildcard ones.
    QCoro::Task<QList<Identity>> identities();

private:
    std::shared_ptr<JMAPClient> m_client;
};
