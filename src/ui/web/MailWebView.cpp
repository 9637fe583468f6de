#include "MailWebView.h"

#include "HeightBridge.h"
#include "MailWebPage.h"
#include "MailWebProfile.h"
#include "content/EmailHTML.h"

#include <QAbstractScrollArea>
#include <QAction>
#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QCursor>
#include <QFile>
#include <QMenu>
#include <QTimer>
#include <QToolTip>
#include <QWebChannel>
#include <QWebEngineContextMenuRequest>
#include <QWebEngineHistory>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWheelEvent>

#include <cstdlib>

namespace {

// Runs in the application world, which works while the document's own scripts are off. It
// reports the height of the message whenever layout changes it: as images arrive, as the width
// changes. It measures the message's root element down to the end of the page's own spacing
// rather than the document element, since many messages pin html and body to the window's
// height and would otherwise be cut off at it.
const char heightScript[] = R"(
(function () {
    if (typeof qt === 'undefined' || !qt.webChannelTransport) { return; }
    // The channel opens while the document is still being read, so that the first report
    // does not wait for its round trip.
    new QWebChannel(qt.webChannelTransport, function (channel) {
        var bridge = channel.objects.veldrinHeight;
        var start = function () {
            var html = document.documentElement;
            var root = document.getElementById('%1');
            var below = function (element) {
                var style = getComputedStyle(element);
                return (parseFloat(style.paddingBottom) || 0) + (parseFloat(style.borderBottomWidth) || 0);
            };
            var measure = function () {
                if (!root || !document.body) { return html.getBoundingClientRect().height; }
                var bodyStyle = getComputedStyle(document.body);
                return root.getBoundingClientRect().bottom + window.scrollY + below(document.body)
                    + (parseFloat(bodyStyle.marginBottom) || 0) + below(html);
            };
            // A page sized in viewport units grows with the view, and the view follows the
            // page: after a few reports in a row in which the page grew along with the view, it
            // stops growing instead of taking the reader with it forever.
            var lastViewport = window.innerHeight, lastHeight = 0, coupled = 0;
            var post = function () {
                var height = Math.ceil(measure());
                var viewportGrowth = window.innerHeight - lastViewport;
                coupled = (viewportGrowth > 0 && height - lastHeight >= viewportGrowth) ? coupled + 1 : 0;
                lastViewport = window.innerHeight;
                if (coupled > 3 && height > lastHeight) { return; }
                lastHeight = height;
                bridge.report(height, location.href);
            };
            window.addEventListener('scroll', function () { bridge.scrolled(window.scrollY, location.href); },
                                    { passive: true });
            var observer = new ResizeObserver(post);
            observer.observe(html);
            if (root) { observer.observe(root); }
            post();
            // The second animation frame from now begins once the first is drawn: from then on
            // the engine holds a picture of this document, not of the one the view showed before.
            requestAnimationFrame(function () {
                requestAnimationFrame(function () { bridge.painted(location.href); });
            });
        };
        if (document.readyState === 'loading') {
            document.addEventListener('DOMContentLoaded', start);
        } else {
            start();
        }
    });
})();
)";

QString webChannelLibrary()
{
    QFile file(QStringLiteral(":/qtwebchannel/qwebchannel.js"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

} // namespace

void MailWebView::registerSchemes()
{
    MailWebProfile::registerSchemes();
}

MailWebView::MailWebView(QWidget* parent) : QWebEngineView(parent)
{
    setAccessibleName(tr("Message body"));
    mailPage = new MailWebPage(MailWebProfile::instance(), this);
    setPage(mailPage);
    installHeightScript();
    cover = new QWidget(this);
    cover->setObjectName(QStringLiteral("staleCover"));
    cover->setAutoFillBackground(true);
    QPalette palette = cover->palette();
    palette.setColor(QPalette::Window, mailPage->backgroundColor());
    cover->setPalette(palette);
    cover->hide();

    // Each document is the only entry of the page's history, so that a view showing another
    // message keeps nothing of the one before.
    connect(mailPage, &QWebEnginePage::loadFinished, this,
            [this] { mailPage->history()->clear(); });
    connect(mailPage, &QWebEnginePage::linkHovered, this, [this](const QString& url) {
        // The text of a link can claim any address; the tool tip shows where it really goes.
        if (url.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(QCursor::pos(), url, this);
    });
}

void MailWebView::installHeightScript()
{
    auto* heightBridge = new HeightBridge(this);
    // A view shows one message after another: what the page before reports late is dropped.
    connect(heightBridge, &HeightBridge::reported, this, [this](int height, const QString& url) {
        if (!isCurrent(url))
            return;
        setContentHeight(height);
    });
    // The page's first frame was handed on a frame ago: it is on the widget by now.
    connect(heightBridge, &HeightBridge::firstFramePainted, this, [this](const QString& url) {
        if (isCurrent(url))
            cover->hide();
    });
    connect(heightBridge, &HeightBridge::scrolledTo, this, [this](int y, const QString& url) {
        if (isCurrent(url))
            pageScroll = y;
    });
    auto* channel = new QWebChannel(this);
    channel->registerObject(QStringLiteral("veldrinHeight"), heightBridge);
    mailPage->setWebChannel(channel, QWebEngineScript::ApplicationWorld);

    QWebEngineScript script;
    script.setName(QStringLiteral("veldrin-height"));
    script.setSourceCode(webChannelLibrary() +
                         QString::fromLatin1(heightScript).arg(QLatin1String(EmailHTML::rootId)));
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::ApplicationWorld);
    script.setRunsOnSubFrames(false);
    mailPage->scripts().insert(script);
}

void MailWebView::setDocument(const QString& html, const QList<BodyPart>& inlineParts,
                              PartLoader loader)
{
    // An unchanged document keeps its scroll position and selection; only the loader is new.
    if (current && html == loadedHtml && inlineParts == current->inlineParts) {
        current->loader = std::move(loader);
        return;
    }
    auto document = std::make_shared<MailDocument>();
    document->token = MailWebProfile::newToken();
    document->inlineParts = inlineParts;
    document->loader = std::move(loader);
    document->remoteContentAllowed = MailDocuments::remoteContentAllowed(html);
    const QByteArray bytes = html.toUtf8();
    const QUrl url = MailWebProfile::documentUrl(document->token);
    if (bytes.size() > directLoadLimit)
        document->html = bytes;
    current = document;
    loadedHtml = html;
    pageScroll = 0;
    // Should the height never be reported (a failed load), the cover goes all the same.
    if (!cover->isHidden())
        uncoverAfter(std::chrono::milliseconds(1000));
    // The previous document goes with the last reference to it: its late requests find nothing.
    MailWebProfile::instance()->addDocument(document);

    if (document->html.isEmpty()) {
        // Based at the document's own origin, so its cid: requests say which view asked; a
        // relative reference resolves into our scheme, which serves nothing to a subresource.
        mailPage->expectLoad(QUrl(QStringLiteral("data:")));
        mailPage->setContent(bytes, QStringLiteral("text/html;charset=UTF-8"), url);
    } else {
        mailPage->expectLoad(url);
        mailPage->load(url);
    }
}

void MailWebView::clear()
{
    if (!current)
        return;
    // The profile holds documents weakly: with this reference the parts and the loader go.
    current.reset();
    loadedHtml.clear();
    pageScroll = 0;
    setContentHeight(0);
    ++coverGeneration;
    cover->setGeometry(rect());
    cover->raise();
    cover->show();
    mailPage->setLinkHandler({});
    // A blank page lets the former message's renderer go while the view waits unused; a view
    // taken again within this turn goes straight on to its next message instead.
    if (blankPending)
        return;
    blankPending = true;
    QTimer::singleShot(0, this, [this] {
        blankPending = false;
        if (current)
            return;
        const QUrl blank(QStringLiteral("about:blank"));
        mailPage->expectLoad(blank);
        mailPage->load(blank);
    });
}

void MailWebView::uncoverAfter(std::chrono::milliseconds delay)
{
    QTimer::singleShot(delay, this, [this, generation = coverGeneration] {
        if (generation == coverGeneration)
            cover->hide();
    });
}

void MailWebView::resizeEvent(QResizeEvent* event)
{
    QWebEngineView::resizeEvent(event);
    cover->setGeometry(rect());
}

bool MailWebView::isCurrent(const QString& documentUrl) const
{
    return current && QUrl(documentUrl) == MailWebProfile::documentUrl(current->token);
}

int MailWebView::contentHeight() const
{
    return measuredHeight;
}

void MailWebView::setContentHeight(int height)
{
    if (height == measuredHeight)
        return;
    measuredHeight = height;
    Q_EMIT contentHeightChanged(height);
}

void MailWebView::setLinkHandler(std::function<void(const QUrl&)> handler)
{
    mailPage->setLinkHandler(std::move(handler));
}

int MailWebView::viewHeight() const
{
    return std::clamp(measuredHeight, 0, maximumViewHeight);
}

bool MailWebView::isTallerThanView() const
{
    return measuredHeight > maximumViewHeight;
}

int MailWebView::scrollInside(int delta)
{
    if (!isTallerThanView())
        return 0;
    const int range = std::max(0, measuredHeight - height());
    const int target = std::clamp(pageScroll + delta, 0, range);
    const int used = target - pageScroll;
    if (used == 0)
        return 0;
    pageScroll = target;
    mailPage->runJavaScript(QStringLiteral("window.scrollTo(0, %1);").arg(target),
                            QWebEngineScript::ApplicationWorld);
    return used;
}

bool MailWebView::canScrollInside(int direction) const
{
    if (!isTallerThanView())
        return false;
    return direction < 0 ? pageScroll > 0 : pageScroll < measuredHeight - height();
}

bool MailWebView::event(QEvent* event)
{
    // The widget that renders the page and receives input appears after the first load.
    if (event->type() == QEvent::ChildAdded)
        watchRenderWidget(static_cast<QChildEvent*>(event)->child());
    return QWebEngineView::event(event);
}

void MailWebView::watchRenderWidget(QObject* child)
{
    if (child && child->isWidgetType())
        child->installEventFilter(this);
}

QAbstractScrollArea* MailWebView::enclosingScrollArea() const
{
    for (QWidget* widget = parentWidget(); widget; widget = widget->parentWidget()) {
        if (auto* area = qobject_cast<QAbstractScrollArea*>(widget))
            return area;
    }
    return nullptr;
}

bool MailWebView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::Wheel || watched != focusProxy())
        return QWebEngineView::eventFilter(watched, event);
    auto* wheel = static_cast<QWheelEvent*>(event);
    QPoint delta = wheel->angleDelta();
    if (delta.isNull())
        delta = wheel->pixelDelta();
    // Sideways scrolling stays with the page, for wide tables and preformatted blocks; so does
    // the scrolling of a page taller than its view while it has room inside.
    if (std::abs(delta.x()) > std::abs(delta.y()))
        return false;
    if (delta.y() != 0 && canScrollInside(delta.y() > 0 ? -1 : 1))
        return false;
    QAbstractScrollArea* area = enclosingScrollArea();
    if (!area)
        return false;
    QWidget* viewport = area->viewport();
    QWheelEvent forwarded(viewport->mapFromGlobal(wheel->globalPosition()), wheel->globalPosition(),
                          wheel->pixelDelta(), wheel->angleDelta(), wheel->buttons(),
                          wheel->modifiers(), wheel->phase(), wheel->inverted(), wheel->source());
    QCoreApplication::sendEvent(viewport, &forwarded);
    return true;
}

void MailWebView::contextMenuEvent(QContextMenuEvent* event)
{
    // Only what is safe on hostile content: copying and selecting. No new windows, no saving,
    // no inspector, no reload.
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QWebEngineContextMenuRequest* request = lastContextMenuRequest();
    auto add = [&](QWebEnginePage::WebAction which, const QString& text) {
        QAction* action = mailPage->action(which);
        action->setText(text);
        menu->addAction(action);
    };
    add(QWebEnginePage::Copy, tr("Copy"));
    if (request && MailWebPage::isOpenableLink(request->linkUrl()))
        add(QWebEnginePage::CopyLinkToClipboard, tr("Copy Link Address"));
    menu->addSeparator();
    add(QWebEnginePage::SelectAll, tr("Select All"));
    menu->popup(event->globalPos());
}
