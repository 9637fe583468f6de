#include "ReadingAccount.h"
#include "ui/compose/ComposeWindow.h"
#include "ui/compose/ComposeWindows.h"
#include "ui/desktop/Icons.h"
#include "ui/main/MainWindow.h"
#include "ui/reader/MessageView.h"
#include "ui/reader/ThreadDetailView.h"
#include "ui/web/MailWebView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPlainTextEdit>
#include <QTest>

#include <algorithm>

namespace {

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values.at(values.size() / 2);
}

void report(const char* what, const QList<double>& times)
{
    qInfo("%s: median %.2f ms of %d (min %.2f, max %.2f)", what, median(times), int(times.size()),
          *std::min_element(times.cbegin(), times.cend()),
          *std::max_element(times.cbegin(), times.cend()));
}

// Delivers what a frame would: the pending events, deferred deletes, then the paint.
void frame(QWidget* window)
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QEvent update(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(window, &update);
}

// About 100 KB of the Markdown people write: paragraphs with emphasis and links, lists, quotes
// and code.
QString longMarkdown()
{
    QString text;
    for (int i = 0; text.size() < 100 * 1024; ++i) {
        text += QStringLiteral("## Section %1\n\nThe *plan* for week %1 is **ready**; see "
                               "[the notes](https://example.com/notes/%1) and \"the figures\" -- "
                               "all of them.\n\n- first point\n- second point with `code`\n\n"
                               "> A quoted line from the last message.\n\n")
                    .arg(i);
    }
    return text;
}

} // namespace

class BenchCompose : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }
    void replyWindowOpens();
    void previewOfLongMarkdown();
};

// "r" on an open conversation: from the call to the window shown with the caret in its body,
// painted once. Everything comes from the open thread, so no request may leave.
void BenchCompose::replyWindowOpens()
{
    ReadingAccount account;
    auto state = account.makeState(200);
    MainWindow window(state.get());
    window.resize(1280, 800);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTRY_COMPARE_WITH_TIMEOUT(state->threads().size(), 200, 20000);
    state->setSelectedThreadIds({QStringLiteral("long")});
    QTRY_VERIFY_WITH_TIMEOUT(!window.reader()->messageViews().isEmpty() &&
                                 window.reader()->messageViews().last()->webView(),
                             60000);
    QTRY_COMPARE(state->activeFetches(), 0);

    // A first window warms the web engine's preview page, as the first compose of a session.
    ComposeDraft* warm = state->compose(ReplyKind::Reply);
    QVERIFY(warm);
    ComposeWindow* first = window.composeWindows()->window(warm->id());
    QVERIFY(QTest::qWaitForWindowExposed(first));
    first->close();
    QTRY_VERIFY(!window.composeWindows()->window(warm->id()));

    const qsizetype requests = account.network.requests().size();
    QList<double> times;
    QElapsedTimer clock;
    QBENCHMARK
    {
        clock.start();
        ComposeDraft* draft = state->compose(ReplyKind::Reply);
        ComposeWindow* opened = window.composeWindows()->window(draft->id());
        frame(opened);
        times << clock.nsecsElapsed() / 1e6;
        auto* body = opened->findChild<QPlainTextEdit*>();
        QVERIFY(opened->isVisible());
        QCOMPARE(body->textCursor().position(), 0);
        // Closed unchanged: nothing to save, so nothing goes to the server either.
        opened->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QCOMPARE(account.network.requests().size(), requests);
    report("reply window: compose to first paint", times);
}

// One key typed at the end of a 100 KB Markdown body, with the preview beside it: the edit,
// the draft and the preview's new document, on the main thread.
void BenchCompose::previewOfLongMarkdown()
{
    ReadingAccount account;
    auto state = account.makeState(50);
    MainWindow window(state.get());
    window.show();
    QTRY_VERIFY_WITH_TIMEOUT(!state->threads().isEmpty(), 20000);
    ComposeDraft* draft = state->compose();
    draft->setIsMarkdown(true);
    draft->setShowsPreview(true);
    draft->setBody(longMarkdown());
    ComposeWindow* opened = window.composeWindows()->window(draft->id());
    QVERIFY(QTest::qWaitForWindowExposed(opened));
    auto* body = opened->findChild<QPlainTextEdit*>();
    body->setFocus();
    body->moveCursor(QTextCursor::End);
    frame(opened);

    QList<double> times;
    QElapsedTimer clock;
    QBENCHMARK
    {
        clock.start();
        QTest::keyClick(body, Qt::Key_A);
        frame(opened);
        times << clock.nsecsElapsed() / 1e6;
    }
    QVERIFY(draft->body().endsWith(QLatin1Char('a')));
    QVERIFY(draft->body().size() > 100 * 1024);
    report("100 KB Markdown, key to preview handed over", times);
    draft->setBody(QString());
    opened->close();
}

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_CHROMIUM_FLAGS"))
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu");
    MailWebView::registerSchemes();
    QApplication app(argc, argv);
    BenchCompose bench;
    return QTest::qExec(&bench, argc, argv);
}

#include "bench_compose.moc"
