#include "JMAPSession.h"

#include "Json.h"

namespace {

// Templates hold "{accountId}" and the like, which QUrl would percent-encode, so relative
// templates are resolved as text: a path is joined to the session URL's scheme and authority.
QString resolveTemplate(const QString& value, const QUrl& base)
{
    if (value.isEmpty() || value.contains(QStringLiteral("://")))
        return value;
    const QString origin = base.adjusted(QUrl::RemovePath | QUrl::RemoveQuery |
                                         QUrl::RemoveFragment | QUrl::RemoveUserInfo)
                               .toString();
    if (value.startsWith(u'/'))
        return origin + value;
    QString directory = base.path();
    directory.truncate(directory.lastIndexOf(u'/') + 1);
    if (directory.isEmpty())
        directory = QStringLiteral("/");
    return origin + directory + value;
}

} // namespace

JMAPSession JMAPSession::fromJson(const QJsonObject& object, const QUrl& sessionUrl)
{
    JMAPSession session;
    const QString api = Json::requiredString(object, QStringLiteral("apiUrl"));
    const QUrl apiUrl(api);
    if (!apiUrl.isValid())
        Json::fail(QStringLiteral("The value of \"apiUrl\" is not a URL."));
    session.apiUrl = apiUrl.isRelative() ? sessionUrl.resolved(apiUrl) : apiUrl;
    session.downloadUrl =
        resolveTemplate(Json::requiredString(object, QStringLiteral("downloadUrl")), sessionUrl);
    if (auto upload = Json::optionalString(object, QStringLiteral("uploadUrl")))
        session.uploadUrl = resolveTemplate(*upload, sessionUrl);
    if (auto events = Json::optionalString(object, QStringLiteral("eventSourceUrl")))
        session.eventSourceUrl = resolveTemplate(*events, sessionUrl);
    const auto primary = Json::optionalStringMap(object, QStringLiteral("primaryAccounts"));
    if (!primary)
        Json::fail(QStringLiteral("No value for the required key \"primaryAccounts\"."));
    session.primaryAccounts = *primary;
    session.username = Json::optionalString(object, QStringLiteral("username"));
    if (const auto accounts = Json::optionalObject(object, QStringLiteral("accounts"))) {
        QMap<QString, Account> decoded;
        for (auto it = accounts->begin(); it != accounts->end(); ++it) {
            const QJsonObject account = Json::asObject(it.value(), QStringLiteral("An account"));
            const QJsonObject capabilities =
                Json::requiredObject(account, QStringLiteral("accountCapabilities"));
            Account entry;
            if (const auto submission = Json::optionalObject(
                    capabilities, QStringLiteral("urn:ietf:params:jmap:submission"))) {
                entry.hasSubmission = true;
                entry.maxDelayedSend =
                    Json::optionalInteger(*submission, QStringLiteral("maxDelayedSend"));
            }
            decoded.insert(it.key(), entry);
        }
        session.accounts = decoded;
    }
    return session;
}
