#pragma once

#include <QUrl>
#include <QWebEnginePage>

#include <functional>

// The page of a mail web view. It navigates once per document, to the document itself; a
// clicked http, https or mailto link goes to the link handler and every other navigation
// (refresh, form, redirect, script URL, another frame) is refused. It never opens a window and
// grants no permission.
class MailWebPage : public QWebEnginePage
{
    Q_OBJECT
public:
    using LinkHandler = std::function<void(const QUrl&)>;

    MailWebPage(QWebEngineProfile* profile, QObject* parent);

    void setLinkHandler(LinkHandler handler);
    // Lets the next top-level load of this URL through, once; a data: URL stands for any
    // document given to setHtml.
    void expectLoad(const QUrl& url);

    // Whether a clicked link may leave the view: http, https and mailto only.
    static bool isOpenableLink(const QUrl& url);
    // Hands an openable link to the handler; any other link does nothing.
    void followLink(const QUrl& url) const;

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    QWebEnginePage* createWindow(WebWindowType type) override;
    // A message's console output (the policy's refusals among it) is nobody's business: Veldrin
    // writes no log.
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString&, int,
                                  const QString&) override
    {
    }

private:
    void refuseRequests();

    LinkHandler linkHandler;
    QUrl expectedLoad;
};
