#include "MailWebViewPool.h"

#include "MailWebView.h"

#include <QTimer>

MailWebViewPool::MailWebViewPool(QWidget* home, int limit)
    : QObject(home), home(home), limit(limit), trimming(new QTimer(this))
{
    trimming->setSingleShot(true);
    trimming->setInterval(trimDelay);
    connect(trimming, &QTimer::timeout, this, &MailWebViewPool::trim);
}

MailWebViewPool::~MailWebViewPool()
{
    for (const QPointer<MailWebView>& spare : std::as_const(spares))
        delete spare.data();
}

MailWebView* MailWebViewPool::take(QWidget* parent)
{
    while (!spares.isEmpty()) {
        MailWebView* spare = spares.takeLast().data();
        if (!spare)
            continue;
        spare->setParent(parent);
        spare->setVisible(true);
        if (spares.isEmpty())
            prepare(restockDelay);
        return spare;
    }
    prepare(restockDelay);
    return new MailWebView(parent);
}

void MailWebViewPool::give(MailWebView* view)
{
    if (!view)
        return;
    // Whoever showed it listens no more; its own inner connections stay.
    QObject::disconnect(view, &MailWebView::contentHeightChanged, nullptr, nullptr);
    view->hide();
    view->clear();
    if (!home || spares.size() >= limit) {
        view->deleteLater();
        return;
    }
    view->setParent(home);
    view->setObjectName(QString());
    view->setMinimumSize(0, 0);
    view->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    spares << view;
    if (spares.size() > 1)
        trimming->start();
}

void MailWebViewPool::trim()
{
    // The first spare stays for the next message opened: often the one made ahead of need,
    // which has loaded nothing yet.
    while (spares.size() > 1) {
        if (MailWebView* spare = spares.takeLast().data())
            spare->deleteLater();
    }
}

void MailWebViewPool::prepare(std::chrono::milliseconds after)
{
    if (preparing || !spares.isEmpty() || !home)
        return;
    preparing = true;
    QTimer::singleShot(after, this, [this] {
        preparing = false;
        if (!spares.isEmpty() || !home)
            return;
        auto* view = new MailWebView(home);
        view->hide();
        spares << view;
    });
}
