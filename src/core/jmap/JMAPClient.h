#pragma once

#include "Errors.h"
#include "Invocation.h"
#include "JMAPSession.h"

#include <QCoroTask>
#include <QNetworkRequest>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;
class JMAPPushStream;

// A request that reads, and a request that changes something on the server.
enum class JMAPActivity
{
    fetching,
    pushing
};

// The only thing in Veldrin that talks to the server. One client is built per connection
// attempt and lives until the next replaces it; its session is fetched once and kept.
// Callers keep the client alive across their awaits (they hold a shared_ptr).
class JMAPClient
{
public:
    using ActivityCallback = std::function<void(JMAPActivity, bool)>;

    static const QString mailCapability;
    static const QString contactsCapability;
    static const QString maskedEmailCapability;
    static const QString submissionCapability;
    // Declared by every batch, in this order.
    static const QStringList capabilities;

    JMAPClient(QUrl sessionURL, QString token, QNetworkAccessManager* urlSession,
               ActivityCallback onActivity = {});
    JMAPClient(const JMAPClient&) = delete;
    JMAPClient& operator=(const JMAPClient&) = delete;

    const QUrl& sessionURL() const { return m_sessionURL; }

    QCoro::Task<JMAPSession> session();
    QCoro::Task<QString> accountId();
    QCoro::Task<QString> maskedEmailAccountId();
    QCoro::Task<QString> contactsAccountId();
    // The server's limit for held sending in seconds; 0 when the session does not say.
    QCoro::Task<qint64> maxDelayedSend();

    QCoro::Task<QList<Invocation>> call(QList<Invocation> invocations,
                                        QStringList extraCapabilities = {});

    QCoro::Task<QByteArray> download(QString blobId, QString name, QString type);
    // Gives the blobId of the stored blob.
    QCoro::Task<QString> upload(QByteArray data, QString type);

    // A stream of push events over the event source of `client`; it returns at once and starts
    // reading on the next turn of the event loop, so that the caller can connect to it first.
    // The stream holds on to the client, which may be replaced meanwhile.
    static std::unique_ptr<JMAPPushStream> pushEvents(std::shared_ptr<JMAPClient> client,
                                                      const QStringList& types);

    // Every character but Unicode letters, digits and "-._~" percent-encoded as UTF-8.
    static QString percentEncoded(const QString& value);

private:
    friend class JMAPPushStream;

    QNetworkRequest request(const QUrl& url, int timeoutMilliseconds = 60000) const;
    QCoro::Task<QByteArray> send(QNetworkRequest request, QByteArray verb, QByteArray body,
                                 JMAPActivity activity);
    QCoro::Task<QString> primaryAccount(QString capability, int missing);

    QUrl m_sessionURL;
    QString m_token;
    QNetworkAccessManager* m_urlSession;
    ActivityCallback m_onActivity;
    std::optional<JMAPSession> m_cachedSession;
};
