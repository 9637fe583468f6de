#include "MailService.h"

#include "jmap/JMAPDecoding.h"

#include <QJsonArray>

namespace {

const QString accountIdKey = QStringLiteral("accountId");

QJsonArray addressList(const QList<EmailAddress>& addresses)
{
    QJsonArray array;
    for (const EmailAddress& address : addresses)
        array.append(address.toJson());
    return array;
}

QJsonObject part(const char* partId, const char* type)
{
    return QJsonObject{{QStringLiteral("partId"), QLatin1String(partId)},
                       {QStringLiteral("type"), QLatin1String(type)}};
}

// created → <key> → id of a set response, or absent.
std::optional<QString> createdId(const QJsonObject& arguments, const QString& key)
{
    const QJsonValue id = arguments.value(QStringLiteral("created"))
                              .toObject()
                              .value(key)
                              .toObject()
                              .value(QStringLiteral("id"));
    if (!id.isString())
        return std::nullopt;
    return id.toString();
}

} // namespace

QJsonObject MailService::draft(const OutgoingMessage& message, const QString& draftsId,
                               bool calendarMethod)
{
    QJsonObject bodyValues{
        {QStringLiteral("text"), QJsonObject{{QStringLiteral("value"), message.textBody}}}};
    QJsonObject email{
        {QStringLiteral("mailboxIds"), QJsonObject{{draftsId, true}}},
        {QStringLiteral("keywords"),
         QJsonObject{{QStringLiteral("$draft"), true}, {QStringLiteral("$seen"), true}}},
        {QStringLiteral("from"), QJsonArray{identityAddress(message.identity).toJson()}},
        {QStringLiteral("to"), addressList(message.to)},
        {QStringLiteral("cc"), addressList(message.cc)},
        {QStringLiteral("bcc"), addressList(message.bcc)},
        {QStringLiteral("subject"), message.subject},
        {QStringLiteral("textBody"), QJsonArray{part("text", "text/plain")}}};
    if (message.htmlBody) {
        bodyValues.insert(QStringLiteral("html"),
                          QJsonObject{{QStringLiteral("value"), *message.htmlBody}});
        email.insert(QStringLiteral("htmlBody"), QJsonArray{part("html", "text/html")});
    }
    if (message.calendar) {
        // The calendar message spells out its structure, so that the calendar part is an
        // alternative to the text rather than an attachment.
        bodyValues.insert(QStringLiteral("calendar"),
                          QJsonObject{{QStringLiteral("value"), message.calendar->text}});
        email.remove(QStringLiteral("textBody"));
        email.remove(QStringLiteral("htmlBody"));
        QJsonObject calendarPart{{QStringLiteral("partId"), QStringLiteral("calendar")}};
        if (calendarMethod)
            // A raw header value starts after the colon, hence the leading blank.
            calendarPart.insert(QStringLiteral("header:Content-Type"),
                                QStringLiteral(" text/calendar; method=%1; charset=utf-8")
                                    .arg(message.calendar->method));
        else
            calendarPart.insert(QStringLiteral("type"), QStringLiteral("text/calendar"));
        email.insert(QStringLiteral("bodyStructure"),
                     QJsonObject{{QStringLiteral("type"), QStringLiteral("multipart/alternative")},
                                 {QStringLiteral("subParts"),
                                  QJsonArray{part("text", "text/plain"), calendarPart}}});
    } else if (!message.attachments.isEmpty()) {
        QJsonArray attachments;
        for (const OutgoingAttachment& attachment : message.attachments)
            attachments.append(
                QJsonObject{{QStringLiteral("blobId"), attachment.blobId},
                            {QStringLiteral("type"), attachment.type},
                            {QStringLiteral("name"), attachment.name},
                            {QStringLiteral("disposition"), QStringLiteral("attachment")}});
        email.insert(QStringLiteral("attachments"), attachments);
    }
    email.insert(QStringLiteral("bodyValues"), bodyValues);
    if (message.inReplyTo && !message.inReplyTo->isEmpty())
        email.insert(QStringLiteral("inReplyTo"), QJsonArray::fromStringList(*message.inReplyTo));
    if (message.references && !message.references->isEmpty())
        email.insert(QStringLiteral("references"), QJsonArray::fromStringList(*message.references));
    return email;
}

QCoro::Task<QString> MailService::createDraft(OutgoingMessage message, QString draftsId,
                                              std::optional<QString> replacing, bool calendarMethod)
{
    const QString accountId = co_await m_client->accountId();
    QJsonObject set{
        {accountIdKey, accountId},
        {QStringLiteral("create"),
         QJsonObject{{QStringLiteral("draft"), draft(message, draftsId, calendarMethod)}}}};
    // Creating and destroying in one call replaces the draft atomically.
    if (replacing)
        set.insert(QStringLiteral("destroy"), QJsonArray{*replacing});
    const QList<Invocation> calls{{QStringLiteral("Email/set"), set, QStringLiteral("0")}};
    const QList<Invocation> responses = co_await m_client->call(calls);
    const QJsonObject result = arguments(responses, QStringLiteral("0"));
    throwSetError(result, QStringLiteral("notCreated"), QStringLiteral("draft"));
    const auto id = createdId(result, QStringLiteral("draft"));
    if (!id)
        throw JMAPError::malformed(QStringLiteral("created draft"));
    const QString created = *id;
    co_return created;
}

QCoro::Task<QString> MailService::saveDraft(OutgoingMessage message, QString draftsId,
                                            std::optional<QString> replacing)
{
    try {
        const QString id = co_await createDraft(message, draftsId, replacing, true);
        co_return id;
    } catch (const JMAPError& error) {
        // A server that refuses the raw Content-Type header still gets the invitation, only
        // without the method parameter.
        if (error.kind() != JMAPError::Kind::Method ||
            error.text() != QStringLiteral("invalidProperties") || !message.calendar)
            throw;
    }
    // A coroutine cannot wait inside a catch block: the retry follows it.
    const QString id = co_await createDraft(message, draftsId, replacing, false);
    co_return id;
}

QCoro::Task<QString> MailService::submit(QString emailId, QString identityId, QString draftsId,
                                         std::optional<QString> sentId,
                                         std::optional<QString> answeredEmailId,
                                         std::optional<Envelope> envelope)
{
    const QString accountId = co_await m_client->accountId();
    QJsonObject patch{{QStringLiteral("keywords/$draft"), QJsonValue::Null}};
    if (sentId) {
        patch.insert(QStringLiteral("mailboxIds/") + draftsId, QJsonValue::Null);
        patch.insert(QStringLiteral("mailboxIds/") + *sentId, true);
    }
    QJsonObject submission{{QStringLiteral("emailId"), emailId},
                           {QStringLiteral("identityId"), identityId}};
    if (envelope)
        submission.insert(QStringLiteral("envelope"), envelope->toJson());
    QList<Invocation> calls{
        {QStringLiteral("EmailSubmission/set"),
         QJsonObject{{accountIdKey, accountId},
                     {QStringLiteral("create"), QJsonObject{{QStringLiteral("send"), submission}}},
                     {QStringLiteral("onSuccessUpdateEmail"),
                      QJsonObject{{QStringLiteral("#send"), patch}}}},
         QStringLiteral("submit")}};
    if (answeredEmailId)
        calls.append(
            {QStringLiteral("Email/set"),
             QJsonObject{
                 {accountIdKey, accountId},
                 {QStringLiteral("update"),
                  QJsonObject{{*answeredEmailId,
                               QJsonObject{{QStringLiteral("keywords/$answered"), true}}}}}},
             QStringLiteral("answered")});
    const QList<Invocation> responses = co_await m_client->call(calls);
    // A failed answered mark does not fail a send: its response is not read.
    const QJsonObject result = arguments(responses, QStringLiteral("submit"));
    throwSetError(result, QStringLiteral("notCreated"));
    const auto id = createdId(result, QStringLiteral("send"));
    if (!id)
        throw JMAPError::malformed(QStringLiteral("created submission"));
    const QString created = *id;
    co_return created;
}

QCoro::Task<> MailService::send(OutgoingMessage message, QString draftsId,
                                std::optional<QString> sentId)
{
    const QString emailId = co_await saveDraft(message, draftsId, std::nullopt);
    co_await submit(emailId, message.identity.id, draftsId, sentId, message.answeredEmailId,
                    std::nullopt);
}

QCoro::Task<> MailService::cancelSubmission(QString id, QString emailId, QString draftsId,
                                            std::optional<QString> sentId)
{
    const QString accountId = co_await m_client->accountId();
    const QList<Invocation> calls{
        {QStringLiteral("EmailSubmission/set"),
         QJsonObject{{accountIdKey, accountId},
                     {QStringLiteral("update"),
                      QJsonObject{{id, QJsonObject{{QStringLiteral("undoStatus"),
                                                    QStringLiteral("canceled")}}}}}},
         QStringLiteral("cancel")}};
    const QList<Invocation> responses = co_await m_client->call(calls);
    throwSetError(arguments(responses, QStringLiteral("cancel")), QStringLiteral("notUpdated"));
    // The exact reverse of the submit patch: a draft in Drafts again.
    QJsonObject patch{{QStringLiteral("keywords/$draft"), true},
                      {QStringLiteral("mailboxIds/") + draftsId, true}};
    if (sentId)
        patch.insert(QStringLiteral("mailboxIds/") + *sentId, QJsonValue::Null);
    QMap<QString, QJsonObject> patches;
    patches.insert(emailId, patch);
    co_await update(patches);
}

QCoro::Task<QList<PendingSubmission>> MailService::pendingSubmissions(QStringList emailIds)
{
    if (emailIds.isEmpty())
        co_return QList<PendingSubmission>();
    const QString accountId = co_await m_client->accountId();
    const QList<Invocation> calls{
        {QStringLiteral("EmailSubmission/query"),
         QJsonObject{
             {accountIdKey, accountId},
             {QStringLiteral("filter"),
              QJsonObject{{QStringLiteral("emailIds"), QJsonArray::fromStringList(emailIds)},
                          {QStringLiteral("undoStatus"), QStringLiteral("pending")}}}},
         QStringLiteral("query")},
        {QStringLiteral("EmailSubmission/get"),
         QJsonObject{
             {accountIdKey, accountId},
             {QStringLiteral("#ids"),
              resultReference(QStringLiteral("query"), QStringLiteral("EmailSubmission/query"),
                              QStringLiteral("/ids"))},
             {QStringLiteral("properties"),
              QJsonArray{QStringLiteral("id"), QStringLiteral("emailId"),
                         QStringLiteral("sendAt")}}},
         QStringLiteral("get")}};
    const QList<Invocation> responses = co_await m_client->call(calls);
    const QList<PendingSubmission> pending = JMAPDecoding::decodeList<PendingSubmission>(
        arguments(responses, QStringLiteral("get")).value(QStringLiteral("list")));
    co_return pending;
}
