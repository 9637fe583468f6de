#include "ReadingAccount.h"
#include "ui/desktop/Icons.h"
#include "ui/main/KeyMonitor.h"
#include "ui/main/MainWindow.h"
#include "ui/main/Toast.h"
#include "ui/reader/MessageView.h"
#include "ui/reader/ThreadDetailView.h"
#include "ui/threads/ThreadListModel.h"
#include "ui/threads/ThreadListView.h"
#include "ui/web/MailWebView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QListView>
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

// Counts the paint events a widget receives, to show that a measured press reached the screen.
class PaintCounter : public QObject
{
public:
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            ++paints;
        return false;
    }
};

// The reader has laid out the newest message of the open conversation in its web view.
bool readerShows(ThreadDetailView* reader)
{
    return !reader->messageViews().isEmpty() && reader->messageViews().last()->webView() &&
           reader->messageViews().last()->webView()->contentHeight() > 0;
}

} // namespace

class BenchKeys : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }
    void localActionByKey_data();
    void localActionByKey();
};

// A key pressed in the list of 200 conversations, from the key event to the repaint of what it
// changed, on the main thread. The network holds every answer meanwhile: what the server does
// with the change comes after, and none of it takes part.
void BenchKeys::localActionByKey_data()
{
    QTest::addColumn<char>("key");
    // "j" alternates with "k" between two conversations fetched ahead; "e" archives the
    // selected one, selects the next (fetched ahead too) and shows the toast; "u" and "s"
    // toggle the selected one's read and flagged state, back and forth.
    QTest::newRow("j next conversation") << 'j';
    QTest::newRow("e archive") << 'e';
    QTest::newRow("u toggle read") << 'u';
    QTest::newRow("s toggle flag") << 's';
}

void BenchKeys::localActionByKey()
{
    QFETCH(char, key);
    ReadingAccount account;
    auto holder = std::make_shared<AppState*>(nullptr);
    auto state = account.makeState(200, [holder](AppEnvironment& environment) {
        environment.installKeyMonitor = [holder] { KeyMonitor::install(*holder); };
    });
    *holder = state.get();
    MainWindow window(state.get());
    window.resize(1280, 800);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QTRY_COMPARE_WITH_TIMEOUT(state->threads().size(), 200, 20000);
    QTRY_COMPARE(state->activeFetches(), 0);

    QListView* list = window.threadList()->list();
    ThreadListModel* model = window.threadList()->model();
    ThreadDetailView* reader = window.reader();
    list->setFocus();
    QTRY_VERIFY(list->hasFocus());
    const auto press = [&window](char pressed) {
        QTest::keyClick(window.focusWidget() ? window.focusWidget() : &window, pressed);
    };

    // The conversations the presses land on are opened once beforehand, as a reader moving
    // down the list has them: the first web view starts the web engine, and each visit leaves
    // the conversation in the cache, its neighbours fetched ahead.
    const int start = 3;
    const int visited = key == 'e' ? 40 : 1;
    state->setSelectedThreadIds({QStringLiteral("t%1").arg(start)});
    QTRY_VERIFY_WITH_TIMEOUT(readerShows(reader), 60000);
    for (int step = 0; step < visited; ++step) {
        press('j');
        QTRY_VERIFY_WITH_TIMEOUT(readerShows(reader), 20000);
        QTRY_COMPARE(state->activeFetches(), 0);
    }
    state->setSelectedThreadIds({QStringLiteral("t%1").arg(start)});
    QTRY_VERIFY_WITH_TIMEOUT(readerShows(reader), 20000);
    QTRY_COMPARE(state->activeFetches(), 0);
    QTRY_VERIFY(list->hasFocus());
    // The selected row is on screen, as it is under a reader's eyes.
    list->scrollTo(model->index(model->rowOf(QStringLiteral("t%1").arg(start)), 0));
    QCoreApplication::processEvents();

    PaintCounter counter;
    list->viewport()->installEventFilter(&counter);
    account.network.setHolding(true);
    QList<double> times;
    int presses = 0;
    int landedOnCached = 0;
    QElapsedTimer clock;
    QBENCHMARK
    {
        const char pressed = key == 'j' && presses % 2 == 1 ? 'k' : key;
        ++presses;
        clock.start();
        press(pressed);
        // What the press left for the event loop: the list's delayed relayout (on a zero
        // timer), other layouts, the message views of a conversation left behind. Then the
        // window's update request, which the platform would deliver on its next frame: it
        // paints the regions the press made dirty, and those only.
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QEvent frame(QEvent::UpdateRequest);
        QCoreApplication::sendEvent(&window, &frame);
        times << clock.nsecsElapsed() / 1e6;
        if (key == 'e' || key == 'j') {
            const QSet<QString> selected = state->selectedThreadIds();
            landedOnCached +=
                selected.size() == 1 && state->threadCache().contains(*selected.cbegin());
        }
    }
    QVERIFY(counter.paints >= presses);
    if (key == 'e') {
        QCOMPARE(model->rowCount(), 200 - presses);
        QVERIFY(model->rowOf(QStringLiteral("t%1").arg(start)) < 0);
        QCOMPARE(state->selectedThreadIds(),
                 QSet<QString>{QStringLiteral("t%1").arg(start + presses)});
        QVERIFY(window.toast()->isVisible());
        QCOMPARE(window.toast()->messageLabel()->text(), QString("Conversation archived"));
    } else {
        QCOMPARE(model->rowCount(), 200);
    }
    list->viewport()->removeEventFilter(&counter);
    account.network.setHolding(false);
    account.network.releaseAll();
    QTRY_COMPARE(state->activeFetches(), 0);
    qInfo(
        "'%c', key event to repaint: median %.2f ms of %d presses (min %.2f, max %.2f)%s", key,
        median(times), int(times.size()), *std::min_element(times.cbegin(), times.cend()),
        *std::max_element(times.cbegin(), times.cend()),
        key == 'e' || key == 'j'
            ? qPrintable(
                  QStringLiteral("; %1 landed on a conversation fetched ahead").arg(landedOnCached))
            : "");
}

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_CHROMIUM_FLAGS"))
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu");
    MailWebView::registerSchemes();
    QApplication app(argc, argv);
    BenchKeys bench;
    return QTest::qExec(&bench, argc, argv);
}

#include "bench_keys.moc"
