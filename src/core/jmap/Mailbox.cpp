#include "Mailbox.h"

#include "Json.h"

Mailbox Mailbox::fromJson(const QJsonObject& object)
{
    Mailbox mailbox;
    mailbox.id = Json::requiredString(object, QStringLiteral("id"));
    mailbox.name = Json::requiredString(object, QStringLiteral("name"));
    mailbox.parentId = Json::optionalString(object, QStringLiteral("parentId"));
    mailbox.role = Json::optionalString(object, QStringLiteral("role"));
    mailbox.sortOrder = Json::requiredInteger(object, QStringLiteral("sortOrder"));
    mailbox.totalEmails = Json::requiredInteger(object, QStringLiteral("totalEmails"));
    mailbox.unreadEmails = Json::requiredInteger(object, QStringLiteral("unreadEmails"));
    mailbox.totalThreads = Json::requiredInteger(object, QStringLiteral("totalThreads"));
    mailbox.unreadThreads = Json::requiredInteger(object, QStringLiteral("unreadThreads"));
    return mailbox;
}

QJsonObject Mailbox::toJson() const
{
    QJsonObject object{{QStringLiteral("id"), id},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("sortOrder"), sortOrder},
                       {QStringLiteral("totalEmails"), totalEmails},
                       {QStringLiteral("unreadEmails"), unreadEmails},
                       {QStringLiteral("totalThreads"), totalThreads},
                       {QStringLiteral("unreadThreads"), unreadThreads}};
    Json::insertIfPresent(object, QStringLiteral("parentId"), parentId);
    Json::insertIfPresent(object, QStringLiteral("role"), role);
    return object;
}

size_t qHash(const Mailbox& mailbox, size_t seed)
{
    return qHashMulti(seed, mailbox.id, mailbox.name, mailbox.parentId.value_or(QString()),
                      mailbox.role.value_or(QString()), mailbox.sortOrder, mailbox.totalEmails,
                      mailbox.unreadEmails, mailbox.totalThreads, mailbox.unreadThreads);
}
