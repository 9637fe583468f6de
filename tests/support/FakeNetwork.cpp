#include "FakeNetwork.h"

#include <QBuffer>
#include <QJsonDocument>
#include <QTimer>

namespace {

QByteArray verbOf(QNetworkAccessManager::Operation op, const QNetworkRequest& request)
{
    switch (op) {
    case QNetworkAccessManager::GetOperation:
        return "GET";
    case QNetworkAccessManager::PostOperation:
        return "POST";
    case QNetworkAccessManager::PutOperation:
        return "PUT";
    case QNetworkAccessManager::DeleteOperation:
        return "DELETE";
    case QNetworkAccessManager::HeadOperation:
        return "HEAD";
    default:
        return request.attribute(QNetworkRequest::CustomVerbAttribute).toByteArray();
    }
}

QNetworkReply::NetworkError errorForStatus(int status)
{
    if (status >= 200 && status <= 299)
        return QNetworkReply::NoError;
    if (status == 401)
        return QNetworkReply::AuthenticationRequiredError;
    if (status == 403)
        return QNetworkReply::ContentAccessDenied;
    if (status == 404)
        return QNetworkReply::ContentNotFoundError;
    if (status >= 500)
        return QNetworkReply::InternalServerError;
    return QNetworkReply::UnknownContentError;
}

// A reply that holds its whole body and finishes on the next turn of the event loop.
class FakeReply : public QNetworkReply
{
public:
    FakeReply(const QNetworkRequest& request, QNetworkAccessManager::Operation operation,
              const FakeNetwork::Response& response, bool held, QObject* parent)
        : QNetworkReply(parent), m_data(response.body)
    {
        setRequest(request);
        setUrl(request.url());
        setOperation(operation);
        open(QIODevice::ReadOnly);
        if (response.error != QNetworkReply::NoError) {
            setError(response.error, QStringLiteral("Simulated network failure"));
            m_data.clear();
        } else {
            setAttribute(QNetworkRequest::HttpStatusCodeAttribute, response.status);
            setHeader(QNetworkRequest::ContentTypeHeader, response.contentType);
            setHeader(QNetworkRequest::ContentLengthHeader, m_data.size());
            const auto error = errorForStatus(response.status);
            if (error != QNetworkReply::NoError)
                setError(error, QStringLiteral("Server replied: %1").arg(response.status));
        }
        if (!held)
            QTimer::singleShot(0, this, [this] { deliver(); });
    }

    void deliver()
    {
        if (isFinished())
            return;
        if (!m_data.isEmpty())
            Q_EMIT readyRead();
        if (error() != QNetworkReply::NoError)
            Q_EMIT errorOccurred(error());
        setFinished(true);
        Q_EMIT finished();
    }

    void abort() override
    {
        if (isFinished())
            return;
        m_data.clear();
        setError(QNetworkReply::OperationCanceledError, QStringLiteral("Operation canceled"));
        setFinished(true);
        Q_EMIT errorOccurred(QNetworkReply::OperationCanceledError);
        Q_EMIT finished();
    }
    qint64 bytesAvailable() const override { return m_data.size() + QIODevice::bytesAvailable(); }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const qint64 count = qMin<qint64>(maxSize, m_data.size());
        memcpy(data, m_data.constData(), static_cast<size_t>(count));
        m_data.remove(0, count);
        return count;
    }

private:
    QByteArray m_data;
};

} // namespace

QJsonObject RecordedRequest::json() const
{
    return QJsonDocument::fromJson(body).object();
}

QJsonArray RecordedRequest::methodCalls() const
{
    return json().value(QStringLiteral("methodCalls")).toArray();
}

QStringList RecordedRequest::methodNames() const
{
    QStringList names;
    for (const QJsonValue& call : methodCalls())
        names.append(call.toArray().at(0).toString());
    return names;
}

QJsonObject RecordedRequest::callArguments(const QString& callId) const
{
    for (const QJsonValue& call : methodCalls()) {
        const QJsonArray parts = call.toArray();
        if (parts.at(2).toString() == callId)
            return parts.at(1).toObject();
    }
    return {};
}

FakeStreamReply::FakeStreamReply(const QNetworkRequest& request,
                                 QNetworkAccessManager::Operation operation, int status,
                                 QObject* parent)
    : QNetworkReply(parent)
{
    setRequest(request);
    setUrl(request.url());
    setOperation(operation);
    open(QIODevice::ReadOnly);
    QTimer::singleShot(0, this, [this, status] {
        if (isFinished())
            return;
        setAttribute(QNetworkRequest::HttpStatusCodeAttribute, status);
        setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("text/event-stream"));
        Q_EMIT metaDataChanged();
        if (status < 200 || status > 299) {
            setError(errorForStatus(status), QStringLiteral("Server replied: %1").arg(status));
            Q_EMIT errorOccurred(error());
            setFinished(true);
            Q_EMIT finished();
        }
    });
}

void FakeStreamReply::push(const QByteArray& data)
{
    if (isFinished())
        return;
    m_buffer.append(data);
    Q_EMIT readyRead();
}

void FakeStreamReply::finishStream()
{
    if (isFinished())
        return;
    setFinished(true);
    Q_EMIT finished();
}

void FakeStreamReply::failStream(QNetworkReply::NetworkError code, const QString& message)
{
    if (isFinished())
        return;
    setError(code, message);
    Q_EMIT errorOccurred(code);
    setFinished(true);
    Q_EMIT finished();
}

void FakeStreamReply::abort()
{
    m_aborted = true;
    failStream(QNetworkReply::OperationCanceledError, QStringLiteral("Operation canceled"));
}

qint64 FakeStreamReply::bytesAvailable() const
{
    return m_buffer.size() + QIODevice::bytesAvailable();
}

qint64 FakeStreamReply::readData(char* data, qint64 maxSize)
{
    const qint64 count = qMin<qint64>(maxSize, m_buffer.size());
    memcpy(data, m_buffer.constData(), static_cast<size_t>(count));
    m_buffer.remove(0, count);
    return count;
}

FakeNetwork::FakeNetwork(QObject* parent) : QNetworkAccessManager(parent)
{
    m_session = defaultSession();
}

QUrl FakeNetwork::sessionUrl()
{
    return QUrl(QStringLiteral("https://jmap.example.test/jmap/session"));
}
QUrl FakeNetwork::apiUrl()
{
    return QUrl(QStringLiteral("https://jmap.example.test/jmap/api/"));
}
QString FakeNetwork::accountId()
{
    return QStringLiteral("u1");
}

QJsonObject FakeNetwork::defaultSession(qint64 maxDelayedSend)
{
    const QString account = accountId();
    const QJsonObject capabilities{
        {QStringLiteral("urn:ietf:params:jmap:mail"), QJsonObject{}},
        {QStringLiteral("urn:ietf:params:jmap:submission"),
         QJsonObject{{QStringLiteral("maxDelayedSend"), maxDelayedSend}}},
        {QStringLiteral("urn:ietf:params:jmap:contacts"), QJsonObject{}},
        {QStringLiteral("https://www.fastmail.com/dev/maskedemail"), QJsonObject{}}};
    return QJsonObject{
        {QStringLiteral("apiUrl"), apiUrl().toString()},
        {QStringLiteral("downloadUrl"),
         QStringLiteral("https://jmap.example.test/jmap/download/{accountId}/{blobId}/"
                        "{name}?type={type}")},
        {QStringLiteral("uploadUrl"),
         QStringLiteral("https://jmap.example.test/jmap/upload/{accountId}/")},
        {QStringLiteral("eventSourceUrl"),
         QStringLiteral("https://jmap.example.test/jmap/event/"
                        "?types={types}&closeafter={closeafter}&ping={ping}")},
        {QStringLiteral("username"), QStringLiteral("user@example.com")},
        {QStringLiteral("primaryAccounts"),
         QJsonObject{{QStringLiteral("urn:ietf:params:jmap:mail"), account},
                     {QStringLiteral("urn:ietf:params:jmap:submission"), account},
                     {QStringLiteral("urn:ietf:params:jmap:contacts"), account},
                     {QStringLiteral("https://www.fastmail.com/dev/maskedemail"), account}}},
        {QStringLiteral("accounts"),
         QJsonObject{
             {account, QJsonObject{{QStringLiteral("name"), QStringLiteral("user")},
                                   {QStringLiteral("accountCapabilities"), capabilities}}}}},
        {QStringLiteral("state"), QStringLiteral("s1")}};
}

void FakeNetwork::setSession(const QJsonObject& session)
{
    m_session = session;
}

void FakeNetwork::respondTo(const QString& method, const QJsonObject& arguments)
{
    m_handlers.insert(method, [arguments](const QJsonObject&) { return arguments; });
}

void FakeNetwork::respondTo(const QString& method, MethodHandler handler)
{
    m_handlers.insert(method, std::move(handler));
}

void FakeNetwork::respondWithError(const QString& method, const QString& type,
                                   const QString& description)
{
    QJsonObject error{{QStringLiteral("type"), type}};
    if (!description.isEmpty())
        error.insert(QStringLiteral("description"), description);
    // Marked so that answerBatch names the response "error".
    error.insert(QStringLiteral("__error"), true);
    respondTo(method, error);
}

void FakeNetwork::setResponse(const QUrl& url, const Response& response)
{
    m_responses.insert(url.adjusted(QUrl::RemoveQuery).toString(), response);
}

void FakeNetwork::setStreamPrefix(const QString& prefix, int status)
{
    m_streamPrefix = prefix;
    m_streamStatus = status;
}

QList<RecordedRequest> FakeNetwork::batches() const
{
    QList<RecordedRequest> result;
    for (const RecordedRequest& request : m_requests)
        if (request.url == apiUrl() && request.verb == "POST")
            result.append(request);
    return result;
}

FakeNetwork::Response FakeNetwork::answerBatch(const RecordedRequest& request) const
{
    QJsonArray responses;
    for (const QJsonValue& call : request.methodCalls()) {
        const QJsonArray parts = call.toArray();
        const QString name = parts.at(0).toString();
        const QString callId = parts.at(2).toString();
        const auto handler = m_handlers.constFind(name);
        if (handler == m_handlers.constEnd()) {
            responses.append(QJsonArray{
                QStringLiteral("error"),
                QJsonObject{{QStringLiteral("type"), QStringLiteral("unknownMethod")}}, callId});
            continue;
        }
        QJsonObject answer = (*handler)(parts.at(1).toObject());
        if (answer.contains(QStringLiteral("__error"))) {
            answer.remove(QStringLiteral("__error"));
            responses.append(QJsonArray{QStringLiteral("error"), answer, callId});
        } else {
            responses.append(QJsonArray{name, answer, callId});
        }
    }
    const QJsonObject body{{QStringLiteral("methodResponses"), responses},
                           {QStringLiteral("sessionState"), QStringLiteral("s1")}};
    return Response{200, QJsonDocument(body).toJson(QJsonDocument::Compact)};
}

QNetworkReply* FakeNetwork::createRequest(Operation op, const QNetworkRequest& request,
                                          QIODevice* outgoingData)
{
    RecordedRequest recorded;
    recorded.verb = verbOf(op, request);
    recorded.url = request.url();
    for (const QByteArray& name : request.rawHeaderList())
        recorded.headers.insert(name, request.rawHeader(name));
    if (request.header(QNetworkRequest::ContentTypeHeader).isValid())
        recorded.headers.insert("Content-Type",
                                request.header(QNetworkRequest::ContentTypeHeader).toByteArray());
    if (outgoingData)
        recorded.body = outgoingData->readAll();
    recorded.transferTimeout = request.transferTimeout();
    m_requests.append(recorded);

    const QString urlText = request.url().toString();
    if (!m_streamPrefix.isEmpty() && urlText.startsWith(m_streamPrefix)) {
        auto* stream = new FakeStreamReply(request, op, m_streamStatus, this);
        m_streams.append(stream);
        return stream;
    }

    const auto fixed = m_responses.constFind(request.url().adjusted(QUrl::RemoveQuery).toString());
    Response response;
    if (fixed != m_responses.constEnd())
        response = *fixed;
    else if (request.url() == sessionUrl())
        response = Response{200, QJsonDocument(m_session).toJson(QJsonDocument::Compact)};
    else if (request.url() == apiUrl() && recorded.verb == "POST")
        response = answerBatch(recorded);
    else
        response = Response{404, "Not found", "text/plain"};
    auto* reply = new FakeReply(request, op, response, m_holding, this);
    if (m_holding) {
        QPointer<FakeReply> held(reply);
        m_held.append([held] {
            if (held)
                held->deliver();
        });
    }
    return reply;
}

void FakeNetwork::release(qsizetype index)
{
    if (index < 0 || index >= m_held.size())
        return;
    const auto deliver = m_held.takeAt(index);
    deliver();
}

void FakeNetwork::releaseAll()
{
    while (!m_held.isEmpty())
        release(0);
}
