#include "StateFixture.h"

#include <QFileInfo>
#include <QImage>
#include <QSignalSpy>

using namespace AsyncTest;

namespace {

QStringList openIds(const AppState& state)
{
    QStringList ids;
    for (const Email& email : state.openEmails())
        ids.append(email.id);
    return ids;
}

// The ids that Email/set batches marked with this keyword, in order.
QStringList marked(const FakeMailServer& server, const QString& keyword)
{
    QStringList ids;
    for (const RecordedRequest& batch : server.batchesWith("Email/set")) {
        const QJsonObject update = batch.methodCalls().at(0).toArray().at(1)["update"].toObject();
        for (auto it = update.begin(); it != update.end(); ++it)
            if (it.value().toObject().contains("keywords/" + keyword))
                ids.append(it.key());
    }
    return ids;
}

// Thread/get batches that asked for these thread ids.
int threadFetches(const FakeMailServer& server, const QStringList& ids)
{
    int count = 0;
    for (const RecordedRequest& batch : server.batchesWith("Thread/get"))
        if (batch.callArguments("thread").value("ids").toVariant().toStringList() == ids)
            ++count;
    return count;
}

void select(AppState& state, const QString& threadId)
{
    state.setSelectedThreadId(threadId);
    state.threadSelectionChanged();
}

} // namespace

class TestOpenThread : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void openingExpandsWhatIsNewAndMarksItRead_data()
    {
        // Each message: "r" read, "u" unread, "d" unread draft.
        QTest::addColumn<QString>("messages");
        QTest::addColumn<QStringList>("expanded");
        QTest::addColumn<QString>("scrollTarget");
        QTest::addColumn<QStringList>("markedRead");
        QTest::newRow("two unread of five")
            << "rurur" << QStringList{"m2", "m4", "m5"} << "m1" << QStringList{"m2", "m4"};
        QTest::newRow("first unread")
            << "urr" << QStringList{"m1", "m3"} << "m1" << QStringList{"m1"};
        QTest::newRow("one read") << "r" << QStringList{"m1"} << "m1" << QStringList{};
        QTest::newRow("draft in the middle") << "rdr" << QStringList{"m3"} << "m2" << QStringList{};
        QTest::newRow("draft last") << "rrd" << QStringList{"m3"} << "m2" << QStringList{};
    }

    void openingExpandsWhatIsNewAndMarksItRead()
    {
        QFETCH(QString, messages);
        QFETCH(QStringList, expanded);
        QFETCH(QString, scrollTarget);
        QFETCH(QStringList, markedRead);
        StateFixture f;
        for (int i = 0; i < messages.size(); ++i) {
            QJsonObject email = FakeMailServer::email(QStringLiteral("m%1").arg(i + 1), "t1", "in",
                                                      100 - i, messages.at(i) == u'r');
            if (messages.at(i) == u'd')
                email["keywords"] = QJsonObject{{"$draft", true}};
            f.server.add(email);
        }
        auto state = f.connected();
        state->setFocusedEmailId(QStringLiteral("elsewhere"));
        QSignalSpy scrolls(state.get(), &AppState::scrollRequestChanged);
        select(*state, "t1");
        QTRY_VERIFY(!state->isLoadingThread());
        QCOMPARE(openIds(*state).size(), messages.size());
        QCOMPARE(state->expandedEmailIds(), QSet<QString>(expanded.cbegin(), expanded.cend()));
        QCOMPARE(state->scrollTargetEmailId(), std::optional<QString>(scrollTarget));
        QCOMPARE(scrolls.count(), 1);
        QVERIFY(!state->focusedEmailId());
        QTRY_COMPARE(marked(f.server, "$seen"), markedRead);
        // A mark is followed by fresh unread counts.
        QTRY_COMPARE(f.server.batchesWith("Mailbox/get").size(), markedRead.isEmpty() ? 1 : 2);
        StateFixture::settle(*state);
        // Marked on screen at once: in the list, the reader and the cache.
        if (!markedRead.isEmpty()) {
            QVERIFY(!state->selectedThread()->isUnread());
            for (const Email& email : state->openEmails())
                QVERIFY(email.isSeen() || email.isDraft());
            const QList<Email> cached = state->threadCache().emails("t1").value();
            for (const Email& email : cached)
                QVERIFY(email.isSeen() || email.isDraft());
        }
    }

    void cachedThreadShowsAtOnceAndKeepsTheUsersArrangement()
    {
        StateFixture f;
        f.server.addThreads(12);
        f.server.add(FakeMailServer::email("e5b", "t5", "in", 600, false));
        auto state = f.connected();
        const auto before = f.network.batches().size();
        // t5 came with the first eight: it is on screen in the same turn, while the network holds
        // every answer back.
        f.network.setHolding(true);
        state->setSelectedThreadId(QStringLiteral("t5"));
        state->threadSelectionChanged();
        QCOMPARE(openIds(*state), (QStringList{"e5b", "e5"}));
        QVERIFY(state->isLoadingThread());
        state->toggleExpanded(QStringLiteral("e5b"));
        QCOMPARE(state->focusedEmailId(), std::optional<QString>("e5b"));
        QCOMPARE(state->expandedEmailIds(), QSet<QString>{"e5"});
        f.network.setHolding(false);
        f.network.releaseAll();
        // The fresh copy replaces the messages and leaves expansion and focus alone; its four
        // neighbours are fetched ahead, those not cached yet, in one call.
        QTRY_VERIFY(!state->isLoadingThread());
        QCOMPARE(state->expandedEmailIds(), QSet<QString>{"e5"});
        QCOMPARE(state->focusedEmailId(), std::optional<QString>("e5b"));
        QTRY_COMPARE(f.network.batches().size(), before + 3); // thread, mark read, mailboxes
        StateFixture::settle(*state);
        QCOMPARE(threadFetches(f.server, {"t5"}), 1);

        select(*state, "t8");
        QTRY_VERIFY(!state->isLoadingThread());
        StateFixture::settle(*state);
        QCOMPARE(threadFetches(f.server, {"t9", "t10"}), 1);

        // The first row has only the two below as neighbours, both cached: no prefetch.
        auto requests = f.network.batches().size();
        select(*state, "t1");
        QTRY_VERIFY(!state->isLoadingThread());
        StateFixture::settle(*state);
        QCOMPARE(f.network.batches().size(), requests + 1);

        // A thread not fetched ahead is on screen after one round trip; then t11 is fetched ahead.
        requests = f.network.batches().size();
        f.network.setHolding(true);
        select(*state, "t12");
        QVERIFY(openIds(*state).isEmpty());
        QTRY_COMPARE(f.network.heldCount(), 1);
        f.network.setHolding(false);
        f.network.release(0);
        QTRY_COMPARE(openIds(*state), QStringList{"e12"});
        StateFixture::settle(*state);
        QCOMPARE(f.network.batches().size(), requests + 2);
        QCOMPARE(threadFetches(f.server, {"t11"}), 1);

        // Two selected threads close the reader.
        state->setFocusedEmailId(QStringLiteral("e1"));
        state->setSelectedThreadIds({"t1", "t2"});
        state->threadSelectionChanged();
        QVERIFY(state->openEmails().isEmpty());
        QVERIFY(!state->isLoadingThread());
        QVERIFY(!state->focusedEmailId());
    }

    void lateThreadIsDroppedAndOnlyTheLatestFailureSpeaks()
    {
        StateFixture f;
        f.server.addThreads(12);
        auto state = f.connected();
        f.network.setHolding(true);
        select(*state, "t11");
        select(*state, "t1");
        QTRY_COMPARE(f.network.heldCount(), 2);
        f.network.release(1);
        QTRY_VERIFY(!state->isLoadingThread());
        f.network.release(0);
        f.network.setHolding(false);
        f.network.releaseAll();
        StateFixture::settle(*state);
        QCOMPARE(openIds(*state), QStringList{"e1"});
        // Its neighbours were cached already, so only the dropped answer could have stored t11.
        QVERIFY(!state->threadCache().contains("t11"));

        // A failure of a thread the user has left is silent; of the one on show, it is reported.
        f.network.setHolding(true);
        f.network.respondWithError("Thread/get", "serverFail", "thread store down");
        select(*state, "t11");
        select(*state, "t10");
        QTRY_COMPARE(f.network.heldCount(), 2);
        f.network.release(0);
        QTest::qWait(0);
        QVERIFY(!state->errorMessage());
        QVERIFY(state->isLoadingThread());
        f.network.release(0);
        QTRY_VERIFY(state->errorMessage());
        QVERIFY(state->errorMessage()->contains("thread store down"));
        QVERIFY(!state->isLoadingThread());
        QVERIFY(state->openEmails().isEmpty());
    }

    void refreshReloadsTheReaderOnlyWhenMessagesJoinOrLeave()
    {
        StateFixture f;
        f.server.addThreads(3);
        f.server.add(FakeMailServer::email("e1b", "t1", "in", 50));
        auto state = f.connected();
        select(*state, "t1");
        QTRY_VERIFY(!state->isLoadingThread());
        StateFixture::settle(*state);
        QCOMPARE(state->expandedEmailIds(), QSet<QString>{"e1"});

        // Only a flag changed: the reader is left alone.
        f.server.find("e1b")->insert("keywords", QJsonObject{{"$seen", true}, {"$flagged", true}});
        await(state->refresh());
        QCOMPARE(threadFetches(f.server, {"t1"}), 1);

        // A reply joined: the thread is read again, the new message is listed but not opened.
        f.server.add(FakeMailServer::email("e1c", "t1", "in", 0, false));
        await(state->refresh());
        QTRY_COMPARE(openIds(*state), (QStringList{"e1b", "e1", "e1c"}));
        QCOMPARE(threadFetches(f.server, {"t1"}), 2);
        QCOMPARE(state->expandedEmailIds(), QSet<QString>{"e1"});
    }

    void notificationOpensItsThreadWhenAPageHoldsIt()
    {
        StateFixture f;
        f.server.addThreads(4);
        f.server.add(FakeMailServer::email("a1", "ta", "arch", 5));
        auto state = f.connected(2);
        // On show and no search: selected at once, no request.
        const auto before = f.network.batches().size();
        state->openInboxThread(QStringLiteral("t2"));
        QCOMPARE(state->selectedThreadId(), std::optional<QString>("t2"));
        QCOMPARE(f.network.batches().size(), before);

        // Under a search: the search is cleared and the first page selects it, if it holds it.
        state->setSearchText(QStringLiteral("t3"));
        await(state->search());
        state->openInboxThread(QStringLiteral("t4"));
        QVERIFY(state->searchText().isEmpty());
        QTRY_COMPARE(state->threads().size(), 2);
        QVERIFY(state->selectedThreadIds().isEmpty());
        f.server.emails.removeIf([](const QJsonObject& e) { return e["id"] == "e1"; });
        f.server.emails.removeIf([](const QJsonObject& e) { return e["id"] == "e2"; });
        await(state->loadThreads(true));
        QCOMPARE(state->selectedThreadId(), std::optional<QString>("t4"));

        // From another mailbox: the inbox is chosen, and its first page selects the thread.
        state->setSelectedMailboxId(QStringLiteral("arch"));
        state->mailboxChanged();
        QTRY_COMPARE(state->threads().size(), 1);
        state->openInboxThread(QStringLiteral("t3"));
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("in"));
        state->mailboxChanged(); // as the main window does on a change of mailbox
        QTRY_COMPARE(state->selectedThreadId(), std::optional<QString>("t3"));
    }

    void demoMailReadsWithoutNetwork()
    {
        StateFixture f;
        auto state = f.make(50, [](AppEnvironment& environment) { environment.demo = true; });
        state->start([](QUuid) {});
        QVERIFY(state->threads().size() >= 15 && state->threads().size() <= 25);
        QCOMPARE(state->totalThreads(), state->threads().size());
        const auto flagged =
            std::count_if(state->threads().cbegin(), state->threads().cend(),
                          [](const MailThread& thread) { return thread.isFlagged(); });
        QVERIFY(flagged > 0);

        // A thread opens complete, and its inline image and attachment come from the demo bytes.
        bool sawImage = false, sawAttachment = false;
        for (const MailThread& thread : state->threads()) {
            select(*state, thread.id);
            QCOMPARE(state->openEmails(), thread.emails);
            QVERIFY(!state->isLoadingThread());
            for (const Email& email : state->openEmails()) {
                QVERIFY(email.bodyValues && !email.bodyValues->isEmpty());
                for (const BodyPart& part : email.inlineParts()) {
                    QImage image;
                    QVERIFY(image.loadFromData(await(state->partData(part)), "PNG"));
                    sawImage = true;
                }
                for (const BodyPart& part : email.listedAttachments()) {
                    const QString path = await(state->attachmentFile(part));
                    QVERIFY(path.startsWith(f.home.filePath("cache")));
                    QVERIFY(QFileInfo(path).size() > 0);
                    sawAttachment = true;
                }
            }
        }
        QVERIFY(sawImage && sawAttachment);
        state->showRawMessage(state->openEmails().constLast());
        QVERIFY(state->rawMessage()->source->startsWith("From: "));

        // Other mailboxes and the search field work on the demo mail too.
        state->setSelectedMailboxId(QStringLiteral("archive"));
        state->mailboxChanged();
        QVERIFY(!state->threads().isEmpty());
        state->setSelectedMailboxId(QStringLiteral("inbox"));
        state->mailboxChanged();
        state->setSearchText(QStringLiteral("kitchen"));
        await(state->search());
        QCOMPARE(state->threads().size(), 1);
        QVERIFY(f.network.requests().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestOpenThread)
#include "tst_openthread.moc"
