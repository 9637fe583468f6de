#pragma once

#include <QByteArray>
#include <QNetworkReply>
#include <QString>
#include <QUrl>

#include <exception>

// Every failure Veldrin throws carries a text a user can read: this is what the error bar
// shows. what() gives the same text as UTF-8 for generic handlers.
class Error : public std::exception
{
public:
    virtual QString description() const = 0;
    const char* what() const noexcept override;

private:
    mutable QByteArray m_what;
};

// The typed failures of the JMAP transport.
class JMAPError : public Error
{
public:
    enum class Kind
    {
        Http,
        Method,
        Malformed,
        Unauthorized,
        NoMailAccount,
        NoMaskedEmailAccess,
        NoContactsAccess,
    };

    static JMAPError http(int status, const QString& body);
    static JMAPError method(const QString& type, const QString& description);
    static JMAPError malformed(const QString& detail);
    static JMAPError unauthorized();
    static JMAPError noMailAccount();
    static JMAPError noMaskedEmailAccess();
    static JMAPError noContactsAccess();

    Kind kind() const { return m_kind; }
    int status() const { return m_status; }
    // The HTTP body of `http`, the type of `method`, the detail of `malformed`.
    const QString& text() const { return m_text; }
    // The server's description of a `method` error.
    const QString& methodDescription() const { return m_methodDescription; }

    QString description() const override;
    bool operator==(const JMAPError& other) const;

private:
    explicit JMAPError(Kind kind) : m_kind(kind) {}

    Kind m_kind;
    int m_status = 0;
    QString m_text;
    QString m_methodDescription;
};

// A failure of the network itself (no connection, TLS, timeout, cancelled).
class TransportError : public Error
{
public:
    TransportError(QNetworkReply::NetworkError code, QString message)
        : m_code(code), m_message(std::move(message))
    {
    }
    // "Could not reach <host>: <reason>.", so that the bare text of the network stack (such
    // as "Connection refused") says what failed and where.
    static TransportError reaching(QNetworkReply::NetworkError code, const QUrl& url,
                                   const QString& reason);
    QNetworkReply::NetworkError code() const { return m_code; }
    bool isCancellation() const { return m_code == QNetworkReply::OperationCanceledError; }
    QString description() const override { return m_message; }

private:
    QNetworkReply::NetworkError m_code;
    QString m_message;
};

// Work that was stopped because it was superseded; never shown to the user.
class CancelledError : public Error
{
public:
    QString description() const override;
};

// A JSON value that does not have the shape a record needs. JMAPDecoding turns it into
// JMAPError::malformed; the settings file shows its text as it stands.
class DecodeError : public Error
{
public:
    explicit DecodeError(QString message) : m_message(std::move(message)) {}
    QString description() const override { return m_message; }

private:
    QString m_message;
};

// A failure with a ready-made text, for local operations such as file access.
class MessageError : public Error
{
public:
    explicit MessageError(QString message) : m_message(std::move(message)) {}
    QString description() const override { return m_message; }

private:
    QString m_message;
};

namespace Errors {
// The user-readable text of any exception; unknown exceptions get a generic text.
QString describe(std::exception_ptr error);
// Cancellation of a task or of a network request: report() stays silent for these.
bool isCancellation(std::exception_ptr error);
} // namespace Errors
