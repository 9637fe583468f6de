#include "NotifyFixture.h"

#include <QSignalSpy>

using namespace AsyncTest;

namespace {

struct Fixture : NotifyFixture
{
    std::shared_ptr<RecordingCenter> recorder = std::make_shared<RecordingCenter>();
    QList<qint64> badges;

    Fixture() : NotifyFixture(nullptr, nullptr)
    {
        center = recorder;
        setBadgeCount = [this](qint64 count) { badges.append(count); };
    }
};

QVariantMap info(const QVariant& emailId, const QVariant& threadId)
{
    QVariantMap map;
    if (emailId.isValid())
        map.insert(QStringLiteral("emailId"), emailId);
    if (threadId.isValid())
        map.insert(QStringLiteral("threadId"), threadId);
    return map;
}

void setInboxUnread(FakeMailServer& server, int threads)
{
    QJsonObject inbox = server.mailboxes.at(0).toObject();
    inbox.insert("unreadThreads", threads);
    inbox.insert("unreadEmails", threads * 2);
    server.mailboxes.replace(0, inbox);
}

} // namespace

class TestNotifier : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void announcesOnlyMailThatArrivesAfterTheConnection();
    void quietWhileActiveOrSwitchedOffAndForgetsNothing_data();
    void quietWhileActiveOrSwitchedOffAndForgetsNothing();
    void answersTheNotice_data();
    void answersTheNotice();
    void badgeCountsUnreadInboxConversations();
    void demoModeHasNoNoticesAndNoBadge();
};

void TestNotifier::announcesOnlyMailThatArrivesAfterTheConnection()
{
    Fixture f;
    f.arrive("early", "Early Bird", "Unread before the start", 60);
    f.arrive("ancient", "Old Timer", "Unread for hours", 3 * 3600);
    auto state = f.started();
    QVERIFY(f.recorder->posted.isEmpty());

    f.arrive("n1", "Ann Able", "Lunch?", 30);
    f.arrive("n2", "Ben Bold", "", 20);
    f.server.find("n2")->remove("subject");
    f.arrive("n3", "Cy Clear", "Minutes", 10);
    f.arrive("d1", "Me Myself", "A draft of mine", 5);
    f.server.find("d1")->insert("keywords", QJsonObject{{"$draft", true}});
    await(state->refresh());
    // Oldest first, so the newest ends on top; the draft never.
    QCOMPARE(f.recorder->postedIds(), QStringList({"n1", "n2", "n3"}));
    const NotificationRequest& first = f.recorder->posted.at(0);
    QCOMPARE(first.title, "Ann Able");
    QCOMPARE(first.subtitle, "Lunch?");
    QCOMPARE(first.body, "Preview of Lunch?");
    QCOMPARE(first.threadIdentifier, "t-n1");
    QCOMPARE(first.userInfo, info(QStringLiteral("n1"), QStringLiteral("t-n1")));
    QCOMPARE(first.actions, (QList<NotificationRequest::Action>{{"archive", "Archive"},
                                                                {"markRead", "Mark as Read"}}));
    QCOMPARE(f.recorder->posted.at(1).subtitle, QString()); // no placeholder for no subject

    // Known ids stay known, also through being read and marked unread again.
    f.server.find("n1")->insert("keywords", QJsonObject{{"$seen", true}});
    await(state->refresh());
    f.server.find("n1")->insert("keywords", QJsonObject());
    await(state->refresh());
    QCOMPARE(f.recorder->posted.size(), 3);

    // A reconnect primes again: what came in the gap is not announced, what follows is.
    f.arrive("gap", "Gap Mail", "While away", 4);
    await(state->connect());
    StateFixture::settle(*state);
    QCOMPARE(f.recorder->posted.size(), 3);
    f.arrive("n5", "Eve Later", "After the reconnect", 2);
    await(state->refresh());
    QCOMPARE(f.recorder->postedIds().mid(3), QStringList{"n5"});

    // Opening the thread takes its notice away.
    state->setSelectedThreadId(QStringLiteral("t-n5"));
    state->threadSelectionChanged();
    QTRY_COMPARE(f.recorder->withdrawn, QStringList{"n5"});
}

void TestNotifier::quietWhileActiveOrSwitchedOffAndForgetsNothing_data()
{
    QTest::addColumn<bool>("active");
    QTest::newRow("application active") << true;
    QTest::newRow("setting off") << false;
}

void TestNotifier::quietWhileActiveOrSwitchedOffAndForgetsNothing()
{
    QFETCH(bool, active);
    Fixture f;
    auto state = f.started();
    const auto setNotify = [&state](bool on) {
        AppConfig config = state->config();
        config.notifyNewMail = on;
        state->setConfig(config);
    };

    f.arrive("seen-live", "Ann Able", "Arrives while you look", 10);
    if (active)
        f.active = true;
    else
        setNotify(false);
    await(state->refresh());
    QVERIFY(f.recorder->posted.isEmpty());

    // Back in the background, or switched on: the mail that came meanwhile stays unannounced.
    f.active = false;
    setNotify(true);
    await(state->refresh());
    QVERIFY(f.recorder->posted.isEmpty());
    f.arrive("later", "Ben Bold", "Arrives in the background", 5);
    await(state->refresh());
    QCOMPARE(f.recorder->postedIds(), QStringList{"later"});
}

void TestNotifier::answersTheNotice_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QVariantMap>("userInfo");
    QTest::addColumn<QString>("outcome");
    const QVariantMap both = info(QStringLiteral("n1"), QStringLiteral("t-n1"));
    QTest::newRow("archive") << "archive" << both << "archived";
    QTest::newRow("mark read") << "markRead" << both << "read";
    QTest::newRow("click") << "default" << both << "opened";
    QTest::newRow("no thread id") << "default" << info(QStringLiteral("n1"), {}) << "nothing";
    QTest::newRow("no email id") << "archive" << info({}, QStringLiteral("t-n1")) << "nothing";
    QTest::newRow("thread id not text") << "default" << info(QStringLiteral("n1"), 7) << "nothing";
}

void TestNotifier::answersTheNotice()
{
    QFETCH(QString, action);
    QFETCH(QVariantMap, userInfo);
    QFETCH(QString, outcome);
    Fixture f;
    f.arrive("other", "Zed Zero", "Read me later", 50);
    auto state = f.started();
    f.arrive("n1", "Ann Able", "Lunch?", 10);
    await(state->refresh());
    QCOMPARE(f.recorder->posted.size(), 1);
    state->setSelectedThreadIds({});
    const qsizetype writes = f.server.batchesWith("Email/set").size();

    f.recorder->respond(action, userInfo);
    const QJsonObject& mail = *f.server.find("n1");
    if (outcome == "archived") {
        QTRY_COMPARE(mail.value("mailboxIds").toObject(), QJsonObject({{"arch", true}}));
        QCOMPARE(f.raised, 0);
    } else if (outcome == "read") {
        QTRY_VERIFY(mail["keywords"]["$seen"].toBool());
        QCOMPARE(f.raised, 0);
    } else if (outcome == "opened") {
        QCOMPARE(f.raised, 1);
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"t-n1"});
        QCOMPARE(state->selectedMailboxId(), QStringLiteral("in"));
    } else {
        // A mark-read of another message afterwards is the only write that reaches the server.
        f.recorder->respond("markRead", info(QStringLiteral("other"), QStringLiteral("t-other")));
        QTRY_VERIFY(f.server.find("other")->value("keywords")["$seen"].toBool());
        QCOMPARE(f.server.batchesWith("Email/set").size(), writes + 1);
        QVERIFY(state->selectedThreadIds().isEmpty());
        QCOMPARE(f.raised, 0);
        QVERIFY(!mail["keywords"]["$seen"].toBool());
    }
}

void TestNotifier::badgeCountsUnreadInboxConversations()
{
    Fixture f;
    setInboxUnread(f.server, 3);
    auto state = f.started();
    QCOMPARE(f.badges.constLast(), 3);

    setInboxUnread(f.server, 1);
    await(state->refresh());
    QCOMPARE(f.badges.constLast(), 1);

    AppConfig config = state->config();
    config.showDockBadge = false;
    state->setConfig(config);
    QCOMPARE(f.badges.constLast(), 0);
    config.showDockBadge = true;
    state->setConfig(config);
    QCOMPARE(f.badges.constLast(), 1);

    state->markAllRead(QStringLiteral("in"));
    QCOMPARE(f.badges.constLast(), 0);
    StateFixture::settle(*state);

    setInboxUnread(f.server, 4);
    f.server.mailboxes.removeAt(0);
    await(state->refresh());
    QCOMPARE(f.badges.constLast(), 0); // no inbox
}

void TestNotifier::demoModeHasNoNoticesAndNoBadge()
{
    Fixture f;
    auto state = f.started(true);
    QVERIFY(state->isConnected());
    QVERIFY(f.badges.isEmpty());
    QVERIFY(f.network.batches().isEmpty());
    QVERIFY(f.recorder->posted.isEmpty());
}

QTEST_GUILESS_MAIN(TestNotifier)
#include "tst_notifier.moc"
