#pragma once

#include "SecretStore.h"

#include <QString>

#include <optional>

// The API token in the keychain: one item, addressed by a fixed service and key, so a second
// token cannot exist.
namespace Keychain {

inline const QString service = QStringLiteral("com.tolvik.veldrin");
inline const QString account = QStringLiteral("fastmail-api-token");

// The item of the user's keychain that holds the token.
SecretStore& systemStore();

// The token; absent on any failure (no item, access denied, locked keychain) and when the
// stored bytes are not UTF-8. No message: the caller behaves as having no token.
std::optional<QString> readToken(SecretStore& store);
// Replaces the token by deleting first and then adding, never updating in place. The empty
// token removes the item and always succeeds. True when the keychain now holds what was asked;
// a failed add leaves no token at all.
bool saveToken(SecretStore& store, const QString& token);

std::optional<QString> readToken();
bool saveToken(const QString& token);

} // namespace Keychain
