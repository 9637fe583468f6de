#include "StateFixture.h"
#include "UiTest.h"
#include "app/state/AppState.h"
#include "ui/compose/ComposeWindow.h"
#include "ui/compose/ComposeWindows.h"
#include "ui/compose/SendLaterPopover.h"
#include "ui/compose/SuggestionPopup.h"
#include "ui/web/MailWebView.h"

#include <QApplication>
#include <QCalendarWidget>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeEdit>
#include <QToolButton>
#include <QWebEnginePage>

using UiTest::screenshot;

namespace {

const QDateTime now = QDateTime::currentDateTime();

template <typename T> T* named(QWidget* window, const QString& accessibleName)
{
    for (T* widget : window->findChildren<T*>())
        if (widget->accessibleName() == accessibleName)
            return widget;
    return nullptr;
}

QString pageHtml(QWebEnginePage* page)
{
    QString html;
    bool done = false;
    page->toHtml([&](const QString& result) {
        html = result;
        done = true;
    });
    if (!QTest::qWaitFor([&] { return done; }))
        return QString();
    return html;
}

} // namespace

class TestComposeWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<StateFixture>();
        f->network.respondTo(
            "Identity/get",
            QJsonObject{{"list", QJsonArray{QJsonObject{{"id", "I1"},
                                                        {"name", "Me"},
                                                        {"email", "user@example.com"},
                                                        {"textSignature", "Me, at work"}}}}});
        f->server.add(FakeMailServer::thread("T1", "Anna Berg", "Quarterly report", now, 2));
        f->server.add(FakeMailServer::thread("T2", "Annika Lund", "Lunch", now.addSecs(-60)));
        f->server.add(FakeMailServer::thread("T3", "Bo Lind", "Boat", now.addSecs(-120)));
    }

    void completion_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("expected");
        // "an" matches Anna and Annika; the second row is one arrow down.
        QTest::newRow("arrow and return") << "return"
                                          << "Annika Lund <annika@example.com>, ";
        QTest::newRow("arrow and tab") << "tab"
                                       << "Annika Lund <annika@example.com>, ";
        QTest::newRow("click") << "click"
                               << "Annika Lund <annika@example.com>, ";
        QTest::newRow("escape") << "escape"
                                << "an";
    }

    void completion()
    {
        QFETCH(QString, how);
        QFETCH(QString, expected);
        auto state = makeState();
        ComposeWindows windows(state.get());
        QVERIFY(connect(state.get(), &windows));
        QVERIFY(state->compose());
        QCOMPARE(windows.windows().size(), 1);
        ComposeWindow* window = windows.windows().first();
        QVERIFY(QTest::qWaitForWindowActive(window));

        auto* to = named<QLineEdit>(window, "To");
        auto* popup = window->findChild<SuggestionPopup*>();
        QVERIFY(to && popup);
        QVERIFY(to->hasFocus());
        QTest::keyClicks(to, "an");
        QTRY_VERIFY(popup->isVisible());
        QCOMPARE(popup->suggestions().size(), 2);
        // Inside the window, under the field and as wide as it.
        QVERIFY(!popup->isWindow());
        QCOMPARE(popup->mapTo(window, QPoint(0, 0)).x(), to->mapTo(window, QPoint(0, 0)).x());
        QVERIFY(popup->geometry().top() > to->mapTo(window, QPoint(0, to->height())).y());
        QTest::keyClick(to, Qt::Key_Down);
        QCOMPARE(popup->highlighted(), 1);
        QTest::keyClick(to, Qt::Key_Down); // held at the last row
        QCOMPARE(popup->highlighted(), 1);
        if (how == "return")
            screenshot(window, "completion");

        if (how == "return")
            QTest::keyClick(to, Qt::Key_Return);
        else if (how == "tab")
            QTest::keyClick(to, Qt::Key_Tab);
        else if (how == "escape")
            QTest::keyClick(to, Qt::Key_Escape);
        else
            QTest::mouseClick(popup, Qt::LeftButton, {}, popup->rowRect(1).center());

        QVERIFY(!popup->isVisible());
        QCOMPARE(to->text(), expected);
        QCOMPARE(state->draft(window->draftId())->to(), expected);
        // The list took nothing: the field keeps the keyboard for the next address.
        QVERIFY(to->hasFocus());
        // A completion set by code opens no new list.
        QVERIFY(!state->draft(window->draftId())->suggestionField());
    }

    void titleFollowsSubjectAndDiscardAsksFirst()
    {
        auto state = makeState();
        ComposeWindows windows(state.get());
        QVERIFY(connect(state.get(), &windows));
        QVERIFY(state->compose());
        ComposeWindow* window = windows.windows().first();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QCOMPARE(window->windowTitle(), QString("New Message"));

        // Every control can be named by a screen reader, and Tab walks down the form.
        for (QWidget* widget : window->findChildren<QWidget*>())
            if (widget->isVisible() && (widget->focusPolicy() & Qt::TabFocus) &&
                !widget->inherits("QWebEngineView") && widget->parent()->inherits("QWidget") &&
                !widget->parentWidget()->inherits("QWebEngineView"))
                QVERIFY2(!widget->accessibleName().isEmpty(), widget->metaObject()->className());
        named<QComboBox>(window, "From")->setFocus();
        QStringList visited;
        for (int step = 0; step < 7; ++step) {
            visited << QApplication::focusWidget()->accessibleName();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(visited,
                 QStringList({"From", "To", "Cc", "Bcc", "Subject", "Message", "Markdown"}));

        auto* subject = named<QLineEdit>(window, "Subject");
        subject->setFocus();
        QTest::keyClicks(subject, "Plans");
        QCOMPARE(window->windowTitle(), QString("Plans"));
        QCOMPARE(state->draft(window->draftId())->subject(), QString("Plans"));
        subject->clear();
        QTest::keyClicks(subject, "x");
        QTest::keyClick(subject, Qt::Key_Backspace);
        QCOMPARE(window->windowTitle(), QString("New Message"));

        // The body opens with the signature below the caret.
        auto* body = named<QPlainTextEdit>(window, "Message");
        QCOMPARE(body->toPlainText(), QString("\n\n-- \nMe, at work"));
        QCOMPARE(named<QComboBox>(window, "From")->currentText(), QString("Me <user@example.com>"));

        // Discard asks first; Return answers Cancel, and the draft stays.
        QTest::mouseClick(named<QToolButton>(window, "Discard"), Qt::LeftButton);
        QMessageBox* question = nullptr;
        QTRY_VERIFY((question = window->findChild<QMessageBox*>()) && question->isVisible());
        QCOMPARE(question->text(), QString("Discard this draft?"));
        QVERIFY(question->defaultButton()->text() != "Discard");
        QTest::keyClick(question, Qt::Key_Return);
        QTRY_VERIFY(!window->findChild<QMessageBox*>() ||
                    !window->findChild<QMessageBox*>()->isVisible());
        QVERIFY(state->draft(window->draftId()));

        // Ctrl+W closes the window and hands the draft back to its owner.
        const QUuid id = window->draftId();
        QTest::keyClick(body, Qt::Key_W, Qt::ControlModifier);
        QTRY_VERIFY(windows.windows().isEmpty());
        QVERIFY(!state->draft(id));
    }

    void sendControlsFollowConnection_data()
    {
        QTest::addColumn<int>("maxDelayedSend");
        QTest::newRow("delayed sending") << 3600;
        QTest::newRow("no delayed sending") << 0;
    }

    void sendControlsFollowConnection()
    {
        QFETCH(int, maxDelayedSend);
        f->network.setSession(FakeNetwork::defaultSession(maxDelayedSend));

        auto state = makeState();
        ComposeWindows windows(state.get());
        ComposeWindow* window = windows.open(QUuid::createUuid());
        QVERIFY(window);
        auto* send = named<QPushButton>(window, "Send");
        auto* sendLater = named<QPushButton>(window, "Send Later");
        auto* sendAndArchive = named<QPushButton>(window, "Send & Archive");
        QVERIFY(send && sendLater && sendAndArchive);
        QVERIFY(QTest::qWaitForWindowExposed(window));

        // Not connected yet: no sending, but editing goes on.
        QVERIFY(!send->isEnabled());
        QVERIFY(!sendLater->isEnabled());
        // Nor by its key.
        QTest::keyClick(named<QLineEdit>(window, "To"), Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(!state->draft(window->draftId())->isSending());
        QTest::keyClicks(named<QLineEdit>(window, "To"), "bo@example.com");
        QCOMPARE(state->draft(window->draftId())->to(), QString("bo@example.com"));

        QVERIFY(connect(state.get(), &windows));
        QVERIFY(send->isEnabled());
        QCOMPARE(sendLater->isVisible(), maxDelayedSend > 0);
        QVERIFY(sendLater->isEnabled());
        // A new message archives nothing.
        QVERIFY(!sendAndArchive->isVisible());
        if (maxDelayedSend > 0) {
            // The offers, then the chooser.
            QMenu* menu = window->sendLaterMenu();
            Q_EMIT menu->aboutToShow();
            QVERIFY(menu->actions().size() >= 3);
            QCOMPARE(menu->actions().last()->text(), QString("Choose Date and Time…"));

            // The chooser offers an hour from now, and nothing past the server's limit.
            const QDateTime opened = QDateTime::currentDateTime();
            menu->actions().last()->trigger();
            SendLaterPopover* popover = nullptr;
            QTRY_VERIFY((popover = window->findChild<SendLaterPopover*>()) && popover->isVisible());
            QVERIFY(qAbs(popover->chosen().secsTo(opened.addSecs(3600))) < 60);
            QCOMPARE(popover->calendar()->maximumDate(), opened.addSecs(maxDelayedSend).date());
            popover->calendar()->setSelectedDate(popover->calendar()->maximumDate());
            popover->timeEdit()->setTime(QTime(23, 59));
            QVERIFY(popover->chosen() <= QDateTime::currentDateTime().addSecs(maxDelayedSend));
            QVERIFY(popover->chosen() >= opened.addSecs(maxDelayedSend - 60));
            QTest::keyClick(popover, Qt::Key_Escape);
            QTRY_VERIFY(!window->findChild<SendLaterPopover*>());
            QVERIFY(state->draft(window->draftId())); // nothing was sent
        }
    }

    void droppedFilesAttachAndFoldersDoNot()
    {
        auto state = makeState();
        ComposeWindows windows(state.get());
        QVERIFY(connect(state.get(), &windows));
        QVERIFY(state->compose());
        ComposeWindow* window = windows.windows().first();
        QVERIFY(QTest::qWaitForWindowExposed(window));

        QTemporaryDir files;
        QFile notes(files.filePath("notes.txt"));
        QVERIFY(notes.open(QIODevice::WriteOnly));
        notes.write("twelve bytes");
        notes.close();
        QDir(files.path()).mkdir("folder");

        auto drop = [&](const QString& path) {
            QMimeData data;
            data.setUrls({QUrl::fromLocalFile(path)});
            QDragEnterEvent enter(QPoint(400, 300), Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(window, &enter);
            QVERIFY(enter.isAccepted());
            // While a drag hovers, the window says where the files go.
            QVERIFY(named<QWidget>(window, "Attachments")->isVisible());
            QDropEvent dropEvent(QPointF(400, 300), Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(window, &dropEvent);
        };
        const QString body = named<QPlainTextEdit>(window, "Message")->toPlainText();
        drop(files.filePath("folder"));
        auto* error = named<QLabel>(window, "Error");
        QTRY_VERIFY(error->isVisible());
        QCOMPARE(error->text(), QString("Only files can be attached, not folders."));

        drop(notes.fileName());
        QTRY_VERIFY(named<QToolButton>(window, "Remove notes.txt"));
        QCOMPARE(state->draft(window->draftId())->attachments().size(), 1);
        QVERIFY(named<QWidget>(window, "Attachments")->isVisible());
        // A file attached after the folder takes the folder's error away.
        QVERIFY(!error->isVisible());
        screenshot(window, "attachment-dropped");
        // Paths never end up in the text.
        QCOMPARE(named<QPlainTextEdit>(window, "Message")->toPlainText(), body);

        QTest::mouseClick(named<QToolButton>(window, "Remove notes.txt"), Qt::LeftButton);
        QTRY_VERIFY(state->draft(window->draftId())->attachments().isEmpty());
        QVERIFY(!named<QWidget>(window, "Attachments")->isVisible());
    }

    void replyPreviewFollowsBody()
    {
        // A reply to mail in the inbox can be sent and archived (the account has an archive).
        auto state = makeState();
        ComposeWindows windows(state.get());
        QVERIFY(connect(state.get(), &windows));
        AppConfig config = state->config();
        config.markdownByDefault = true;
        state->setConfig(config);
        const Email source = Email::fromJson(*f->server.find("T1-2"));
        QVERIFY(state->compose(ReplyKind::Reply, source));
        ComposeWindow* window = windows.windows().first();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QVERIFY(window->windowTitle().contains("Quarterly report"));

        // The caret waits above the signature and the quote, with the keyboard.
        auto* body = named<QPlainTextEdit>(window, "Message");
        QTRY_VERIFY(body->hasFocus());
        QCOMPARE(body->textCursor().position(), 0);
        QVERIFY(body->toPlainText().contains("-- \nMe, at work"));
        QVERIFY(named<QPushButton>(window, "Send & Archive")->isVisible());

        auto* preview = named<MailWebView>(window, "Message preview");
        auto* toggle = named<QToolButton>(window, "Preview");
        QVERIFY(!preview->isVisible());
        QVERIFY(toggle->isEnabled());
        QTest::mouseClick(toggle, Qt::LeftButton);
        QVERIFY(preview->isVisible());
        for (const char* line : {"Thanks, **Anna**:", "", "- one", "- two", ""}) {
            QTest::keyClicks(body, QString::fromUtf8(line));
            QTest::keyClick(body, Qt::Key_Return);
        }
        QTRY_VERIFY(pageHtml(preview->page()).contains("<strong>Anna</strong>") &&
                    pageHtml(preview->page()).contains(QRegularExpression("<li>(<p>)?two")));
        QCOMPARE(window->width(), 820); // the bar fits, Send & Archive and all
        screenshot(window, "reply-markdown-preview");

        // Without Markdown there is nothing to preview; its key works while typing.
        QTest::keyClick(body, Qt::Key_M, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(!state->draft(window->draftId())->isMarkdown());
        QVERIFY(!named<QCheckBox>(window, "Markdown")->isChecked());
        QVERIFY(!preview->isVisible());
        QVERIFY(!toggle->isEnabled());
    }

private:
    std::unique_ptr<AppState> makeState();
    // Connects and waits for the inbox, whose senders fill the address book.
    bool connect(AppState* state, ComposeWindows* windows);
    std::unique_ptr<StateFixture> f;
};

std::unique_ptr<AppState> TestComposeWindow::makeState()
{
    return f->make();
}

bool TestComposeWindow::connect(AppState* state, ComposeWindows* windows)
{
    state->start(windows->opener());
    return QTest::qWaitFor(
        [state] { return state->isConnected() && state->threads().size() == 3; });
}

VELDRIN_WEB_TEST_MAIN(TestComposeWindow)

#include "tst_composewindow.moc"
