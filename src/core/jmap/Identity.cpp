#include "Identity.h"

#include "Json.h"

Identity Identity::fromJson(const QJsonObject& object)
{
    Identity identity;
    identity.id = Json::requiredString(object, QStringLiteral("id"));
    identity.name = Json::requiredString(object, QStringLiteral("name"));
    identity.email = Json::requiredString(object, QStringLiteral("email"));
    identity.textSignature = Json::optionalString(object, QStringLiteral("textSignature"));
    return identity;
}

QJsonObject Identity::toJson() const
{
    QJsonObject object{{QStringLiteral("id"), id},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("email"), email}};
    Json::insertIfPresent(object, QStringLiteral("textSignature"), textSignature);
    return object;
}
