#pragma once

#include "SecretStore.h"

#include <QString>

// An item of the platform's keychain (the Secret Service on Linux) through QtKeychain. Each
// call runs its job to completion before returning, so callers see a synchronous keychain;
// user input is held back meanwhile so that no key press acts while the call waits.
class SystemSecretStore : public SecretStore
{
public:
    SystemSecretStore(QString service, QString key)
        : m_service(std::move(service)), m_key(std::move(key))
    {
    }

    std::optional<QByteArray> read() override;
    bool remove() override;
    bool add(const QByteArray& data) override;

private:
    QString m_service;
    QString m_key;
};
