#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

#include <chrono>

class MailWebView;
class QTimer;
class QWidget;

// Mail web views kept for reuse. Building a web view and its page, and tearing them down, is
// most of what moving from one conversation to the next costs; a view given back here is
// cleared (its document, parts and loader dropped, a blank page loaded, its height and scroll
// forgotten) and handed to the next message that needs one. Spares wait hidden in the home
// widget; past the limit a view given back is deleted.
class MailWebViewPool : public QObject
{
    Q_OBJECT
public:
    explicit MailWebViewPool(QWidget* home, int limit = 3);
    ~MailWebViewPool() override;

    // A cleared spare, or a new view when none is left, shown in parent.
    MailWebView* take(QWidget* parent);
    // Takes a view back: it no longer signals its former owner nor shows what it showed.
    void give(MailWebView* view);
    // Makes one spare ahead of need, after the given time, if there is none by then.
    void prepare(std::chrono::milliseconds after = std::chrono::milliseconds(0));
    // How long after the last spare was taken a new one is made: later than the paint of what
    // took it, so that it never delays one.
    static constexpr std::chrono::milliseconds restockDelay{400};
    // How long more than one spare is kept: a view that showed a message may keep its renderer
    // process until it shows the next, so surplus spares go once they wait this long unused.
    static constexpr std::chrono::milliseconds trimDelay{3000};
    qsizetype spareCount() const { return spares.size(); }

private:
    void trim();

    QPointer<QWidget> home;
    int limit;
    bool preparing = false;
    QTimer* trimming;
    QList<QPointer<MailWebView>> spares;
};
