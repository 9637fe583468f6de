#include "Fixtures.h"
#include "content/EmailHTML.h"
#include "ui/web/MailWebProfile.h"
#include "ui/web/MailWebView.h"
#include "ui/web/MailWebViewPool.h"

#include <QApplication>
#include <QBuffer>
#include <QCoroSignal>
#include <QDesktopServices>
#include <QDir>
#include <QImage>
#include <QMenu>
#include <QRegularExpression>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>
#include <QWebEngineHistory>
#include <QWebEnginePage>
#include <QWebEngineScript>

#include <stdexcept>

enum class Policy
{
    Blocked,
    Allowed,
    None
};
Q_DECLARE_METATYPE(Policy)

namespace {

QByteArray pngOfWidth(int width)
{
    QImage image(width, 10, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// A loopback web server that answers everything and remembers every request path, so a test
// can tell whether a message reached the network at all.
class LoopbackServer : public QTcpServer
{
public:
    LoopbackServer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { serve(socket); });
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
    }

    QString origin() const { return QStringLiteral("http://127.0.0.1:%1").arg(serverPort()); }

    QStringList requests;

private:
    void serve(QTcpSocket* socket)
    {
        QByteArray& pending = buffers[socket];
        pending += socket->readAll();
        if (!pending.contains("\r\n\r\n"))
            return;
        const QList<QByteArray> line = pending.left(pending.indexOf("\r\n")).split(' ');
        buffers.remove(socket);
        const QString path = line.size() > 1 ? QString::fromLatin1(line.at(1)) : QString();
        requests << path;
        // Everything gets a small image: only the asking matters here.
        const QByteArray body = pngOfWidth(3);
        socket->write("HTTP/1.1 200 OK\r\nContent-Type: image/png\r\nContent-Length: " +
                      QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
        socket->disconnectFromHost();
    }

    QHash<QTcpSocket*, QByteArray> buffers;
};

// Stands in for the desktop's URL openers, to see what leaves the program that way.
class Desktop : public QObject
{
    Q_OBJECT
public:
    const QStringList schemes{"http", "https", "mailto", "ftp", "file", "data", "javascript"};
    Desktop()
    {
        for (const QString& scheme : schemes)
            QDesktopServices::setUrlHandler(scheme, this, "open");
    }
    ~Desktop() override
    {
        for (const QString& scheme : schemes)
            QDesktopServices::unsetUrlHandler(scheme);
    }

    QList<QUrl> opened;

public Q_SLOTS:
    void open(const QUrl& url) { opened << url; }
};

BodyPart inlinePart(const QString& cid, const QString& blobId)
{
    BodyPart part;
    part.blobId = blobId;
    part.cid = cid;
    part.type = QStringLiteral("image/png");
    return part;
}

// Holds back the download of the blob "held" until it is opened.
class Gate : public QObject
{
    Q_OBJECT
Q_SIGNALS:
    void opened();
};

// Serves each blob id as a PNG as wide as the number in it, and remembers what was asked.
struct FakeBlobs
{
    QStringList asked;
    Gate gate;

    MailWebView::PartLoader loader()
    {
        return [this](BodyPart part) -> QCoro::Task<QByteArray> { return load(this, part); };
    }

    static QCoro::Task<QByteArray> load(FakeBlobs* blobs, BodyPart part)
    {
        blobs->asked << part.blobId.value_or(QString());
        if (part.blobId == QLatin1String("broken"))
            throw std::runtime_error("download failed");
        if (part.blobId == QLatin1String("held"))
            co_await qCoro(&blobs->gate, &Gate::opened);
        co_return pngOfWidth(part.blobId->section(QLatin1Char('-'), 1).toInt());
    }
};

// Runs a script in the application world, where it works although page scripts are off.
QVariant evaluate(MailWebView& view, const QString& script)
{
    QVariant result;
    bool done = false;
    view.page()->runJavaScript(script, QWebEngineScript::ApplicationWorld,
                               [&](const QVariant& value) {
                                   result = value;
                                   done = true;
                               });
    if (!QTest::qWaitFor([&] { return done; }, 10000))
        qWarning("script did not finish: %s", qPrintable(script));
    return result;
}

// Loads a document and waits until it has loaded and reported its height.
bool show(MailWebView& view, const QString& html, const QList<BodyPart>& parts = {},
          MailWebView::PartLoader loader = {})
{
    QSignalSpy loaded(view.page(), &QWebEnginePage::loadFinished);
    view.setDocument(html, parts, std::move(loader));
    return loaded.wait(20000) && QTest::qWaitFor([&] { return view.contentHeight() > 0; }, 10000);
}

// The centre of an element, from its layout in the page.
std::optional<QPoint> centreOf(MailWebView& view, const QString& id)
{
    const QVariant rect =
        evaluate(view, QStringLiteral("(function () { var e = document.getElementById('%1');"
                                      " if (!e) { return null; } var r = e.getBoundingClientRect();"
                                      " return [Math.round(r.left + r.width / 2),"
                                      " Math.round(r.top + r.height / 2)]; })()")
                           .arg(id));
    const QVariantList point = rect.toList();
    if (point.size() != 2)
        return std::nullopt;
    return QPoint(point.at(0).toInt(), point.at(1).toInt());
}

void click(MailWebView& view, QPoint at)
{
    QTest::mouseMove(view.focusProxy(), at);
    QTest::mouseClick(view.focusProxy(), Qt::LeftButton, {}, at);
}

int naturalWidth(MailWebView& view, const QString& id)
{
    return evaluate(view, QStringLiteral("document.getElementById('%1').naturalWidth").arg(id))
        .toInt();
}

} // namespace

class TestMailWebView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void hostileContentStaysOffTheNetwork_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<Policy>("policy");
        const QStringList files =
            QDir(Fixtures::path(QStringLiteral("hostile")))
                .entryList({QStringLiteral("*.html")}, QDir::Files, QDir::Name);
        QVERIFY(!files.isEmpty());
        for (const QString& file : files) {
            QTest::addRow("%s, remote content blocked", qPrintable(file))
                << file << Policy::Blocked;
            QTest::addRow("%s, remote content allowed", qPrintable(file))
                << file << Policy::Allowed;
            // Without the document's own policy the view's request filter must hold alone.
            QTest::addRow("%s, no policy in the document", qPrintable(file))
                << file << Policy::None;
        }
    }

    void hostileContentStaysOffTheNetwork()
    {
        QFETCH(QString, file);
        QFETCH(Policy, policy);
        LoopbackServer server;
        QVERIFY(server.isListening());
        const QString fragment = Fixtures::text(QStringLiteral("hostile/") + file)
                                     .replace(QStringLiteral("{{ORIGIN}}"), server.origin());
        const QString html = policy == Policy::None
                                 ? fragment
                                 : EmailHTML::wrap(fragment, policy == Policy::Allowed);

        MailWebView view;
        QStringList links;
        view.setLinkHandler([&](const QUrl& url) { links << url.toString(); });
        view.resize(800, 600);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QVERIFY(show(view, html));
        const QUrl loadedUrl = view.url();

        // Where the message has something to click (a form's button, a script link), the reader
        // clicks it.
        if (const auto button = centreOf(view, QStringLiteral("click-me")))
            click(view, *button);

        if (policy == Policy::Allowed && fragment.contains(QLatin1String(".png")))
            QTRY_VERIFY_WITH_TIMEOUT(!server.requests.isEmpty(), 10000);
        // Let anything that was going to leave do so: a refresh, a form post, a late image.
        QTest::qWait(400);

        if (policy != Policy::Allowed) {
            QCOMPARE(server.requests, QStringList());
        } else {
            // Allowing remote content admits images, style sheets and fonts, nothing else.
            static const QRegularExpression admitted(QStringLiteral("\\.(png|svg|css|woff)$"));
            for (const QString& path : std::as_const(server.requests))
                QVERIFY2(admitted.match(path).hasMatch(), qPrintable(path));
        }
        QCOMPARE(view.url(), loadedUrl);
        for (const QString& link : std::as_const(links))
            QVERIFY2(link.startsWith(server.origin()), qPrintable(link));
    }

    void inlineImagesComeFromTheirOwnMessage()
    {
        FakeBlobs firstBlobs;
        FakeBlobs secondBlobs;
        MailWebView first;
        MailWebView second;
        for (MailWebView* view : {&first, &second}) {
            view->resize(600, 400);
            view->show();
        }
        // The second message's part must never answer the first message's reference.
        QVERIFY(show(second,
                     EmailHTML::wrap(QStringLiteral("<img id=own src=\"cid:theirs@x\">"), false),
                     {inlinePart(QStringLiteral("<theirs@x>"), QStringLiteral("blob-17"))},
                     secondBlobs.loader()));
        QVERIFY(show(first,
                     EmailHTML::wrap(QStringLiteral("<img id=angled src=\"cid:logo@x\">"
                                                    "<img id=encoded src=\"cid:photo%40x\">"
                                                    "<img id=broken src=\"cid:broken@x\">"
                                                    "<img id=foreign src=\"cid:theirs@x\">"
                                                    "<img id=unknown src=\"cid:nothing@x\">"),
                                     false),
                     {inlinePart(QStringLiteral("<logo@x>"), QStringLiteral("blob-40")),
                      inlinePart(QStringLiteral("photo@x"), QStringLiteral("blob-25")),
                      inlinePart(QStringLiteral("broken@x"), QStringLiteral("broken"))},
                     firstBlobs.loader()));

        QTRY_COMPARE(naturalWidth(first, QStringLiteral("angled")), 40);
        QTRY_COMPARE(naturalWidth(first, QStringLiteral("encoded")), 25);
        QTRY_COMPARE(naturalWidth(second, QStringLiteral("own")), 17);
        QTRY_VERIFY(
            evaluate(first, QStringLiteral("document.getElementById('broken').complete")).toBool());
        QCOMPARE(naturalWidth(first, QStringLiteral("broken")), 0);
        QCOMPARE(naturalWidth(first, QStringLiteral("foreign")), 0);
        QCOMPARE(naturalWidth(first, QStringLiteral("unknown")), 0);
        QCOMPARE(secondBlobs.asked, QStringList{QStringLiteral("blob-17")});

        // A view closed while its image downloads: the late answer is dropped.
        auto* closing = new MailWebView;
        closing->show();
        closing->setDocument(EmailHTML::wrap(QStringLiteral("<img src=\"cid:held@x\">"), false),
                             {inlinePart(QStringLiteral("held@x"), QStringLiteral("held"))},
                             secondBlobs.loader());
        QTRY_VERIFY(secondBlobs.asked.contains(QStringLiteral("held")));
        delete closing;
        Q_EMIT secondBlobs.gate.opened();
        QCOMPARE(naturalWidth(second, QStringLiteral("own")), 17);
        firstBlobs.asked.sort();
        QCOMPARE(firstBlobs.asked,
                 (QStringList{QStringLiteral("blob-25"), QStringLiteral("blob-40"),
                              QStringLiteral("broken")}));
    }

    void largeDocumentLoadsThroughOurScheme()
    {
        // Well past what setHtml can take, with an inline image and a marker at the very end.
        QString fragment = QStringLiteral("<img id=logo src=\"cid:logo@x\">");
        const QString paragraph = QStringLiteral("<p>%1</p>").arg(QString(1000, QLatin1Char('w')));
        while (fragment.size() < 3 * 1024 * 1024)
            fragment += paragraph;
        fragment += QStringLiteral("<p id=end>end</p>");
        FakeBlobs blobs;
        MailWebView view;
        view.resize(600, 400);
        view.show();
        QVERIFY(show(view, EmailHTML::wrap(fragment, false),
                     {inlinePart(QStringLiteral("logo@x"), QStringLiteral("blob-30"))},
                     blobs.loader()));
        QVERIFY(evaluate(view, QStringLiteral("document.getElementById('end') !== null")).toBool());
        QTRY_COMPARE(naturalWidth(view, QStringLiteral("logo")), 30);
        QVERIFY(view.contentHeight() > 10000);

        // The reader gives it no more height than the engine can draw; the rest scrolls inside.
        QCOMPARE(view.viewHeight(), MailWebView::maximumViewHeight);
        QVERIFY(view.isTallerThanView() && !view.canScrollInside(-1) && view.canScrollInside(1));
        QCOMPARE(view.scrollInside(700), 700);
        QTRY_COMPARE(evaluate(view, QStringLiteral("window.scrollY")).toInt(), 700);
        QCOMPARE(view.scrollInside(-1000), -700);
        QTRY_COMPARE(evaluate(view, QStringLiteral("window.scrollY")).toInt(), 0);
    }

    void reusedViewKeepsNothingOfTheMessageBefore()
    {
        QWidget home;
        home.resize(600, 400);
        home.show();
        MailWebViewPool pool(&home, 1);
        FakeBlobs blobs;
        MailWebView* view = pool.take(&home);
        view->resize(600, 400);
        // A message taller than its view, with an inline image, scrolled down inside.
        QString tall = QStringLiteral("<img id=logo src=\"cid:logo@x\">");
        for (int paragraph = 0; paragraph < 60; ++paragraph)
            tall += QStringLiteral("<p>%1</p>").arg(QStringLiteral("word ").repeated(200));
        QVERIFY(show(*view, EmailHTML::wrap(tall, false),
                     {inlinePart(QStringLiteral("logo@x"), QStringLiteral("blob-30"))},
                     blobs.loader()));
        QTRY_COMPARE(naturalWidth(*view, QStringLiteral("logo")), 30);
        QCOMPARE(view->scrollInside(700), 700);
        QTRY_COMPARE(evaluate(*view, QStringLiteral("window.scrollY")).toInt(), 700);
        const QString token = evaluate(*view, QStringLiteral("location.host")).toString();
        QVERIFY(MailWebProfile::instance()->document(token));

        pool.give(view);
        // Its parts are unreachable at once.
        QVERIFY(!MailWebProfile::instance()->document(token));
        QCOMPARE(view->contentHeight(), 0);
        QVERIFY(!view->canScrollInside(1) && !view->isTallerThanView());
        // The engine's last picture of it stays covered until the next message is laid out.
        auto* cover = view->findChild<QWidget*>(QStringLiteral("staleCover"));
        QVERIFY(cover && !cover->isHidden());

        // The next message names the same content id, and has no such part.
        MailWebView* again = pool.take(&home);
        QCOMPARE(again, view);
        QVERIFY(show(*again,
                     EmailHTML::wrap(QStringLiteral("<img id=logo src=\"cid:logo@x\"><p>Short</p>"),
                                     false)));
        QTRY_VERIFY(
            evaluate(*again, QStringLiteral("document.getElementById('logo').complete")).toBool());
        QCOMPARE(naturalWidth(*again, QStringLiteral("logo")), 0);
        QCOMPARE(blobs.asked, QStringList{QStringLiteral("blob-30")});
        QVERIFY(again->contentHeight() < 400);
        QTRY_VERIFY(cover->isHidden());
        QCOMPARE(evaluate(*again, QStringLiteral("window.scrollY")).toInt(), 0);
        QCOMPARE(again->page()->history()->count(), 1);
    }

    void clickedLinksLeaveTheView_data()
    {
        QTest::addColumn<QString>("href");
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("withHandler");
        QTest::addColumn<QString>("expected");
        QTest::newRow("https") << "https://example.com/a?b=c"
                               << "" << true << "https://example.com/a?b=c";
        QTest::newRow("http, new window") << "http://example.com/"
                                          << "_blank" << true << "http://example.com/";
        QTest::newRow("http, to the desktop") << "http://example.com/"
                                              << "" << false << "http://example.com/";
        QTest::newRow("mailto in capitals, to the desktop")
            << "MAILTO:a@example.com"
            << "" << false << "mailto:a@example.com";
        QTest::newRow("file") << "file:///etc/passwd"
                              << "" << false << "";
        QTest::newRow("ftp") << "ftp://example.com/x"
                             << "" << false << "";
        QTest::newRow("script") << "javascript:document.title='x'"
                                << "" << false << "";
        QTest::newRow("data, new window") << "data:text/html,<p>x"
                                          << "_blank" << false << "";
        QTest::newRow("relative") << "page.html"
                                  << "" << true << "";
    }

    void clickedLinksLeaveTheView()
    {
        QFETCH(QString, href);
        QFETCH(QString, target);
        QFETCH(bool, withHandler);
        QFETCH(QString, expected);
        Desktop desktop;
        MailWebView view;
        QList<QUrl> handled;
        if (withHandler)
            view.setLinkHandler([&](const QUrl& url) { handled << url; });
        view.resize(600, 400);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        // The text of the link claims another address than the one it goes to.
        const QString link =
            QStringLiteral("<title>Message</title><a id=link href=\"%1\" target=\"%2\" "
                           "style=\"display: inline-block; width: 300px; height: 40px\">%3</a>")
                .arg(EmailHTML::htmlEscaped(href), target, QStringLiteral("https://bank.example/"));
        QVERIFY(show(view, EmailHTML::wrap(link, false)));
        const QUrl url = view.url();
        const auto at = centreOf(view, QStringLiteral("link"));
        QVERIFY(at);
        // From elsewhere first: a move to where the pointer already is would not count.
        QTest::mouseMove(view.focusProxy(), QPoint(1, 300));
        QTest::mouseMove(view.focusProxy(), *at);
        if (!expected.isEmpty())
            QTRY_COMPARE(QUrl(QToolTip::text()), QUrl(expected));
        click(view, *at);

        QList<QUrl>& opened = withHandler ? handled : desktop.opened;
        if (expected.isEmpty()) {
            QTest::qWait(300);
            QCOMPARE(opened, QList<QUrl>());
        } else {
            QTRY_COMPARE(opened, QList<QUrl>{QUrl(expected)});
        }
        if (withHandler)
            QCOMPARE(desktop.opened, QList<QUrl>());
        QCOMPARE(view.url(), url);
        QCOMPARE(view.title(), QStringLiteral("Message"));
    }

    void contextMenuOffersOnlySafeItems()
    {
        MailWebView view;
        view.resize(600, 400);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QVERIFY(show(
            view, EmailHTML::wrap(QStringLiteral("<a id=link href=\"https://example.com/\">link</a>"
                                                 "<p id=text>Some text to select.</p>"),
                                  false)));
        auto menuAt = [&](const QString& id) {
            const auto at = centreOf(view, id);
            if (!at)
                return QStringList{QStringLiteral("no element %1").arg(id)};
            QTest::mouseClick(view.focusProxy(), Qt::RightButton, {}, *at);
            QMenu* menu = nullptr;
            const bool shown = QTest::qWaitFor([&] {
                for (QMenu* candidate : view.findChildren<QMenu*>()) {
                    if (candidate->isVisible())
                        menu = candidate;
                }
                return menu != nullptr;
            });
            QStringList texts;
            if (!shown)
                return texts;
            for (const QAction* action : menu->actions()) {
                if (!action->isSeparator())
                    texts << action->text();
            }
            menu->close();
            return texts;
        };
        QCOMPARE(menuAt(QStringLiteral("link")),
                 (QStringList{QStringLiteral("Copy"), QStringLiteral("Copy Link Address"),
                              QStringLiteral("Select All")}));
        QCOMPARE(menuAt(QStringLiteral("text")),
                 (QStringList{QStringLiteral("Copy"), QStringLiteral("Select All")}));
    }

    void verticalWheelScrollsTheEnclosingArea()
    {
        QScrollArea area;
        area.resize(600, 400);
        auto* content = new QWidget;
        auto* layout = new QVBoxLayout(content);
        auto* view = new MailWebView;
        layout->addWidget(view);
        area.setWidget(content);
        area.setWidgetResizable(true);
        area.show();
        QVERIFY(QTest::qWaitForWindowExposed(&area));

        // Many newsletters pin the page to the window's height; the message is still taller.
        QString rows = QStringLiteral("<style>html, body { height: 100%; }</style>");
        for (int row = 0; row < 200; ++row)
            rows += QStringLiteral("<p>Line %1</p>").arg(row);
        rows += QStringLiteral("<p id=last>The end</p>");
        QVERIFY(show(*view, EmailHTML::wrap(rows, false)));
        QVERIFY(view->contentHeight() > 3000);
        view->setMinimumHeight(view->contentHeight());
        QTRY_VERIFY(area.verticalScrollBar()->maximum() > 0);
        // At that height the whole message is on show, down to its last line.
        QTRY_COMPARE(view->height(), view->contentHeight());
        const int lastBottom =
            evaluate(*view, QStringLiteral("document.getElementById('last').getBoundingClientRect()"
                                           ".bottom"))
                .toInt();
        QVERIFY2(lastBottom <= view->height() && lastBottom > view->height() - 60,
                 qPrintable(QStringLiteral("%1 of %2").arg(lastBottom).arg(view->height())));
        QVERIFY(view->focusProxy());

        auto wheel = [&](QPoint delta) {
            const QPointF at(100, 100);
            QWheelEvent event(at, view->focusProxy()->mapToGlobal(at), QPoint(), delta,
                              Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(view->focusProxy(), &event);
        };
        wheel(QPoint(0, -240));
        QTRY_VERIFY(area.verticalScrollBar()->value() > 0);
        const int scrolled = area.verticalScrollBar()->value();
        wheel(QPoint(-240, 0));
        QTest::qWait(100);
        QCOMPARE(area.verticalScrollBar()->value(), scrolled);

        // A message sized in window heights does not grow with the view for ever.
        connect(view, &MailWebView::contentHeightChanged, view, &QWidget::setMinimumHeight);
        QVERIFY(show(*view, EmailHTML::wrap(
                                QStringLiteral("<div style=\"height: 100vh\">Tall</div>"), false)));
        QTest::qWait(500);
        const int settled = view->contentHeight();
        QTest::qWait(300);
        QCOMPARE(view->contentHeight(), settled);
        QVERIFY2(settled < 20 * 600, qPrintable(QString::number(settled)));

        // The same document again is no reload: the reader re-sets it on every update.
        QSignalSpy started(view->page(), &QWebEnginePage::loadStarted);
        view->setDocument(
            EmailHTML::wrap(QStringLiteral("<div style=\"height: 100vh\">Tall</div>"), false), {},
            {});
        QVERIFY(!started.wait(300));
    }
};

int main(int argc, char** argv)
{
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    MailWebView::registerSchemes();
    QApplication application(argc, argv);
    TestMailWebView test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_mailwebview.moc"
