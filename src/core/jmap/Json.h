#pragma once

#include "Errors.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// Strict readers for JSON records. A required key that is missing or null, or any key whose
// value has the wrong type, throws DecodeError naming the key. Optional readers treat a
// missing key and JSON null alike as absent.
namespace Json {

[[noreturn]] void fail(const QString& message);

// The text with each lone UTF-16 surrogate (a JSON "\ud800" on its own) replaced by U+FFFD.
// Every string a reader returns is repaired so: Qt's regular expressions refuse invalid text
// and would silently match nothing in it.
QString validText(const QString& text);

// Integers: a JSON number with no fractional part that fits in 64 bits.
std::optional<qint64> toInteger(const QJsonValue& value);
// Dates: RFC 3339 text, see JMAPDecoding::parseDate.
QDateTime toDate(const QJsonValue& value, const QString& key);

QString requiredString(const QJsonObject& object, const QString& key);
std::optional<QString> optionalString(const QJsonObject& object, const QString& key);
qint64 requiredInteger(const QJsonObject& object, const QString& key);
std::optional<qint64> optionalInteger(const QJsonObject& object, const QString& key);
bool requiredBool(const QJsonObject& object, const QString& key);
std::optional<bool> optionalBool(const QJsonObject& object, const QString& key);
QDateTime requiredDate(const QJsonObject& object, const QString& key);
std::optional<QDateTime> optionalDate(const QJsonObject& object, const QString& key);
QStringList requiredStringList(const QJsonObject& object, const QString& key);
std::optional<QStringList> optionalStringList(const QJsonObject& object, const QString& key);
QJsonObject requiredObject(const QJsonObject& object, const QString& key);
std::optional<QJsonObject> optionalObject(const QJsonObject& object, const QString& key);
QMap<QString, bool> requiredBoolMap(const QJsonObject& object, const QString& key);
std::optional<QMap<QString, QString>> optionalStringMap(const QJsonObject& object,
                                                        const QString& key);

// The object itself, or a DecodeError naming what was expected.
QJsonObject asObject(const QJsonValue& value, const QString& what);

// A list of records, each decoded by `decode` from its object.
template <typename T>
QList<T> decodeArray(const QJsonValue& value, const QString& key,
                     const std::function<T(const QJsonObject&)>& decode)
{
    if (!value.isArray())
        fail(QStringLiteral("The value of \"%1\" is not an array.").arg(key));
    QList<T> result;
    const QJsonArray array = value.toArray();
    result.reserve(array.size());
    int index = 0;
    for (const QJsonValue& element : array) {
        if (!element.isObject())
            fail(QStringLiteral("Element %1 of \"%2\" is not an object.").arg(index).arg(key));
        result.append(decode(element.toObject()));
        ++index;
    }
    return result;
}

template <typename T>
QList<T> requiredArray(const QJsonObject& object, const QString& key,
                       const std::function<T(const QJsonObject&)>& decode)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        fail(QStringLiteral("No value for the required key \"%1\".").arg(key));
    return decodeArray<T>(value, key, decode);
}

template <typename T>
std::optional<QList<T>> optionalArray(const QJsonObject& object, const QString& key,
                                      const std::function<T(const QJsonObject&)>& decode)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    return decodeArray<T>(value, key, decode);
}

// Writers for the optional fields of records that go back to the server.
inline void insertIfPresent(QJsonObject& object, const QString& key,
                            const std::optional<QString>& value)
{
    if (value)
        object.insert(key, *value);
}
inline void insertIfPresent(QJsonObject& object, const QString& key,
                            const std::optional<qint64>& value)
{
    if (value)
        object.insert(key, *value);
}

} // namespace Json
