#include "MailService.h"

#include "CalendarMail.h"

#include <QJsonArray>
#include <QUuid>

QCoro::Task<QString> MailService::saveCalendarDraft(OutgoingMessage message, QString draftsId)
{
    try {
        const QString id = co_await createDraft(message, draftsId, std::nullopt, true);
        co_return id;
    } catch (const JMAPError& error) {
        if (error.kind() != JMAPError::Kind::Method ||
            error.text() != QStringLiteral("invalidProperties") || !message.calendar)
            throw;
    }
    // The server builds no part with a METHOD: it gets the whole message instead.
    const QString domain = message.identity.email.section(u'@', 1).trimmed();
    const QString messageId = QUuid::createUuid().toString(QUuid::WithoutBraces) + u'@' +
                              (domain.isEmpty() ? QStringLiteral("veldrin.invalid") : domain);
    const QByteArray mime = CalendarMail::mime(message, QDateTime::currentDateTimeUtc(), messageId);
    const QString blobId = co_await m_client->upload(mime, QStringLiteral("message/rfc822"));
    const QString accountId = co_await m_client->accountId();
    const QJsonObject email{
        {QStringLiteral("blobId"), blobId},
        {QStringLiteral("mailboxIds"), QJsonObject{{draftsId, true}}},
        {QStringLiteral("keywords"),
         QJsonObject{{QStringLiteral("$draft"), true}, {QStringLiteral("$seen"), true}}}};
    const QList<Invocation> calls{
        {QStringLiteral("Email/import"),
         QJsonObject{{QStringLiteral("accountId"), accountId},
                     {QStringLiteral("emails"), QJsonObject{{QStringLiteral("reply"), email}}}},
         QStringLiteral("0")}};
    const QList<Invocation> responses = co_await m_client->call(calls);
    const QJsonObject result = arguments(responses, QStringLiteral("0"));
    throwSetError(result, QStringLiteral("notCreated"), QStringLiteral("reply"));
    const QJsonValue id = result.value(QStringLiteral("created"))
                              .toObject()
                              .value(QStringLiteral("reply"))
                              .toObject()
                              .value(QStringLiteral("id"));
    if (!id.isString())
        throw JMAPError::malformed(QStringLiteral("imported reply"));
    const QString created = id.toString();
    co_return created;
}
