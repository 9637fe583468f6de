// Mail that Veldrin writes by itself: answers to invitations, unsubscribe requests and feedback,
// through the state on a fake account that keeps what was saved and submitted.

#include "StateFixture.h"

#include <QJsonArray>
#include <QRegularExpression>

using namespace AsyncTest;

namespace {

const QString invitationText =
    QStringLiteral("BEGIN:VCALENDAR\r\n"
                   "METHOD:%1\r\n"
                   "BEGIN:VEVENT\r\n"
                   "UID:planning-42@example.org\r\n"
                   "%2"
                   "DTSTART:20260310T090000Z\r\n"
                   "DTEND:20260310T100000Z\r\n"
                   "ORGANIZER;CN=Olivia Okoro:mailto:olivia@example.org\r\n"
                   "ATTENDEE;CN=Me:mailto:%3\r\n"
                   "END:VEVENT\r\n"
                   "END:VCALENDAR\r\n");

QString ics(const QString& attendee, const QString& summary = QStringLiteral("Planning"),
            const QString& method = QStringLiteral("REQUEST"))
{
    return invitationText.arg(method, summary.isEmpty() ? QString() : "SUMMARY:" + summary + "\r\n",
                              attendee);
}

Email invitationMail(const std::optional<QString>& subject)
{
    Email email;
    email.id = "inv";
    email.threadId = "t-inv";
    email.subject = subject;
    email.from = QList<EmailAddress>{{QString("Olivia Okoro"), "olivia@example.org"}};
    email.messageId = QStringList{"inv-1@example.org"};
    email.references = QStringList{"root@example.org"};
    BodyPart part;
    part.blobId = "B-ics";
    part.type = "text/calendar";
    email.attachments = QList<BodyPart>{part};
    return email;
}

Email listMail(const QStringList& unsubscribe, const std::optional<QString>& post = {})
{
    Email email;
    email.id = "news";
    email.from = QList<EmailAddress>{{QString("The Weekly Sprout"), "news@example.net"}};
    email.to = QList<EmailAddress>{{std::nullopt, "list@example.net"}};
    email.cc = QList<EmailAddress>{{std::nullopt, "ME@example.com"}};
    email.listUnsubscribe = unsubscribe;
    email.listUnsubscribePost = post;
    return email;
}

// An account with Drafts and two identities, the second the one invitations are sent to.
struct FlowFixture : StateFixture
{
    QList<Question> questions;
    bool confirming = true;

    FlowFixture()
    {
        server.mailboxes.append(FakeMailServer::mailbox("drafts", "Drafts", "drafts", 4));
        QJsonObject me = FakeMailServer::identity("id-me", "Me@example.com");
        me["name"] = "Alex Morgan";
        server.identities = QJsonArray{FakeMailServer::identity("id-user", "user@example.com"), me};
    }

    std::unique_ptr<AppState> start()
    {
        auto state = make(50, [&](AppEnvironment& env) {
            env.unsubscribeNetwork = &network;
            env.supportAddress = "support@example.test";
        });
        await(state->connect());
        settle(*state);
        state->setAskQuestion([this](const Question& question, std::function<void()> confirmed) {
            questions.append(question);
            if (confirming)
                confirmed();
        });
        return state;
    }

    // The messages this session created, newest first.
    QList<QJsonObject> created() const
    {
        QList<QJsonObject> result;
        for (const QJsonObject& email : server.emails)
            if (email.value("id").toString().startsWith('d'))
                result.append(email);
        return result;
    }
};

QString textOf(const QJsonObject& email, const QString& part = "text")
{
    return email["bodyValues"][part]["value"].toString();
}

QString firstAddress(const QJsonObject& email, const QString& field)
{
    return email[field].toArray().at(0)["email"].toString();
}

} // namespace

class TestFlows : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void answerSendsReplyMail_data()
    {
        QTest::addColumn<ParticipationStatus>("status");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<std::optional<QString>>("subject");
        QTest::addColumn<QString>("expectedSubject");
        QTest::addColumn<QString>("expectedBody");
        QTest::addColumn<QString>("toast");
        QTest::newRow("accept") << ParticipationStatus::Accepted << "Planning"
                                << std::optional<QString>("Invitation: Planning")
                                << "Accepted: Planning"
                                << "Alex Morgan has accepted the invitation to Planning."
                                << "Accepted, Olivia Okoro is told";
        QTest::newRow("decline, title from the subject")
            << ParticipationStatus::Declined << "" << std::optional<QString>("Budget review")
            << "Declined: Budget review"
            << "Alex Morgan has declined the invitation to Budget review."
            << "Declined, Olivia Okoro is told";
        QTest::newRow("decline, no title at all")
            << ParticipationStatus::Declined << "" << std::optional<QString>() << "Declined: "
            << "Alex Morgan has declined the invitation to ."
            << "Declined, Olivia Okoro is told";
    }

    void answerSendsReplyMail()
    {
        QFETCH(ParticipationStatus, status);
        QFETCH(QString, summary);
        QFETCH(std::optional<QString>, subject);
        QFETCH(QString, expectedSubject);
        QFETCH(QString, expectedBody);
        QFETCH(QString, toast);

        FlowFixture f;
        auto state = f.start();
        // The attendee's address differs in case from the identity's: it is still the user.
        f.network.setResponse(QUrl("https://jmap.example.test/jmap/download/u1/B-ics/invite.ics"),
                              {200, ics("me@EXAMPLE.com", summary).toUtf8(), "text/calendar"});
        const Email email = invitationMail(subject);
        state->loadInvitation(email);
        QTRY_VERIFY(state->invitations().contains("inv"));
        const Invitation invitation = state->invitations().value("inv");
        QVERIFY(state->canAnswer(invitation));
        QCOMPARE(state->invitationAnswer("inv", invitation), std::nullopt);

        await(state->answer(invitation, email, status));
        QCOMPARE(state->errorMessage(), std::nullopt);
        QCOMPARE(f.created().size(), 1);
        const QJsonObject sent = f.created().first();
        QCOMPARE(sent["subject"].toString(), expectedSubject);
        QCOMPARE(textOf(sent), expectedBody);
        QCOMPARE(firstAddress(sent, "from"), QString("Me@example.com"));
        QCOMPARE(firstAddress(sent, "to"), QString("olivia@example.org"));
        QCOMPARE(sent["inReplyTo"].toArray(), QJsonArray{"inv-1@example.org"});
        QCOMPARE(sent["references"].toArray(),
                 (QJsonArray{"root@example.org", "inv-1@example.org"}));
        const QJsonObject calendarPart = sent["bodyStructure"]["subParts"][1].toObject();
        QVERIFY(
            calendarPart["header:Content-Type"].toString().contains("text/calendar; method=REPLY"));
        const QString reply = textOf(sent, "calendar");
        QVERIFY(reply.contains("METHOD:REPLY"));
        QVERIFY(reply.contains("PARTSTAT=" + ParticipationStatuses::value(status)));
        QVERIFY(reply.contains("UID:planning-42@example.org"));
        QCOMPARE(f.server.submissions.size(), 1);
        QCOMPARE(f.server.submissions.first()["identityId"].toString(), QString("id-me"));

        QCOMPARE(state->invitationAnswer("inv", invitation), std::optional(status));
        QCOMPARE(state->toast()->message, toast);
    }

    void invitationsTheUserCannotAnswer()
    {
        FlowFixture f;
        auto state = f.start();
        const Email email = invitationMail(QString("Planning"));
        const auto stranger = Invitation::parse(ics("someone.else@example.org"));
        const auto cancelled = Invitation::parse(ics("me@example.com", "Planning", "CANCEL"));
        const auto answered = Invitation::parse(
            QString(ics("me@example.com")).replace("CN=Me:", "PARTSTAT=ACCEPTED:"));
        QVERIFY(stranger && cancelled && answered);

        QVERIFY(!state->canAnswer(*stranger));
        QVERIFY(!state->canAnswer(*cancelled));
        // An answer given in another program shows, and can still be changed.
        QVERIFY(state->canAnswer(*answered));
        QCOMPARE(state->invitationAnswer("inv", *answered),
                 std::optional(ParticipationStatus::Accepted));
        for (ParticipationStatus status : ParticipationStatuses::answers())
            await(state->answer(*stranger, email, status));
        QVERIFY(f.created().isEmpty());
        QVERIFY(f.server.submissions.isEmpty());
        QVERIFY(state->invitationAnswers().isEmpty());

        // A failed send is reported and leaves the answer open.
        f.server.refusingSubmission = "Mailbox is full";
        await(state->answer(*answered, email, ParticipationStatus::Declined));
        QVERIFY(state->errorMessage() && state->errorMessage()->contains("Mailbox is full"));
        QVERIFY(state->invitationAnswers().isEmpty());
    }

    void unsubscribeTakesTheRightRoad()
    {
        FlowFixture f;
        auto state = f.start();

        // A web page opens at once, without a question.
        const QUrl page("https://news.example.net/leave?u=1");
        state->unsubscribe(listMail({"<" + page.toString() + ">"}));
        QCOMPARE(f.opened, QList<QUrl>{page});
        QVERIFY(f.questions.isEmpty());

        // One click: asked first; "Cancel" sends nothing.
        const QUrl post("https://news.example.net/one-click?u=1");
        const Email oneClick = listMail({"<mailto:leave@example.net>", "<" + post.toString() + ">"},
                                        QString("List-Unsubscribe=One-Click"));
        f.network.setResponse(post, {200, "", "text/plain"});
        f.confirming = false;
        state->unsubscribe(oneClick);
        QCOMPARE(f.questions.size(), 1);
        QCOMPARE(f.questions.first().message, QString("Unsubscribe from The Weekly Sprout?"));
        QCOMPARE(f.questions.first().informativeText,
                 QString("Veldrin asks the sender to take you off the list. "
                         "It cannot be undone from here."));
        const auto posts = [&f] {
            QList<RecordedRequest> result;
            for (const RecordedRequest& request : f.network.requests())
                if (request.url.path() == "/one-click")
                    result.append(request);
            return result;
        };
        QTest::qWait(20);
        QVERIFY(posts().isEmpty());

        f.confirming = true;
        state->unsubscribe(oneClick);
        QTRY_COMPARE(state->toast() ? state->toast()->message : QString(),
                     QString("Unsubscribed from The Weekly Sprout"));
        QCOMPARE(posts().size(), 1);
        QCOMPARE(posts().first().body, QByteArray("List-Unsubscribe=One-Click"));

        // A refused POST says so in the error bar.
        f.network.setResponse(post, {500, "no", "text/plain"});
        state->unsubscribe(oneClick);
        QTRY_COMPARE(state->errorMessage().value_or(QString()),
                     QString("The sender's unsubscribe link answered with HTTP 500."));

        // By mail: from the identity the list wrote to (in cc here), not the first one.
        state->dismissToast();
        state->unsubscribe(listMail({"<mailto:leave@example.net?subject=stop%20it&body=please>"}));
        QCOMPARE(f.questions.last().informativeText,
                 QString("Veldrin sends an unsubscribe request to leave@example.net."));
        QTRY_VERIFY(state->toast());
        const QList<QJsonObject> created = f.created();
        QCOMPARE(created.size(), 1);
        QCOMPARE(firstAddress(created.first(), "from"), QString("Me@example.com"));
        QCOMPARE(firstAddress(created.first(), "to"), QString("leave@example.net"));
        QCOMPARE(created.first()["subject"].toString(), QString("stop it"));
        QCOMPARE(textOf(created.first()), QString("please"));
        QCOMPARE(f.server.submissions.last()["identityId"].toString(), QString("id-me"));

        // Written to an address that is no identity: the first identity sends.
        Email elsewhere = listMail({"<mailto:leave@example.net>"});
        elsewhere.cc.reset();
        state->unsubscribe(elsewhere);
        QTRY_COMPARE(f.created().size(), 2);
        QCOMPARE(firstAddress(f.created().first(), "from"), QString("user@example.com"));
        QCOMPARE(f.created().first()["subject"].toString(), QString("unsubscribe"));
    }

    void feedbackSubject_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<FeedbackKind>("kind");
        QTest::addColumn<QString>("expected");
        const QString sixty = QString("a").repeated(60);
        QTest::newRow("first line") << "Crash on start\nDetails below" << FeedbackKind::Bug
                                    << "Veldrin Bug Report: Crash on start";
        QTest::newRow("blank lines first")
            << "\n  \n  Dark mode please  \nthanks" << FeedbackKind::Feature
            << "Veldrin Feature Request: Dark mode please";
        QTest::newRow("exactly 60") << sixty << FeedbackKind::Bug << "Veldrin Bug Report: " + sixty;
        QTest::newRow("61 is cut")
            << sixty + "b" << FeedbackKind::Bug << "Veldrin Bug Report: " + sixty + "…";
        QTest::newRow("only blanks") << "\n \n" << FeedbackKind::Bug << "Veldrin Bug Report: ";
    }

    void feedbackSubject()
    {
        QFETCH(QString, text);
        QFETCH(FeedbackKind, kind);
        QFETCH(QString, expected);
        QCOMPARE(Feedback::subject(text, kind), expected);
    }

    void feedbackBodyAndMail()
    {
        // A bug report signs off with the diagnostics and ends in a line break.
        const QString bug = Feedback::body("It froze.", FeedbackKind::Bug);
        QVERIFY(bug.startsWith("It froze.\n\n-- \nApp: Veldrin "));
        QVERIFY(bug.contains("\nOS: "));
        QVERIFY(bug.endsWith("\nMachine: " + Feedback::diagnostics().at(2).second + "\n"));
        QVERIFY(QRegularExpression(R"(^Veldrin \d+\.\d+\.\d+ \(([0-9a-f]{7,}|\?)\)$)")
                    .match(Feedback::appVersion())
                    .hasMatch());
        QCOMPARE(Feedback::body("More colours", FeedbackKind::Feature), QString("More colours"));
        QCOMPARE(Feedback::hardwareModel("/nonexistent/product_name"), QString("?"));

        // Sent from the account's own address, bare, to the support address.
        FlowFixture f;
        auto state = f.start();
        QCOMPARE(state->feedbackIdentity()->id, QString("id-user"));
        await(state->sendFeedback("Dark mode\nplease", FeedbackKind::Feature));
        QCOMPARE(f.created().size(), 1);
        const QJsonObject sent = f.created().first();
        QCOMPARE(sent["from"].toArray().at(0).toObject(),
                 (QJsonObject{{"name", QJsonValue::Null}, {"email", "user@example.com"}}));
        QCOMPARE(firstAddress(sent, "to"), QString("support@example.test"));
        QCOMPARE(sent["subject"].toString(), QString("Veldrin Feature Request: Dark mode"));
        QCOMPARE(textOf(sent), QString("Dark mode\nplease"));

        // An account without Drafts refuses with a reason.
        FlowFixture bare;
        bare.server.mailboxes.removeLast();
        auto noDrafts = bare.start();
        const auto error = awaitError<MessageError>(noDrafts->sendFeedback("x", FeedbackKind::Bug));
        QVERIFY(error);
        QCOMPARE(error->description(), QString("There is no Drafts mailbox or sending identity."));
        QVERIFY(bare.created().isEmpty());
    }
};

QTEST_MAIN(TestFlows)
#include "tst_flows.moc"
