#include "MailService.h"

#include "SearchQuery.h"
#include "jmap/JMAPDecoding.h"

#include <QHash>
#include <QJsonArray>

namespace {

// A Thread/get record: a thread id and its email ids in thread order.
struct ThreadList
{
    static constexpr const char* jsonTypeName = "ThreadList";

    QString id;
    QStringList emailIds;

    static ThreadList fromJson(const QJsonObject& object)
    {
        return ThreadList{Json::requiredString(object, QStringLiteral("id")),
                          Json::requiredStringList(object, QStringLiteral("emailIds"))};
    }
};

// The recipients of one email.
struct Recipients
{
    static constexpr const char* jsonTypeName = "Recipients";

    std::optional<QList<EmailAddress>> to;
    std::optional<QList<EmailAddress>> cc;
    std::optional<QList<EmailAddress>> bcc;

    static Recipients fromJson(const QJsonObject& object)
    {
        const auto list = [&object](const char* key) {
            return Json::optionalArray<EmailAddress>(object, QLatin1String(key),
                                                     &EmailAddress::fromJson);
        };
        return Recipients{list("to"), list("cc"), list("bcc")};
    }
};

const QString accountIdKey = QStringLiteral("accountId");

// The arguments of a call in the batch whose ids are the result of an earlier call.
QJsonObject referencing(const QString& accountId, const QString& resultOf, const QString& name,
                        const QString& path, const QJsonArray& properties = {})
{
    QJsonObject arguments{{accountIdKey, accountId},
                          {QStringLiteral("#ids"), resultReference(resultOf, name, path)}};
    if (!properties.isEmpty())
        arguments.insert(QStringLiteral("properties"), properties);
    return arguments;
}

QJsonArray newestFirst()
{
    return QJsonArray{QJsonObject{{QStringLiteral("property"), QStringLiteral("receivedAt")},
                                  {QStringLiteral("isAscending"), false}}};
}

// The string ids of a query response; anything else counts as none.
QStringList queryIds(const QJsonObject& arguments)
{
    const QJsonValue value = arguments.value(QStringLiteral("ids"));
    QStringList ids;
    if (!value.isArray())
        return ids;
    for (const QJsonValue& id : value.toArray()) {
        if (!id.isString())
            return {};
        ids.append(id.toString());
    }
    return ids;
}

QList<Email> decodeEmails(const QList<Invocation>& responses, const QString& callId)
{
    return JMAPDecoding::decodeList<Email>(
        arguments(responses, callId).value(QStringLiteral("list")));
}

// The first record of each id wins.
template <typename T> QHash<QString, T> byId(const QList<T>& records)
{
    QHash<QString, T> index;
    index.reserve(records.size());
    for (const T& record : records)
        if (!index.contains(record.id))
            index.insert(record.id, record);
    return index;
}

QList<Email> emailsOf(const QStringList& emailIds, const QHash<QString, Email>& emails)
{
    QList<Email> result;
    result.reserve(emailIds.size());
    for (const QString& id : emailIds) {
        const auto email = emails.constFind(id);
        if (email != emails.constEnd())
            result.append(*email);
    }
    return result;
}

} // namespace

QCoro::Task<ThreadPage> MailService::threads(QString inMailbox, QString search,
                                             QList<Mailbox> mailboxes, qint64 position,
                                             qint64 limit, QTimeZone timeZone)
{
    const QString accountId = co_await m_client->accountId();
    const QJsonObject query{
        {accountIdKey, accountId},
        {QStringLiteral("filter"), SearchQuery::filter(inMailbox, search, mailboxes, timeZone)},
        {QStringLiteral("sort"), newestFirst()},
        {QStringLiteral("collapseThreads"), true},
        {QStringLiteral("position"), position},
        {QStringLiteral("limit"), limit},
        {QStringLiteral("calculateTotal"), true}};
    const QJsonObject anchors =
        referencing(accountId, QStringLiteral("query"), QStringLiteral("Email/query"),
                    QStringLiteral("/ids"), QJsonArray{QStringLiteral("threadId")});
    const QJsonObject threadsCall =
        referencing(accountId, QStringLiteral("anchors"), QStringLiteral("Email/get"),
                    QStringLiteral("/list/*/threadId"));
    const QJsonObject emailsCall = referencing(
        accountId, QStringLiteral("threads"), QStringLiteral("Thread/get"),
        QStringLiteral("/list/*/emailIds"), QJsonArray::fromStringList(Email::summaryProperties));
    const QList<Invocation> calls{
        {QStringLiteral("Email/query"), query, QStringLiteral("query")},
        {QStringLiteral("Email/get"), anchors, QStringLiteral("anchors")},
        {QStringLiteral("Thread/get"), threadsCall, QStringLiteral("threads")},
        {QStringLiteral("Email/get"), emailsCall, QStringLiteral("emails")}};
    const QList<Invocation> responses = co_await m_client->call(calls);

    const QJsonObject queryResult = arguments(responses, QStringLiteral("query"));
    const QStringList ids = queryIds(queryResult);
    const auto threadLists = JMAPDecoding::decodeList<ThreadList>(
        arguments(responses, QStringLiteral("threads")).value(QStringLiteral("list")));
    const auto emails = byId(decodeEmails(responses, QStringLiteral("emails")));
    const auto threadIndex = byId(threadLists);

    ThreadPage page;
    for (const QString& id : ids) {
        const auto anchor = emails.constFind(id);
        if (anchor == emails.constEnd())
            continue;
        const auto threadList = threadIndex.constFind(anchor->threadId);
        if (threadList == threadIndex.constEnd())
            continue;
        QList<Email> members = emailsOf(threadList->emailIds, emails);
        if (members.isEmpty())
            continue;
        page.threads.append(MailThread{anchor->threadId, std::move(members), id});
    }
    const auto total = Json::toInteger(queryResult.value(QStringLiteral("total")));
    page.total = total ? *total : page.threads.size();
    co_return page;
}

QCoro::Task<QMap<QString, QList<Email>>> MailService::threads(QStringList ids)
{
    QMap<QString, QList<Email>> result;
    if (ids.isEmpty())
        co_return result;
    const QString accountId = co_await m_client->accountId();
    const QJsonObject threadCall{{accountIdKey, accountId},
                                 {QStringLiteral("ids"), QJsonArray::fromStringList(ids)}};
    QJsonObject emailsCall = referencing(
        accountId, QStringLiteral("thread"), QStringLiteral("Thread/get"),
        QStringLiteral("/list/*/emailIds"), QJsonArray::fromStringList(Email::detailProperties));
    emailsCall.insert(QStringLiteral("fetchTextBodyValues"), true);
    emailsCall.insert(QStringLiteral("fetchHTMLBodyValues"), true);
    const QList<Invocation> calls{
        {QStringLiteral("Thread/get"), threadCall, QStringLiteral("thread")},
        {QStringLiteral("Email/get"), emailsCall, QStringLiteral("emails")}};
    const QList<Invocation> responses = co_await m_client->call(calls);

    const auto threadLists = JMAPDecoding::decodeList<ThreadList>(
        arguments(responses, QStringLiteral("thread")).value(QStringLiteral("list")));
    const auto emails = byId(decodeEmails(responses, QStringLiteral("emails")));
    for (const ThreadList& threadList : threadLists)
        if (!result.contains(threadList.id))
            result.insert(threadList.id, emailsOf(threadList.emailIds, emails));
    co_return result;
}

QCoro::Task<QList<Email>> MailService::thread(QString id)
{
    const QStringList ids{id};
    const auto found = co_await threads(ids);
    const QList<Email> emails = found.value(id);
    co_return emails;
}

QCoro::Task<QList<Email>> MailService::unreadEmails(QString inMailbox, QDateTime since,
                                                    qint64 limit)
{
    const QString accountId = co_await m_client->accountId();
    const QJsonObject query{
        {accountIdKey, accountId},
        {QStringLiteral("filter"),
         QJsonObject{{QStringLiteral("inMailbox"), inMailbox},
                     {QStringLiteral("notKeyword"), QStringLiteral("$seen")},
                     {QStringLiteral("after"), JMAPDecoding::formatDate(since)}}},
        {QStringLiteral("sort"), newestFirst()},
        {QStringLiteral("limit"), limit}};
    const QJsonObject emailsCall =
        referencing(accountId, QStringLiteral("query"), QStringLiteral("Email/query"),
                    QStringLiteral("/ids"), QJsonArray::fromStringList(Email::summaryProperties));
    const QList<Invocation> calls{
        {QStringLiteral("Email/query"), query, QStringLiteral("query")},
        {QStringLiteral("Email/get"), emailsCall, QStringLiteral("emails")}};
    const QList<Invocation> responses = co_await m_client->call(calls);
    const QList<Email> emails = decodeEmails(responses, QStringLiteral("emails"));
    co_return emails;
}

QCoro::Task<QList<EmailAddress>> MailService::recipients(QString inMailbox, qint64 limit)
{
    const QString accountId = co_await m_client->accountId();
    const QJsonObject query{
        {accountIdKey, accountId},
        {QStringLiteral("filter"), QJsonObject{{QStringLiteral("inMailbox"), inMailbox}}},
        {QStringLiteral("sort"), newestFirst()},
        {QStringLiteral("limit"), limit}};
    const QJsonObject emailsCall = referencing(
        accountId, QStringLiteral("query"), QStringLiteral("Email/query"), QStringLiteral("/ids"),
        QJsonArray{QStringLiteral("to"), QStringLiteral("cc"), QStringLiteral("bcc")});
    const QList<Invocation> calls{
        {QStringLiteral("Email/query"), query, QStringLiteral("query")},
        {QStringLiteral("Email/get"), emailsCall, QStringLiteral("emails")}};
    const QList<Invocation> responses = co_await m_client->call(calls);
    const auto records = JMAPDecoding::decodeList<Recipients>(
        arguments(responses, QStringLiteral("emails")).value(QStringLiteral("list")));
    QList<EmailAddress> result;
    for (const Recipients& record : records) {
        result.append(record.to.value_or(QList<EmailAddress>()));
        result.append(record.cc.value_or(QList<EmailAddress>()));
        result.append(record.bcc.value_or(QList<EmailAddress>()));
    }
    co_return result;
}
