#pragma once

#include <QByteArray>

#include <optional>

// One secret item of a keychain, seen as raw bytes. Keychain builds the token rules on top of
// it; the system keychain implements it for the program, an in-memory one for tests.
class SecretStore
{
public:
    virtual ~SecretStore() = default;

    // The item's bytes; absent when there is no item or it cannot be read for any reason.
    virtual std::optional<QByteArray> read() = 0;
    // Deletes the item; true when it is gone afterwards (also when there was none).
    virtual bool remove() = 0;
    // Creates the item; fails, like a keychain, when one exists already.
    virtual bool add(const QByteArray& data) = 0;
};
