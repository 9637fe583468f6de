// The invitation box, the "Unsubscribe" button with its question, and the feedback window, on
// a fake account, driven by clicks as a user would.

#include "StateFixture.h"
#include "UiTest.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"
#include "ui/feedback/FeedbackWindow.h"
#include "ui/main/AskInWindow.h"
#include "ui/reader/InvitationBox.h"
#include "ui/reader/MessageView.h"

#include <QComboBox>
#include <QJsonArray>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

using namespace AsyncTest;

using UiTest::screenshot;

namespace {

QString ics(const QString& method)
{
    return "BEGIN:VCALENDAR\r\nMETHOD:" + method +
           "\r\nBEGIN:VEVENT\r\nUID:offsite@example.org\r\n"
           "SUMMARY:Team offsite planning\r\n"
           "DTSTART:20261112T130000Z\r\nDTEND:20261112T143000Z\r\n"
           "LOCATION:Room 4.12\\, Harbour Office\r\n"
           "ORGANIZER;CN=Olivia Okoro:mailto:olivia@example.org\r\n"
           "ATTENDEE;CN=Me:mailto:user@example.com\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
}

Email calendarMail(const QString& id)
{
    Email email;
    email.id = id;
    email.subject = "Invitation: Team offsite planning";
    email.from = QList<EmailAddress>{{QString("Olivia Okoro"), "olivia@example.org"}};
    email.messageId = QStringList{id + "@example.org"};
    BodyPart part;
    part.blobId = "blob-" + id;
    part.type = "text/calendar";
    part.name = "invite.ics";
    email.attachments = QList<BodyPart>{part};
    return email;
}

QStringList visibleTexts(QWidget* widget)
{
    QStringList texts;
    for (QLabel* label : widget->findChildren<QLabel*>())
        if (label->isVisibleTo(widget) && !label->text().isEmpty())
            texts << label->text();
    return texts;
}

} // namespace

class TestFlowViews : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        Icons::useFallbackTheme();
        // A real locale, as a user has one, rather than the test machine's C locale.
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void init()
    {
        f = std::make_unique<StateFixture>();
        f->server.mailboxes.append(FakeMailServer::mailbox("drafts", "Drafts", "drafts", 4));
        f->server.identities = QJsonArray{FakeMailServer::identity("id-user", "user@example.com")};
    }

    void when_data()
    {
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<std::optional<QDateTime>>("end");
        QTest::addColumn<bool>("allDay");
        QTest::addColumn<QString>("expected");
        const auto at = [](int day, int hour, int minute = 0) {
            return QDateTime(QDate(2026, 3, day), QTime(hour, minute), QTimeZone::utc());
        };
        QTest::newRow("all day, one day")
            << at(3, 0) << std::optional(at(4, 0)) << true << "Tuesday, March 3, 2026";
        QTest::newRow("all day, two days") << at(3, 0) << std::optional(at(5, 0)) << true
                                           << "Tuesday, March 3, 2026 – Wednesday, March 4, 2026";
        QTest::newRow("same day") << at(3, 9) << std::optional(at(3, 10, 30)) << false
                                  << "Tuesday, March 3, 2026, 9:00 AM – 10:30 AM";
        QTest::newRow("overnight")
            << at(3, 22) << std::optional(at(4, 2)) << false
            << "Tuesday, March 3, 2026, 10:00 PM – Wednesday, March 4, 2026, "
               "2:00 AM";
    }

    void when()
    {
        QFETCH(QDateTime, start);
        QFETCH(std::optional<QDateTime>, end);
        QFETCH(bool, allDay);
        QFETCH(QString, expected);
        Invitation invitation;
        invitation.start = start;
        invitation.end = end;
        invitation.isAllDay = allDay;
        const QString text =
            InvitationBox::when(invitation, QLocale(QLocale::English, QLocale::UnitedStates),
                                QTimeZone::utc())
                .value_or(QString());
        // Some locale data puts a narrow space before AM and PM.
        QCOMPARE(QString(text).replace(QChar(0x202f), u' '), expected);
        QCOMPARE(InvitationBox::when(Invitation()), std::nullopt);
    }

    void invitationBoxStates()
    {
        auto state = connected();
        const QString download = "https://jmap.example.test/jmap/download/u1/blob-%1/invite.ics";
        f->network.setResponse(QUrl(download.arg("open")), {200, ics("REQUEST").toUtf8(), "x"});
        f->network.setResponse(QUrl(download.arg("gone")), {200, ics("CANCEL").toUtf8(), "x"});

        QWidget page;
        page.resize(600, 10);
        auto* layout = new QVBoxLayout(&page);
        auto* open = new InvitationBox(state.get(), calendarMail("open"), &page);
        auto* gone = new InvitationBox(state.get(), calendarMail("gone"), &page);
        layout->addWidget(open);
        layout->addWidget(gone);
        layout->addStretch(1);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        QTRY_VERIFY(open->isVisible() && gone->isVisible());

        QCOMPARE(open->titleLabel()->text(), QString("Team offsite planning"));
        const QStringList texts = visibleTexts(open);
        QVERIFY(texts.contains("Calendar invitation"));
        QVERIFY(texts.contains("Room 4.12, Harbour Office"));
        QVERIFY(texts.contains("Organizer: Olivia Okoro"));
        QVERIFY2(std::any_of(
                     texts.cbegin(), texts.cend(),
                     [](const QString& t) { return t.startsWith("Thursday, November 12, 2026"); }),
                 qPrintable(texts.join('|')));
        for (ParticipationStatus status : ParticipationStatuses::answers())
            QVERIFY(open->answerButton(status)->isVisible());
        QVERIFY(!open->answeredLabel()->isVisible() && !open->canceledLabel()->isVisible());
        screenshot(&page, "invitation-answerable-and-cancelled");

        // A cancelled event says so and offers no answers.
        QVERIFY(gone->canceledLabel()->isVisible());
        QVERIFY(!gone->answerButton(ParticipationStatus::Accepted)->isVisible());
        QVERIFY(gone->addToCalendarButton()->isVisible());

        // One click answers, and the box says what was answered.
        QTest::mouseClick(open->answerButton(ParticipationStatus::Tentative), Qt::LeftButton);
        QTRY_VERIFY(open->answeredLabel()->isVisible());
        QCOMPARE(open->answeredLabel()->text(), QString("You answered Tentatively Accepted"));
        QCOMPARE(state->toast()->message, QString("Tentatively Accepted, Olivia Okoro is told"));
        QCOMPARE(f->server.submissions.size(), 1);
        gone->hide();
        screenshot(&page, "invitation-answered");

        // "Add to Calendar" hands the file to the desktop under its calendar name.
        QTest::mouseClick(open->addToCalendarButton(), Qt::LeftButton);
        QTRY_COMPARE(f->opened.size(), 1);
        QVERIFY(f->opened.first().toLocalFile().endsWith("/blob-open/invite.ics"));
    }

    void unsubscribeAsksInTheWindow()
    {
        auto state = connected();
        QWidget window;
        window.resize(600, 120);
        state->setAskQuestion([&window](const Question& question, std::function<void()> yes) {
            askInWindow(&window, question, std::move(yes));
        });
        Email email;
        email.id = "news";
        email.from = QList<EmailAddress>{{QString("The Weekly Sprout"), "news@example.net"}};
        email.to = QList<EmailAddress>{{std::nullopt, "user@example.com"}};
        email.listUnsubscribe = QStringList{"<https://news.example.net/one-click>"};
        email.listUnsubscribePost = "List-Unsubscribe=One-Click";
        f->network.setResponse(QUrl("https://news.example.net/one-click"), {200, "", "text/plain"});
        auto* layout = new QVBoxLayout(&window);
        auto* message = new MessageView(state.get(), email, &window);
        layout->addWidget(message);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QPushButton* button = message->unsubscribeButton();
        QVERIFY(button->isVisible());
        QTest::mouseClick(button, Qt::LeftButton);
        QMessageBox* box = nullptr;
        QTRY_VERIFY((box = window.findChild<QMessageBox*>()));
        QCOMPARE(box->windowModality(), Qt::WindowModal);
        QCOMPARE(box->text(), QString("Unsubscribe from The Weekly Sprout?"));
        // Escape is "Cancel"; the default button leaves the list.
        QTest::keyClick(box, Qt::Key_Escape);
        QTRY_VERIFY(!window.findChild<QMessageBox*>());
        QVERIFY(!state->toast());
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_VERIFY((box = window.findChild<QMessageBox*>()));
        QTest::mouseClick(box->defaultButton(), Qt::LeftButton);
        QTRY_VERIFY(state->toast());
        QCOMPARE(state->toast()->message, QString("Unsubscribed from The Weekly Sprout"));

        // A message from no list has no button.
        email.listUnsubscribe.reset();
        message->setEmail(email);
        QVERIFY(!button->isVisible());
    }

    void feedbackWindow()
    {
        auto state = connected();
        FeedbackWindow window(state.get());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.replyToLabel()->text(), QString("user@example.com"));
        QVERIFY(window.diagnosticsSection()->isVisible());
        QVERIFY(visibleTexts(&window).contains(Feedback::appVersion()));
        QTest::keyClicks(window.textEdit(), "   ");
        QVERIFY(!window.sendButton()->isEnabled());
        window.textEdit()->clear();
        QTest::keyClicks(window.textEdit(), "The list forgets its scroll position");
        QTest::keyClick(window.textEdit(), Qt::Key_Return);
        QTest::keyClicks(window.textEdit(), "after I archive the last thread of a day.");
        QVERIFY(window.sendButton()->isEnabled());
        screenshot(&window, "feedback-bug");

        // A feature request carries no diagnostics.
        window.kindPicker()->setCurrentIndex(1);
        QVERIFY(!window.diagnosticsSection()->isVisible());
        window.setKind(FeedbackKind::Bug);

        // A refusal stays in the window with the text.
        f->server.refusingCreate = "Over quota";
        QTest::mouseClick(window.sendButton(), Qt::LeftButton);
        QTRY_VERIFY(window.errorLabel()->isVisible());
        QVERIFY(window.errorLabel()->text().contains("Over quota"));
        QVERIFY(window.isVisible() && !window.textEdit()->toPlainText().isEmpty());

        f->server.refusingCreate.clear();
        QTest::mouseClick(window.sendButton(), Qt::LeftButton);
        QTRY_VERIFY(!window.isVisible());
        QCOMPARE(state->toast()->message, QString("Thanks, your bug report is sent"));
        QCOMPARE(f->server.submissions.size(), 1);

        // A build without a support address cannot send, and says why.
        auto unaddressed = connected(QString());
        FeedbackWindow quiet(unaddressed.get());
        quiet.show();
        QVERIFY(QTest::qWaitForWindowExposed(&quiet));
        QVERIFY(!quiet.sendButton()->isVisible());
        QVERIFY(quiet.noAddressLabel()->isVisible());
        screenshot(&quiet, "feedback-no-address");
    }

private:
    std::unique_ptr<AppState> connected(const QString& supportAddress = "support@example.test");
    std::unique_ptr<StateFixture> f;
};

std::unique_ptr<AppState> TestFlowViews::connected(const QString& supportAddress)
{
    auto state = f->make(50, [this, supportAddress](AppEnvironment& environment) {
        environment.unsubscribeNetwork = &f->network;
        environment.supportAddress = supportAddress;
    });
    await(state->connect());
    return state;
}

QTEST_MAIN(TestFlowViews)
#include "tst_flowviews.moc"
