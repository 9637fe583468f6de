#include "MailService.h"

#include "TextTrim.h"
#include "jmap/JMAPDecoding.h"

#include <QJsonValue>

namespace {

// A batch of one "<type>/get" for all objects of the account.
QList<Invocation> getAll(const QString& method, const QString& accountId)
{
    return {{method,
             {{QStringLiteral("accountId"), accountId}, {QStringLiteral("ids"), QJsonValue::Null}},
             QStringLiteral("0")}};
}

} // namespace

QCoro::Task<QList<Mailbox>> MailService::mailboxes()
{
    const QString accountId = co_await m_client->accountId();
    const auto responses =
        co_await m_client->call(getAll(QStringLiteral("Mailbox/get"), accountId));
    co_return JMAPDecoding::decodeList<Mailbox>(
        arguments(responses, QStringLiteral("0")).value(QStringLiteral("list")));
}

QCoro::Task<QList<Identity>> MailService::identities()
{
    const QString accountId = co_await m_client->accountId();
    const auto responses =
        co_await m_client->call(getAll(QStringLiteral("Identity/get"), accountId));
    QList<Identity> identities = JMAPDecoding::decodeList<Identity>(
        arguments(responses, QStringLiteral("0")).value(QStringLiteral("list")));
    identities.removeIf([](const Identity& identity) { return identity.email.contains(u'*'); });
    co_return identities;
}

void MailService::throwSetError(const QJsonObject& arguments, const QString& key,
                                const std::optional<QString>& only)
{
    const QJsonValue map = arguments.value(key);
    if (!map.isObject())
        return;
    const QJsonObject refusals = map.toObject();
    QJsonValue chosen;
    if (only)
        chosen = refusals.value(*only);
    else if (!refusals.isEmpty())
        chosen = *refusals.begin();
    if (!chosen.isObject())
        return;
    const QJsonObject error = chosen.toObject();
    const QJsonValue descriptionValue = error.value(QStringLiteral("description"));
    QString description = descriptionValue.isString() ? descriptionValue.toString() : QString();
    QStringList properties;
    const QJsonValue propertiesValue = error.value(QStringLiteral("properties"));
    if (propertiesValue.isArray()) {
        for (const QJsonValue& property : propertiesValue.toArray()) {
            if (!property.isString()) {
                properties.clear();
                break;
            }
            properties.append(property.toString());
        }
    }
    if (!properties.isEmpty())
        description += QStringLiteral(" [%1]").arg(properties.join(QStringLiteral(", ")));
    const QJsonValue type = error.value(QStringLiteral("type"));
    throw JMAPError::method(type.isString() ? type.toString() : QStringLiteral("unknown"),
                            TextTrim::trimmed(description, TextTrim::isBlankOrTab));
}
