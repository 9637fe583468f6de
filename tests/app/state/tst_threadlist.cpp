#include "StateFixture.h"
#include "app/state/ThreadCache.h"

#include <QSignalSpy>

using namespace AsyncTest;

namespace {

QStringList threadIds(const AppState& state)
{
    QStringList ids;
    for (const MailThread& thread : state.threads())
        ids.append(thread.id);
    return ids;
}

QStringList prefetched(const FakeMailServer& server)
{
    QStringList ids;
    for (const RecordedRequest& batch : server.batchesWith("Thread/get"))
        for (const QJsonValue& id : batch.callArguments("thread").value("ids").toArray())
            ids.append(id.toString());
    return ids;
}

Email cachedEmail(const QString& id)
{
    Email email;
    email.id = id;
    return email;
}

} // namespace

class TestThreadList : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void firstPageArrivesWithConnectAndPrefetchesTheTop()
    {
        StateFixture f;
        f.server.addThreads(12);
        auto state = f.make(10);
        QSignalSpy loading(state.get(), &AppState::isLoadingListChanged);
        await(state->connect());
        QCOMPARE(threadIds(*state).size(), 10);
        QCOMPARE(threadIds(*state).first(), QString("t1"));
        QCOMPARE(state->totalThreads(), qint64(12));
        QVERIFY(!state->isLoadingList());
        QCOMPARE(loading.count(), 2);
        // One session, then at most four requests until the first page is on screen: mailboxes,
        // identities, the page, and beside it the sent mail's recipients.
        int sessions = 0;
        for (const RecordedRequest& request : f.network.requests())
            sessions += request.url == FakeNetwork::sessionUrl();
        QCOMPARE(sessions, 1);
        const QList<RecordedRequest> batches = f.network.batches();
        qsizetype page = 0;
        while (page < batches.size() && !batches.at(page).methodNames().contains("Thread/get"))
            ++page;
        QVERIFY2(page < 4, qPrintable(QString::number(page + 1)));
        QCOMPARE(batches.at(page).callArguments("query").value("limit").toInt(), 10);
        // The list's senders feed address suggestions, without counting as uses.
        QVERIFY(state->addressBook().entries.contains("e3@example.com"));
        QCOMPARE(state->addressBook().entries.value("e3@example.com").uses, 0);

        // The first eight rows are fetched ahead in one call.
        StateFixture::settle(*state);
        QCOMPARE(prefetched(f.server),
                 (QStringList{"t1", "t2", "t3", "t4", "t5", "t6", "t7", "t8"}));
        QVERIFY(state->threadCache().contains("t8"));
        QVERIFY(!state->threadCache().contains("t9"));

        // A refresh of the same list takes the counts and the page, a round trip each, and
        // prefetches nothing that the cache already holds.
        const auto before = f.network.batches().size();
        await(state->refresh());
        StateFixture::settle(*state);
        QCOMPARE(f.network.batches().size(), before + 2);
        QCOMPARE(f.server.batchesWith("Thread/get").size(), 1);
    }

    void furtherPageAddsOnlyUnlistedThreads()
    {
        StateFixture f;
        f.server.addThreads(6);
        auto state = f.connected(3);
        state->setSelectedThreadId(QStringLiteral("t2"));
        // New mail moves the server's positions: the next page starts with a listed thread.
        f.server.add(FakeMailServer::email("e0", "t0", "in", 0));
        const auto before = f.network.batches().size();
        await(state->loadThreads(false));
        StateFixture::settle(*state);
        QCOMPARE(f.network.batches().size(), before + 1); // the page, and no prefetch
        const RecordedRequest page = f.server.batchesWith("Email/query").constLast();
        QCOMPARE(page.callArguments("query").value("position").toInt(), 3);
        QCOMPARE(page.callArguments("query").value("limit").toInt(), 3);
        QCOMPARE(threadIds(*state), (QStringList{"t1", "t2", "t3", "t4", "t5"}));
        QCOMPARE(state->totalThreads(), qint64(7));
        QCOMPARE(state->selectedThreadId(), std::optional<QString>("t2"));

        // A refresh asks for as many as are on show, so the list keeps its length.
        await(state->refresh());
        const RecordedRequest refreshed = f.server.batchesWith("Email/query").constLast();
        QCOMPARE(refreshed.callArguments("query").value("position").toInt(), 0);
        QCOMPARE(refreshed.callArguments("query").value("limit").toInt(), 5);
        QCOMPARE(threadIds(*state), (QStringList{"t0", "t1", "t2", "t3", "t4"}));
        // The reset asks for one page again.
        await(state->loadThreads(true));
        QCOMPARE(threadIds(*state), (QStringList{"t0", "t1", "t2"}));
    }

    void latePageIsDroppedAndLoadingEndsWithTheNewest()
    {
        StateFixture f;
        f.server.addThreads(2, "in");
        f.server.add(FakeMailServer::email("a1", "ta", "arch", 5));
        auto state = f.connected();
        state->setSelectedThreadId(QStringLiteral("t1"));
        state->setSearchText(QStringLiteral("Subject"));
        f.network.setHolding(true);
        QSignalSpy changes(state.get(), &AppState::threadsChanged);
        const auto inboxPage = state->loadThreads(true);
        state->setSelectedMailboxId(QStringLiteral("arch"));
        state->mailboxChanged();
        // No stale rows, selection or search while the new mailbox loads.
        QCOMPARE(changes.count(), 1);
        QVERIFY(state->threads().isEmpty() && state->selectedThreadIds().isEmpty());
        QVERIFY(state->searchText().isEmpty());
        QCOMPARE(state->totalThreads(), qint64(0));
        QTRY_COMPARE(f.network.heldCount(), 2);
        QVERIFY(state->isLoadingList());

        // The archive answers first; the inbox's late page changes nothing.
        f.network.release(1);
        QTRY_COMPARE(threadIds(*state), QStringList{"ta"});
        QVERIFY(!state->isLoadingList());
        f.network.release(0);
        QTRY_VERIFY(f.server.batchesWith("Thread/get").size() >= 1); // its prefetch went out
        f.network.setHolding(false);
        f.network.releaseAll();
        StateFixture::settle(*state);
        QCOMPARE(threadIds(*state), QStringList{"ta"});
        QCOMPARE(changes.count(), 2);

        // In the other order the newest page is the one kept, and loading ends only with it.
        f.network.setHolding(true);
        state->setSelectedMailboxId(QStringLiteral("in"));
        state->mailboxChanged();
        state->loadThreads(true);
        QTRY_COMPARE(f.network.heldCount(), 2);
        f.network.release(0);
        QTest::qWait(0);
        QVERIFY(state->isLoadingList());
        QVERIFY(state->threads().isEmpty());
        f.network.release(0);
        QTRY_COMPARE(threadIds(*state), (QStringList{"t1", "t2"}));
        QVERIFY(!state->isLoadingList());
    }

    void staleFailureIsStillReported()
    {
        StateFixture f;
        f.server.addThreads(3);
        auto state = f.connected();
        f.network.setHolding(true);
        f.network.respondWithError("Email/query", "serverFail", "disk on fire");
        state->loadThreads(true);
        f.server.serve(); // the next call answers normally
        f.server.emails.clear();
        f.server.addThreads(1);
        state->loadThreads(true);
        QTRY_COMPARE(f.network.heldCount(), 2);
        f.network.release(1);
        QTRY_COMPARE(threadIds(*state), QStringList{"t1"});
        f.network.release(0);
        QTRY_VERIFY(state->errorMessage());
        QVERIFY(state->errorMessage()->contains("disk on fire"));
        QCOMPARE(threadIds(*state), QStringList{"t1"});
        QVERIFY(!state->isLoadingList());
    }

    void pageFromTheStartKeepsSurvivingSelection()
    {
        StateFixture f;
        f.server.addThreads(4);
        auto state = f.connected();
        state->setSelectedThreadIds({"t1", "t3"});
        QVERIFY(!state->selectedThread());
        QCOMPARE(state->selectedThreads().size(), 2);
        // t3 leaves the inbox: the other stays selected and is now the one open thread.
        f.server.find("e3")->insert("mailboxIds", QJsonObject{{"arch", true}});
        await(state->refresh());
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"t1"});
        QCOMPARE(state->selectedThread()->id, QString("t1"));

        // An empty page empties list, count and selection, and prefetches nothing.
        f.server.emails.clear();
        const auto calls = f.network.batches().size();
        await(state->loadThreads(true));
        QVERIFY(state->threads().isEmpty());
        QCOMPARE(state->totalThreads(), qint64(0));
        QVERIFY(state->selectedThreadIds().isEmpty());
        StateFixture::settle(*state);
        QCOMPARE(f.network.batches().size(), calls + 1);
    }

    void searchNarrowsTheList()
    {
        StateFixture f;
        f.server.addThreads(12);
        auto state = f.connected(5);
        state->setSearchText(QStringLiteral("t1"));
        QCOMPARE(threadIds(*state).size(), 5); // typing fetches nothing
        await(state->search());
        QCOMPARE(threadIds(*state), (QStringList{"t1", "t10", "t11", "t12"}));
        QCOMPARE(state->totalThreads(), qint64(4));
        // A refresh during a search refreshes the search.
        await(state->refresh());
        QCOMPARE(threadIds(*state).size(), 4);
        state->setSearchText(QString());
        await(state->search());
        QCOMPARE(threadIds(*state).size(), 5);
    }

    void cacheEvictsByAgeOfLastStore()
    {
        ThreadCache cache(3);
        cache.store({cachedEmail("a1")}, "a");
        cache.store({cachedEmail("b1")}, "b");
        cache.store({cachedEmail("c1")}, "c");
        // Reading does not make a thread younger; storing again does, and evicts nothing.
        QVERIFY(cache.emails("a"));
        cache.store({cachedEmail("b1"), cachedEmail("b2")}, "b");
        QCOMPARE(cache.order, (QStringList{"a", "c", "b"}));
        QCOMPARE(cache.emails("b")->size(), 2);
        cache.store({cachedEmail("d1")}, "d");
        QCOMPARE(cache.order, (QStringList{"c", "b", "d"}));
        QVERIFY(!cache.emails("a"));
        QCOMPARE(cache.emailsByThread.size(), 3);

        cache.setKeyword("$seen", true, [](const Email& email) { return email.id == "b2"; });
        QVERIFY(cache.emails("b")->at(1).isSeen());
        QVERIFY(!cache.emails("b")->at(0).isSeen());
        cache.setKeyword("$seen", false, [](const Email&) { return true; });
        QVERIFY(!cache.emails("b")->at(1).isSeen());
        QCOMPARE(cache.order, (QStringList{"c", "b", "d"}));
        cache.removeAll();
        QVERIFY(cache.order.isEmpty() && cache.emailsByThread.isEmpty());
        QCOMPARE(cache.capacity, 3);
    }
};

QTEST_GUILESS_MAIN(TestThreadList)
#include "tst_threadlist.moc"
