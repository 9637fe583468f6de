#include "Email.h"

#include "jmap/JMAPDecoding.h"
#include "jmap/Json.h"

#include <QHash>
#include <QJsonArray>

const QStringList Email::summaryProperties = {
    QStringLiteral("id"),         QStringLiteral("threadId"),      QStringLiteral("blobId"),
    QStringLiteral("mailboxIds"), QStringLiteral("keywords"),      QStringLiteral("from"),
    QStringLiteral("to"),         QStringLiteral("subject"),       QStringLiteral("receivedAt"),
    QStringLiteral("preview"),    QStringLiteral("hasAttachment"), QStringLiteral("messageId")};

const QStringList Email::detailProperties =
    Email::summaryProperties + QStringList{QStringLiteral("cc"),
                                           QStringLiteral("bcc"),
                                           QStringLiteral("replyTo"),
                                           QStringLiteral("inReplyTo"),
                                           QStringLiteral("references"),
                                           QStringLiteral("size"),
                                           QStringLiteral("bodyValues"),
                                           QStringLiteral("textBody"),
                                           QStringLiteral("htmlBody"),
                                           QStringLiteral("attachments"),
                                           QStringLiteral("header:List-Unsubscribe:asURLs"),
                                           QStringLiteral("header:List-Unsubscribe-Post:asText")};

namespace {

const QString listUnsubscribeKey = QStringLiteral("header:List-Unsubscribe:asURLs");
const QString listUnsubscribePostKey = QStringLiteral("header:List-Unsubscribe-Post:asText");

std::optional<QList<EmailAddress>> addresses(const QJsonObject& object, const QString& key)
{
    return Json::optionalArray<EmailAddress>(object, key, &EmailAddress::fromJson);
}

std::optional<QList<BodyPart>> parts(const QJsonObject& object, const QString& key)
{
    return Json::optionalArray<BodyPart>(object, key, &BodyPart::fromJson);
}

template <typename T> QJsonArray toArray(const QList<T>& list)
{
    QJsonArray array;
    for (const T& element : list)
        array.append(element.toJson());
    return array;
}

QJsonObject toObject(const QMap<QString, bool>& map)
{
    QJsonObject object;
    for (auto it = map.begin(); it != map.end(); ++it)
        object.insert(it.key(), it.value());
    return object;
}

template <typename T>
void insertList(QJsonObject& object, const QString& key, const std::optional<QList<T>>& list)
{
    if (list)
        object.insert(key, toArray(*list));
}

void insertStrings(QJsonObject& object, const QString& key, const std::optional<QStringList>& list)
{
    if (list)
        object.insert(key, QJsonArray::fromStringList(*list));
}

// Keeps milliseconds so that a record written and read back is the same record.
QString instantText(const QDateTime& date)
{
    if (date.time().msec() == 0)
        return JMAPDecoding::formatDate(date);
    return date.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")) + u'Z';
}

bool keyword(const QMap<QString, bool>& keywords, const QString& name)
{
    return keywords.value(name, false);
}

} // namespace

BodyPart BodyPart::fromJson(const QJsonObject& object)
{
    BodyPart part;
    part.partId = Json::optionalString(object, QStringLiteral("partId"));
    part.blobId = Json::optionalString(object, QStringLiteral("blobId"));
    part.size = Json::optionalInteger(object, QStringLiteral("size"));
    part.name = Json::optionalString(object, QStringLiteral("name"));
    part.type = Json::requiredString(object, QStringLiteral("type"));
    part.cid = Json::optionalString(object, QStringLiteral("cid"));
    part.disposition = Json::optionalString(object, QStringLiteral("disposition"));
    return part;
}

QJsonObject BodyPart::toJson() const
{
    QJsonObject object{{QStringLiteral("type"), type}};
    Json::insertIfPresent(object, QStringLiteral("partId"), partId);
    Json::insertIfPresent(object, QStringLiteral("blobId"), blobId);
    Json::insertIfPresent(object, QStringLiteral("size"), size);
    Json::insertIfPresent(object, QStringLiteral("name"), name);
    Json::insertIfPresent(object, QStringLiteral("cid"), cid);
    Json::insertIfPresent(object, QStringLiteral("disposition"), disposition);
    return object;
}

BodyValue BodyValue::fromJson(const QJsonObject& object)
{
    return BodyValue{Json::requiredString(object, QStringLiteral("value"))};
}

QJsonObject BodyValue::toJson() const
{
    return QJsonObject{{QStringLiteral("value"), value}};
}

Email Email::fromJson(const QJsonObject& object)
{
    Email email;
    email.id = Json::requiredString(object, QStringLiteral("id"));
    email.threadId = Json::requiredString(object, QStringLiteral("threadId"));
    email.blobId = Json::optionalString(object, QStringLiteral("blobId"));
    email.mailboxIds = Json::requiredBoolMap(object, QStringLiteral("mailboxIds"));
    email.keywords = Json::requiredBoolMap(object, QStringLiteral("keywords"));
    email.from = addresses(object, QStringLiteral("from"));
    email.to = addresses(object, QStringLiteral("to"));
    email.cc = addresses(object, QStringLiteral("cc"));
    email.bcc = addresses(object, QStringLiteral("bcc"));
    email.replyTo = addresses(object, QStringLiteral("replyTo"));
    email.subject = Json::optionalString(object, QStringLiteral("subject"));
    email.receivedAt = Json::requiredDate(object, QStringLiteral("receivedAt"));
    email.size = Json::optionalInteger(object, QStringLiteral("size"));
    email.preview = Json::optionalString(object, QStringLiteral("preview"));
    email.hasAttachment = Json::optionalBool(object, QStringLiteral("hasAttachment"));
    email.messageId = Json::optionalStringList(object, QStringLiteral("messageId"));
    email.inReplyTo = Json::optionalStringList(object, QStringLiteral("inReplyTo"));
    email.references = Json::optionalStringList(object, QStringLiteral("references"));
    if (const auto values = Json::optionalObject(object, QStringLiteral("bodyValues"))) {
        QMap<QString, BodyValue> decoded;
        for (auto it = values->begin(); it != values->end(); ++it)
            decoded.insert(it.key(),
                           BodyValue::fromJson(Json::asObject(
                               it.value(), QStringLiteral("bodyValues.%1").arg(it.key()))));
        email.bodyValues = decoded;
    }
    email.textBody = parts(object, QStringLiteral("textBody"));
    email.htmlBody = parts(object, QStringLiteral("htmlBody"));
    email.attachments = parts(object, QStringLiteral("attachments"));
    email.listUnsubscribe = Json::optionalStringList(object, listUnsubscribeKey);
    email.listUnsubscribePost = Json::optionalString(object, listUnsubscribePostKey);
    return email;
}

QJsonObject Email::toJson() const
{
    QJsonObject object{{QStringLiteral("id"), id},
                       {QStringLiteral("threadId"), threadId},
                       {QStringLiteral("mailboxIds"), toObject(mailboxIds)},
                       {QStringLiteral("keywords"), toObject(keywords)},
                       {QStringLiteral("receivedAt"), instantText(receivedAt)}};
    Json::insertIfPresent(object, QStringLiteral("blobId"), blobId);
    insertList(object, QStringLiteral("from"), from);
    insertList(object, QStringLiteral("to"), to);
    insertList(object, QStringLiteral("cc"), cc);
    insertList(object, QStringLiteral("bcc"), bcc);
    insertList(object, QStringLiteral("replyTo"), replyTo);
    Json::insertIfPresent(object, QStringLiteral("subject"), subject);
    Json::insertIfPresent(object, QStringLiteral("size"), size);
    Json::insertIfPresent(object, QStringLiteral("preview"), preview);
    if (hasAttachment)
        object.insert(QStringLiteral("hasAttachment"), *hasAttachment);
    insertStrings(object, QStringLiteral("messageId"), messageId);
    insertStrings(object, QStringLiteral("inReplyTo"), inReplyTo);
    insertStrings(object, QStringLiteral("references"), references);
    if (bodyValues) {
        QJsonObject values;
        for (auto it = bodyValues->begin(); it != bodyValues->end(); ++it)
            values.insert(it.key(), it.value().toJson());
        object.insert(QStringLiteral("bodyValues"), values);
    }
    insertList(object, QStringLiteral("textBody"), textBody);
    insertList(object, QStringLiteral("htmlBody"), htmlBody);
    insertList(object, QStringLiteral("attachments"), attachments);
    insertStrings(object, listUnsubscribeKey, listUnsubscribe);
    Json::insertIfPresent(object, listUnsubscribePostKey, listUnsubscribePost);
    return object;
}

bool Email::isSeen() const
{
    return keyword(keywords, QStringLiteral("$seen"));
}

bool Email::isFlagged() const
{
    return keyword(keywords, QStringLiteral("$flagged"));
}

bool Email::isDraft() const
{
    return keyword(keywords, QStringLiteral("$draft"));
}

QString Email::senderName() const
{
    if (!from || from->isEmpty())
        return QStringLiteral("(unknown sender)");
    const EmailAddress& first = from->first();
    if (first.name && !first.name->isEmpty())
        return *first.name;
    return first.email;
}

QList<BodyPart> Email::listedAttachments() const
{
    QList<BodyPart> result;
    if (!attachments)
        return result;
    for (const BodyPart& part : *attachments) {
        if (part.disposition == QStringLiteral("inline") && part.cid)
            continue;
        result.append(part);
    }
    return result;
}

std::optional<BodyPart> Email::calendarPart() const
{
    if (!attachments)
        return std::nullopt;
    for (const BodyPart& part : *attachments)
        if (part.type == QStringLiteral("text/calendar") ||
            part.type == QStringLiteral("application/ics"))
            return part;
    return std::nullopt;
}

QMap<QString, BodyPart> Email::inlineParts() const
{
    QMap<QString, BodyPart> result;
    if (!attachments)
        return result;
    for (const BodyPart& part : *attachments)
        if (part.cid)
            result.insert(*part.cid, part);
    return result;
}

QList<Email> uniqueMessages(const QList<Email>& emails, const std::optional<QString>& preferring)
{
    QList<Email> result;
    result.reserve(emails.size());
    QHash<QString, qsizetype> positions;
    const auto isIn = [&preferring](const Email& email) {
        return email.mailboxIds.value(*preferring, false);
    };
    for (const Email& email : emails) {
        if (!email.messageId || email.messageId->isEmpty() || email.messageId->first().isEmpty()) {
            result.append(email);
            continue;
        }
        const QString& key = email.messageId->first();
        const auto seen = positions.constFind(key);
        if (seen == positions.constEnd()) {
            positions.insert(key, result.size());
            result.append(email);
            continue;
        }
        if (preferring && isIn(email) && !isIn(result.at(*seen)))
            result[*seen] = email;
    }
    return result;
}
