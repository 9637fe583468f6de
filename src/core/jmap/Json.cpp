#include "Json.h"

#include "JMAPDecoding.h"

#include <cmath>

namespace Json {

namespace {

QJsonValue present(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        fail(QStringLiteral("No value for the required key \"%1\".").arg(key));
    return value;
}

bool absent(const QJsonValue& value)
{
    return value.isUndefined() || value.isNull();
}

[[noreturn]] void wrongType(const QString& key, const char* expected)
{
    fail(QStringLiteral("The value of \"%1\" is not %2.").arg(key, QLatin1String(expected)));
}

QString stringValue(const QJsonValue& value, const QString& key)
{
    if (!value.isString())
        wrongType(key, "a string");
    return validText(value.toString());
}

qint64 integerValue(const QJsonValue& value, const QString& key)
{
    const auto integer = toInteger(value);
    if (!integer)
        wrongType(key, "an integer");
    return *integer;
}

bool boolValue(const QJsonValue& value, const QString& key)
{
    if (!value.isBool())
        wrongType(key, "a boolean");
    return value.toBool();
}

QStringList stringListValue(const QJsonValue& value, const QString& key)
{
    if (!value.isArray())
        wrongType(key, "an array of strings");
    QStringList result;
    const QJsonArray array = value.toArray();
    result.reserve(array.size());
    for (const QJsonValue& element : array) {
        if (!element.isString())
            wrongType(key, "an array of strings");
        result.append(validText(element.toString()));
    }
    return result;
}

} // namespace

QString validText(const QString& text)
{
    QString result = text;
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        const QChar c = text.at(i);
        if (!c.isSurrogate())
            continue;
        if (c.isHighSurrogate() && i + 1 < size && text.at(i + 1).isLowSurrogate()) {
            ++i;
            continue;
        }
        // Only a text that needs the repair is copied.
        result[i] = QChar::ReplacementCharacter;
    }
    return result;
}

void fail(const QString& message)
{
    throw DecodeError(message);
}

std::optional<qint64> toInteger(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    // 2^63 is exactly representable; anything at or beyond it does not fit.
    if (!std::isfinite(number) || std::trunc(number) != number || number >= 9223372036854775808.0 ||
        number < -9223372036854775808.0)
        return std::nullopt;
    return static_cast<qint64>(number);
}

QDateTime toDate(const QJsonValue& value, const QString& key)
{
    const QString text = stringValue(value, key);
    const auto date = JMAPDecoding::parseDate(text);
    if (!date)
        fail(QStringLiteral("Invalid date %1").arg(text));
    return *date;
}

QString requiredString(const QJsonObject& object, const QString& key)
{
    return stringValue(present(object, key), key);
}

std::optional<QString> optionalString(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (absent(value))
        return std::nullopt;
    return stringValue(value, key);
}

qint64 requiredInteger(const QJsonObject& object, const QString& key)
{
    return integerValue(present(object, key), key);
}

std::optional<qint64> optionalInteger(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (absent(value))
        return std::nullopt;
    return integerValue(value, key);
}

bool requiredBool(const QJsonObject& object, const QString& key)
{
    return boolValue(present(object, key), key);
}

std::optional<bool> optionalBool(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (absent(value))
        return std::nullopt;
    return boolValue(value, key);
}

QDateTime requiredDate(const QJsonObject& object, const QString& key)
{
    return toDate(present(object, key), key);
}

std::optional<QDateTime> optionalDate(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (absent(value))
        return std::nullopt;
    return toDate(value, key);
}

QStringList requiredStringList(const QJsonObject& object, const QString& key)
{
    return stringListValue(present(object, key), key);
}

std::optional<QStringList> optionalStringList(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (absent(value))
        return std::nullopt;
    return stringListValue(value, key);
}

QJsonObject requiredObject(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = present(object, key);
    if (!value.isObject())
        wrongType(key, "an object");
    return value.toObject();
}

std::optional<QJsonObject> optionalObject(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (absent(value))
        return std::nullopt;
    if (!value.isObject())
        wrongType(key, "an object");
    return value.toObject();
}

QMap<QString, bool> requiredBoolMap(const QJsonObject& object, const QString& key)
{
    const QJsonObject map = requiredObject(object, key);
    QMap<QString, bool> result;
    for (auto it = map.begin(); it != map.end(); ++it)
        result.insert(it.key(), boolValue(it.value(), key));
    return result;
}

std::optional<QMap<QString, QString>> optionalStringMap(const QJsonObject& object,
                                                        const QString& key)
{
    const auto map = optionalObject(object, key);
    if (!map)
        return std::nullopt;
    QMap<QString, QString> result;
    for (auto it = map->begin(); it != map->end(); ++it)
        result.insert(it.key(), stringValue(it.value(), key));
    return result;
}

QJsonObject asObject(const QJsonValue& value, const QString& what)
{
    if (!value.isObject())
        fail(QStringLiteral("%1 is not an object.").arg(what));
    return value.toObject();
}

} // namespace Json
