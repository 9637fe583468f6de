#include "MailService.h"

#include <QJsonArray>
#include <QSet>

namespace {

const QString accountIdKey = QStringLiteral("accountId");

} // namespace

QCoro::Task<> MailService::update(QMap<QString, QJsonObject> patches)
{
    if (patches.isEmpty())
        co_return;
    const QString accountId = co_await m_client->accountId();
    QJsonObject update;
    for (auto it = patches.cbegin(); it != patches.cend(); ++it)
        update.insert(it.key(), it.value());
    const QList<Invocation> calls{
        {QStringLiteral("Email/set"),
         QJsonObject{{accountIdKey, accountId}, {QStringLiteral("update"), update}},
         QStringLiteral("0")}};
    const QList<Invocation> responses = co_await m_client->call(calls);
    throwSetError(arguments(responses, QStringLiteral("0")), QStringLiteral("notUpdated"));
}

QCoro::Task<> MailService::move(QList<Email> emails, std::optional<QString> from, QString to)
{
    QMap<QString, QJsonObject> patches;
    for (const Email& email : emails) {
        if (from)
            patches.insert(email.id,
                           QJsonObject{{QStringLiteral("mailboxIds/") + *from, QJsonValue::Null},
                                       {QStringLiteral("mailboxIds/") + to, true}});
        else
            patches.insert(email.id,
                           QJsonObject{{QStringLiteral("mailboxIds"), QJsonObject{{to, true}}}});
    }
    co_await update(patches);
}

QCoro::Task<> MailService::setKeyword(QString keyword, bool on, QStringList emailIds)
{
    QMap<QString, QJsonObject> patches;
    const QJsonValue value = on ? QJsonValue(true) : QJsonValue(QJsonValue::Null);
    for (const QString& id : emailIds)
        patches.insert(id, QJsonObject{{QStringLiteral("keywords/") + keyword, value}});
    co_await update(patches);
}

QCoro::Task<QStringList> MailService::markAllRead(QString inMailbox, qint64 batchSize)
{
    QStringList changed;
    QSet<QString> handled;
    const QString accountId = co_await m_client->accountId();
    while (true) {
        const QList<Invocation> calls{
            {QStringLiteral("Email/query"),
             QJsonObject{{accountIdKey, accountId},
                         {QStringLiteral("filter"),
                          QJsonObject{{QStringLiteral("inMailbox"), inMailbox},
                                      {QStringLiteral("notKeyword"), QStringLiteral("$seen")}}},
                         {QStringLiteral("limit"), batchSize}},
             QStringLiteral("query")}};
        const QList<Invocation> responses = co_await m_client->call(calls);
        const QJsonValue idsValue =
            arguments(responses, QStringLiteral("query")).value(QStringLiteral("ids"));
        QStringList ids;
        bool allStrings = idsValue.isArray();
        for (const QJsonValue& id : idsValue.toArray()) {
            allStrings = allStrings && id.isString();
            ids.append(id.toString());
        }
        if (!allStrings)
            ids.clear();

        // A server that ignores the limit may send any number of ids, repeats included.
        QStringList fresh;
        for (const QString& id : ids) {
            if (handled.contains(id))
                continue;
            handled.insert(id);
            fresh.append(id);
        }
        // Ids the server still reports unread after a change are not patched again, so a round
        // with nothing new ends the loop.
        if (fresh.isEmpty())
            break;
        QMap<QString, QJsonObject> patches;
        for (const QString& id : fresh)
            patches.insert(id, QJsonObject{{QStringLiteral("keywords/$seen"), true}});
        co_await update(patches);
        changed.append(fresh);
        if (ids.size() < batchSize)
            break;
    }
    co_return changed;
}

QCoro::Task<> MailService::destroy(QStringList emailIds)
{
    if (emailIds.isEmpty())
        co_return;
    const QString accountId = co_await m_client->accountId();
    const QList<Invocation> calls{
        {QStringLiteral("Email/set"),
         QJsonObject{{accountIdKey, accountId},
                     {QStringLiteral("destroy"), QJsonArray::fromStringList(emailIds)}},
         QStringLiteral("0")}};
    const QList<Invocation> responses = co_await m_client->call(calls);
    throwSetError(arguments(responses, QStringLiteral("0")), QStringLiteral("notDestroyed"));
}
