#include "MailWebPage.h"

#include "MailWebProfile.h"

#include <QAuthenticator>
#include <QDesktopServices>
#include <QWebEngineFileSystemAccessRequest>
#include <QWebEngineFullScreenRequest>
#include <QWebEngineQuotaRequest>
#include <QWebEngineRegisterProtocolHandlerRequest>

namespace {

// What a target=_blank link or form gets instead of a window: a page that sends a clicked link
// to the handler and is gone after its first navigation request.
class DetachedLinkPage : public QWebEnginePage
{
public:
    DetachedLinkPage(QWebEngineProfile* profile, MailWebPage* origin)
        : QWebEnginePage(profile, origin), origin(origin)
    {
        MailWebProfile::applyPolicy(settings());
    }

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override
    {
        if (isMainFrame && type == NavigationTypeLinkClicked)
            origin->followLink(url);
        deleteLater();
        return false;
    }

    QWebEnginePage* createWindow(WebWindowType) override { return nullptr; }

private:
    const MailWebPage* origin;
};

} // namespace

MailWebPage::MailWebPage(QWebEngineProfile* profile, QObject* parent)
    : QWebEnginePage(profile, parent)
{
    MailWebProfile::applyPolicy(settings());
    refuseRequests();
}

void MailWebPage::refuseRequests()
{
    connect(this, &QWebEnginePage::featurePermissionRequested, this,
            [this](const QUrl& origin, Feature feature) {
                setFeaturePermission(origin, feature, PermissionDeniedByUser);
            });
    connect(this, &QWebEnginePage::fullScreenRequested, this,
            [](QWebEngineFullScreenRequest request) { request.reject(); });
    connect(this, &QWebEnginePage::quotaRequested, this,
            [](QWebEngineQuotaRequest request) { request.reject(); });
    connect(this, &QWebEnginePage::registerProtocolHandlerRequested, this,
            [](QWebEngineRegisterProtocolHandlerRequest request) { request.reject(); });
    connect(this, &QWebEnginePage::fileSystemAccessRequested, this,
            [](QWebEngineFileSystemAccessRequest request) { request.reject(); });
    connect(this, &QWebEnginePage::authenticationRequired, this,
            [](const QUrl&, QAuthenticator* authenticator) { *authenticator = QAuthenticator(); });
    connect(this, &QWebEnginePage::proxyAuthenticationRequired, this,
            [](const QUrl&, QAuthenticator* authenticator, const QString&) {
                *authenticator = QAuthenticator();
            });
}

void MailWebPage::setLinkHandler(LinkHandler handler)
{
    linkHandler = std::move(handler);
}

void MailWebPage::expectLoad(const QUrl& url)
{
    expectedLoad = url;
}

bool MailWebPage::isOpenableLink(const QUrl& url)
{
    const QString scheme = url.scheme().toLower();
    return url.isValid() && (scheme == QLatin1String("http") || scheme == QLatin1String("https") ||
                             scheme == QLatin1String("mailto"));
}

void MailWebPage::followLink(const QUrl& url) const
{
    if (!isOpenableLink(url))
        return;
    if (linkHandler)
        linkHandler(url);
    else
        QDesktopServices::openUrl(url);
}

bool MailWebPage::acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame)
{
    if (type == NavigationTypeLinkClicked) {
        if (isMainFrame)
            followLink(url);
        return false;
    }
    // The one load that setDocument started; anything after it would replace the message.
    const bool expected = !expectedLoad.isEmpty() && (expectedLoad.scheme() == QLatin1String("data")
                                                          ? url.scheme() == QLatin1String("data")
                                                          : url == expectedLoad);
    if (isMainFrame && expected && type == NavigationTypeTyped) {
        expectedLoad.clear();
        return true;
    }
    return false;
}

QWebEnginePage* MailWebPage::createWindow(WebWindowType)
{
    return new DetachedLinkPage(profile(), this);
}
