#pragma once

#include "MailDocument.h"
#include "mail/Email.h"

#include <QWebEngineView>

#include <chrono>
#include <functional>
#include <memory>

class MailWebPage;
class QAbstractScrollArea;

// Shows one display document in a sandbox: page scripts off, nothing kept, no window of its
// own, links leaving for the desktop, inline images served from the message. In the reader it
// is sized to its content and never scrolls vertically itself: vertical wheel events go to the
// scroll area around it.
class MailWebView : public QWebEngineView
{
    Q_OBJECT
public:
    // Fetches the bytes of one inline part (a cid: image); may throw.
    using PartLoader = InlinePartLoader;

    explicit MailWebView(QWidget* parent = nullptr);

    // Registers the cid: scheme and our own scheme for large documents. Call before the
    // QApplication exists (main.cpp and test main functions).
    static void registerSchemes();

    // Shows a display document (already wrapped, with its policy); cid: references are answered
    // from inlineParts (matched by their cid, with or without angle brackets) through loader.
    // The same document with the same parts is not loaded again.
    void setDocument(const QString& html, const QList<BodyPart>& inlineParts, PartLoader loader);
    // Forgets the document shown, for the view to serve another message: its inline parts and
    // loader go at once (a late cid: request finds nothing), a blank page replaces it, the
    // height and scroll position start from zero and clicked links go to the desktop again.
    void clear();
    // The measured height of the content in pixels (0 until known).
    int contentHeight() const;
    // The height the view takes in the reader: its content's, up to maximumViewHeight. A
    // taller document scrolls inside its view, since the engine cannot draw a view of any size.
    int viewHeight() const;
    bool isTallerThanView() const;
    // Scrolls a document taller than its view by up to delta pixels inside it; gives how far it
    // moved. canScrollInside says whether it can move at all (direction < 0: up).
    int scrollInside(int delta);
    bool canScrollInside(int direction) const;
    static constexpr int maximumViewHeight = 8000;
    // Where clicked links go (http, https, mailto only); the default opens them on the desktop.
    void setLinkHandler(std::function<void(const QUrl&)> handler);

    // Documents up to this many bytes of UTF-8 go through setHtml, whose data: URL is limited
    // to 2 MB once encoded; larger ones are served through our own scheme.
    static constexpr qsizetype directLoadLimit = 1400 * 1024;

Q_SIGNALS:
    void contentHeightChanged(int height);

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void installHeightScript();
    void watchRenderWidget(QObject* child);
    QAbstractScrollArea* enclosingScrollArea() const;
    void setContentHeight(int height);
    // Whether a report of the height script comes from the document shown now, not from one
    // this view showed before.
    bool isCurrent(const QString& documentUrl) const;
    // Hides the cover after `delay`, unless the view is cleared again meanwhile.
    void uncoverAfter(std::chrono::milliseconds delay);

    MailWebPage* mailPage = nullptr;
    // Until a view that showed a message has painted the next one, the engine still shows the
    // last picture of the former: a plain cover in the page's colour stands over it.
    QWidget* cover = nullptr;
    quint64 coverGeneration = 0;
    bool blankPending = false;
    std::shared_ptr<MailDocument> current;
    QString loadedHtml;
    int measuredHeight = 0;
    int pageScroll = 0;
};
