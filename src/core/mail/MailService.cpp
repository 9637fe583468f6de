#include "MailService.h"

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
