#include "Unsubscribe.h"
#include "TextTrim.h"

#include <QCoroNetworkReply>
#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrlQuery>

#include <memory>

namespace {

// Hands out no cookies and accepts none.
class ForgetfulCookieJar : public QNetworkCookieJar
{
public:
    using QNetworkCookieJar::QNetworkCookieJar;
    QList<QNetworkCookie> cookiesForUrl(const QUrl&) const override { return {}; }
    bool setCookiesFromUrl(const QList<QNetworkCookie>&, const QUrl&) override { return false; }
};

} // namespace

QString Unsubscribe::Failure::description() const
{
    return QStringLiteral("The sender's unsubscribe link answered with HTTP %1.").arg(m_status);
}

Unsubscribe Unsubscribe::oneClick(const QUrl& url)
{
    Unsubscribe result;
    result.kind = Kind::OneClick;
    result.url = url;
    return result;
}

Unsubscribe Unsubscribe::mail(const QString& to, const QString& subject, const QString& body)
{
    Unsubscribe result;
    result.kind = Kind::Mail;
    result.to = to;
    result.subject = subject;
    result.body = body;
    return result;
}

Unsubscribe Unsubscribe::web(const QUrl& url)
{
    Unsubscribe result;
    result.kind = Kind::Web;
    result.url = url;
    return result;
}

std::optional<Unsubscribe> Unsubscribe::method(const Email& email)
{
    return method(email.listUnsubscribe, email.listUnsubscribePost);
}

std::optional<Unsubscribe> Unsubscribe::method(const std::optional<QStringList>& listUnsubscribe,
                                               const std::optional<QString>& listUnsubscribePost)
{
    QList<QUrl> urls;
    for (const QString& entry : listUnsubscribe.value_or(QStringList())) {
        // Read as browsers do: a list's link with "|", braces or a backslash still works there.
        const QUrl url(TextTrim::trimmedOf(entry, u"<> \t"), QUrl::TolerantMode);
        if (url.isValid() && !url.isEmpty())
            urls.append(url);
    }
    const auto withScheme = [&urls](QLatin1String scheme) -> std::optional<QUrl> {
        for (const QUrl& url : std::as_const(urls)) {
            if (url.scheme().toLower() == scheme)
                return url;
        }
        return std::nullopt;
    };

    const std::optional<QUrl> secure = withScheme(QLatin1String("https"));
    if (secure && listUnsubscribePost &&
        TextTrim::trimmedOf(*listUnsubscribePost, u" \t")
                .compare(QLatin1String("List-Unsubscribe=One-Click"), Qt::CaseInsensitive) == 0)
        return oneClick(*secure);

    for (const QUrl& url : std::as_const(urls)) {
        if (url.scheme().toLower() != QLatin1String("mailto"))
            continue;
        const QString path = url.path(QUrl::FullyDecoded);
        if (!path.contains(u'@'))
            continue;
        std::optional<QString> subject;
        std::optional<QString> body;
        const auto items = QUrlQuery(url).queryItems(QUrl::FullyDecoded);
        for (const auto& [name, value] : items) {
            const QString lower = name.toLower();
            if (lower == QLatin1String("subject") && !subject)
                subject = value;
            else if (lower == QLatin1String("body") && !body)
                body = value;
        }
        // A bare "subject" item has no value at all (a null string), unlike "subject=": the
        // list still expects its usual word then.
        return mail(path, subject && !subject->isNull() ? *subject : QStringLiteral("unsubscribe"),
                    body.value_or(QString()));
    }

    if (secure)
        return web(*secure);
    if (const auto plain = withScheme(QLatin1String("http")))
        return web(*plain);
    return std::nullopt;
}

QNetworkAccessManager* Unsubscribe::makeEphemeralSession(QObject* parent)
{
    auto* session = new QNetworkAccessManager(parent);
    session->setCookieJar(new ForgetfulCookieJar(session));
    session->setCache(nullptr);
    return session;
}

QCoro::Task<void> Unsubscribe::postOneClick(QUrl to, QNetworkAccessManager* session)
{
    QNetworkRequest request(to);
    request.setTransferTimeout(60000);
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QStringLiteral("application/x-www-form-urlencoded"));
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    const QByteArray body = QByteArrayLiteral("List-Unsubscribe=One-Click");

    QNetworkReply* reply = session->post(request, body);
    std::unique_ptr<QNetworkReply, void (*)(QNetworkReply*)> owner(
        reply, [](QNetworkReply* r) { r->deleteLater(); });
    co_await qCoro(reply).waitForFinished();

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid()) {
        const int code = status.toInt();
        if (code >= 200 && code <= 299)
            co_return;
        throw Failure(code);
    }
    if (reply->error() == QNetworkReply::NoError)
        throw Failure(0);
    // Nothing here aborts the request, so a cancelled one ran into its time limit.
    if (reply->error() == QNetworkReply::OperationCanceledError)
        throw TransportError::reaching(QNetworkReply::TimeoutError, reply->url(),
                                       QStringLiteral("The request timed out."));
    throw TransportError::reaching(reply->error(), reply->url(), reply->errorString());
}
