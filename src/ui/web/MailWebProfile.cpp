#include "MailWebProfile.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QPointer>
#include <QRandomGenerator>
#include <QWebEngineCookieStore>
#include <QWebEngineDownloadRequest>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInfo>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>
#include <QWebEngineUrlSchemeHandler>

namespace {

QPointer<MailWebProfile> sharedProfile;

void replyWith(QWebEngineUrlRequestJob* job, const QByteArray& type, const QByteArray& bytes)
{
    // The job owns the buffer, so it lives exactly as long as the engine may read from it.
    auto* buffer = new QBuffer(job);
    buffer->setData(bytes);
    buffer->open(QIODevice::ReadOnly);
    job->reply(type, buffer);
}

QCoro::Task<> answerInlinePart(QPointer<QWebEngineUrlRequestJob> job, BodyPart part,
                               InlinePartLoader loader)
{
    QByteArray bytes;
    bool loaded = false;
    try {
        bytes = co_await loader(part);
        loaded = true;
    } catch (...) {
        // A failed download is a broken image, nothing more.
    }
    // The engine destroys a job whose page went away; such a result is simply dropped.
    if (!job)
        co_return;
    if (!loaded) {
        job->fail(QWebEngineUrlRequestJob::RequestFailed);
        co_return;
    }
    const QByteArray type =
        part.type.isEmpty() ? QByteArrayLiteral("application/octet-stream") : part.type.toUtf8();
    replyWith(job, type, bytes);
}

// Answers cid: references with the inline parts of the message whose document asks.
class CidSchemeHandler : public QWebEngineUrlSchemeHandler
{
public:
    using QWebEngineUrlSchemeHandler::QWebEngineUrlSchemeHandler;

    void requestStarted(QWebEngineUrlRequestJob* job) override
    {
        const auto document = sharedProfile ? sharedProfile->documentOf(job->initiator()) : nullptr;
        // "cid:" is four characters; what follows is the content id, percent-encoded.
        const QByteArray encoded = job->requestUrl().toEncoded().mid(4);
        const QString contentId = QUrl::fromPercentEncoding(encoded);
        const auto part =
            document ? MailDocuments::inlinePart(document->inlineParts, contentId) : std::nullopt;
        if (!part || !part->blobId || !document->loader) {
            job->fail(QWebEngineUrlRequestJob::UrlNotFound);
            return;
        }
        answerInlinePart(QPointer(job), *part, document->loader);
    }
};

// Serves a document too large for setHtml from memory, only as the top-level page of its view.
class DocumentSchemeHandler : public QWebEngineUrlSchemeHandler
{
public:
    using QWebEngineUrlSchemeHandler::QWebEngineUrlSchemeHandler;

    void requestStarted(QWebEngineUrlRequestJob* job) override
    {
        const QUrl url = job->requestUrl();
        const auto document = sharedProfile ? sharedProfile->document(url.host()) : nullptr;
        const bool isRoot = url.path().isEmpty() || url.path() == QLatin1String("/");
        if (!document || !isRoot || document->html.isEmpty() ||
            job->requestMethod() != QByteArrayLiteral("GET")) {
            job->fail(QWebEngineUrlRequestJob::UrlNotFound);
            return;
        }
        replyWith(job, QByteArrayLiteral("text/html"), document->html);
    }
};

// A second wall behind each document's own policy: nothing leaves for the network unless the
// document allows remote content, and then only images, style sheets and fonts.
class RequestInterceptor : public QWebEngineUrlRequestInterceptor
{
public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    void interceptRequest(QWebEngineUrlRequestInfo& info) override { info.block(!allowed(info)); }

private:
    static bool allowed(const QWebEngineUrlRequestInfo& info)
    {
        const QString scheme = info.requestUrl().scheme().toLower();
        const auto type = info.resourceType();
        if (scheme == QLatin1String(MailWebProfile::cidScheme))
            return type == QWebEngineUrlRequestInfo::ResourceTypeImage;
        if (scheme == QLatin1String("data"))
            return type != QWebEngineUrlRequestInfo::ResourceTypeSubFrame;
        if (scheme == QLatin1String(MailWebProfile::documentScheme))
            return type == QWebEngineUrlRequestInfo::ResourceTypeMainFrame;
        if (scheme != QLatin1String("http") && scheme != QLatin1String("https"))
            return false;
        if (type != QWebEngineUrlRequestInfo::ResourceTypeImage &&
            type != QWebEngineUrlRequestInfo::ResourceTypeStylesheet &&
            type != QWebEngineUrlRequestInfo::ResourceTypeFontResource)
            return false;
        const auto document =
            sharedProfile ? sharedProfile->documentOf(info.firstPartyUrl()) : nullptr;
        return document && document->remoteContentAllowed;
    }
};

} // namespace

void MailWebProfile::registerSchemes()
{
    QWebEngineUrlScheme cid(cidScheme);
    cid.setSyntax(QWebEngineUrlScheme::Syntax::Path);
    QWebEngineUrlScheme::registerScheme(cid);

    // The host is the document's token, so each document has an origin of its own that its
    // cid: requests carry as their initiator.
    QWebEngineUrlScheme document(documentScheme);
    document.setSyntax(QWebEngineUrlScheme::Syntax::Host);
    QWebEngineUrlScheme::registerScheme(document);
}

MailWebProfile* MailWebProfile::instance()
{
    if (!sharedProfile)
        sharedProfile = new MailWebProfile(QCoreApplication::instance());
    return sharedProfile;
}

MailWebProfile::MailWebProfile(QObject* parent) : QWebEngineProfile(parent)
{
    setHttpCacheType(QWebEngineProfile::MemoryHttpCache);
    setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    setSpellCheckEnabled(false);
    cookieStore()->setCookieFilter(
        [](const QWebEngineCookieStore::FilterRequest&) { return false; });
    cookieStore()->deleteAllCookies();
    setUrlRequestInterceptor(new RequestInterceptor(this));
    installUrlSchemeHandler(cidScheme, new CidSchemeHandler(this));
    installUrlSchemeHandler(documentScheme, new DocumentSchemeHandler(this));
    connect(this, &QWebEngineProfile::downloadRequested, this,
            [](QWebEngineDownloadRequest* download) { download->cancel(); });
    applyPolicy(settings());
}

void MailWebProfile::applyPolicy(QWebEngineSettings* settings)
{
    using S = QWebEngineSettings;
    for (const auto attribute : {S::JavascriptEnabled,
                                 S::JavascriptCanOpenWindows,
                                 S::JavascriptCanAccessClipboard,
                                 S::JavascriptCanPaste,
                                 S::LocalStorageEnabled,
                                 S::LocalContentCanAccessRemoteUrls,
                                 S::LocalContentCanAccessFileUrls,
                                 S::HyperlinkAuditingEnabled,
                                 S::PluginsEnabled,
                                 S::FullScreenSupportEnabled,
                                 S::ScreenCaptureEnabled,
                                 S::WebGLEnabled,
                                 S::Accelerated2dCanvasEnabled,
                                 S::AutoLoadIconsForPage,
                                 S::TouchIconsEnabled,
                                 S::AllowRunningInsecureContent,
                                 S::AllowGeolocationOnInsecureOrigins,
                                 S::AllowWindowActivationFromJavaScript,
                                 S::DnsPrefetchEnabled,
                                 S::PdfViewerEnabled,
                                 S::NavigateOnDropEnabled,
                                 S::ErrorPageEnabled,
                                 S::FocusOnNavigationEnabled})
        settings->setAttribute(attribute, false);
    settings->setAttribute(S::PlaybackRequiresUserGesture, true);
    // Remote images are the document policy's decision, and cid: images must load.
    settings->setAttribute(S::AutoLoadImages, true);
    // A clicked link of a scheme the engine does not know (mailto) reaches acceptNavigationRequest,
    // which refuses it and hands it to the link handler; the engine never opens it by itself.
    settings->setUnknownUrlSchemePolicy(S::AllowUnknownUrlSchemesFromUserInteraction);
}

QUrl MailWebProfile::documentUrl(const QString& token)
{
    return QUrl(QStringLiteral("%1://%2/").arg(QLatin1String(documentScheme), token));
}

QString MailWebProfile::newToken()
{
    quint64 words[2];
    QRandomGenerator::system()->fillRange(words);
    return QString::number(words[0], 16).rightJustified(16, QLatin1Char('0')) +
           QString::number(words[1], 16).rightJustified(16, QLatin1Char('0'));
}

void MailWebProfile::addDocument(const std::shared_ptr<MailDocument>& document)
{
    documents.removeIf([](const auto& entry) { return entry.value().expired(); });
    documents.insert(document->token, document);
}

std::shared_ptr<MailDocument> MailWebProfile::document(const QString& token) const
{
    return documents.value(token).lock();
}

std::shared_ptr<MailDocument> MailWebProfile::documentOf(const QUrl& origin) const
{
    if (origin.scheme().toLower() != QLatin1String(documentScheme))
        return nullptr;
    return document(origin.host());
}
