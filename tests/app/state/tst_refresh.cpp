#include "StateFixture.h"
#include "app/state/PushListener.h"
#include "app/state/RefreshLoop.h"

#include <QSignalSpy>

using namespace AsyncTest;

namespace {

const QString eventPrefix = QStringLiteral("https://jmap.example.test/jmap/event/");

// Each refresh (and connect) reads the mailboxes once.
int mailboxReads(const FakeNetwork& network)
{
    int count = 0;
    for (const RecordedRequest& batch : network.batches())
        count += batch.methodNames() == QStringList{"Mailbox/get"};
    return count;
}

FakeStreamReply* lastStream(const FakeNetwork& network)
{
    const auto streams = network.streams();
    return streams.isEmpty() ? nullptr : streams.constLast().data();
}

} // namespace

class TestRefresh : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pushRefreshesOnChangesAndOnEveryConnectedButTheFirst()
    {
        StateFixture f;
        f.server.addThreads(2);
        f.network.setStreamPrefix(eventPrefix);
        auto state = f.connected();
        QTRY_VERIFY(state->isPushLive());
        QVERIFY(lastStream(f.network)->url().query().contains("types=Email,Mailbox"));
        QCOMPARE(mailboxReads(f.network), 1); // only connect's

        f.server.add(FakeMailServer::email("e0", "t0", "in", 0));
        lastStream(f.network)->push("event: state\ndata: {\"changed\":{}}\n\n");
        QTRY_COMPARE(mailboxReads(f.network), 2);
        QTRY_COMPARE(state->threads().size(), 3);

        // The stream drops: not live until it is back, and the reconnect counts as a change.
        QSignalSpy live(state->findChild<PushListener*>(), &PushListener::liveChanged);
        lastStream(f.network)->failStream(QNetworkReply::RemoteHostClosedError, "closed");
        QTRY_COMPARE(f.network.streams().size(), 2);
        QCOMPARE(live.value(0), QVariantList{false});
        QTRY_COMPARE(mailboxReads(f.network), 3);
        QVERIFY(state->isPushLive());
        QVERIFY(!state->errorMessage());
    }

    void backOffDoublesUpToTheMaximumAndAnEventResetsIt()
    {
        StateFixture f;
        f.network.setStreamPrefix(eventPrefix, 503);
        auto state = f.connected();
        auto* listener = state->findChild<PushListener*>();
        QVERIFY(listener);
        QSignalSpy retries(listener, &PushListener::retryScheduled);
        QTRY_VERIFY(retries.count() >= 5);
        QList<qint64> delays;
        for (const auto& retry : retries)
            delays.append(retry.at(0).toLongLong());
        // Doubling from 10 ms, held at 40 ms (the spy may have joined after the first pause).
        QVERIFY(delays.first() == 10 || delays.first() == 20 || delays.first() == 40);
        for (qsizetype i = 1; i < delays.size(); ++i)
            QCOMPARE(delays.at(i), std::min<qint64>(delays.at(i - 1) * 2, 40));
        QCOMPARE(delays.constLast(), 40);
        QVERIFY(!state->isPushLive());
        QVERIFY(!state->errorMessage()); // push failures are silent

        // A stream that delivers an event starts the pauses over.
        f.network.setStreamPrefix(eventPrefix, 200);
        QTRY_VERIFY(state->isPushLive());
        retries.clear();
        lastStream(f.network)->failStream(QNetworkReply::RemoteHostClosedError, "closed");
        QTRY_COMPARE(retries.count(), 1);
        QCOMPARE(retries.first().at(0).toLongLong(), 10);
    }

    void reconnectEndsTheOldListenerFirst()
    {
        StateFixture f;
        f.server.addThreads(2);
        f.network.setStreamPrefix(eventPrefix);
        auto state = f.connected();
        QTRY_VERIFY(state->isPushLive());
        QPointer<PushListener> first = state->findChild<PushListener*>();
        QPointer<FakeStreamReply> firstStream = lastStream(f.network);
        await(state->connect());
        QVERIFY(!first);
        QVERIFY(!firstStream || firstStream->wasAborted());
        QCOMPARE(state->findChildren<PushListener*>().size(), 1);
        QTRY_VERIFY(state->isPushLive());
        QCOMPARE(f.network.streams().size(), 2);

        // Removing the token ends the listener and the cache with the connection.
        StateFixture::settle(*state);
        QCOMPARE(state->threadCache().order.size(), 2);
        f.keychain.data.reset();
        await(state->connect());
        QVERIFY(state->findChildren<PushListener*>().isEmpty());
        QVERIFY(!state->isPushLive());
        QVERIFY(state->threadCache().order.isEmpty());
    }

    void timerIdlesWhilePushIsLive()
    {
        StateFixture f;
        f.server.addThreads(1);
        f.network.setStreamPrefix(eventPrefix);
        auto state = f.make(50, [](AppEnvironment& environment) {
            // A dropped stream stays down for the rest of the test.
            environment.timing.pushFirstDelay = std::chrono::hours(1);
        });
        state->start([](QUuid) {});
        auto* loop = state->findChild<RefreshLoop*>();
        QVERIFY(loop);
        QTRY_VERIFY(state->isPushLive());
        QSignalSpy turns(loop, &RefreshLoop::turned);
        QTRY_VERIFY(turns.count() >= 3);
        QCOMPARE(mailboxReads(f.network), 1);

        lastStream(f.network)->failStream(QNetworkReply::RemoteHostClosedError, "closed");
        QTRY_VERIFY(mailboxReads(f.network) >= 3);
        QCOMPARE(f.network.streams().size(), 1);
        // A second start changes nothing: still one loop.
        state->start([](QUuid) {});
        QCOMPARE(state->findChildren<RefreshLoop*>().size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestRefresh)
#include "tst_refresh.moc"
