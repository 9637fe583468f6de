#include "AsyncTest.h"
#include "ReadingAccount.h"
#include "content/EmailHTML.h"
#include "ui/desktop/Icons.h"
#include "ui/main/MainWindow.h"
#include "ui/reader/MessageView.h"
#include "ui/reader/ThreadDetailView.h"
#include "ui/threads/ThreadListModel.h"
#include "ui/threads/ThreadListView.h"
#include "ui/web/MailWebView.h"
#include "ui/web/MailWebViewPool.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QListView>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

namespace {

double median(QList<double> values)
{
    if (values.isEmpty())
        return 0;
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

QStringList listedIds(const ThreadListModel& model)
{
    QStringList ids;
    for (int row = 0; row < model.rowCount(); ++row)
        if (model.threadAt(row))
            ids << model.threadAt(row)->id;
    return ids;
}

} // namespace

class BenchReading : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }
    void listUpdateAfterRefresh();
    void openPrefetchedThread_data();
    void openPrefetchedThread();
    void messageLaidOut();
};

// A refresh of a 200-row page in which a few rows changed, one arrived at the top and one
// left: the list on screen takes it row by row, never by a reset.
void BenchReading::listUpdateAfterRefresh()
{
    ReadingAccount account;
    auto state = account.makeState();
    // The time between these two handlers is what the list and its view spend on the change:
    // the model and view connect in between, and handlers run in the order they connected.
    QElapsedTimer clock;
    QList<double> applied;
    QObject::connect(state.get(), &AppState::threadsChanged, [&clock] { clock.start(); });
    ThreadListView view(state.get());
    QObject::connect(state.get(), &AppState::threadsChanged,
                     [&] { applied << clock.nsecsElapsed() / 1e6; });
    view.resize(380, 900);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    AsyncTest::await(state->connect());
    QTRY_COMPARE(state->activeFetches(), 0);
    QCOMPARE(listedIds(*view.model()).size(), 200);
    QSignalSpy resets(view.model(), &QAbstractItemModel::modelReset);
    view.list()->setCurrentIndex(view.model()->index(view.model()->rowOf("t50"), 0));
    QCOMPARE(state->selectedThreadIds(), QSet<QString>{"t50"});

    // The two versions of the page, taken in turns.
    const QList<QJsonObject> before = account.server.emails;
    account.server.removeThread("t120");
    for (int row : {3, 17, 60, 90, 150}) {
        QJsonObject* last = account.server.find(QStringLiteral("t%1-%2").arg(row).arg(1 + row % 3));
        last->insert("keywords", QJsonObject{{"$seen", true}, {"$flagged", true}});
        last->insert("preview", QStringLiteral("Edited: ") + last->value("preview").toString());
    }
    QList<QJsonObject> arrived = account.shortThread(500);
    arrived.last()["receivedAt"] = account.now.toUTC().toString(Qt::ISODate);
    account.server.add(arrived);
    const QList<QJsonObject> after = account.server.emails;

    bool flip = false;
    applied.clear();
    QBENCHMARK
    {
        flip = !flip;
        account.server.emails = flip ? after : before;
        AsyncTest::await(state->refresh());
    }
    QCOMPARE(listedIds(*view.model()).size(), 200);
    QCOMPARE(listedIds(*view.model()).first(), flip ? QString("t500") : QString("long"));
    QCOMPARE(resets.count(), 0);
    QCOMPARE(view.list()->currentIndex().data(ThreadListModel::IdRole).toString(), QString("t50"));
    qInfo("applying the change to the list model and its view: median %.2f ms of %d refreshes "
          "(min %.2f, max %.2f)",
          median(applied), int(applied.size()), *std::min_element(applied.cbegin(), applied.cend()),
          *std::max_element(applied.cbegin(), applied.cend()));
}

// Moving to the next conversation when it was fetched ahead: the row is selected and the
// reader holds its messages, with the bodies handed to their web views, in one turn of the
// event loop. The network holds every answer meanwhile, so none can take part.
void BenchReading::openPrefetchedThread_data()
{
    // A read conversation opens its newest message only; one with three unread, those three.
    QTest::addColumn<int>("unread");
    QTest::newRow("one body") << 0;
    QTest::newRow("three bodies") << 3;
}

void BenchReading::openPrefetchedThread()
{
    QFETCH(int, unread);
    ReadingAccount account;
    // Two long conversations at the top, both among the rows fetched ahead.
    account.server.removeThread("long");
    account.server.add(account.conversation("long", 10, unread));
    account.server.add(account.conversation("other", 10, unread));
    auto state = account.makeState();
    MainWindow window(state.get());
    window.resize(1280, 800);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTRY_COMPARE_WITH_TIMEOUT(state->threads().size(), 200, 20000);
    QTRY_VERIFY(state->threadCache().contains("other"));
    QTRY_COMPARE(state->activeFetches(), 0);

    QListView* list = window.threadList()->list();
    ThreadListModel* model = window.threadList()->model();
    ThreadDetailView* reader = window.reader();
    const QModelIndex rows[] = {model->index(model->rowOf("long"), 0),
                                model->index(model->rowOf("other"), 0)};
    // The first opening of a web view starts the web engine: not part of moving on.
    list->setCurrentIndex(rows[0]);
    QTRY_VERIFY_WITH_TIMEOUT(reader->messageViews().size() == 10 &&
                                 reader->messageViews().last()->webView() &&
                                 reader->messageViews().last()->webView()->contentHeight() > 0,
                             60000);
    QTRY_COMPARE(state->activeFetches(), 0);

    account.network.setHolding(true);
    int turn = 0;
    QBENCHMARK
    {
        turn = 1 - turn;
        list->setCurrentIndex(rows[turn]);
        // The views of the conversation left behind go now, as they would in this turn.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    const QString shown = turn ? QStringLiteral("other") : QStringLiteral("long");
    QCOMPARE(reader->messageViews().size(), 10);
    QCOMPARE(reader->messageViews().first()->emailId(), shown + "-1");
    int bodies = 0;
    for (MessageView* message : reader->messageViews())
        bodies += message->webView() != nullptr;
    QCOMPARE(bodies, std::max(unread, 1));
    account.network.setHolding(false);
    account.network.releaseAll();
    QTRY_COMPARE(state->activeFetches(), 0);
}

// A message handed to a spare web view until its height is reported: what the web engine
// does off the main thread before a body shows, its renderer process included, since each
// message has an origin and so a renderer of its own. Run it again with
// QTWEBENGINE_CHROMIUM_FLAGS="--renderer-process-limit=1" to see the share of the process.
void BenchReading::messageLaidOut()
{
    QWidget window;
    window.resize(800, 600);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    MailWebViewPool pool(&window, 1);
    // The first view starts the web engine: not part of it.
    MailWebView* view = pool.take(&window);
    view->setGeometry(0, 0, 800, 600);
    view->setDocument(EmailHTML::wrap(QStringLiteral("<p>First</p>"), false), {}, {});
    QTRY_VERIFY_WITH_TIMEOUT(view->contentHeight() > 0, 60000);
    QList<double> times;
    QElapsedTimer clock;
    int message = 0;
    QBENCHMARK
    {
        pool.give(view);
        view = pool.take(&window);
        view->setGeometry(0, 0, 800, 600);
        QSignalSpy reported(view, &MailWebView::contentHeightChanged);
        clock.start();
        view->setDocument(
            EmailHTML::wrap(QStringLiteral("<p>Message %1</p>").arg(++message), false), {}, {});
        QVERIFY(reported.wait(20000));
        times << clock.nsecsElapsed() / 1e6;
    }
    qInfo("document to reported height: median %.1f ms of %d (min %.1f, max %.1f)", median(times),
          int(times.size()), *std::min_element(times.cbegin(), times.cend()),
          *std::max_element(times.cbegin(), times.cend()));
}

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_CHROMIUM_FLAGS"))
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu");
    MailWebView::registerSchemes();
    QApplication app(argc, argv);
    BenchReading bench;
    return QTest::qExec(&bench, argc, argv);
}

#include "bench_reading.moc"
