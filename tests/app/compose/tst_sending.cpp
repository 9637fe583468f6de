#include "ComposeFixture.h"

using namespace AsyncTest;

namespace {

QList<QJsonArray> submitCalls(const FakeNetwork& network)
{
    QList<QJsonArray> calls;
    for (const RecordedRequest& batch : network.batches())
        if (batch.methodNames().value(0) == "EmailSubmission/set")
            calls.append(batch.methodCalls());
    return calls;
}

// A reply to the inbox message "e1" of thread "t1", once the thread has opened.
ComposeDraft* replyToInbox(AppState& state)
{
    state.setSelectedThreadIds({"t1"});
    state.threadSelectionChanged();
    if (!QTest::qWaitFor([&] { return state.openEmails().size() == 1; }))
        return nullptr;
    return state.compose(ReplyKind::Reply);
}

} // namespace

class TestSending : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void failedChecksSendAndSaveNothing_data()
    {
        QTest::addColumn<bool>("archive");
        QTest::addColumn<QString>("to");
        QTest::addColumn<int>("inSeconds");
        QTest::addColumn<QString>("missing");
        QTest::addColumn<QString>("error");
        const QString nothing = "Nothing to archive: this is not a reply to a message outside the "
                                "archive.";
        // The archive check comes before the recipients are looked at.
        QTest::newRow("new message archived") << true << "" << 0 << "" << nothing;
        QTest::newRow("name without address") << false << "Just A Name" << 0 << ""
                                              << "Add at least one valid recipient.";
        QTest::newRow("no identity") << false << "a@example.com" << 0 << "identities"
                                     << "No sending identity is available for this token.";
        QTest::newRow("no drafts") << false << "a@example.com" << 0 << "drafts"
                                   << "This account has no Drafts mailbox.";
        QTest::newRow("past date") << false << "a@example.com" << -60 << ""
                                   << "Choose a time in the future.";
        QTest::newRow("beyond the limit") << false << "a@example.com" << 7200 << ""
                                          << "The server can hold a message for at most 1 hour.";
    }

    void failedChecksSendAndSaveNothing()
    {
        QFETCH(bool, archive);
        QFETCH(QString, to);
        QFETCH(int, inSeconds);
        QFETCH(QString, missing);
        QFETCH(QString, error);
        ComposeFixture f;
        if (missing == "identities")
            f.server.identities = {};
        if (missing == "drafts")
            f.server.mailboxes.removeLast();
        auto state = f.started();
        ComposeDraft* draft = state->compose();
        draft->setTo(to);
        const auto at = inSeconds ? std::optional(QDateTime::currentDateTime().addSecs(inSeconds))
                                  : std::nullopt;
        await(state->send(draft, archive, at));
        QCOMPARE(draft->error(), error);
        QVERIFY(!draft->isSending());
        QCOMPARE(state->draft(draft->id()), draft);
        QCOMPARE(f.creates().size(), 0);
        QVERIFY(submitCalls(f.network).isEmpty());
    }

    void heldSendCarriesTheEnvelopeAndUndoBringsTheDraftBack()
    {
        ComposeFixture f;
        f.server.add(FakeMailServer::email("e1", "t1", "in", 5));
        auto state = f.started(10);
        ComposeDraft* draft = replyToInbox(*state);
        QVERIFY(draft);
        draft->setTo("Ann <Ann@Example.com>, b@example.com");
        draft->setCc("ann@example.com, Broken <");
        draft->setBcc("c@example.com");
        await(state->send(draft));

        // One batch: the submission with its envelope, the move to Sent, and the answered mark.
        const QList<QJsonArray> calls = submitCalls(f.network);
        QCOMPARE(calls.size(), 1);
        const QJsonObject set = calls.at(0).at(0).toArray().at(1).toObject();
        const QString savedId = f.creates().at(0)["create"].toObject().isEmpty() ? QString() : "d1";
        Envelope envelope{"me@example.com",
                          {"Ann@Example.com", "b@example.com", "c@example.com"},
                          Release::after(10)};
        QCOMPARE(set["create"]["send"].toObject(), (QJsonObject{{"emailId", savedId},
                                                                {"identityId", "id-me"},
                                                                {"envelope", envelope.toJson()}}));
        QCOMPARE(set["onSuccessUpdateEmail"]["#send"].toObject(),
                 (QJsonObject{{"keywords/$draft", QJsonValue::Null},
                              {"mailboxIds/drafts", QJsonValue::Null},
                              {"mailboxIds/sent", true}}));
        QCOMPARE(calls.at(0).at(1).toArray().at(1)["update"].toObject(),
                 (QJsonObject{{"e1", QJsonObject{{"keywords/$answered", true}}}}));
        // Bcc is a header of the stored draft only through the envelope.
        QCOMPARE(f.creates().at(0)["create"]["draft"]["bcc"].toArray().size(), 1);

        QVERIFY(draft->isFinished);
        QVERIFY(!state->draft(draft->id()));
        QCOMPARE(state->toast()->message, QString("Message sent"));

        // Undo: the same object comes back, saved, and its window opens again.
        const DraftContent before = draft->content();
        state->undoFromToast();
        QTRY_COMPARE(state->draft(draft->id()), draft);
        QCOMPARE(f.windows.count(draft->id()), 2);
        QCOMPARE(draft->content(), before);
        QCOMPARE(draft->serverDraftId, savedId);
        QVERIFY(!draft->isSending() && !draft->isFinished);
        QCOMPARE(f.server.submissions.at(0)["undoStatus"].toString(), QString("canceled"));
        QVERIFY(f.server.find(savedId)->value("mailboxIds").toObject().contains("drafts"));

        // Sending again writes no new version: nothing changed.
        await(state->send(draft));
        QCOMPARE(f.creates().size(), 1);
        QCOMPARE(f.server.submissions.size(), 2);
    }

    void undoToastLastsLessThanTheHold_data()
    {
        QTest::addColumn<qint64>("undoSend");
        QTest::addColumn<qint64>("maxDelayed");
        QTest::addColumn<double>("toastSeconds");
        QTest::newRow("server limit wins") << qint64(30) << qint64(10) << 9.0;
        QTest::newRow("one second") << qint64(1) << qint64(3600) << 1.0;
        QTest::newRow("no undo") << qint64(0) << qint64(3600) << 0.0;
        QTest::newRow("no holds on the server") << qint64(10) << qint64(0) << 0.0;
    }

    void undoToastLastsLessThanTheHold()
    {
        QFETCH(qint64, undoSend);
        QFETCH(qint64, maxDelayed);
        QFETCH(double, toastSeconds);
        ComposeFixture f;
        f.network.setSession(FakeNetwork::defaultSession(maxDelayed));
        auto state = f.started(undoSend);
        ComposeDraft* draft = state->compose();
        draft->setTo("a@example.com");
        await(state->send(draft));
        const QJsonObject created =
            submitCalls(f.network).at(0).at(0).toArray().at(1)["create"]["send"].toObject();
        QCOMPARE(created.contains("envelope"), toastSeconds > 0);
        if (toastSeconds == 0) {
            QVERIFY(f.toasts.isEmpty());
            return;
        }
        QTRY_COMPARE(f.toastSeconds.size(), 1);
        QVERIFY(f.toastSeconds.first() >= toastSeconds * 0.9);
        QVERIFY(f.toastSeconds.first() < toastSeconds + 5);
    }

    void sendAndArchiveUndoReturnsTheConversationEvenWhenTooLate()
    {
        ComposeFixture f;
        f.server.add(FakeMailServer::email("e1", "t1", "in", 5));
        auto state = f.started(10);
        ComposeDraft* draft = replyToInbox(*state);
        QVERIFY(draft);
        const QUuid id = draft->id();
        await(state->sendAndArchive(draft));
        QCOMPARE(state->toast()->message, QString("Message sent and conversation archived"));
        QTRY_COMPARE(f.server.find("e1")->value("mailboxIds").toObject().keys(),
                     QStringList{"arch"});

        f.server.refusingCancel = "already sent";
        state->undoFromToast();
        QTRY_COMPARE(f.server.find("e1")->value("mailboxIds").toObject().keys(), QStringList{"in"});
        QTRY_VERIFY(state->errorMessage());
        QVERIFY(state->errorMessage()->startsWith(
            "The message could not be stopped, it may have been sent already. "));
        // The draft that could not be stopped stays gone.
        QVERIFY(!state->draft(id));
    }

    void refusedSubmissionLeavesTheDraftOpen()
    {
        ComposeFixture f;
        f.server.refusingSubmission = "Sending limit reached";
        auto state = f.started();
        ComposeDraft* draft = state->compose();
        draft->setTo("a@example.com");
        await(state->send(draft));
        QVERIFY(draft->error()->contains("Sending limit reached"));
        QVERIFY(!draft->isSending());
        QCOMPARE(state->draft(draft->id()), draft);
        QVERIFY(f.server.find(*draft->serverDraftId));
    }

    void demoSendingStaysLocal()
    {
        ComposeFixture f;
        auto state = f.make(50, [](AppEnvironment& env) { env.demo = true; });
        state->start([&f](QUuid id) { f.windows.append(id); });
        state->open({QUrl("mailto:someone@example.com?subject=Hi")});
        QCOMPARE(f.windows.size(), 1);
        ComposeDraft* draft = state->draft(f.windows.first());
        await(state->send(draft));
        QCOMPARE(state->toast()->message, QString("Message sent"));
        QVERIFY(state->drafts().isEmpty());
        QVERIFY(f.network.requests().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSending)
#include "tst_sending.moc"
