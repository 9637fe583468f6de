#include "MaskedEmailService.h"

#include "jmap/JMAPDecoding.h"
#include "mail/MailService.h"

#include <algorithm>

namespace {
const QString zero = QStringLiteral("0");
} // namespace

QCoro::Task<QList<Invocation>> MaskedEmailService::call(QString method, QJsonObject arguments)
{
    const QString accountId = co_await m_client->maskedEmailAccountId();
    arguments.insert(QStringLiteral("accountId"), accountId);
    const QList<Invocation> calls{{method, arguments, zero}};
    const QStringList capabilities{JMAPClient::maskedEmailCapability};
    co_return co_await m_client->call(calls, capabilities);
}

QCoro::Task<QList<MaskedEmail>> MaskedEmailService::list()
{
    const QJsonObject request{{QStringLiteral("ids"), QJsonValue::Null}};
    const QList<Invocation> responses = co_await call(QStringLiteral("MaskedEmail/get"), request);
    QList<MaskedEmail> records = JMAPDecoding::decodeList<MaskedEmail>(
        arguments(responses, zero).value(QStringLiteral("list")));
    records.removeIf(
        [](const MaskedEmail& record) { return record.state == MaskedEmail::State::deleted; });
    std::stable_sort(records.begin(), records.end(), [](const auto& a, const auto& b) {
        return a.createdSort() > b.createdSort();
    });
    co_return records;
}

QCoro::Task<MaskedEmail> MaskedEmailService::create(MaskedEmailDetails details, QString prefix)
{
    QJsonObject record = details.json();
    record.insert(QStringLiteral("state"), MaskedEmail::stateName(MaskedEmail::State::enabled));
    const QString emailPrefix = prefix.trimmed();
    if (!emailPrefix.isEmpty())
        record.insert(QStringLiteral("emailPrefix"), emailPrefix);
    const QJsonObject request{
        {QStringLiteral("create"), QJsonObject{{QStringLiteral("new"), record}}}};
    const QList<Invocation> responses = co_await call(QStringLiteral("MaskedEmail/set"), request);
    const QJsonObject result = arguments(responses, zero);
    MailService::throwSetError(result, QStringLiteral("notCreated"));
    const QJsonValue created = result.value(QStringLiteral("created"));
    const QJsonValue entry = created.toObject().value(QStringLiteral("new"));
    if (!created.isObject() || !entry.isObject())
        throw JMAPError::malformed(QStringLiteral("created masked email"));
    // The server need only answer with what it decided (id, email, dates); the rest is ours.
    QJsonObject stored = record;
    stored.remove(QStringLiteral("emailPrefix"));
    const QJsonObject answer = entry.toObject();
    for (auto it = answer.begin(); it != answer.end(); ++it)
        stored.insert(it.key(), it.value());
    co_return JMAPDecoding::decode<MaskedEmail>(stored);
}

QCoro::Task<> MaskedEmailService::update(QString id, MaskedEmailDetails details)
{
    const QJsonObject changes{{id, details.json()}};
    co_await applyUpdate(changes);
}

QCoro::Task<> MaskedEmailService::setState(MaskedEmail::State state, QStringList ids)
{
    QJsonObject changes;
    const QJsonObject change{{QStringLiteral("state"), MaskedEmail::stateName(state)}};
    for (const QString& id : ids)
        changes.insert(id, change);
    co_await applyUpdate(changes);
}

QCoro::Task<> MaskedEmailService::applyUpdate(QJsonObject changes)
{
    if (changes.isEmpty())
        co_return;
    const QJsonObject request{{QStringLiteral("update"), changes}};
    const QList<Invocation> responses = co_await call(QStringLiteral("MaskedEmail/set"), request);
    MailService::throwSetError(arguments(responses, zero), QStringLiteral("notUpdated"));
}
