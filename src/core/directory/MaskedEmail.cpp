#include "MaskedEmail.h"

#include "jmap/Json.h"

#include <QHash>

namespace {

QDateTime distantPast()
{
    return QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC);
}

} // namespace

bool MaskedEmail::isActive() const
{
    return state == State::pending || state == State::enabled;
}

bool MaskedEmail::stateSort() const
{
    return state == State::disabled || state == State::deleted;
}

QDateTime MaskedEmail::createdSort() const
{
    return createdAt.value_or(distantPast());
}

QDateTime MaskedEmail::lastMessageSort() const
{
    return lastMessageAt.value_or(distantPast());
}

QString MaskedEmail::stateName(State state)
{
    switch (state) {
    case State::pending:
        return QStringLiteral("pending");
    case State::enabled:
        return QStringLiteral("enabled");
    case State::disabled:
        return QStringLiteral("disabled");
    case State::deleted:
        return QStringLiteral("deleted");
    }
    return QStringLiteral("enabled");
}

std::optional<MaskedEmail::State> MaskedEmail::stateFromName(const QString& name)
{
    for (State state : {State::pending, State::enabled, State::disabled, State::deleted})
        if (stateName(state) == name)
            return state;
    return std::nullopt;
}

MaskedEmail MaskedEmail::fromJson(const QJsonObject& object)
{
    MaskedEmail record;
    record.id = Json::requiredString(object, QStringLiteral("id"));
    record.email = Json::requiredString(object, QStringLiteral("email"));
    if (const auto name = Json::optionalString(object, QStringLiteral("state"))) {
        const auto state = stateFromName(*name);
        if (!state)
            Json::fail(QStringLiteral("Unknown state \"%1\".").arg(*name));
        record.state = *state;
    }
    record.forDomain =
        Json::optionalString(object, QStringLiteral("forDomain")).value_or(QString());
    record.description =
        Json::optionalString(object, QStringLiteral("description")).value_or(QString());
    record.url = Json::optionalString(object, QStringLiteral("url"));
    record.createdBy = Json::optionalString(object, QStringLiteral("createdBy"));
    record.createdAt = Json::optionalDate(object, QStringLiteral("createdAt"));
    record.lastMessageAt = Json::optionalDate(object, QStringLiteral("lastMessageAt"));
    return record;
}

size_t qHash(const MaskedEmail& record, size_t seed)
{
    return qHashMulti(seed, record.id, record.email, static_cast<int>(record.state),
                      record.forDomain, record.description, record.url.value_or(QString()),
                      record.createdBy.value_or(QString()),
                      record.createdAt ? record.createdAt->toMSecsSinceEpoch() : 0,
                      record.lastMessageAt ? record.lastMessageAt->toMSecsSinceEpoch() : 0);
}
