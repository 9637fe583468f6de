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

// "missing <type>" is for a value that is absent or a scalar; an object or an array that does
// not decode reads "<type>: <what went wrong>".
inline bool isContainer(const QJsonValue& value)
{
    return value.isObject() || value.isArray();
}

template <typename T> QList<T> decodeList(const QJsonValue& value)
{
    const QString typeName = QStringLiteral("Array<%1>").arg(QLatin1String(T::jsonTypeName));
    if (!isContainer(value))
        throw JMAPError::malformed(QStringLiteral("missing %1").arg(typeName));
    if (!value.isArray())
        throw JMAPError::malformed(QStringLiteral("%1: The value is not an array.").arg(typeName));
    try {
        return Json::decodeArray<T>(value, typeName, &T::fromJson);
    } catch (const DecodeError& error) {
        throw JMAPError::malformed(QStringLiteral("%1: %2").arg(typeName, error.description()));
    }
}

template <typename T> T decode(const QJsonValue& value)
{
    const QString typeName = QLatin1String(T::jsonTypeName);
    if (!isContainer(value))
        throw JMAPError::malformed(QStringLiteral("missing %1").arg(typeName));
    if (!value.isObject())
        throw JMAPError::malformed(QStringLiteral("%1: The value is not an object.").arg(typeName));
    try {
        return T::fromJson(value.toObject());
    } catch (const DecodeError& error) {
        throw JMAPError::malformed(QStringLiteral("%1: %2").arg(typeName, error.description()));
    }
}

} // namespace JMAPDecoding
