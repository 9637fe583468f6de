#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

struct EmailAddress;

// A JMAP Identity: an address the account may send from.
struct Identity
{
    static constexpr const char* jsonTypeName = "Identity";

    QString id;
    QString name;
    QString email;
    std::optional<QString> textSignature;

    bool operator==(const Identity&) const = default;

    static Identity fromJson(const QJsonObject& object);
    QJsonObject toJson() const;
};
