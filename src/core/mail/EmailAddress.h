#pragma once

#include "jmap/Identity.h"

#include <QJsonObject>
#include <QString>

#include <optional>

// A JMAP EmailAddress: a mailbox with an optional display name.
struct EmailAddress
{
    static constexpr const char* jsonTypeName = "EmailAddress";

    std::optional<QString> name;
    QString email;

    bool operator==(const EmailAddress&) const = default;

    static EmailAddress fromJson(const QJsonObject& object);
    // The wire form: "name" is JSON null when absent.
    QJsonObject toJson() const;
};

size_t qHash(const EmailAddress& address, size_t seed = 0);

// The address an identity sends from: its email, with its name only when not empty.
EmailAddress identityAddress(const Identity& identity);
