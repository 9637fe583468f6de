#include "StateFixture.h"
#include "UiTest.h"
#include "app/state/AppState.h"
#include "content/DateFormat.h"
#include "ui/desktop/Icons.h"
#include "ui/main/MainWindow.h"
#include "ui/reader/AttachmentChip.h"
#include "ui/reader/AttachmentPreview.h"
#include "ui/reader/MessageView.h"
#include "ui/reader/RawMessageView.h"
#include "ui/reader/ThreadDetailView.h"
#include "ui/threads/ElidedLabel.h"
#include "ui/threads/EmptyState.h"
#include "ui/web/MailWebView.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDialog>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QPainter>
#include <QPdfWriter>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QToolButton>

using namespace AsyncTest;

using UiTest::screenshot;

namespace {

const QDateTime now = QDateTime::currentDateTime();

// A tall body, so the reader has room to scroll, with a remote image when asked.
QJsonObject withBody(QJsonObject email, bool remoteImage)
{
    const QString id = email.value("id").toString();
    QString html = "<div style='height:700px'>Body of " + id + "</div>";
    if (remoteImage)
        html += "<img src='https://tracker.example.com/pixel.png'>";
    email["bodyValues"] = QJsonObject{{"1", QJsonObject{{"value", html}}}};
    return email;
}

QJsonObject part(const QString& blobId, const QJsonValue& name, const QString& type,
                 const QJsonValue& cid = QJsonValue())
{
    return QJsonObject{{"partId", blobId},
                       {"blobId", blobId},
                       {"name", name},
                       {"type", type},
                       {"size", 1200},
                       {"cid", cid},
                       {"disposition", cid.isNull() ? "attachment" : "inline"}};
}

QStringList labelTexts(QWidget* widget)
{
    QStringList texts;
    if (widget)
        for (QLabel* label : widget->findChildren<QLabel*>())
            texts << label->text();
    return texts;
}

} // namespace

class TestReader : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }

    void init()
    {
        f = std::make_unique<StateFixture>();
        clock = QDateTime(QDate(2026, 11, 23), QTime(9, 0));

        // Five messages: three read, the fourth unread, the fifth read with attachments.
        QList<QJsonObject> emails =
            FakeMailServer::thread("T1", "Anna Berg", "Quarterly report", now.addSecs(-60), 5);
        // Names from mail are text, never markup.
        emails[0]["from"] =
            QJsonArray{QJsonObject{{"name", "<img src=x>Eve"}, {"email", "eve@example.com"}}};
        emails[1]["keywords"] = QJsonObject{{"$seen", true}, {"$draft", true}};
        emails[3] = withBody(emails[3], true);
        emails[3]["keywords"] = QJsonObject();
        emails[4]["hasAttachment"] = true;
        emails[4]["attachments"] = QJsonArray{part("b-report", "Q&A report.pdf", "application/pdf"),
                                              part("b-scan", QJsonValue(), "application/pdf"),
                                              part("b-logo", "logo.png", "image/png", "logo")};
        emails[4]["bodyValues"] = QJsonObject{
            {"1", QJsonObject{{"value", "<img src='cid:logo'><div style='height:700px'>Q3</div>"
                                        "<img src='https://tracker.example.com/pixel.png'>"}}}};
        f->server.add(emails);
        f->server.add(FakeMailServer::thread("T2", "Bo Lind", "Lunch", now.addSecs(-3600)));
    }

    void openThreadShowsItsMessages()
    {
        auto state = makeState();
        auto window = openThread(state.get());
        QVERIFY(window);
        ThreadDetailView* reader = window->reader();
        QCOMPARE(reader->currentPage(), reader->scrollArea());
        QCOMPARE(reader->subjectLabel()->text(), QString("Quarterly report"));

        // The unread message and the last are open; collapsed ones own no web view.
        QList<MessageView*> views = reader->messageViews();
        QStringList ids;
        for (MessageView* view : views) {
            ids << view->emailId();
            const bool open = view->emailId() == "T1-4" || view->emailId() == "T1-5";
            QCOMPARE(view->isExpanded(), open);
            QCOMPARE(view->webView() != nullptr, open);
        }
        QCOMPARE(ids, QStringList({"T1-1", "T1-2", "T1-3", "T1-4", "T1-5"}));
        QCOMPARE(reader->scrollArea()->widget()->findChildren<MailWebView*>().size(), 2);
        auto* sender = views.first()->findChild<ElidedLabel*>("senderName");
        QCOMPARE(sender->fullText(), QString("<img src=x>Eve"));
        QCOMPARE(sender->textFormat(), Qt::PlainText);

        // Only the draft offers "Edit Draft", which takes it into a compose window.
        QVERIFY(views.at(1)->editDraftButton()->isVisible());
        QVERIFY(!views.first()->editDraftButton()->isVisible());
        QTest::mouseClick(views.at(1)->editDraftButton(), Qt::LeftButton);
        QCOMPARE(state->drafts().size(), 1);

        // A click on a header opens the message, another closes it again.
        MessageView* first = views.first();
        QTest::mouseClick(first->header(), Qt::LeftButton, Qt::NoModifier, QPoint(80, 12));
        QVERIFY(state->expandedEmailIds().contains("T1-1"));
        QPointer<MailWebView> body = first->webView();
        QVERIFY(body);
        QTest::mouseClick(first->header(), Qt::LeftButton, Qt::NoModifier, QPoint(80, 12));
        QVERIFY(!first->isExpanded());
        // Its web view leaves the message for the spares, and the next message opened takes it.
        QTRY_COMPARE(reader->scrollArea()->widget()->findChildren<MailWebView*>().size(), 2);
        QVERIFY(body && !body->isVisible());

        // From the keyboard: the header takes focus, Return and Space open and close.
        MessageView* second = views.at(1);
        QCOMPARE(second->header()->focusPolicy(), Qt::StrongFocus);
        second->header()->setFocus();
        QTest::keyClick(second->header(), Qt::Key_Return);
        QVERIFY(second->isExpanded());
        QTest::keyClick(second->header(), Qt::Key_Space);
        QVERIFY(!second->isExpanded());

        // A refresh with the same messages keeps every view as it is.
        const QList<MessageView*> before = reader->messageViews();
        state->refresh();
        QTRY_VERIFY(!state->isLoadingList());
        QCOMPARE(reader->messageViews(), before);
    }

    void scrollTargetStaysPinnedWhileMessagesGrow()
    {
        auto state = makeState();
        auto window = openThread(state.get());
        QVERIFY(window);
        ThreadDetailView* reader = window->reader();
        QCOMPARE(state->scrollTargetEmailId(), std::optional<QString>("T1-3"));
        MessageView* target = reader->messageView("T1-3");
        QScrollBar* bar = reader->scrollArea()->verticalScrollBar();
        // The bodies below measure themselves; the reader follows until the target is at the top.
        QTRY_VERIFY(reader->messageView("T1-4")->webView()->contentHeight() > 600);
        QTRY_COMPARE(bar->value(), target->y() - 8);

        // Within the pin window a growing message brings the target back.
        MailWebView* web = reader->messageView("T1-5")->webView();
        clock = clock.addMSecs(1000);
        bar->setValue(0);
        Q_EMIT web->contentHeightChanged(web->contentHeight() + 50);
        QCOMPARE(bar->value(), target->y() - 8);

        // After 1.5 seconds the user's position stays.
        clock = clock.addMSecs(600);
        bar->setValue(0);
        Q_EMIT web->contentHeightChanged(web->contentHeight() + 100);
        QCOMPARE(bar->value(), 0);
    }

    void detailsImagesAndAttachments()
    {
        auto state = makeState();
        auto window = openThread(state.get());
        QVERIFY(window);
        MessageView* fourth = window->reader()->messageView("T1-4");
        MessageView* fifth = window->reader()->messageView("T1-5");

        // Details: the grid under its heading, without the fields the message lacks.
        auto* toggle = fifth->findChild<QToolButton*>("detailsToggle");
        QCOMPARE(toggle->text(), QString("Show Details"));
        QVERIFY(toggle->toolTip().startsWith("Show Details   "));
        QVERIFY(!fifth->detailsBox());
        QTest::mouseClick(toggle, Qt::LeftButton);
        QVERIFY(state->detailEmailIds().contains("T1-5"));
        QCOMPARE(toggle->text(), QString("Hide Details"));
        QVERIFY(fifth->detailsBox());
        const QStringList details = labelTexts(fifth->detailsBox());
        for (const char* label : {"Message Details", "From", "To", "Date", "Subject", "Size",
                                  "Anna Berg <anna@example.com>", "Quarterly report"})
            QVERIFY2(details.contains(label), label);
        for (const char* label : {"Cc", "Bcc", "Reply-To"})
            QVERIFY2(!details.contains(label), label);
        QVERIFY(!fourth->detailsBox());

        // Remote images stay hidden per message until the user asks for them there.
        QVERIFY(fourth->remoteContentRow()->isVisible());
        QVERIFY(fifth->remoteContentRow()->isVisible());
        QVERIFY(labelTexts(fourth).contains("Images in this message are hidden."));
        QTest::mouseClick(fourth->findChild<QPushButton*>("showImagesButton"), Qt::LeftButton);
        QVERIFY(!fourth->remoteContentRow()->isVisible());
        QVERIFY(fifth->remoteContentRow()->isVisible());

        // One chip per listed attachment: the inline logo is part of the body, not a chip.
        QStringList names;
        for (AttachmentChip* chip : fifth->attachmentChips()) {
            names << chip->text();
            QCOMPARE(chip->accessibleName(), QString(chip->text()).replace("&&", "&"));
        }
        QCOMPARE(names, QStringList({"Q&&A report.pdf", "attachment.pdf"}));
        QVERIFY(fourth->attachmentChips().isEmpty());
    }

    void draggedAttachmentDownloadsOnDrop()
    {
        const QUrl blob("https://jmap.example.test/jmap/download/u1/b-report/Q%26A%20report.pdf");
        f->network.setResponse(blob, {200, "%PDF-1.4 report", "application/pdf"});
        auto state = makeState();
        auto window = openThread(state.get());
        QVERIFY(window);
        AttachmentChip* chip = window->reader()->messageView("T1-5")->attachmentChips().first();
        std::unique_ptr<AttachmentMimeData> data(chip->dragData());
        QCOMPARE(data->formats(), QStringList{"text/uri-list"});
        // A drag that nobody takes fetches nothing.
        f->network.clearRequests();
        QCOMPARE(data->fetches(), 0);

        const QList<QUrl> urls = data->urls();
        QCOMPARE(urls.size(), 1);
        QVERIFY(urls.first().isLocalFile());
        QFile file(urls.first().toLocalFile());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("%PDF-1.4 report"));
        QCOMPARE(QFileInfo(file).fileName(), QString("Q&A report.pdf"));
        // Asking again uses the file that is there.
        data->urls();
        QCOMPARE(data->fetches(), 1);
        QCOMPARE(f->network.requests().size(), 1);
    }

    void emptyStates()
    {
        auto state = makeState();
        MainWindow window(state.get());
        window.show();
        ThreadDetailView* reader = window.reader();
        QCOMPARE(reader->currentPage(), reader->emptyState());
        QCOMPARE(reader->emptyState()->title(), QString("No conversation selected"));
        QTRY_COMPARE(state->threads().size(), 2);
        state->setSelectedThreadIds({"T1", "T2"});
        QCOMPARE(reader->emptyState()->title(), QString("2 conversations selected"));
        QCOMPARE(reader->currentPage(), reader->emptyState());
        screenshot(&window, "two-selected");
        // While a thread loads with nothing to show, the reader says it is busy.
        state->setSelectedThreadIds({"T2"});
        if (state->isLoadingThread() && state->openEmails().isEmpty())
            QCOMPARE(reader->currentPage()->findChild<QProgressBar*>("readerBusy"),
                     reader->busyIndicator());
        QTRY_COMPARE(reader->messageViews().size(), 1);
        QCOMPARE(reader->currentPage(), reader->scrollArea());
        // Leaving the messages waits for the end of the turn, then the empty page shows.
        state->setSelectedThreadIds({});
        QCOMPARE(reader->emptyState()->title(), QString("No conversation selected"));
        QCOMPARE(reader->currentPage(), reader->scrollArea());
        QTRY_COMPARE(reader->currentPage(), reader->emptyState());
    }

    void heldSendShowsItsTimeAndCancels()
    {
        f->server.identities =
            QJsonArray{FakeMailServer::identity("id-me", "me@example.com", "Me")};
        f->server.mailboxes.append(FakeMailServer::mailbox("drafts", "Drafts", "drafts", 4));
        auto state = makeState();
        MainWindow window(state.get());
        window.resize(1100, 600);
        window.show();
        QTRY_COMPARE(state->threads().size(), 2);
        ComposeDraft* draft = state->compose();
        draft->setTo("anna@example.com");
        draft->setSubject("Later");
        const QDateTime at = QDateTime::currentDateTime().addSecs(1800);
        await(state->sendLater(draft, at));
        QVERIFY2(!draft->error(), qPrintable(draft->error().value_or(QString())));
        QCOMPARE(f->server.submissions.size(), 1);
        QVERIFY(state->toast()->message.startsWith("Scheduled for "));
        QCOMPARE(
            f->server.submissions.at(0)["envelope"]["mailFrom"]["parameters"].toObject().keys(),
            QStringList{"HOLDUNTIL"});
        const QString emailId = f->server.submissions.at(0)["emailId"].toString();

        // The held message in Sent says when it goes, and Cancel Send brings the draft back.
        state->setSelectedMailboxId(QString("sent"));
        state->mailboxChanged();
        QTRY_VERIFY(!state->threads().isEmpty());
        state->setSelectedThreadIds({"t-" + emailId});
        QTRY_COMPARE(window.reader()->messageViews().size(), 1);
        QPointer<MessageView> view = window.reader()->messageViews().first();
        QTRY_VERIFY(view->pendingSendRow()->isVisible());
        // The server keeps whole seconds, so the time shown is the one asked for.
        const QString when =
            DateFormat::abbreviatedDateShortTime(at, QLocale(), QTimeZone::systemTimeZone());
        QVERIFY2(labelTexts(view->pendingSendRow()).contains("Sends " + when),
                 qPrintable(labelTexts(view->pendingSendRow()).join('|')));
        screenshot(&window, "held-send");
        auto* cancel = view->pendingSendRow()->findChild<QPushButton*>("cancelSendButton");
        QCOMPARE(cancel->accessibleName().isEmpty() ? cancel->text() : cancel->accessibleName(),
                 QString("Cancel Send"));
        QTest::mouseClick(cancel, Qt::LeftButton);
        // The message leaves Sent for Drafts, so its view goes with the thread.
        QTRY_VERIFY(!view || !view->pendingSendRow()->isVisible());
        QTRY_COMPARE(state->drafts().size(), 1);
        QCOMPARE(state->drafts().first()->serverDraftId, emailId);
        QCOMPARE(f->server.submissions.at(0)["undoStatus"].toString(), QString("canceled"));
    }

    void rawMessageSheet()
    {
        const QByteArray source = "From: eve@example.com\nSubject: Quarterly report\n\nHi";
        f->network.setResponse(
            QUrl("https://jmap.example.test/jmap/download/u1/blob-T1-1/message.eml"),
            {200, source, "text/plain"});
        auto state = makeState();
        auto window = openThread(state.get());
        QVERIFY(window);
        RawMessageView* sheet = window->rawMessageView();
        QVERIFY(!sheet->isVisible());

        // "Show Raw Message" from the header's context menu opens the sheet while it loads.
        MessageHeader* header = window->reader()->messageView("T1-1")->header();
        bool loadingShown = false;
        QTimer::singleShot(0, this, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            QVERIFY(menu);
            QCOMPARE(menu->actions().first()->text(), QString("Show Raw Message"));
            menu->actions().first()->trigger();
            menu->close();
            loadingShown = sheet->isVisible() && !sheet->sourceView()->isVisible() &&
                           !sheet->copyButton()->isEnabled();
        });
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(20, 10),
                                header->mapToGlobal(QPoint(20, 10)));
        QApplication::sendEvent(header, &event);
        QVERIFY(loadingShown);
        QCOMPARE(sheet->windowModality(), Qt::WindowModal);
        QVERIFY(labelTexts(sheet).contains("Quarterly report"));

        QTRY_VERIFY(sheet->sourceView()->isVisible());
        QCOMPARE(sheet->sourceView()->toPlainText(), QString(source));
        QVERIFY(sheet->sourceView()->isReadOnly());
        QTest::mouseClick(sheet->copyButton(), Qt::LeftButton);
        QCOMPARE(QApplication::clipboard()->text(), QString(source));

        QTest::mouseClick(sheet->findChild<QPushButton*>("closeButton"), Qt::LeftButton);
        QVERIFY(!sheet->isVisible());
        QVERIFY(!state->rawMessage());
    }

    void preview_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("shownBy");
        QTest::newRow("image") << "photo.png"
                               << "QLabel";
        QTest::newRow("text") << "notes.txt"
                              << "QPlainTextEdit";
        QTest::newRow("pdf") << "report.pdf"
                             << "QPdfView";
        QTest::newRow("anything else") << "archive.bin"
                                       << "";
    }

    void preview()
    {
        QFETCH(QString, fileName);
        QFETCH(QString, shownBy);
        const QString path = f->home.filePath(fileName);
        if (fileName.endsWith(".png")) {
            QImage image(40, 30, QImage::Format_RGB32);
            image.fill(Qt::darkCyan);
            QVERIFY(image.save(path));
        } else if (fileName.endsWith(".pdf")) {
            QPdfWriter writer(path);
            QPainter painter(&writer);
            painter.drawText(100, 100, "Report");
        } else {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(fileName.endsWith(".txt") ? QByteArray("plain words\n")
                                                 : QByteArray("\x00\x01\x02", 3));
        }

        auto state = makeState();
        QWidget window;
        AttachmentPreview preview(state.get(), &window);
        preview.setUseDesktopPreviewer(false);
        QStringList opened;
        preview.setOpener([&opened](const QString& file) { opened << file; });
        state->setQuickLookPath(path);
        // The request is taken at once, so the same file can be asked for again.
        QVERIFY(!state->quickLookPath());
        if (shownBy.isEmpty()) {
            QVERIFY(!preview.dialog());
            QCOMPARE(opened, QStringList{path});
            return;
        }
        QVERIFY(opened.isEmpty());
        QVERIFY(preview.dialog());
        QVERIFY(preview.dialog()->isVisible());
        QCOMPARE(preview.dialog()->windowTitle(), fileName);
        bool found = false;
        for (QWidget* child : preview.dialog()->findChildren<QWidget*>())
            found |= QString(child->metaObject()->className()) == shownBy;
        QVERIFY2(found, qPrintable(shownBy));
        preview.dialog()->close();
    }

    void windowLooksRight_data()
    {
        QTest::addColumn<QString>("threadId");
        QTest::addColumn<bool>("groupByDate");
        QTest::newRow("conversation") << "dt-garden" << false;
        QTest::newRow("newsletter, date sections") << "dt-news" << true;
        QTest::newRow("invitation") << "dt-invite" << false;
    }

    // The demo mailbox, as a user sees it: nothing cut off, and when VELDRIN_SCREENSHOTS names a
    // folder, pictures of it there.
    void windowLooksRight()
    {
        QFETCH(QString, threadId);
        QFETCH(bool, groupByDate);
        // A real locale, as a user has one, rather than the test machine's C locale.
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        auto restoreLocale = qScopeGuard([] { QLocale::setDefault(QLocale::c()); });
        AppEnvironment environment;
        environment.configStore = ConfigStore(f->home.filePath("demo.json"));
        environment.demo = true;
        AppState state(environment);
        AppConfig config = state.config();
        config.groupByDate = groupByDate;
        state.setConfig(config);
        MainWindow window(&state);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_VERIFY(!state.threads().isEmpty());
        state.setSelectedThreadIds({threadId});
        QTRY_VERIFY(!window.reader()->messageViews().isEmpty());
        for (MessageView* view : window.reader()->messageViews())
            if (view->webView())
                QTRY_VERIFY(view->webView()->contentHeight() > 0);

        // Labels that neither wrap nor elide show their whole text.
        for (QLabel* label : window.findChildren<QLabel*>()) {
            if (!label->isVisible() || label->wordWrap() || qobject_cast<ElidedLabel*>(label) ||
                label->text().isEmpty())
                continue;
            QVERIFY2(label->width() >= label->sizeHint().width(), qPrintable(label->text()));
        }

        screenshot(&window, threadId);
        QScrollBar* bar = window.reader()->scrollArea()->verticalScrollBar();
        bar->setValue(bar->maximum());
        screenshot(&window, threadId + "-end");
    }

private:
    std::unique_ptr<AppState> makeState();
    std::unique_ptr<MainWindow> openThread(AppState* state);
    std::unique_ptr<StateFixture> f;
    QDateTime clock;
};

std::unique_ptr<AppState> TestReader::makeState()
{
    auto state = f->make();
    AppConfig config = state->config();
    config.markReadOnOpen = false;
    state->setConfig(config);
    return state;
}

std::unique_ptr<MainWindow> TestReader::openThread(AppState* state)
{
    auto window = std::make_unique<MainWindow>(state);
    window->reader()->setClock([this] { return clock; });
    window->resize(1100, 600);
    window->show();
    if (!QTest::qWaitForWindowExposed(window.get()))
        return nullptr;
    if (!QTest::qWaitFor([state] { return state->threads().size() == 2; }))
        return nullptr;
    state->setSelectedThreadIds({"T1"});
    if (!QTest::qWaitFor([&] { return window->reader()->messageViews().size() == 5; }))
        return nullptr;
    return window;
}

VELDRIN_WEB_TEST_MAIN(TestReader)

#include "tst_reader.moc"
