#include "JMAPClient.h"

#include "Errors.h"

#include <QCoroNetworkReply>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QStringDecoder>

const QString JMAPClient::mailCapability = QStringLiteral("urn:ietf:params:jmap:mail");
const QString JMAPClient::contactsCapability = QStringLiteral("urn:ietf:params:jmap:contacts");
const QString JMAPClient::maskedEmailCapability =
    QStringLiteral("https://www.fastmail.com/dev/maskedemail");
const QString JMAPClient::submissionCapability = QStringLiteral("urn:ietf:params:jmap:submission");
const QStringList JMAPClient::capabilities = {QStringLiteral("urn:ietf:params:jmap:core"),
                                              QStringLiteral("urn:ietf:params:jmap:mail"),
                                              QStringLiteral("urn:ietf:params:jmap:submission")};

namespace {

// Pairs every start of an activity with exactly one end, however the request ends.
class ActivityScope
{
public:
    ActivityScope(const JMAPClient::ActivityCallback& callback, JMAPActivity activity)
        : m_callback(callback), m_activity(activity)
    {
        if (m_callback)
            m_callback(m_activity, true);
    }
    ~ActivityScope()
    {
        if (m_callback)
            m_callback(m_activity, false);
    }
    ActivityScope(const ActivityScope&) = delete;
    ActivityScope& operator=(const ActivityScope&) = delete;

private:
    JMAPClient::ActivityCallback m_callback;
    JMAPActivity m_activity;
};

// The first 300 bytes of a body as text, or nothing when they are not valid UTF-8.
QString bodyExcerpt(const QByteArray& body)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(body.left(300));
    if (decoder.hasError())
        return {};
    return text;
}

TransportError transportError(const QNetworkReply& reply)
{
    // Nothing here aborts a request, so a cancelled one ran into its transfer timeout.
    if (reply.error() == QNetworkReply::OperationCanceledError)
        return TransportError::reaching(QNetworkReply::TimeoutError, reply.url(),
                                        QStringLiteral("The request timed out."));
    return TransportError::reaching(reply.error(), reply.url(), reply.errorString());
}

QJsonValue parseJson(const QByteArray& data)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError)
        throw DecodeError(QStringLiteral("The data is not valid JSON: %1 at offset %2.")
                              .arg(error.errorString())
                              .arg(error.offset));
    if (document.isObject())
        return document.object();
    return document.array();
}

} // namespace

JMAPClient::JMAPClient(QUrl sessionURL, QString token, QNetworkAccessManager* urlSession,
                       ActivityCallback onActivity)
    : m_sessionURL(std::move(sessionURL)), m_token(std::move(token)), m_urlSession(urlSession),
      m_onActivity(std::move(onActivity))
{
}

QNetworkRequest JMAPClient::request(const QUrl& url, int timeoutMilliseconds) const
{
    QNetworkRequest request(url);
    request.setTransferTimeout(timeoutMilliseconds);
    // Qt 6.4's HTTP/2 client reports "Connection closed" instead of the answer when a server
    // closes the connection right after an error status, so a rejected token would not read as
    // one. Veldrin sends few requests at a time; HTTP/1.1 costs it nothing.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    return request;
}

QCoro::Task<QByteArray> JMAPClient::send(QNetworkRequest request, QByteArray verb, QByteArray body,
                                         JMAPActivity activity)
{
    ActivityScope scope(m_onActivity, activity);
    request.setRawHeader("Authorization", "Bearer " + m_token.toUtf8());
    QNetworkReply* reply = body.isNull() && verb == "GET"
                               ? m_urlSession->get(request)
                               : m_urlSession->sendCustomRequest(request, verb, body);
    std::unique_ptr<QNetworkReply, void (*)(QNetworkReply*)> owner(
        reply, [](QNetworkReply* r) { r->deleteLater(); });
    co_await qCoro(reply).waitForFinished();

    const QVariant statusAttribute = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!statusAttribute.isValid()) {
        if (reply->error() == QNetworkReply::NoError)
            throw JMAPError::malformed(QStringLiteral("non-HTTP response"));
        throw transportError(*reply);
    }
    const int status = statusAttribute.toInt();
    const QByteArray data = reply->readAll();
    if (status >= 200 && status <= 299) {
        // Qt sets no error for a success status, so one here means the connection broke or
        // timed out after the headers: the body is incomplete and must not be read as the answer.
        if (reply->error() != QNetworkReply::NoError)
            throw transportError(*reply);
        co_return data;
    }
    if (status == 401 || status == 403)
        throw JMAPError::unauthorized();
    throw JMAPError::http(status, bodyExcerpt(data));
}

QCoro::Task<JMAPSession> JMAPClient::session()
{
    if (m_cachedSession) {
        // GCC 12 moves from the operand of co_return even when it is not a local: copy first.
        JMAPSession cached = *m_cachedSession;
        co_return cached;
    }
    const QByteArray data =
        co_await send(request(m_sessionURL), "GET", QByteArray(), JMAPActivity::fetching);
    JMAPSession decoded;
    try {
        const QJsonDocument document = QJsonDocument::fromJson(data);
        if (!document.isObject())
            throw DecodeError(QString());
        decoded = JMAPSession::fromJson(document.object(), m_sessionURL);
    } catch (const DecodeError&) {
        throw JMAPError::malformed(QStringLiteral("session object"));
    }
    m_cachedSession = decoded;
    co_return decoded;
}

QCoro::Task<QString> JMAPClient::primaryAccount(QString capability, int missing)
{
    const JMAPSession current = co_await session();
    const auto it = current.primaryAccounts.constFind(capability);
    if (it == current.primaryAccounts.constEnd()) {
        switch (static_cast<JMAPError::Kind>(missing)) {
        case JMAPError::Kind::NoMaskedEmailAccess:
            throw JMAPError::noMaskedEmailAccess();
        case JMAPError::Kind::NoContactsAccess:
            throw JMAPError::noContactsAccess();
        default:
            throw JMAPError::noMailAccount();
        }
    }
    const QString id = *it;
    co_return id;
}

QCoro::Task<QString> JMAPClient::accountId()
{
    return primaryAccount(mailCapability, static_cast<int>(JMAPError::Kind::NoMailAccount));
}

QCoro::Task<QString> JMAPClient::maskedEmailAccountId()
{
    return primaryAccount(maskedEmailCapability,
                          static_cast<int>(JMAPError::Kind::NoMaskedEmailAccess));
}

QCoro::Task<QString> JMAPClient::contactsAccountId()
{
    return primaryAccount(contactsCapability, static_cast<int>(JMAPError::Kind::NoContactsAccess));
}

QCoro::Task<qint64> JMAPClient::maxDelayedSend()
{
    const JMAPSession current = co_await session();
    const QString id = co_await accountId();
    if (!current.accounts)
        co_return 0;
    const auto account = current.accounts->constFind(id);
    if (account == current.accounts->constEnd() || !account->maxDelayedSend)
        co_return 0;
    co_return *account->maxDelayedSend;
}

QCoro::Task<QList<Invocation>> JMAPClient::call(QList<Invocation> invocations,
                                                QStringList extraCapabilities)
{
    const JMAPSession current = co_await session();
    QNetworkRequest post = request(current.apiUrl);
    post.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));

    QJsonArray calls;
    bool changes = false;
    for (const Invocation& invocation : invocations) {
        calls.append(QJsonArray{invocation.name, invocation.arguments, invocation.callId});
        changes = changes || invocation.name.endsWith(QStringLiteral("/set"));
    }
    const QJsonObject body{
        {QStringLiteral("using"), QJsonArray::fromStringList(capabilities + extraCapabilities)},
        {QStringLiteral("methodCalls"), calls}};
    const QByteArray data =
        co_await send(post, "POST", QJsonDocument(body).toJson(QJsonDocument::Compact),
                      changes ? JMAPActivity::pushing : JMAPActivity::fetching);

    const QJsonValue top = parseJson(data);
    const QJsonValue responses = top.toObject().value(QStringLiteral("methodResponses"));
    if (!top.isObject() || !responses.isArray())
        throw JMAPError::malformed(QStringLiteral("methodResponses"));
    QList<Invocation> result;
    for (const QJsonValue& element : responses.toArray()) {
        const QJsonArray parts = element.toArray();
        if (!element.isArray() || parts.size() != 3 || !parts[0].isString() ||
            !parts[1].isObject() || !parts[2].isString())
            throw JMAPError::malformed(QStringLiteral("invocation"));
        result.append({parts[0].toString(), parts[1].toObject(), parts[2].toString()});
    }
    co_return result;
}

QString JMAPClient::percentEncoded(const QString& value)
{
    QString result;
    result.reserve(value.size());
    const auto codePoints = value.toUcs4();
    for (const char32_t codePoint : codePoints) {
        if (QChar::isLetterOrNumber(codePoint) || codePoint == U'-' || codePoint == U'.' ||
            codePoint == U'_' || codePoint == U'~') {
            result.append(QString::fromUcs4(&codePoint, 1));
            continue;
        }
        const QByteArray bytes = QString::fromUcs4(&codePoint, 1).toUtf8();
        for (const char byte : bytes)
            result.append(QStringLiteral("%%1")
                              .arg(static_cast<unsigned char>(byte), 2, 16, QLatin1Char('0'))
                              .toUpper());
    }
    return result;
}

QCoro::Task<QByteArray> JMAPClient::download(QString blobId, QString name, QString type)
{
    const JMAPSession current = co_await session();
    const QString account = co_await accountId();
    QString text = current.downloadUrl;
    text.replace(QStringLiteral("{accountId}"), percentEncoded(account));
    text.replace(QStringLiteral("{blobId}"), percentEncoded(blobId));
    text.replace(QStringLiteral("{name}"), percentEncoded(name));
    text.replace(QStringLiteral("{type}"), percentEncoded(type));
    const QUrl url(text);
    if (!url.isValid() || url.isRelative())
        throw JMAPError::malformed(QStringLiteral("download URL"));
    co_return co_await send(request(url), "GET", QByteArray(), JMAPActivity::fetching);
}

QCoro::Task<QString> JMAPClient::upload(QByteArray data, QString type)
{
    const JMAPSession current = co_await session();
    const QString account = co_await accountId();
    if (!current.uploadUrl)
        throw JMAPError::malformed(QStringLiteral("upload URL"));
    QString text = *current.uploadUrl;
    text.replace(QStringLiteral("{accountId}"), percentEncoded(account));
    const QUrl url(text);
    if (!url.isValid() || url.isRelative())
        throw JMAPError::malformed(QStringLiteral("upload URL"));
    QNetworkRequest post = request(url);
    post.setHeader(QNetworkRequest::ContentTypeHeader, type);
    if (data.isNull())
        data = QByteArray("");
    const QByteArray response = co_await send(post, "POST", data, JMAPActivity::pushing);
    const QJsonValue top = parseJson(response);
    const QJsonValue blobId = top.toObject().value(QStringLiteral("blobId"));
    if (!top.isObject() || !blobId.isString())
        throw JMAPError::malformed(QStringLiteral("upload response"));
    co_return blobId.toString();
}
