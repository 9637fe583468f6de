#include "Keychain.h"

#include "SystemSecretStore.h"

#include <QStringDecoder>

namespace Keychain {

SecretStore& systemStore()
{
    static SystemSecretStore store(service, account);
    return store;
}

std::optional<QString> readToken(SecretStore& store)
{
    const auto data = store.read();
    if (!data)
        return std::nullopt;
    // Strict decoding: bytes that are not UTF-8 are no token, rather than one with
    // replacement characters that the server would reject.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString token = decoder.decode(*data);
    if (decoder.hasError())
        return std::nullopt;
    return token;
}

bool saveToken(SecretStore& store, const QString& token)
{
    // The status of the delete does not matter: the add below tells whether the keychain
    // holds the new token, and an empty token only asks for the item to be gone.
    store.remove();
    if (token.isEmpty())
        return true;
    return store.add(token.toUtf8());
}

std::optional<QString> readToken()
{
    return readToken(systemStore());
}

bool saveToken(const QString& token)
{
    return saveToken(systemStore(), token);
}

} // namespace Keychain
