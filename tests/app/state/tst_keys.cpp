#include "StateFixture.h"

using namespace AsyncTest;
using Window = KeyContext::Window;
using Focus = KeyContext::Focus;
using Pane = AppState::Pane;

Q_DECLARE_METATYPE(KeyContext::Window)
Q_DECLARE_METATYPE(KeyContext::Focus)
Q_DECLARE_METATYPE(AppState::Pane)

class TestKeys : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void keyPressMeansWhatItsPlaceSays_data()
    {
        QTest::addColumn<Window>("window");
        QTest::addColumn<Focus>("focus");
        QTest::addColumn<bool>("overlay");
        QTest::addColumn<Pane>("pane");
        QTest::addColumn<QString>("selected");
        // A binding text for closeThread, or empty for the default "escape".
        QTest::addColumn<QString>("closeThreadKey");
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("consumed");
        // What shows afterwards: the selection, the pane, reader scrolls, and whether the key
        // archived or refreshed.
        QTest::addColumn<QString>("selectedAfter");
        QTest::addColumn<Pane>("paneAfter");
        QTest::addColumn<QStringList>("scrolls");
        QTest::addColumn<QString>("request");

        // Keys the main window test presses for real (search, escape, j and k, archive, the
        // overlay, reader scrolling) are not repeated here.
        const auto main = Window::Main;
        const QStringList none;
        QTest::newRow("ctrl+r while typing refreshes")
            << main << Focus::Text << false << Pane::List << "t1"
            << ""
            << "cmd+r" << true << "t1" << Pane::List << none << "Mailbox/get";
        QTest::newRow("up in a message body scrolls a line")
            << main << Focus::WebView << false << Pane::List << "t1"
            << ""
            << "up" << true << "t1" << Pane::Reader << QStringList{"0 -1"} << "";
        QTest::newRow("space in the reader scrolls a page")
            << main << Focus::None << false << Pane::Reader << "t1"
            << ""
            << "space" << true << "t1" << Pane::Reader << QStringList{"1 0"} << "";
        QTest::newRow("down in the list is the list's")
            << main << Focus::ItemView << false << Pane::List << "t1"
            << ""
            << "down" << false << "t1" << Pane::List << none << "";
        QTest::newRow("down with nothing focused steps")
            << main << Focus::None << false << Pane::List << "t1"
            << ""
            << "down" << true << "t2" << Pane::List << none << "";
        QTest::newRow("up with nothing selected takes the first")
            << main << Focus::None << false << Pane::List << ""
            << ""
            << "up" << true << "t1" << Pane::List << none << "";
        QTest::newRow("other windows keep their keys")
            << Window::Other << Focus::None << false << Pane::List << "t1"
            << ""
            << "e" << false << "t1" << Pane::List << none << "";
        QTest::newRow("no window of ours")
            << Window::None << Focus::None << false << Pane::List << "t1"
            << ""
            << "j" << false << "t1" << Pane::List << none << "";
        QTest::newRow("compose windows keep their keys")
            << Window::Compose << Focus::Text << true << Pane::List << "t1"
            << ""
            << "cmd+r" << false << "t1" << Pane::List << none << "";
        QTest::newRow("rebound close key leaves the reader")
            << main << Focus::None << false << Pane::Reader << "t1"
            << "q"
            << "q" << true << "t1" << Pane::List << none << "";
        QTest::newRow("escape in the reader after rebinding passes")
            << main << Focus::None << false << Pane::Reader << "t1"
            << "q"
            << "escape" << false << "t1" << Pane::Reader << none << "";
        QTest::newRow("escape while typing after rebinding still goes to the list")
            << main << Focus::Text << false << Pane::Reader << "t1"
            << "q"
            << "escape" << true << "t1" << Pane::List << none << "";
    }

    void keyPressMeansWhatItsPlaceSays()
    {
        QFETCH(Window, window);
        QFETCH(Focus, focus);
        QFETCH(bool, overlay);
        QFETCH(Pane, pane);
        QFETCH(QString, selected);
        QFETCH(QString, closeThreadKey);
        QFETCH(QString, key);
        QFETCH(bool, consumed);
        QFETCH(QString, selectedAfter);
        QFETCH(Pane, paneAfter);
        QFETCH(QStringList, scrolls);
        QFETCH(QString, request);

        StateFixture f;
        f.server.addThreads(3);
        auto state = f.connected();
        QStringList scrolled;
        int released = 0;
        state->setWindowServices({nullptr,
                                  [&scrolled](double pages, double lines) {
                                      scrolled.append(
                                          QStringLiteral("%1 %2").arg(pages).arg(lines));
                                  },
                                  [&released] { ++released; }});
        if (!closeThreadKey.isEmpty()) {
            AppConfig config = state->config();
            config.keybindings.insert(MailAction(MailAction::CloseThread).rawValue(),
                                      closeThreadKey);
            state->setConfig(config);
        }
        if (!selected.isEmpty())
            state->setSelectedThreadId(selected);
        state->focus(pane);
        QCOMPARE(state->focusedPane(), pane);
        state->setShowsShortcuts(overlay);
        StateFixture::settle(*state);
        const qsizetype before = f.network.batches().size();

        const auto binding = KeyBinding::fromText(key);
        QVERIFY(binding);
        QCOMPARE(state->handleKeyDown(*binding, {window, focus, std::nullopt}), consumed);

        QCOMPARE(state->selectedThreadId().value_or(QString()), selectedAfter);
        QCOMPARE(state->focusedPane(), paneAfter);
        QCOMPARE(scrolled, scrolls);
        if (window == Window::Main)
            QVERIFY(!state->showsShortcuts());
        if (request.isEmpty()) {
            QCOMPARE(f.network.batches().size(), before);
        } else {
            QTRY_VERIFY(f.network.batches().size() > before);
            QCOMPARE(f.network.batches().at(before).methodNames().value(0), request);
        }
    }

    void panesAndMessagesStepInOrder()
    {
        StateFixture f;
        f.server.add(FakeMailServer::email("m1", "t1", "in", 3));
        f.server.add(FakeMailServer::email("m2", "t1", "in", 2, false));
        f.server.add(FakeMailServer::email("m3", "t1", "in", 1));
        auto state = f.connected();
        int released = 0;
        state->setWindowServices({nullptr, {}, [&released] { ++released; }});
        const KeyContext list{Window::Main, Focus::ItemView, std::nullopt};
        const auto press = [&](const QString& key, const KeyContext& context) {
            return state->handleKeyDown(*KeyBinding::fromText(key), context);
        };

        // Without a thread the reader is left out, and cannot be focused.
        QVERIFY(press("tab", list));
        QCOMPARE(state->focusedPane(), Pane::Sidebar);
        QVERIFY(press("shift+tab", list));
        QCOMPARE(state->focusedPane(), Pane::List);
        state->focus(Pane::Reader);
        QCOMPARE(state->focusedPane(), Pane::List);
        QCOMPARE(released, 0);

        state->setSelectedThreadId(QStringLiteral("t1"));
        state->threadSelectionChanged();
        QTRY_COMPARE(state->openEmails().size(), 3);
        StateFixture::settle(*state);
        // The reader takes the keys from the list, on the unread message it opened at.
        QVERIFY(press("tab", list));
        QCOMPARE(state->focusedPane(), Pane::Reader);
        QCOMPARE(released, 1);
        QCOMPARE(state->focusedEmailId(), std::optional<QString>("m2"));
        QVERIFY(press("tab", {Window::Main, Focus::None, std::nullopt}));
        QCOMPARE(state->focusedPane(), Pane::Sidebar);

        const int scrollRequests = state->messageScrollRequest();
        QVERIFY(press("n", list));
        QCOMPARE(state->focusedEmailId(), std::optional<QString>("m3"));
        QVERIFY(press("n", list));
        QCOMPARE(state->focusedEmailId(), std::optional<QString>("m3"));
        QCOMPARE(state->messageScrollRequest(), scrollRequests + 2);
        QCOMPARE(state->focusedPane(), Pane::Reader);

        // Details open their message; "o" folds and unfolds the focused one.
        QVERIFY(!state->expandedEmailIds().contains("m1"));
        QVERIFY(press("p", list) && press("p", list));
        QVERIFY(press("h", list));
        QVERIFY(state->expandedEmailIds().contains("m1"));
        QVERIFY(state->detailEmailIds().contains("m1"));
        QVERIFY(press("o", list));
        QVERIFY(!state->expandedEmailIds().contains("m1"));
    }
};

QTEST_GUILESS_MAIN(TestKeys)
#include "tst_keys.moc"
