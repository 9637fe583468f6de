#pragma once

#include "AsyncTest.h"
#include "jmap/JMAPClient.h"
#include "jmap/JMAPDecoding.h"
#include "mail/MailService.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

// For the tests against the real server: mail put in and read back over plain JMAP, beside
// the code under test, and what the server's SMTP sink took of the mail that went out.
namespace ServerMail {

// One call in the mail account; the arguments of its answer, or the method error thrown.
inline QJsonObject call(const std::shared_ptr<JMAPClient>& client, const QString& method,
                        QJsonObject request)
{
    request.insert(QStringLiteral("accountId"), AsyncTest::await(client->accountId()));
    const QList<Invocation> calls{Invocation{method, request, QStringLiteral("0")}};
    return arguments(AsyncTest::await(client->call(calls)), QStringLiteral("0"));
}

// The id of the record a /set call created under `key`, or the reason it was refused.
inline QString created(const QJsonObject& answer, const QString& key)
{
    MailService::throwSetError(answer, "notCreated");
    return answer["created"].toObject()[key].toObject()["id"].toString();
}

// Puts a message into a mailbox as a delivery would; gives its id.
inline QString deliver(const std::shared_ptr<JMAPClient>& client, const QByteArray& message,
                       const QString& mailboxId, const QDateTime& receivedAt,
                       const QJsonObject& keywords = {})
{
    const QString blobId =
        AsyncTest::await(client->upload(message, QStringLiteral("message/rfc822")));
    const QJsonObject email{{"blobId", blobId},
                            {"mailboxIds", QJsonObject{{mailboxId, true}}},
                            {"keywords", keywords},
                            {"receivedAt", JMAPDecoding::formatDate(receivedAt)}};
    return created(
        call(client, QStringLiteral("Email/import"), {{"emails", QJsonObject{{"m", email}}}}),
        QStringLiteral("m"));
}

// The messages as the server has them now, by id: mailboxes, keywords and subject. Ids the
// server does not know are missing.
inline QMap<QString, QJsonObject> emails(const std::shared_ptr<JMAPClient>& client,
                                         const QStringList& ids)
{
    const QJsonObject answer =
        call(client, QStringLiteral("Email/get"),
             {{"ids", QJsonArray::fromStringList(ids)},
              {"properties", QJsonArray{"id", "mailboxIds", "keywords", "subject"}}});
    QMap<QString, QJsonObject> result;
    for (const QJsonValue& email : answer["list"].toArray())
        result.insert(email["id"].toString(), email.toObject());
    return result;
}

inline QJsonObject email(const std::shared_ptr<JMAPClient>& client, const QString& id)
{
    return emails(client, {id}).value(id);
}

// The ids of the messages whose subject holds `text`.
inline QStringList idsWithSubject(const std::shared_ptr<JMAPClient>& client, const QString& text,
                                  QJsonObject filter = {})
{
    filter.insert(QStringLiteral("subject"), text);
    QStringList ids;
    for (const QJsonValue& id :
         call(client, QStringLiteral("Email/query"), {{"filter", filter}})["ids"].toArray())
        ids.append(id.toString());
    return ids;
}

// A message the sink took: its text, and the recipients of its envelope.
struct Sunk
{
    QString text;
    QStringList recipients;
};

// The messages the sink has taken whose text holds `needle`.
inline QList<Sunk> sunk(const QString& needle)
{
    const QDir sink(qEnvironmentVariable("VELDRIN_TEST_SINK_DIR"));
    QList<Sunk> result;
    for (const QString& name : sink.entryList({"*.eml"}, QDir::Files)) {
        QFile file(sink.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray text = file.readAll();
        if (!text.contains(needle.toUtf8()))
            continue;
        Sunk message{QString::fromUtf8(text), {}};
        QFile envelope(sink.filePath(QFileInfo(name).completeBaseName() + ".json"));
        if (envelope.open(QIODevice::ReadOnly))
            for (const QJsonValue& to : QJsonDocument::fromJson(envelope.readAll())["to"].toArray())
                message.recipients.append(to.toString());
        result.append(message);
    }
    return result;
}

} // namespace ServerMail
