#pragma once

#include "jmap/Identity.h"
#include "jmap/JMAPClient.h"
#include "jmap/Mailbox.h"

#include <QCoroTask>

#include <QJsonObject>

#include <memory>
#include <optional>

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

    // A "/set" response reports refused records in its body: throws JMAPError::method for the
    // refusal under `key` ("notCreated", "notUpdated", "notDestroyed"), for the record `only`
    // when given, else for the first one in map order.
    static void throwSetError(const QJsonObject& arguments, const QString& key,
                              const std::optional<QString>& only = std::nullopt);

private:
    std::shared_ptr<JMAPClient> m_client;
};
