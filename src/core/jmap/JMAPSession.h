#pragma once

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QUrl>

#include <optional>

// The JMAP session resource, as far as Veldrin reads it. URLs that the server gives relative
// to the session resource are resolved against it when the session is decoded.
struct JMAPSession
{
    struct Account
    {
        // accountCapabilities["urn:ietf:params:jmap:submission"].maxDelayedSend
        std::optional<bool> hasSubmission;
        std::optional<qint64> maxDelayedSend;
        bool operator==(const Account&) const = default;
    };

    QUrl apiUrl;
    QString downloadUrl;
    std::optional<QString> uploadUrl;
    std::optional<QString> eventSourceUrl;
    QMap<QString, QString> primaryAccounts;
    std::optional<QString> username;
    std::optional<QMap<QString, Account>> accounts;

    bool operator==(const JMAPSession&) const = default;

    // Throws DecodeError when a required key is missing or a value has the wrong type.
    static JMAPSession fromJson(const QJsonObject& object, const QUrl& sessionUrl);
};
