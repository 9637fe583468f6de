#pragma once

#include "MaskedEmail.h"
#include "MaskedEmailDetails.h"
#include "jmap/JMAPClient.h"

#include <QCoroTask>
#include <QJsonObject>
#include <QStringList>

#include <memory>

// Masked Email over the service's own JMAP methods. Stateless: one batch of one call per
// operation, errors go to the caller. Virtual so that stores can be tested against a fake.
class MaskedEmailService
{
public:
    explicit MaskedEmailService(std::shared_ptr<JMAPClient> client) : m_client(std::move(client)) {}
    virtual ~MaskedEmailService() = default;
    MaskedEmailService(const MaskedEmailService&) = delete;
    MaskedEmailService& operator=(const MaskedEmailService&) = delete;

    const std::shared_ptr<JMAPClient>& client() const { return m_client; }

    // All addresses but deleted ones, newest first.
    virtual QCoro::Task<QList<MaskedEmail>> list();
    // A new enabled address; `prefix` (may be empty) asks for the start of the address.
    virtual QCoro::Task<MaskedEmail> create(MaskedEmailDetails details, QString prefix);
    virtual QCoro::Task<> update(QString id, MaskedEmailDetails details);
    // Deleting is the state `deleted`; an empty list makes no request.
    virtual QCoro::Task<> setState(MaskedEmail::State state, QStringList ids);

private:
    QCoro::Task<QList<Invocation>> call(QString method, QJsonObject arguments);
    QCoro::Task<> applyUpdate(QJsonObject changes);

    std::shared_ptr<JMAPClient> m_client;
};
