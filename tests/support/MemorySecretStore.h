#pragma once

#include "config/SecretStore.h"

#include <QStringList>

// A keychain item held in memory. Like a real keychain it refuses to add over an existing
// item, and it records the calls so a test can check their order. Failures can be switched on
// to play a denied or locked keychain.
class MemorySecretStore : public SecretStore
{
public:
    std::optional<QByteArray> data;
    bool failReads = false;
    bool failRemoves = false;
    bool failAdds = false;
    QStringList calls;

    std::optional<QByteArray> read() override
    {
        calls.append(QStringLiteral("read"));
        if (failReads)
            return std::nullopt;
        return data;
    }

    bool remove() override
    {
        calls.append(QStringLiteral("remove"));
        if (failRemoves)
            return false;
        data.reset();
        return true;
    }

    bool add(const QByteArray& bytes) override
    {
        calls.append(QStringLiteral("add"));
        if (failAdds || data)
            return false;
        data = bytes;
        return true;
    }
};
