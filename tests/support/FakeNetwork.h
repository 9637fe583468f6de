#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QUrl>

#include <functional>
#include <optional>

// One request as it went out, for assertions on the exact batch.
struct RecordedRequest
{
    QByteArray verb;
    QUrl url;
    QMap<QByteArray, QByteArray> headers;
    QByteArray body;
    int transferTimeout = 0;

    QJsonObject json() const;
    // The "methodCalls" of a batch, and their method names in order.
    QJsonArray methodCalls() const;
    QStringList methodNames() const;
    // The arguments of the call with this call id.
    QJsonObject callArguments(const QString& callId) const;
};

// A reply whose body arrives piece by piece, for the push stream.
class FakeStreamReply : public QNetworkReply
{
    Q_OBJECT
public:
    FakeStreamReply(const QNetworkRequest& request, QNetworkAccessManager::Operation operation,
                    int status, QObject* parent);
    void push(const QByteArray& data);
    void finishStream();
    void failStream(QNetworkReply::NetworkError error, const QString& message);
    bool wasAborted() const { return m_aborted; }

    void abort() override;
    qint64 bytesAvailable() const override;
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 maxSize) override;

private:
    QByteArray m_buffer;
    bool m_aborted = false;
};

// A QNetworkAccessManager that answers from memory and records every request. It serves a
// JMAP session at sessionUrl() and answers each method call of a batch posted to apiUrl()
// by the responder registered for its method name.
class FakeNetwork : public QNetworkAccessManager
{
    Q_OBJECT
public:
    struct Response
    {
        int status = 200;
        QByteArray body;
        QByteArray contentType = "application/json";
        // A transport failure instead of an HTTP answer.
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
    };
    using MethodHandler = std::function<QJsonObject(const QJsonObject& arguments)>;

    explicit FakeNetwork(QObject* parent = nullptr);

    static QUrl sessionUrl();
    static QUrl apiUrl();
    static QString accountId();
    // A session with mail, submission (holding mail up to maxDelayedSend seconds), contacts and
    // Masked Email.
    static QJsonObject defaultSession(qint64 maxDelayedSend = 3600);

    void setSession(const QJsonObject& session);
    // Answers a method call by name; the handler sees the call's arguments.
    void respondTo(const QString& method, const QJsonObject& arguments);
    void respondTo(const QString& method, MethodHandler handler);
    // Answers a method call with ["error", {type, description}, id].
    void respondWithError(const QString& method, const QString& type,
                          const QString& description = {});
    // Replaces the whole answer to requests for this URL (query ignored), for any verb.
    void setResponse(const QUrl& url, const Response& response);
    // Requests for URLs starting with this prefix get a stream reply (see streams()).
    void setStreamPrefix(const QString& prefix, int status = 200);

    // While holding, answers wait for release(), so that a test can answer out of order.
    void setHolding(bool holding) { m_holding = holding; }
    qsizetype heldCount() const { return m_held.size(); }
    // Delivers the held answer at this index (counted among those still held).
    void release(qsizetype index);
    void releaseAll();

    const QList<RecordedRequest>& requests() const { return m_requests; }
    // Requests posted to the API URL, i.e. round trips of method batches.
    QList<RecordedRequest> batches() const;
    void clearRequests() { m_requests.clear(); }
    QList<QPointer<FakeStreamReply>> streams() const { return m_streams; }

protected:
    QNetworkReply* createRequest(Operation op, const QNetworkRequest& request,
                                 QIODevice* outgoingData) override;

private:
    Response answerBatch(const RecordedRequest& request) const;

    QJsonObject m_session;
    QMap<QString, MethodHandler> m_handlers;
    QMap<QString, Response> m_responses;
    QString m_streamPrefix;
    int m_streamStatus = 200;
    QList<RecordedRequest> m_requests;
    QList<QPointer<FakeStreamReply>> m_streams;
    bool m_holding = false;
    QList<std::function<void()>> m_held;
};
