#pragma once

#include "jmap/Errors.h"
#include "mail/Email.h"

#include <QCoroTask>
#include <QNetworkAccessManager>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

// The best way to leave a mailing list, chosen from the List-Unsubscribe headers: a one-click
// POST, else a mail, else a web page.
struct Unsubscribe
{
    enum class Kind
    {
        OneClick,
        Mail,
        Web,
    };

    // The one-click POST was answered with a status other than 2xx (0: not HTTP at all).
    class Failure : public Error
    {
    public:
        explicit Failure(int status) : m_status(status) {}
        int status() const { return m_status; }
        QString description() const override;

    private:
        int m_status;
    };

    Kind kind = Kind::Web;
    // The address of oneClick and web.
    QUrl url;
    // The mail to send for `mail`.
    QString to;
    QString subject;
    QString body;

    bool operator==(const Unsubscribe&) const = default;

    static Unsubscribe oneClick(const QUrl& url);
    static Unsubscribe mail(const QString& to, const QString& subject, const QString& body);
    static Unsubscribe web(const QUrl& url);

    // Absent when the message offers no way of leaving.
    static std::optional<Unsubscribe> method(const Email& email);
    static std::optional<Unsubscribe> method(const std::optional<QStringList>& listUnsubscribe,
                                             const std::optional<QString>& listUnsubscribePost);

    // A session for the POST that neither sends nor keeps cookies and caches nothing, so that
    // leaving a list tells the sender nothing about the user's other visits.
    static QNetworkAccessManager* makeEphemeralSession(QObject* parent);

    // POSTs "List-Unsubscribe=One-Click" (RFC 8058). Throws Failure for a status outside
    // 200-299 and TransportError when the transfer itself fails.
    static QCoro::Task<void> postOneClick(QUrl to, QNetworkAccessManager* session);
};
