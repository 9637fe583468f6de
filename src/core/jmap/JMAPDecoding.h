#pragma once

#include "Errors.h"
#include "Json.h"

#include <QDateTime>
#include <QJsonValue>
#include <QString>

#include <optional>

// The one way a JMAP JSON value becomes a record. A record type T provides
//   static constexpr const char* jsonTypeName = "Email";
//   static T fromJson(const QJsonObject&);   // throws DecodeError
// Failures become JMAPError::malformed naming the list or record, as in
// "Array<Mailbox>: No value for the required key "sortOrder"."
namespace JMAPDecoding {

// RFC 3339 text with or without fractional seconds, "Z" or a numeric offset.
std::optional<QDateTime> parseDate(const QString& text);
// An instant as ISO 8601 text in UTC, without fractional seconds: "2026-11-21T09:30:00Z".
QString formatDate(const QDateTime& date);

template <typename T> QList<T> decodeList(const QJsonValue& value)
{
    const QString typeName = QStringLiteral("Array<%1>").arg(QLatin1String(T::jsonTypeName));
    if (!value.isArray())
        throw JMAPError::malformed(QStringLiteral("missing %1").arg(typeName));
    try {
        return Json::decodeArray<T>(value, typeName, &T::fromJson);
    } catch (const DecodeError& error) {
        throw JMAPError::malformed(QStringLiteral("%1: %2").arg(typeName, error.description()));
    }
}

template <typename T> T decode(const QJsonValue& value)
{
    const QString typeName = QLatin1String(T::jsonTypeName);
    if (!value.isObject())
        throw JMAPError::malformed(QStringLiteral("missing %1").arg(typeName));
    try {
        return T::fromJson(value.toObject());
    } catch (const DecodeError& error) {
        throw JMAPError::malformed(QStringLiteral("%1: %2").arg(typeName, error.description()));
    }
}

} // namespace JMAPDecoding
