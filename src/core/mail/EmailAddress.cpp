#include "EmailAddress.h"

#include "jmap/Json.h"

EmailAddress EmailAddress::fromJson(const QJsonObject& object)
{
    EmailAddress address;
    address.name = Json::optionalString(object, QStringLiteral("name"));
    address.email = Json::requiredString(object, QStringLiteral("email"));
    return address;
}

QJsonObject EmailAddress::toJson() const
{
    return QJsonObject{{QStringLiteral("name"), name ? QJsonValue(*name) : QJsonValue::Null},
                       {QStringLiteral("email"), email}};
}

size_t qHash(const EmailAddress& address, size_t seed)
{
    return qHashMulti(seed, address.name.has_value(), address.name.value_or(QString()),
                      address.email);
}

EmailAddress identityAddress(const Identity& identity)
{
    EmailAddress address;
    if (!identity.name.isEmpty())
        address.name = identity.name;
    address.email = identity.email;
    return address;
}
