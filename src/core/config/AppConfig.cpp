#include "AppConfig.h"

#include "jmap/Json.h"

namespace {

void readInt(const QJsonObject& object, const QString& key, qint64& field)
{
    if (const auto value = Json::optionalInteger(object, key))
        field = *value;
}

void readBool(const QJsonObject& object, const QString& key, bool& field)
{
    if (const auto value = Json::optionalBool(object, key))
        field = *value;
}

void readString(const QJsonObject& object, const QString& key, QString& field)
{
    if (const auto value = Json::optionalString(object, key))
        field = *value;
}

void readStringList(const QJsonObject& object, const QString& key, QStringList& field)
{
    if (const auto value = Json::optionalStringList(object, key))
        field = *value;
}

} // namespace

const QMap<QString, QString>& AppConfig::defaultKeybindings()
{
    static const QMap<QString, QString> defaults = [] {
        QMap<QString, QString> map;
        for (const MailAction action : MailAction::allCases())
            map.insert(action.rawValue(), action.defaultBinding());
        return map;
    }();
    return defaults;
}

std::optional<KeyBinding> AppConfig::binding(MailAction action) const
{
    return KeyBinding::fromText(keybindings.value(action.rawValue()));
}

AppConfig AppConfig::fromJson(const QJsonObject& object)
{
    AppConfig config;
    readString(object, QStringLiteral("sessionUrl"), config.sessionUrl);
    readInt(object, QStringLiteral("pageSize"), config.pageSize);
    readInt(object, QStringLiteral("refreshIntervalSeconds"), config.refreshIntervalSeconds);
    readBool(object, QStringLiteral("loadRemoteImages"), config.loadRemoteImages);
    readBool(object, QStringLiteral("markReadOnOpen"), config.markReadOnOpen);
    readBool(object, QStringLiteral("markdownByDefault"), config.markdownByDefault);
    readBool(object, QStringLiteral("markdownHardBreaks"), config.markdownHardBreaks);
    readBool(object, QStringLiteral("groupByDate"), config.groupByDate);
    readBool(object, QStringLiteral("showAvatars"), config.showAvatars);
    readBool(object, QStringLiteral("showDockBadge"), config.showDockBadge);
    readBool(object, QStringLiteral("notifyNewMail"), config.notifyNewMail);
    readInt(object, QStringLiteral("undoSendSeconds"), config.undoSendSeconds);
    readStringList(object, QStringLiteral("hideWhenEmpty"), config.hideWhenEmpty);
    config.spamMailboxId = Json::optionalString(object, QStringLiteral("spamMailboxId"));
    readStringList(object, QStringLiteral("showTotalCount"), config.showTotalCount);
    readStringList(object, QStringLiteral("collapsedMailboxes"), config.collapsedMailboxes);
    readStringList(object, QStringLiteral("mailboxOrder"), config.mailboxOrder);
    // Overlaid, not replaced: actions added since the file was written get their defaults.
    if (const auto stored = Json::optionalStringMap(object, QStringLiteral("keybindings"))) {
        for (auto it = stored->cbegin(); it != stored->cend(); ++it)
            config.keybindings.insert(it.key(), it.value());
    }
    return config;
}

QJsonObject AppConfig::toJson() const
{
    QJsonObject bindings;
    for (auto it = keybindings.cbegin(); it != keybindings.cend(); ++it)
        bindings.insert(it.key(), it.value());

    QJsonObject object;
    object.insert(QStringLiteral("sessionUrl"), sessionUrl);
    object.insert(QStringLiteral("pageSize"), pageSize);
    object.insert(QStringLiteral("refreshIntervalSeconds"), refreshIntervalSeconds);
    object.insert(QStringLiteral("loadRemoteImages"), loadRemoteImages);
    object.insert(QStringLiteral("markReadOnOpen"), markReadOnOpen);
    object.insert(QStringLiteral("markdownByDefault"), markdownByDefault);
    object.insert(QStringLiteral("markdownHardBreaks"), markdownHardBreaks);
    object.insert(QStringLiteral("groupByDate"), groupByDate);
    object.insert(QStringLiteral("showAvatars"), showAvatars);
    object.insert(QStringLiteral("showDockBadge"), showDockBadge);
    object.insert(QStringLiteral("notifyNewMail"), notifyNewMail);
    object.insert(QStringLiteral("undoSendSeconds"), undoSendSeconds);
    object.insert(QStringLiteral("hideWhenEmpty"), QJsonArray::fromStringList(hideWhenEmpty));
    if (spamMailboxId)
        object.insert(QStringLiteral("spamMailboxId"), *spamMailboxId);
    object.insert(QStringLiteral("showTotalCount"), QJsonArray::fromStringList(showTotalCount));
    object.insert(QStringLiteral("collapsedMailboxes"),
                  QJsonArray::fromStringList(collapsedMailboxes));
    object.insert(QStringLiteral("mailboxOrder"), QJsonArray::fromStringList(mailboxOrder));
    object.insert(QStringLiteral("keybindings"), bindings);
    return object;
}
