#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>

#include <optional>

// One Masked Email address as the service keeps it.
struct MaskedEmail
{
    static constexpr const char* jsonTypeName = "MaskedEmail";

    // In the service's order; the JSON value is the case name.
    enum class State
    {
        pending,
        enabled,
        disabled,
        deleted
    };

    QString id;
    QString email;
    State state = State::enabled;
    QString forDomain;
    QString description;
    std::optional<QString> url;
    std::optional<QString> createdBy;
    std::optional<QDateTime> createdAt;
    std::optional<QDateTime> lastMessageAt;

    bool operator==(const MaskedEmail&) const = default;

    // Receiving mail: pending or enabled.
    bool isActive() const;
    // For the table's state column: false for active addresses, so they sort first.
    bool stateSort() const;
    // The dates, with the distant past standing in for a missing one.
    QDateTime createdSort() const;
    QDateTime lastMessageSort() const;

    static QString stateName(State state);
    static std::optional<State> stateFromName(const QString& name);

    // Missing or null optional keys take their defaults; an unknown state fails the record.
    static MaskedEmail fromJson(const QJsonObject& object);
};

size_t qHash(const MaskedEmail& record, size_t seed = 0);
