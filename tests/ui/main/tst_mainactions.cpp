#include "StateFixture.h"
#include "UiTest.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"
#include "ui/directory/MaskedEmailWindow.h"
#include "ui/feedback/FeedbackWindow.h"
#include "ui/main/FolderPicker.h"
#include "ui/main/KeyMonitor.h"
#include "ui/main/MailboxListModel.h"
#include "ui/main/MainMenus.h"
#include "ui/main/MainWindow.h"
#include "ui/main/ShortcutsOverlay.h"
#include "ui/main/SidebarView.h"
#include "ui/main/Toast.h"
#include "ui/reader/MessageView.h"
#include "ui/reader/ThreadDetailView.h"
#include "ui/threads/MailSearchField.h"
#include "ui/threads/MessageContextMenu.h"
#include "ui/threads/ThreadListModel.h"
#include "ui/threads/ThreadListView.h"
#include "ui/web/MailWebView.h"

#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QTest>
#include <QToolBar>
#include <QUndoStack>
#include <QWebEngineView>

using UiTest::screenshot;

namespace {

const QDateTime now = QDateTime::currentDateTime();

// Whether the server moved the thread out of the inbox into the archive.
bool archived(const FakeMailServer& server, const QString& threadId)
{
    return !server.threadsIn("inbox").contains(threadId) &&
           server.threadsIn("archive").contains(threadId);
}

// A key pressed where a person would press it: on whatever holds the focus.
void press(MainWindow* window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QWidget* target = window->focusWidget() ? window->focusWidget() : window;
    QTest::keyClick(target, key, modifiers);
}

void type(MainWindow* window, char character)
{
    QWidget* target = window->focusWidget() ? window->focusWidget() : window;
    QTest::keyClick(target, character);
}

QStringList threadIds(AppState* state)
{
    QStringList ids;
    for (const MailThread& thread : state->threads())
        ids << thread.id;
    return ids;
}

QAction* actionTitled(QMenu* menu, const QString& start)
{
    for (QAction* action : menu->actions())
        if (action->text().startsWith(start))
            return action;
    return nullptr;
}

} // namespace

class TestMainActions : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }

    void init()
    {
        f = std::make_unique<StateFixture>();
        const QString inbox = QStringLiteral("inbox");
        f->server.add(FakeMailServer::thread("T1", "Anna Berg", "Quarterly report",
                                             now.addSecs(-60), 1, true, inbox));
        f->server.add(
            FakeMailServer::thread("T2", "Bo Lind", "Lunch", now.addSecs(-3600), 1, true, inbox));
        f->server.add(FakeMailServer::thread("T3", "Cleo Dahl", "Tickets", now.addSecs(-7200), 1,
                                             true, inbox));
        // A long body, so that the reader has room to scroll.
        FakeMailServer::setBody(*f->server.find("T2-1"), "<div style='height:1500px'>Lunch?</div>",
                                QStringLiteral("text/html"));
        f->server.mailboxes =
            QJsonArray{FakeMailServer::mailbox(inbox, "Inbox", "inbox", 1, 3),
                       FakeMailServer::mailbox("archive", "Archive", "archive", 2, 3),
                       FakeMailServer::mailbox("projects", "Projects", {}, 3, 3)};
    }

    void keysArchiveUndoAndMove()
    {
        auto state = makeState();
        auto window = openWindow(state.get());
        QVERIFY(window);
        QListView* list = window->threadList()->list();
        state->setSelectedThreadIds({"T1"});
        list->setFocus();
        QTRY_VERIFY(list->hasFocus());

        // "e" archives: the row goes, the next is selected, the toast offers Undo and its key.
        press(window.get(), Qt::Key_E);
        QCOMPARE(threadIds(state.get()), QStringList({"T2", "T3"}));
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T2"});
        ToastView* toast = window->toast();
        QTRY_VERIFY(toast->isVisible());
        QCOMPARE(toast->messageLabel()->text(), QString("Conversation archived"));
        QVERIFY(toast->undoButton()->isVisible());
        QCOMPARE(toast->keyHint()->text(), QString("Ctrl+Z"));
        QCOMPARE(window->menus()->undoAction()->text(), QString("Undo Move to Archive"));
        QTRY_VERIFY(archived(f->server, "T1"));

        // Once the toast has gone, Ctrl+Z still takes the move back, through the undo stack.
        state->dismissToast();
        QVERIFY(!toast->isVisible());
        press(window.get(), Qt::Key_Z, Qt::ControlModifier);
        QTRY_COMPARE(threadIds(state.get()), QStringList({"T1", "T2", "T3"}));
        QVERIFY(!f->server.threadsIn("archive").contains("T1"));
        QVERIFY(f->server.threadsIn("inbox").contains("T1"));
        QCOMPARE(window->undoStack()->index(), 0);

        // The toast's own Undo does the same.
        state->setSelectedThreadIds({"T3"});
        press(window.get(), Qt::Key_E);
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T2"});
        QTRY_VERIFY(archived(f->server, "T3"));
        QTest::mouseClick(toast->undoButton(), Qt::LeftButton);
        QTRY_COMPARE(threadIds(state.get()).size(), 3);
    }

    void keysFollowTheFocus()
    {
        auto state = makeState();
        auto window = openWindow(state.get());
        QVERIFY(window);
        QListView* list = window->threadList()->list();
        MailSearchField* search = window->threadList()->searchField();

        // "/" reaches the search field; a plain letter typed there is text, not an action, and
        // Escape hands the keys back to the list.
        state->setSelectedThreadIds({"T1"});
        list->setFocus();
        QTRY_VERIFY(list->hasFocus());
        press(window.get(), Qt::Key_Slash);
        QTRY_VERIFY(search->hasFocus());
        type(window.get(), 'e');
        QCOMPARE(search->text(), QString("e"));
        QCOMPARE(threadIds(state.get()).size(), 3);
        press(window.get(), Qt::Key_Escape);
        QTRY_VERIFY(list->hasFocus());
        QCOMPARE(state->focusedPane(), AppState::Pane::List);
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T1"});

        // "j" on the last row stays there; "k" goes back up.
        state->setSelectedThreadIds({"T3"});
        type(window.get(), 'j');
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T3"});
        type(window.get(), 'k');
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T2"});

        // A click in the reader gives it the keys and rings the focused message; there the arrow
        // keys scroll by a line.
        ThreadDetailView* reader = window->reader();
        QTRY_COMPARE(reader->messageViews().size(), 1);
        MessageView* message = reader->messageViews().first();
        QScrollBar* scroll = reader->scrollArea()->verticalScrollBar();
        QTRY_VERIFY(scroll->maximum() > 200);
        QTest::mouseClick(reader->subjectLabel(), Qt::LeftButton);
        QCOMPARE(state->focusedPane(), AppState::Pane::Reader);
        QTRY_VERIFY(message->isOutlined());
        QVERIFY(!list->hasFocus());
        screenshot(window.get(), "reader-focus");
        press(window.get(), Qt::Key_Down);
        QTRY_COMPARE(scroll->value(), 40);
        press(window.get(), Qt::Key_Up);
        QTRY_COMPARE(scroll->value(), 0);
        // The click still reaches what it was meant for: the header opens and closes the message.
        QVERIFY(message->isExpanded());
        QTest::mouseClick(message->header(), Qt::LeftButton);
        QTRY_VERIFY(!message->isExpanded());
        QCOMPARE(state->focusedPane(), AppState::Pane::Reader);

        // Escape in the reader goes back to the list; Escape in the list closes the thread.
        press(window.get(), Qt::Key_Escape);
        QTRY_VERIFY(list->hasFocus());
        QCOMPARE(state->focusedPane(), AppState::Pane::List);
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T2"});
        QVERIFY(!message->isOutlined());
        press(window.get(), Qt::Key_Escape);
        QVERIFY(state->selectedThreadIds().isEmpty());

        // The sidebar taking the focus by mouse or Tab tells the state.
        window->sidebar()->list()->setFocus(Qt::TabFocusReason);
        QTRY_COMPARE(state->focusedPane(), AppState::Pane::Sidebar);
    }

    // What the key dispatch is told about where a key was pressed.
    void keyContextOfTheFocusedWidget()
    {
        auto state = makeState();
        MainWindow window(state.get());
        QWidget other;
        auto* otherField = new QLineEdit(&other);
        auto* webView = new QWebEngineView(window.reader());
        auto* insideWeb = new QWidget(webView);
        auto* plain = new QPushButton(&window);
        auto* spin = new QSpinBox(&window);
        const auto context = [](KeyContext::Window where, KeyContext::Focus focus) {
            KeyContext result;
            result.window = where;
            result.focus = focus;
            return result;
        };
        using W = KeyContext::Window;
        using F = KeyContext::Focus;
        const QList<std::pair<QWidget*, KeyContext>> rows{
            {window.threadList()->searchField(), context(W::Main, F::Text)},
            {spin, context(W::Main, F::Text)},
            {window.threadList()->list(), context(W::Main, F::ItemView)},
            {window.sidebar()->list(), context(W::Main, F::ItemView)},
            {insideWeb, context(W::Main, F::WebView)},
            {webView, context(W::Main, F::WebView)},
            {plain, context(W::Main, F::Other)},
            {&window, context(W::Main, F::None)},
            {otherField, context(W::Other, F::Text)},
        };
        for (const auto& [widget, expected] : rows)
            QCOMPARE(KeyMonitor::context(widget), expected);
        QCOMPARE(KeyMonitor::context(nullptr), context(W::None, F::None));
    }

    void overlayAndFolderPicker()
    {
        auto state = makeState();
        auto window = openWindow(state.get());
        QVERIFY(window);
        QListView* list = window->threadList()->list();
        state->setSelectedThreadIds({"T2"});
        list->setFocus();
        QTRY_VERIFY(list->hasFocus());

        // "?" brings up the overlay over a dimmed window; the next key only closes it.
        const QPoint corner(20, window->height() - 60);
        const int light = window->grab().toImage().pixelColor(corner).lightness();
        type(window.get(), '?');
        ShortcutsOverlay* overlay = window->shortcutsOverlay();
        QVERIFY(overlay->isVisible());
        QVERIFY(window->grab().toImage().pixelColor(corner).lightness() < light * 0.7);
        QCOMPARE(overlay->geometry(), window->rect());
        QStringList texts;
        for (QLabel* label : overlay->findChildren<QLabel*>())
            texts << label->text();
        for (const char* text :
             {"Keyboard Shortcuts", "Mail", "Compose", "Search", "Archive", "Send & Archive",
              "Change them in Settings. Press any key to close.",
              "Example: from:anna has:attachment after:2026-09-01"})
            QVERIFY2(texts.contains(text), qPrintable(text));
        QVERIFY(texts.contains(ShortcutsOverlay::howTo(state.get())));
        QVERIFY(
            ShortcutsOverlay::howTo(state.get()).startsWith("Press / or click the search field"));
        type(window.get(), 'e');
        QVERIFY(!overlay->isVisible());
        QVERIFY(!state->showsShortcuts());
        QCOMPARE(threadIds(state.get()).size(), 3);
        // A click closes it too.
        state->setShowsShortcuts(true);
        QTest::mouseClick(overlay, Qt::LeftButton, {}, QPoint(5, 5));
        QVERIFY(!overlay->isVisible());

        // "v" opens the picker on its filter; the arrows step the highlight within the matches,
        // a filter without match leaves Return doing nothing, and Return moves.
        type(window.get(), 'v');
        FolderPickerView* picker = window->folderPicker();
        QTRY_VERIFY(picker->isVisible());
        QTRY_VERIFY(picker->filterField()->hasFocus());
        QCOMPARE(picker->footerLabel()->text(), QString("↑↓ choose, Return moves"));
        QCOMPARE(picker->list()->count(), 2); // never the mailbox on show
        QCOMPARE(picker->highlightedId(), QString("archive"));
        QTest::keyClick(picker->filterField(), Qt::Key_Down);
        QTest::keyClick(picker->filterField(), Qt::Key_Down);
        QCOMPARE(picker->highlightedId(), QString("projects"));
        QTest::keyClick(picker->filterField(), Qt::Key_Up);
        QCOMPARE(picker->highlightedId(), QString("archive"));
        QTest::keyClicks(picker->filterField(), "zz");
        QCOMPARE(picker->list()->count(), 0);
        QTest::keyClick(picker->filterField(), Qt::Key_Return);
        QVERIFY(picker->isVisible());
        QCOMPARE(threadIds(state.get()).size(), 3);
        picker->filterField()->setText("PROJ");
        QCOMPARE(picker->highlightedId(), QString("projects"));
        screenshot(window.get(), "folder-picker", picker);
        QTest::keyClick(picker->filterField(), Qt::Key_Return);
        QTRY_VERIFY(!picker->isVisible());
        QVERIFY(!state->folderPicker());
        QCOMPARE(threadIds(state.get()), QStringList({"T1", "T3"}));
        QCOMPARE(window->toast()->messageLabel()->text(),
                 QString("Conversation moved to Projects"));

        // "g" opens the same picker to go somewhere; Cancel closes it and nothing changes.
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        list->setFocus();
        QTRY_VERIFY(list->hasFocus());
        type(window.get(), 'g');
        QTRY_VERIFY(picker->isVisible());
        QCOMPARE(picker->footerLabel()->text(), QString("↑↓ choose, Return opens"));
        QTest::mouseClick(picker->findChild<QPushButton*>("folderPickerCancel"), Qt::LeftButton);
        QTRY_VERIFY(!picker->isVisible());
        QVERIFY(!state->folderPicker());
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("inbox"));
    }

    void menusShowTheKeysOfTheSettings()
    {
        auto state = makeState();
        auto window = openWindow(state.get());
        QVERIFY(window);
        MainMenus* menus = window->menus();
        QAction* archive = menus->action(MailAction::Archive);
        QCOMPARE(archive->text(), QString("Archive\tE"));
        QVERIFY(archive->shortcut().isEmpty()); // a hint, never a shortcut that steals the key
        QCOMPARE(menus->action(MailAction::Refresh)->text(), QString("Refresh\tCtrl+R"));
        QCOMPARE(menus->action(MailAction::ShowShortcuts)->text(),
                 QString("Keyboard Shortcuts\t?"));
        // Seven groups, each closed by a divider.
        int dividers = 0;
        for (QAction* item : menus->messageMenu()->actions())
            dividers += item->isSeparator();
        QCOMPARE(dividers, 7);
        QAction* tool = window->toolBarAction(MailAction::Archive);
        QCOMPARE(tool->toolTip(), QString("Archive   E"));
        QCOMPARE(window->toolBar()->widgetForAction(tool)->accessibleName(),
                 QString("Archive   E"));

        // A rebinding shows at once, in the menu, the toolbar and the overlay; an unbound action
        // shows its title alone and leaves the overlay.
        AppConfig config = state->config();
        config.keybindings["archive"] = "cmd+shift+e";
        config.keybindings["toggleFlag"] = "";
        state->setConfig(config);
        QCOMPARE(archive->text(), QString("Archive\tCtrl+Shift+E"));
        QCOMPARE(menus->action(MailAction::ToggleFlag)->text(), QString("Toggle Flag"));
        QCOMPARE(tool->toolTip(), QString("Archive   Ctrl+Shift+E"));
        bool listsFlag = false;
        for (const auto& group : ShortcutsOverlay::mailGroups(state.get()))
            listsFlag = listsFlag || group.contains(MailAction::ToggleFlag);
        QVERIFY(!listsFlag);

        // The toolbar follows the selection.
        state->setSelectedThreadIds({});
        QVERIFY(!window->toolBarAction(MailAction::Reply)->isEnabled());
        QVERIFY(!tool->isEnabled());
        QVERIFY(window->toolBarAction(MailAction::Compose)->isEnabled());
        state->setSelectedThreadIds({"T1", "T2"});
        QVERIFY(!window->toolBarAction(MailAction::Reply)->isEnabled());
        QVERIFY(tool->isEnabled());

        // View toggles write the settings file.
        menus->showAvatarsAction()->trigger();
        QVERIFY(!state->config().showAvatars);
        QVERIFY(!state->configStore().load().showAvatars);
        // The directory windows follow the token's access and open from the Window menu.
        QVERIFY(menus->contactsAction()->isEnabled());
        QVERIFY(menus->maskedEmailAction()->isEnabled());
        menus->maskedEmailAction()->trigger();
        QTRY_VERIFY(window->maskedEmailWindow()->isVisible());
        window->maskedEmailWindow()->close();
        // Help opens the feedback window.
        menus->feedbackAction()->trigger();
        QTRY_VERIFY(window->feedbackWindow()->isVisible());
    }

    void contextMenusAndDrops()
    {
        auto state = makeState();
        auto window = openWindow(state.get());
        QVERIFY(window);
        ThreadListView* threads = window->threadList();

        // A row outside the selection is acted on alone.
        state->setSelectedThreadIds({"T1", "T2"});
        std::unique_ptr<MessageContextMenu> menu(
            threads->contextMenu(threads->model()->index(threads->model()->rowOf("T3"))));
        QVERIFY(menu);
        QVERIFY(menu->action(MailAction::Reply)->isEnabled());
        QCOMPARE(menu->action(MailAction::Archive)->text(), QString("Archive\tE"));
        QVERIFY(actionTitled(menu.get(), "Show Raw Message"));
        menu->action(MailAction::Archive)->trigger();
        QCOMPARE(threadIds(state.get()), QStringList({"T1", "T2"}));
        QCOMPARE(state->selectedThreadIds(), QSet<QString>({"T2"}));
        // A row of the selection stands for all of it: answering is off, the rest acts on all.
        state->setSelectedThreadIds({"T1", "T2"});
        menu.reset(threads->contextMenu(threads->model()->index(threads->model()->rowOf("T1"))));
        QVERIFY(!menu->action(MailAction::Reply)->isEnabled());
        QVERIFY(!menu->action(MailAction::Forward)->isEnabled());
        QVERIFY(menu->action(MailAction::ToggleFlag)->isEnabled());
        QVERIFY(!actionTitled(menu.get(), "Show Raw Message"));
        QTRY_VERIFY(archived(f->server, "T3"));

        // The sidebar's menu: nothing unread, no order of the user's own.
        SidebarView* sidebar = window->sidebar();
        MailboxListModel* boxes = sidebar->model();
        std::unique_ptr<QMenu> boxMenu(
            sidebar->contextMenu(boxes->index(boxes->rowOf("projects"))));
        QVERIFY(boxMenu);
        QStringList titles;
        for (QAction* item : boxMenu->actions())
            titles << (item->isSeparator() ? "-" : item->text());
        QCOMPARE(titles, QStringList({"Mark All as Read", "-", "Show Message Count",
                                      "Hide When Empty", "-", "Reset Folder Order"}));
        QVERIFY(!boxMenu->actions().at(0)->isEnabled());
        QVERIFY(!boxMenu->actions().at(5)->isEnabled());
        boxMenu->actions().at(2)->trigger();
        QVERIFY(state->showsTotalCount("projects"));

        // Thread ids dropped on a mailbox move there; on the mailbox on show nothing happens.
        QListView* boxList = sidebar->list();
        const auto drop = [&](const QString& mailboxId, const QString& text) {
            auto* data = new QMimeData;
            data->setText(text);
            const QPoint at = boxList->visualRect(boxes->index(boxes->rowOf(mailboxId))).center();
            QDragEnterEvent enter(at, Qt::CopyAction, data, Qt::LeftButton, {});
            QCoreApplication::sendEvent(boxList->viewport(), &enter);
            QDragMoveEvent move(at, Qt::CopyAction, data, Qt::LeftButton, {});
            QCoreApplication::sendEvent(boxList->viewport(), &move);
            const QString highlighted = sidebar->list()->dropTargetId();
            QDropEvent dropped(at, Qt::CopyAction, data, Qt::LeftButton, {});
            QCoreApplication::sendEvent(boxList->viewport(), &dropped);
            delete data;
            return std::pair(highlighted, dropped.isAccepted());
        };
        state->dismissToast();
        QCOMPARE(drop("inbox", "T1\nT2"), std::pair(QString("inbox"), false));
        QVERIFY(!state->toast());
        QCOMPARE(threadIds(state.get()).size(), 2);
        QCOMPARE(drop("projects", "T1\nT2\n"), std::pair(QString("projects"), true));
        QVERIFY(threadIds(state.get()).isEmpty());
        QCOMPARE(window->toast()->messageLabel()->text(),
                 QString("2 conversations moved to Projects"));
        QVERIFY(sidebar->list()->dropTargetId().isEmpty());

        // A row dragged within the sidebar lands before the row it is dropped on, and is kept.
        const auto rowIds = [boxes] {
            QStringList ids;
            for (int row = 0; row < boxes->rowCount(); ++row)
                ids << boxes->index(row).data(MailboxListModel::IdRole).toString();
            return ids;
        };
        QCOMPARE(rowIds(), QStringList({"inbox", "archive", "projects"}));
        std::unique_ptr<QMimeData> dragged(
            boxes->mimeData({boxes->index(boxes->rowOf("projects"))}));
        const QRect archiveRow = boxList->visualRect(boxes->index(boxes->rowOf("archive")));
        const QPoint upperHalf(archiveRow.center().x(), archiveRow.top() + 2);
        QDragEnterEvent enter(upperHalf, Qt::CopyAction, dragged.get(), Qt::LeftButton, {});
        QCoreApplication::sendEvent(boxList->viewport(), &enter);
        QDropEvent dropped(upperHalf, Qt::CopyAction, dragged.get(), Qt::LeftButton, {});
        QCoreApplication::sendEvent(boxList->viewport(), &dropped);
        QVERIFY(dropped.isAccepted());
        QCOMPARE(rowIds(), QStringList({"inbox", "projects", "archive"}));
        QVERIFY(!state->configStore().load().mailboxOrder.isEmpty());
        boxMenu.reset(sidebar->contextMenu(boxes->index(0)));
        QAction* reset = boxMenu->actions().at(5);
        QVERIFY(reset->isEnabled());
        reset->trigger();
        QCOMPARE(rowIds(), QStringList({"inbox", "archive", "projects"}));
    }

    // The overlay, a toast and the folder picker over the demo account, for a person to look at.
    void demoPictures()
    {
        if (qEnvironmentVariable("VELDRIN_SCREENSHOTS").isEmpty())
            QSKIP("pictures only");
        auto state = makeState(true);
        auto window = std::make_unique<MainWindow>(state.get());
        window->resize(1280, 800);
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QTRY_VERIFY(!state->threads().isEmpty());
        state->setSelectedThreadId(state->threads().first().id);
        window->threadList()->list()->setFocus();
        QTRY_VERIFY(window->threadList()->list()->hasFocus());
        type(window.get(), 'e');
        QTRY_VERIFY(window->toast()->isVisible());
        screenshot(window.get(), "demo-toast");
        type(window.get(), '?');
        screenshot(window.get(), "demo-shortcuts");
        type(window.get(), 'x');
        type(window.get(), 'v');
        QTRY_VERIFY(window->folderPicker()->isVisible());
        screenshot(window.get(), "demo-folder-picker", window->folderPicker());
        window->folderPicker()->reject();
    }

private:
    std::unique_ptr<AppState> makeState(bool demo = false);
    std::unique_ptr<MainWindow> openWindow(AppState* state);
    std::unique_ptr<StateFixture> f;
};

std::unique_ptr<AppState> TestMainActions::makeState(bool demo)
{
    auto holder = std::make_shared<AppState*>(nullptr);
    auto state = f->make(50, [demo, holder](AppEnvironment& environment) {
        environment.demo = demo;
        environment.installKeyMonitor = [holder] { KeyMonitor::install(*holder); };
    });
    *holder = state.get();
    AppConfig config = state->config();
    config.markReadOnOpen = false;
    state->setConfig(config);
    return state;
}

std::unique_ptr<MainWindow> TestMainActions::openWindow(AppState* state)
{
    auto window = std::make_unique<MainWindow>(state);
    window->resize(1180, 700);
    window->show();
    window->activateWindow();
    if (!QTest::qWaitForWindowActive(window.get()))
        return nullptr;
    if (!QTest::qWaitFor([state] { return state->threads().size() >= 3; }))
        return nullptr;
    // The refresh that follows the push stream's opening lands before the keys are pressed, not
    // in the middle of them (it would run a search typed but not yet submitted).
    if (!QTest::qWaitFor([state] {
            return (state->isDemo() || state->isPushLive()) && state->activeFetches() == 0;
        }))
        return nullptr;
    return window;
}

VELDRIN_WEB_TEST_MAIN(TestMainActions)

#include "tst_mainactions.moc"
