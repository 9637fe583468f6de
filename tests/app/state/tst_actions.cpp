#include "StateFixture.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QUndoStack>

using namespace AsyncTest;

namespace {

// The first method of every batch from this index on: what one action cost on the wire.
QStringList trail(const FakeNetwork& network, qsizetype from)
{
    QStringList methods;
    const QList<RecordedRequest> batches = network.batches();
    for (qsizetype index = from; index < batches.size(); ++index)
        methods.append(batches.at(index).methodNames().value(0));
    return methods;
}

// The "update" of the last Email/set batch.
QJsonObject lastUpdate(const FakeMailServer& server)
{
    const auto batches = server.batchesWith("Email/set");
    return batches.isEmpty()
               ? QJsonObject()
               : batches.last().methodCalls().at(0).toArray().at(1)["update"].toObject();
}

QJsonObject movePatch(const QStringList& ids, const QString& from, const QString& to)
{
    QJsonObject update;
    for (const QString& id : ids)
        update.insert(
            id, QJsonObject{{"mailboxIds/" + from, QJsonValue::Null}, {"mailboxIds/" + to, true}});
    return update;
}

QStringList threadIds(const AppState& state)
{
    QStringList ids;
    for (const MailThread& thread : state.threads())
        ids.append(thread.id);
    return ids;
}

QStringList mailboxesOf(FakeMailServer& server, const QString& emailId)
{
    return server.find(emailId)->value("mailboxIds").toObject().keys();
}

std::unique_ptr<AppState> connected(StateFixture& f,
                                    const std::function<void(AppEnvironment&)>& adjust = {})
{
    auto state = f.make(50, [&adjust](AppEnvironment& env) {
        env.timing.toastSecond = std::chrono::milliseconds(10);
        if (adjust)
            adjust(env);
    });
    await(state->connect());
    StateFixture::settle(*state);
    return state;
}

} // namespace

class TestActions : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void archiveSelectsTheNextThread_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QStringList>("selected");
        // Empty: archive the selection; else a right click on this row with a selection elsewhere.
        QTest::addColumn<QString>("clicked");
        QTest::addColumn<QStringList>("archived");
        QTest::addColumn<QStringList>("selectedAfter");
        QTest::addColumn<QString>("toast");
        QTest::newRow("row 3 of 10") << 10 << QStringList{"t4"} << "" << QStringList{"t4"}
                                     << QStringList{"t5"} << "Conversation archived";
        QTest::newRow("last row") << 10 << QStringList{"t10"} << "" << QStringList{"t10"}
                                  << QStringList{"t9"} << "Conversation archived";
        QTest::newRow("only row") << 1 << QStringList{"t1"} << "" << QStringList{"t1"}
                                  << QStringList{} << "Conversation archived";
        QTest::newRow("two selected")
            << 5 << QStringList{"t2", "t3"} << "" << QStringList{"t2", "t3"} << QStringList{}
            << "2 conversations archived";
        QTest::newRow("right click beside a selection of two")
            << 5 << QStringList{"t1", "t2"} << "t4" << QStringList{"t4"} << QStringList{"t5"}
            << "Conversation archived";
    }

    void archiveSelectsTheNextThread()
    {
        QFETCH(int, count);
        QFETCH(QStringList, selected);
        QFETCH(QString, clicked);
        QFETCH(QStringList, archived);
        QFETCH(QStringList, selectedAfter);
        QFETCH(QString, toast);

        StateFixture f;
        f.server.addThreads(count);
        // The user's reply to t1 lies in Sent, and stays there.
        f.server.add(FakeMailServer::email("r1", "t1", "sent", 0));
        auto state = connected(f);
        state->setSelectedThreadIds(QSet<QString>(selected.cbegin(), selected.cend()));
        StateFixture::settle(*state);
        const qsizetype before = f.network.batches().size();

        if (clicked.isEmpty())
            state->perform(MailAction::Archive);
        else
            state->perform(MailAction::Archive, QSet<QString>{clicked});

        // At once on screen.
        QCOMPARE(state->threads().size(), count - archived.size());
        QCOMPARE(state->totalThreads(), count - archived.size());
        QCOMPARE(state->selectedThreadIds(),
                 QSet<QString>(selectedAfter.cbegin(), selectedAfter.cend()));
        QVERIFY(state->toast());
        QCOMPARE(state->toast()->message, toast);
        QVERIFY(!state->toast()->undo);
        // One write, then the counts.
        QTRY_COMPARE(trail(f.network, before), (QStringList{"Email/set", "Mailbox/get"}));
        QStringList emailIds;
        for (const QString& thread : archived)
            emailIds.append("e" + thread.mid(1));
        QCOMPARE(lastUpdate(f.server), movePatch(emailIds, "in", "arch"));
        for (const QString& id : emailIds)
            QCOMPARE(mailboxesOf(f.server, id), QStringList{"arch"});
        QCOMPARE(mailboxesOf(f.server, "r1"), QStringList{"sent"});
    }

    void movesThatCannotHappenAskNothing()
    {
        StateFixture f;
        f.server.addThreads(2);
        auto state = connected(f);
        const qsizetype before = f.network.batches().size();
        // Into the mailbox on show; a thread not listed; nothing selected.
        QVERIFY(!state->moveThreads({"t1"}, *state->mailboxWithRole("inbox")));
        QVERIFY(!state->moveThreads({"t9"}, *state->mailboxWithRole("archive")));
        state->perform(MailAction::Archive);
        // The move picker needs a selection; the go-to picker does not.
        state->perform(MailAction::Move);
        QCOMPARE(state->folderPicker(), std::nullopt);
        state->perform(MailAction::GoToFolder);
        QCOMPARE(state->folderPicker(), std::optional(AppState::FolderPicker::GoTo));
        state->setSelectedThreadId(QStringLiteral("t1"));
        state->perform(MailAction::Move);
        QCOMPARE(state->folderPicker(), std::optional(AppState::FolderPicker::Move));
        QVERIFY(!state->toast());
        QCOMPARE(state->threads().size(), 2);
        QCOMPARE(f.network.batches().size(), before);
    }

    void undoAndRedoRunThroughTheWindowStack()
    {
        StateFixture f;
        f.server.addThreads(3);
        auto state = connected(f);
        QUndoStack stack;
        state->setWindowServices({&stack, {}, {}});
        state->setSelectedThreadId(QStringLiteral("t2"));
        StateFixture::settle(*state);
        qsizetype before = f.network.batches().size();

        state->perform(MailAction::Archive);
        QCOMPARE(stack.count(), 1);
        QCOMPARE(stack.undoText(), QStringLiteral("Move to Archive"));
        QCOMPARE(state->toast()->message, QStringLiteral("Conversation archived"));
        QVERIFY(state->toast()->isOnUndoKey);
        QVERIFY(state->toast()->undo);
        // Pushing the entry does not run the move a second time.
        QTRY_COMPARE(trail(f.network, before), (QStringList{"Email/set", "Mailbox/get"}));
        QCOMPARE(threadIds(*state), (QStringList{"t1", "t3"}));

        // The toast's Undo: the exact reverse batch; the inbox is on show, so the list comes back.
        before = f.network.batches().size();
        state->undoFromToast();
        QCOMPARE(state->toast()->message, QStringLiteral("Move undone"));
        QVERIFY(!state->toast()->undo);
        QVERIFY(!state->toast()->isOnUndoKey);
        QTRY_COMPARE(threadIds(*state), (QStringList{"t1", "t2", "t3"}));
        QCOMPARE(trail(f.network, before).value(0), QStringLiteral("Email/set"));
        QCOMPARE(lastUpdate(f.server), movePatch({"e2"}, "arch", "in"));
        QCOMPARE(mailboxesOf(f.server, "e2"), QStringList{"in"});
        StateFixture::settle(*state);

        // Redo is announced like a first move and offers Undo again.
        before = f.network.batches().size();
        stack.redo();
        QCOMPARE(state->toast()->message, QStringLiteral("Conversation archived"));
        QVERIFY(state->toast()->undo);
        QCOMPARE(threadIds(*state), (QStringList{"t1", "t3"}));
        QTRY_COMPARE(trail(f.network, before), (QStringList{"Email/set", "Mailbox/get"}));
        QCOMPARE(lastUpdate(f.server), movePatch({"e2"}, "in", "arch"));
        QCOMPARE(stack.count(), 1);

        // The entry outlives its toast.
        QTRY_VERIFY(!state->toast());
        stack.undo();
        QCOMPARE(state->toast()->message, QStringLiteral("Move undone"));
        QTRY_COMPARE(threadIds(*state), (QStringList{"t1", "t2", "t3"}));
        QCOMPARE(mailboxesOf(f.server, "e2"), QStringList{"in"});
    }

    void refusedChangesAreReportedAndReadBack_data()
    {
        QTest::addColumn<int>("action");
        QTest::newRow("move") << int(MailAction::Trash);
        QTest::newRow("keyword") << int(MailAction::ToggleFlag);
    }

    void refusedChangesAreReportedAndReadBack()
    {
        QFETCH(int, action);
        StateFixture f;
        f.server.addThreads(3);
        f.server.mailboxes.append(FakeMailServer::mailbox("bin", "Bin", "trash", 5));
        auto state = connected(f);
        state->setSelectedThreadId(QStringLiteral("t2"));
        StateFixture::settle(*state);
        f.server.refusing = {"e2"};
        const qsizetype before = f.network.batches().size();

        state->perform(MailAction::Value(action));
        // On screen at once, whatever the server will say.
        if (action == MailAction::Trash) {
            QCOMPARE(threadIds(*state), (QStringList{"t1", "t3"}));
            QCOMPARE(state->toast()->message, QStringLiteral("Conversation moved to Bin"));
        } else {
            QVERIFY(state->selectedThread()->isFlagged());
        }
        QTRY_VERIFY(state->errorMessage());
        QVERIFY(state->errorMessage()->contains("refused by the server"));
        // The rollback is a refresh: counts, then the list as the server has it.
        QTRY_COMPARE(threadIds(*state), (QStringList{"t1", "t2", "t3"}));
        QTRY_VERIFY(!state->threads().at(1).isFlagged());
        StateFixture::settle(*state);
        const QStringList wire = trail(f.network, before);
        QCOMPARE(wire.mid(0, 3), (QStringList{"Email/set", "Mailbox/get", "Email/query"}));
        QCOMPARE(mailboxesOf(f.server, "e2"), QStringList{"in"});
    }

    void toastTimersAreFencedByGeneration()
    {
        StateFixture f;
        auto state = f.make(50, [](AppEnvironment& env) {
            env.timing.toastSecond = std::chrono::milliseconds(20);
        });
        state->showToast("First", {}, false, 1);
        const QUuid first = state->toast()->id;
        QElapsedTimer clock;
        clock.start();
        state->showToast("First", {}, false, 4);
        // Equal messages are two toasts.
        QVERIFY(state->toast()->id != first);
        QSignalSpy changes(state.get(), &AppState::toastChanged);
        QVERIFY(changes.wait(1000));
        // The older timer fired meanwhile and left the younger toast alone.
        QVERIFY(!state->toast());
        QVERIFY2(clock.elapsed() >= 70, qPrintable(QString::number(clock.elapsed())));

        // Undo clears the toast before it runs, once.
        int undone = 0;
        state->showToast(
            "Moved", [&undone] { ++undone; }, false, 5);
        state->undoFromToast();
        state->undoFromToast();
        QCOMPARE(undone, 1);
        QVERIFY(!state->toast());
    }

    void toggleReadAndFlagTouchExactlyTheseMessages_data()
    {
        // Thread ta holds a1..a3 and tb holds b1..b2, all in the inbox; a3 and b2 are their
        // anchors.
        QTest::addColumn<QStringList>("unread");
        QTest::addColumn<QStringList>("flagged");
        QTest::addColumn<QStringList>("selected");
        QTest::addColumn<int>("action");
        QTest::addColumn<QString>("keyword");
        QTest::addColumn<bool>("on");
        QTest::addColumn<QStringList>("touched");
        const int read = MailAction::ToggleRead;
        const int flag = MailAction::ToggleFlag;
        QTest::newRow("read marks every unseen message")
            << QStringList{"a1", "a2", "b1"} << QStringList{} << QStringList{"ta", "tb"} << read
            << "$seen" << true << QStringList{"a1", "a2", "b1"};
        QTest::newRow("unread marks each anchor only")
            << QStringList{} << QStringList{} << QStringList{"ta", "tb"} << read << "$seen" << false
            << QStringList{"a3", "b2"};
        QTest::newRow("flag marks the anchors of unflagged threads")
            << QStringList{} << QStringList{"b1"} << QStringList{"ta", "tb"} << flag << "$flagged"
            << true << QStringList{"a3"};
        QTest::newRow("unflag clears every flagged message")
            << QStringList{} << QStringList{"a1", "a2"} << QStringList{"ta"} << flag << "$flagged"
            << false << QStringList{"a1", "a2"};
        QTest::newRow("nothing selected") << QStringList{"a1"} << QStringList{} << QStringList{}
                                          << read << "$seen" << true << QStringList{};
    }

    void toggleReadAndFlagTouchExactlyTheseMessages()
    {
        QFETCH(QStringList, unread);
        QFETCH(QStringList, flagged);
        QFETCH(QStringList, selected);
        QFETCH(int, action);
        QFETCH(QString, keyword);
        QFETCH(bool, on);
        QFETCH(QStringList, touched);

        StateFixture f;
        for (const QString id : {"a1", "a2", "a3", "b1", "b2"}) {
            QJsonObject email =
                FakeMailServer::email(id, QStringLiteral("t") + id.at(0), "in",
                                      10 - id.at(1).digitValue(), !unread.contains(id));
            if (flagged.contains(id)) {
                QJsonObject keywords = email["keywords"].toObject();
                keywords.insert("$flagged", true);
                email.insert("keywords", keywords);
            }
            f.server.add(email);
        }
        auto state = connected(f);
        QCOMPARE(threadIds(*state), (QStringList{"ta", "tb"}));
        state->setSelectedThreadIds(QSet<QString>(selected.cbegin(), selected.cend()));
        const qsizetype before = f.network.batches().size();

        state->perform(MailAction::Value(action));
        if (touched.isEmpty()) {
            QCOMPARE(f.network.batches().size(), before);
            return;
        }
        QTRY_COMPARE(trail(f.network, before), (QStringList{"Email/set", "Mailbox/get"}));
        QJsonObject expected;
        for (const QString& id : touched)
            expected.insert(id,
                            QJsonObject{{"keywords/" + keyword,
                                         on ? QJsonValue(true) : QJsonValue(QJsonValue::Null)}});
        QCOMPARE(lastUpdate(f.server), expected);
        // The list already shows the server's new state.
        for (const MailThread& thread : state->threads())
            for (const Email& email : thread.emails)
                QCOMPARE(email.keywords.contains(keyword),
                         f.server.find(email.id)->value("keywords").toObject().contains(keyword));
    }

    void spamGoesToTheChosenFolderOrJunk_data()
    {
        QTest::addColumn<QString>("spamMailboxId");
        QTest::addColumn<bool>("hasJunk");
        // Empty when nothing moves.
        QTest::addColumn<QString>("destination");
        QTest::newRow("chosen folder") << "own" << true << "own";
        QTest::newRow("stale choice falls back to junk") << "gone" << true << "junk";
        QTest::newRow("no choice") << "" << true << "junk";
        QTest::newRow("stale choice and no junk") << "gone" << false << "";
    }

    void spamGoesToTheChosenFolderOrJunk()
    {
        QFETCH(QString, spamMailboxId);
        QFETCH(bool, hasJunk);
        QFETCH(QString, destination);

        StateFixture f;
        f.server.addThreads(2);
        f.server.mailboxes.append(FakeMailServer::mailbox("own", "Own Spam", "", 8));
        if (hasJunk)
            f.server.mailboxes.append(FakeMailServer::mailbox("junk", "Junk", "junk", 4));
        auto state = connected(f);
        AppConfig config = state->config();
        if (!spamMailboxId.isEmpty())
            config.spamMailboxId = spamMailboxId;
        state->setConfig(config);
        state->setSelectedThreadId(QStringLiteral("t1"));
        StateFixture::settle(*state);

        state->perform(MailAction::Spam);
        if (destination.isEmpty()) {
            QCOMPARE(state->errorMessage(),
                     std::optional<QString>("This account has no junk mailbox."));
            QCOMPARE(state->selectedThreadId(), std::optional<QString>("t1"));
            QCOMPARE(state->threads().size(), 2);
            return;
        }
        QVERIFY(!state->errorMessage());
        QTRY_COMPARE(mailboxesOf(f.server, "e1"), QStringList{destination});
        QCOMPARE(state->selectedThreadId(), std::optional<QString>("t2"));
    }

    void markAllReadRunsInRounds()
    {
        StateFixture f;
        for (int n = 1; n <= 5; ++n)
            f.server.add(FakeMailServer::email(QStringLiteral("e%1").arg(n),
                                               QStringLiteral("t%1").arg(n), "in", n, false));
        f.server.add(FakeMailServer::email("x1", "tx", "arch", 9, false));
        auto state = connected(f, [](AppEnvironment& env) { env.markAllReadBatchSize = 2; });
        const qsizetype before = f.network.batches().size();

        state->markAllRead(QStringLiteral("in"));
        // At once: no unread thread on show.
        for (const MailThread& thread : state->threads())
            QVERIFY(!thread.isUnread());
        QCOMPARE(state->mailbox(QStringLiteral("in"))->unreadEmails, 0);
        // Rounds of two, the last one short; then the counts.
        QTRY_COMPARE(trail(f.network, before),
                     (QStringList{"Email/query", "Email/set", "Email/query", "Email/set",
                                  "Email/query", "Email/set", "Mailbox/get"}));
        for (int n = 1; n <= 5; ++n)
            QVERIFY(
                f.server.find(QStringLiteral("e%1").arg(n))->value("keywords")["$seen"].toBool());
        QVERIFY(!f.server.find("x1")->value("keywords").toObject().contains("$seen"));
        // An unknown mailbox asks nothing.
        const qsizetype after = f.network.batches().size();
        state->markAllRead(QStringLiteral("nowhere"));
        QCOMPARE(f.network.batches().size(), after);
    }

    void notificationArchivePatchesOneMessage()
    {
        StateFixture f;
        f.server.addThreads(2);
        auto state = connected(f);
        const qsizetype before = f.network.batches().size();
        state->archiveFromInbox(QStringLiteral("e2"));
        // Nothing on screen until the server has answered; no toast.
        QCOMPARE(state->threads().size(), 2);
        QTRY_COMPARE(threadIds(*state), QStringList{"t1"});
        QVERIFY(!state->toast());
        QCOMPARE(trail(f.network, before).mid(0, 3),
                 (QStringList{"Email/set", "Mailbox/get", "Email/query"}));
        QCOMPARE(
            f.server.batchesWith("Email/set").last().methodCalls().at(0).toArray().at(1)["update"],
            QJsonObject({{"e2", QJsonObject{{"mailboxIds/in", QJsonValue::Null},
                                            {"mailboxIds/arch", true}}}}));
        QCOMPARE(mailboxesOf(f.server, "e2"), QStringList{"arch"});
    }

    void demoMailMovesOnScreen()
    {
        StateFixture f;
        auto state = f.make(50, [](AppEnvironment& env) { env.demo = true; });
        state->loadDemoData();
        QUndoStack stack;
        state->setWindowServices({&stack, {}, {}});
        const QStringList listed = threadIds(*state);
        QVERIFY(listed.size() > 2);
        state->setSelectedThreadId(listed.at(1));
        const qsizetype before = f.network.requests().size();

        state->perform(MailAction::Archive);
        QCOMPARE(state->toast()->message, QStringLiteral("Conversation archived"));
        QCOMPARE(state->selectedThreadId(), std::optional(listed.at(2)));
        QVERIFY(!threadIds(*state).contains(listed.at(1)));
        // It stays archived when the inbox is shown again, and the undo brings it back.
        state->mailboxChanged();
        QVERIFY(!threadIds(*state).contains(listed.at(1)));
        stack.undo();
        QCOMPARE(threadIds(*state), listed);
        QCOMPARE(f.network.requests().size(), before);
    }

    void folderChoicesAreSaved()
    {
        StateFixture f;
        QJsonObject projects = FakeMailServer::mailbox("p", "Projects", "", 10);
        QJsonObject veldrin = FakeMailServer::mailbox("v", "Veldrin", "", 11);
        veldrin.insert("parentId", "p");
        // Parent links that loop do not hold the walk up.
        QJsonObject loopA = FakeMailServer::mailbox("la", "Loop A", "", 12);
        loopA.insert("parentId", "lb");
        QJsonObject loopB = FakeMailServer::mailbox("lb", "Loop B", "", 13);
        loopB.insert("parentId", "la");
        for (const QJsonObject& box : {projects, veldrin, loopA, loopB})
            f.server.mailboxes.append(box);
        auto state = connected(f);
        state->toggleCollapsed("p");
        state->toggleCollapsed("lb");

        state->goToMailbox(*state->mailbox(QStringLiteral("v")));
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("v"));
        state->goToMailbox(*state->mailbox(QStringLiteral("la")));
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("la"));
        state->setHidesWhenEmpty("v", true);
        state->setShowsTotalCount("in", true);
        state->setShowsTotalCount("in", true);
        state->moveMailbox("sent", 0);
        AppConfig saved = state->configStore().load();
        QCOMPARE(saved.collapsedMailboxes, QStringList());
        QCOMPARE(saved.hideWhenEmpty, QStringList{"v"});
        QCOMPARE(saved.showTotalCount, QStringList{"in"});
        QVERIFY(state->hidesWhenEmpty("v") && state->showsTotalCount("in"));
        QCOMPARE(saved.mailboxOrder.value(0), QStringLiteral("sent"));

        state->setHidesWhenEmpty("v", false);
        state->resetFolderOrder();
        saved = state->configStore().load();
        QVERIFY(saved.hideWhenEmpty.isEmpty() && saved.mailboxOrder.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestActions)
#include "tst_actions.moc"
