#pragma once

#include "Errors.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include <QCoroTask>

#include <coroutine>
#include <exception>
#include <memory>
#include <optional>

class JMAPClient;
class QNetworkAccessManager;
class QNetworkReply;

Q_DECLARE_METATYPE(std::exception_ptr)

// What the push stream says: the connection is open, or the server's state changed.
enum class JMAPPushEvent
{
    connected,
    changed
};

// One event source connection, read line by line. It tells only that something changed; the
// refresh finds out what. The stream keeps the newest undelivered event for next(), so a burst
// of changes while the consumer is busy is seen as one. One stream is one connection: it is
// never reopened. Destroying the stream, or stop(), closes the connection. A line longer than
// maxLineBytes ends the stream with an error rather than growing without bound.
class JMAPPushStream : public QObject
{
    Q_OBJECT
public:
    static constexpr qsizetype maxLineBytes = 1024 * 1024;

    ~JMAPPushStream() override;

    class NextAwaiter
    {
    public:
        explicit NextAwaiter(JMAPPushStream* stream) : m_stream(stream) {}
        bool await_ready() const;
        void await_suspend(std::coroutine_handle<> waiter);
        // The event; absent when the stream ended cleanly; throws the error that ended it
        // (CancelledError once stopped).
        std::optional<JMAPPushEvent> await_resume();

    private:
        JMAPPushStream* m_stream;
    };

    // The newest undelivered event, waiting for one if needed. One waiter at a time.
    NextAwaiter next() { return NextAwaiter(this); }

    // Closes the connection. A waiting next() ends with CancelledError; ended is not emitted.
    void stop();
    bool isEnded() const { return m_ended; }

Q_SIGNALS:
    void connected();
    void changed();
    // The stream ended: a null error for a clean end of the body, else the failure.
    void ended(std::exception_ptr error);

private:
    friend class JMAPClient;

    JMAPPushStream(std::shared_ptr<JMAPClient> client, QStringList types);

    QCoro::Task<> open(QPointer<JMAPPushStream> self);
    // `final` once the reply has finished: a redirect that was not followed is the answer then.
    void onMetaData(bool final = false);
    void onReadyRead();
    void onFinished();
    void failOverlongLine();
    void processLine(QByteArray line);
    void deliver(JMAPPushEvent event);
    void finish(std::exception_ptr error, bool announce = true);
    void wake();
    void resumeWaiter();
    void closeReply(bool deferred = false);

    std::shared_ptr<JMAPClient> m_client;
    // The client's network access manager, which may be gone before the stream.
    QPointer<QNetworkAccessManager> m_network;
    QStringList m_types;
    // The reply belongs to the network access manager.
    QPointer<QNetworkReply> m_reply;
    // Bytes of a line not yet complete; the first m_scanned of them hold no line break.
    QByteArray m_buffer;
    qsizetype m_scanned = 0;
    QString m_eventName;
    bool m_connected = false;
    bool m_ended = false;
    bool m_stopping = false;
    std::optional<JMAPPushEvent> m_pending;
    std::exception_ptr m_error;
    std::coroutine_handle<> m_waiter;
};
