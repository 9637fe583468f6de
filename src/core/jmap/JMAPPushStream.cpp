#include "JMAPPushStream.h"

#include "JMAPClient.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <QUrl>

namespace {

// Three ping periods: a connection silent for this long has failed.
constexpr int idleTimeoutMilliseconds = 90000;

} // namespace

std::unique_ptr<JMAPPushStream> JMAPClient::pushEvents(std::shared_ptr<JMAPClient> client,
                                                       const QStringList& types)
{
    std::unique_ptr<JMAPPushStream> stream(new JMAPPushStream(std::move(client), types));
    // Reading starts on the next turn of the event loop: with the session already cached the
    // stream may fail at once, and the caller must have had a chance to connect to `ended`.
    JMAPPushStream* raw = stream.get();
    QTimer::singleShot(0, raw, [raw] { raw->open(QPointer<JMAPPushStream>(raw)); });
    return stream;
}

JMAPPushStream::JMAPPushStream(std::shared_ptr<JMAPClient> client, QStringList types)
    : m_client(std::move(client)), m_network(m_client->m_urlSession), m_types(std::move(types))
{
}

JMAPPushStream::~JMAPPushStream()
{
    closeReply();
    if (!m_ended) {
        m_ended = true;
        m_error = std::make_exception_ptr(CancelledError());
    }
    // A consumer still waiting learns that the stream is gone, and must not take an event
    // that would send it back to a stream that no longer exists.
    m_pending.reset();
    resumeWaiter();
}

QCoro::Task<> JMAPPushStream::open(QPointer<JMAPPushStream> self)
{
    // The coroutine outlives the stream if the stream is dropped while the session loads.
    const std::shared_ptr<JMAPClient> client = m_client;
    std::optional<QString> eventSourceUrl;
    try {
        const JMAPSession session = co_await client->session();
        eventSourceUrl = session.eventSourceUrl;
    } catch (...) {
        if (self)
            self->finish(std::current_exception());
        co_return;
    }
    if (!self || self->m_ended)
        co_return;
    if (!eventSourceUrl) {
        finish(std::make_exception_ptr(JMAPError::malformed(QStringLiteral("event source URL"))));
        co_return;
    }
    QString text = *eventSourceUrl;
    text.replace(QStringLiteral("{types}"), m_types.join(u','));
    text.replace(QStringLiteral("{closeafter}"), QStringLiteral("no"));
    text.replace(QStringLiteral("{ping}"), QStringLiteral("30"));
    const QUrl url(text);
    if (!url.isValid() || url.isRelative()) {
        finish(std::make_exception_ptr(JMAPError::malformed(QStringLiteral("event source URL"))));
        co_return;
    }
    if (!m_network) {
        finish(std::make_exception_ptr(CancelledError()));
        co_return;
    }
    QNetworkRequest request = client->request(url, idleTimeoutMilliseconds);
    request.setRawHeader("Authorization", "Bearer " + client->m_token.toUtf8());
    request.setRawHeader("Accept", "text/event-stream");
    // A standing connection is no activity: it does not go through the client's send.
    m_reply = m_network->get(request);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, [this] { onMetaData(); });
    connect(m_reply, &QNetworkReply::readyRead, this, &JMAPPushStream::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &JMAPPushStream::onFinished);
}

void JMAPPushStream::onMetaData(bool final)
{
    if (m_connected || m_ended || !m_reply)
        return;
    const QVariant status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid())
        return;
    const int code = status.toInt();
    // The network access manager follows redirects as it does for every other request; only
    // the answer at the end of them counts.
    if (code >= 300 && code <= 399 && !final)
        return;
    if (code == 401 || code == 403) {
        finish(std::make_exception_ptr(JMAPError::unauthorized()));
        closeReply(true);
        return;
    }
    // "No Content" is how a server without push answers its event source: no stream, not a
    // stream that opens and ends at once (which would count as a reconnect every time).
    if (code < 200 || code > 299 || code == 204) {
        // The body of a failed event source is not read.
        finish(std::make_exception_ptr(JMAPError::http(code, QString())));
        closeReply(true);
        return;
    }
    m_connected = true;
    deliver(JMAPPushEvent::connected);
}

void JMAPPushStream::onReadyRead()
{
    if (!m_connected)
        onMetaData();
    if (!m_connected || m_ended || !m_reply)
        return;
    // Read in pieces, so that a flood is cut off at the first overlong line, not after it.
    constexpr qint64 pieceBytes = 64 * 1024;
    while (m_reply && m_reply->bytesAvailable() > 0) {
        m_buffer.append(m_reply->read(pieceBytes));
        // Lines end in "\n", "\r\n" or a lone "\r".
        qsizetype start = 0;
        for (qsizetype i = m_scanned; i < m_buffer.size(); ++i) {
            const char c = m_buffer.at(i);
            if (c != '\n' && c != '\r')
                continue;
            if (c == '\r' && i + 1 == m_buffer.size())
                break; // a "\n" may still follow in the next chunk
            if (i - start > maxLineBytes) {
                failOverlongLine();
                return;
            }
            processLine(m_buffer.mid(start, i - start));
            if (m_ended)
                return;
            if (c == '\r' && m_buffer.at(i + 1) == '\n')
                ++i;
            start = i + 1;
        }
        m_buffer.remove(0, start);
        // A trailing "\r" is looked at again with the next piece.
        m_scanned = m_buffer.endsWith('\r') ? m_buffer.size() - 1 : m_buffer.size();
        if (m_buffer.size() > maxLineBytes) {
            failOverlongLine();
            return;
        }
    }
}

void JMAPPushStream::failOverlongLine()
{
    m_buffer.clear();
    m_scanned = 0;
    finish(std::make_exception_ptr(
        JMAPError::malformed(QStringLiteral("event stream line longer than 1 MB"))));
    closeReply(true);
}

void JMAPPushStream::onFinished()
{
    if (m_ended || !m_reply)
        return;
    const QNetworkReply::NetworkError error = m_reply->error();
    // A redirect that failed (too many, or to plain http) is a transport failure.
    if (!m_connected && error == QNetworkReply::NoError)
        onMetaData(true);
    else if (!m_connected)
        onMetaData();
    if (m_ended)
        return;
    if (!m_connected) {
        if (error == QNetworkReply::NoError)
            finish(
                std::make_exception_ptr(JMAPError::malformed(QStringLiteral("non-HTTP response"))));
        else
            finish(std::make_exception_ptr(
                TransportError::reaching(error, m_reply->url(), m_reply->errorString())));
        closeReply();
        return;
    }
    onReadyRead();
    if (m_ended)
        return;
    if (error != QNetworkReply::NoError) {
        // Nothing but the idle timeout aborts the reply while the stream runs.
        if (error == QNetworkReply::OperationCanceledError)
            finish(std::make_exception_ptr(
                TransportError::reaching(QNetworkReply::TimeoutError, m_reply->url(),
                                         QStringLiteral("The push connection timed out."))));
        else
            finish(std::make_exception_ptr(
                TransportError::reaching(error, m_reply->url(), m_reply->errorString())));
        closeReply();
        return;
    }
    // A last line without a line break still counts.
    if (!m_buffer.isEmpty()) {
        const QByteArray last = m_buffer;
        m_buffer.clear();
        m_scanned = 0;
        processLine(last.endsWith('\r') ? last.chopped(1) : last);
        if (m_ended)
            return;
    }
    finish(nullptr);
    closeReply();
}

void JMAPPushStream::processLine(QByteArray line)
{
    if (line.startsWith("event:")) {
        m_eventName = QString::fromUtf8(line.mid(6)).trimmed();
    } else if (line.startsWith("data:")) {
        if (m_eventName == u"state")
            deliver(JMAPPushEvent::changed);
    }
}

void JMAPPushStream::deliver(JMAPPushEvent event)
{
    m_pending = event;
    wake();
    if (event == JMAPPushEvent::connected)
        Q_EMIT connected();
    else
        Q_EMIT changed();
}

void JMAPPushStream::finish(std::exception_ptr error, bool announce)
{
    if (m_ended)
        return;
    m_ended = true;
    m_error = error;
    wake();
    if (announce)
        Q_EMIT ended(error);
}

void JMAPPushStream::stop()
{
    closeReply();
    finish(std::make_exception_ptr(CancelledError()), false);
}

void JMAPPushStream::closeReply(bool deferred)
{
    if (!m_reply)
        return;
    QNetworkReply* reply = m_reply;
    m_reply = nullptr;
    reply->disconnect(this);
    // Inside the reply's own signal Qt is still handling its status: aborting there reports
    // the reply's error twice, so the abort waits for the next turn of the event loop.
    if (deferred)
        QMetaObject::invokeMethod(reply, &QNetworkReply::abort, Qt::QueuedConnection);
    else if (!reply->isFinished())
        reply->abort();
    reply->deleteLater();
}

void JMAPPushStream::wake()
{
    if (!m_waiter)
        return;
    // The waiter resumes from the event loop, never inside a network callback.
    QTimer::singleShot(0, this, [this] { resumeWaiter(); });
}

void JMAPPushStream::resumeWaiter()
{
    if (const auto waiter = std::exchange(m_waiter, {}))
        waiter.resume();
}

bool JMAPPushStream::NextAwaiter::await_ready() const
{
    return m_stream->m_pending.has_value() || m_stream->m_ended;
}

void JMAPPushStream::NextAwaiter::await_suspend(std::coroutine_handle<> waiter)
{
    m_stream->m_waiter = waiter;
}

std::optional<JMAPPushEvent> JMAPPushStream::NextAwaiter::await_resume()
{
    // Undelivered events go out before the end: a burst then a clean close is still seen.
    if (m_stream->m_pending)
        return std::exchange(m_stream->m_pending, std::nullopt);
    if (m_stream->m_error)
        std::rethrow_exception(m_stream->m_error);
    return std::nullopt;
}
