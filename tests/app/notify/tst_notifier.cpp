#include "NotifyFixture.h"

using namespace AsyncTest;

namespace {

class RecordingCenter : public NotificationCenter
{
public:
    QList<NotificationRequest> posted;
    QStringList withdrawn;

    void post(const NotificationRequest& request) override { posted.append(request); }
    void withdraw(const QStringList& identifiers) override { withdrawn.append(identifiers); }
    void respond(const QString& action, const QVariantMap& info) { Q_EMIT responded(action, info); }
    QStringList postedIds() const
    {
        QStringList ids;
        for (const NotificationRequest& request : posted)
            ids.append(request.identifier);
        return ids;
    }
};

struct Fixture : NotifyFixture
{
    std::shared_ptr<RecordingCenter> recorder = std::make_shared<RecordingCenter>();
    QList<qint64> badges;

    Fixture()
    {
        center = recorder;
        setBadgeCount = [this](qint64 count) { badges.append(count); };
    }
};

QVariantMap info(const QVariant& emailId, const QVariant& threadId)
{
    QVariantMap map{{"emailId", emailId}, {"threadId", threadId}};
    map.removeIf([](const auto& entry) { return !entry.value().isValid(); });
    return map;
}

} // namespace

class TestNotifier : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void announcesOnlyMailThatArrivesAfterTheConnection()
    {
        Fixture f;
        f.arrive("early", "Early Bird", "Unread before the start", 60);
        auto state = f.started();
        QVERIFY(f.recorder->posted.isEmpty());

        f.arrive("n1", "Ann Able", "Lunch?", 30);
        f.arrive("n2", "Ben Bold", "", 20);
        f.server.find("n2")->remove("subject");
        f.arrive("n3", "Cy Clear", "Minutes", 10);
        f.arrive("d1", "Me Myself", "A draft of mine", 5);
        f.server.find("d1")->insert("keywords", QJsonObject{{"$draft", true}});
        await(state->refresh());
        // Oldest first, so that the newest ends on top; the draft never.
        QCOMPARE(f.recorder->postedIds(), QStringList({"n1", "n2", "n3"}));
        const NotificationRequest& first = f.recorder->posted.at(0);
        QCOMPARE(first, (NotificationRequest{"n1",
                                             "Ann Able",
                                             "Lunch?",
                                             "Preview of Lunch?",
                                             "t-n1",
                                             {{"archive", "Archive"}, {"markRead", "Mark as Read"}},
                                             info("n1", "t-n1")}));
        QCOMPARE(f.recorder->posted.at(1).subtitle, QString());

        // Known ids stay known, also through being read and marked unread again.
        f.server.find("n1")->insert("keywords", QJsonObject{{"$seen", true}});
        await(state->refresh());
        f.server.find("n1")->insert("keywords", QJsonObject());
        await(state->refresh());
        QCOMPARE(f.recorder->posted.size(), 3);

        // A reconnect primes again: what came in the gap is not announced, what follows is.
        f.arrive("gap", "Gap Mail", "While away", 4);
        await(state->connect());
        f.arrive("n5", "Eve Later", "After the reconnect", 2);
        await(state->refresh());
        QCOMPARE(f.recorder->postedIds().mid(3), QStringList{"n5"});

        // Opening the thread takes its notice away.
        state->setSelectedThreadId(QStringLiteral("t-n5"));
        state->threadSelectionChanged();
        QTRY_COMPARE(f.recorder->withdrawn, QStringList{"n5"});
    }

    void quietWhileActiveOrSwitchedOffAndForgetsNothing_data()
    {
        QTest::addColumn<bool>("active");
        QTest::newRow("application active") << true;
        QTest::newRow("setting off") << false;
    }

    void quietWhileActiveOrSwitchedOffAndForgetsNothing()
    {
        QFETCH(bool, active);
        Fixture f;
        auto state = f.started();
        AppConfig config = state->config();
        f.arrive("seen-live", "Ann Able", "Arrives while you look", 10);
        f.active = active;
        config.notifyNewMail = active;
        state->setConfig(config);
        await(state->refresh());
        QVERIFY(f.recorder->posted.isEmpty());

        // Back in the background with the setting on: what came meanwhile stays unannounced.
        f.active = false;
        config.notifyNewMail = true;
        state->setConfig(config);
        f.arrive("later", "Ben Bold", "Arrives in the background", 5);
        await(state->refresh());
        QCOMPARE(f.recorder->postedIds(), QStringList{"later"});
    }

    void answersTheNotice_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QVariantMap>("userInfo");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("archive") << "archive" << info("n1", "t-n1") << "archived";
        QTest::newRow("mark read") << "markRead" << info("n1", "t-n1") << "read";
        QTest::newRow("click") << "default" << info("n1", "t-n1") << "opened";
        QTest::newRow("no thread id") << "archive" << info("n1", {}) << "nothing";
        QTest::newRow("thread id not text") << "default" << info("n1", 7) << "nothing";
    }

    void answersTheNotice()
    {
        QFETCH(QString, action);
        QFETCH(QVariantMap, userInfo);
        QFETCH(QString, outcome);
        Fixture f;
        f.arrive("other", "Zed Zero", "Read me later", 50);
        auto state = f.started();
        f.arrive("n1", "Ann Able", "Lunch?", 10);
        await(state->refresh());
        state->setSelectedThreadIds({});
        const qsizetype writes = f.server.batchesWith("Email/set").size();

        f.recorder->respond(action, userInfo);
        const QJsonObject& mail = *f.server.find("n1");
        if (outcome == "archived")
            QTRY_COMPARE(mail.value("mailboxIds").toObject(), QJsonObject({{"arch", true}}));
        else if (outcome == "read")
            QTRY_VERIFY(mail["keywords"]["$seen"].toBool());
        QCOMPARE(state->windowRequest(), outcome == "opened" ? 1 : 0);
        QCOMPARE(state->selectedThreadIds(),
                 outcome == "opened" ? QSet<QString>{"t-n1"} : QSet<QString>());
        if (outcome == "nothing") {
            // A later mark-read of another message is the only write that reaches the server.
            f.recorder->respond("markRead", info("other", "t-other"));
            QTRY_VERIFY(f.server.find("other")->value("keywords")["$seen"].toBool());
            QCOMPARE(f.server.batchesWith("Email/set").size(), writes + 1);
        }
    }

    void badgeCountsUnreadInboxConversations()
    {
        Fixture f;
        f.setInboxUnread(3);
        auto state = f.started();
        QCOMPARE(f.badges.constLast(), 3);
        f.setInboxUnread(1);
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

        f.setInboxUnread(4);
        f.server.mailboxes.removeAt(0);
        await(state->refresh());
        QCOMPARE(f.badges.constLast(), 0); // no inbox

        // Demo mode: no notices, no badge, nothing asked of a server.
        Fixture demo;
        auto shown = demo.started(true);
        QVERIFY(shown->isConnected());
        QVERIFY(demo.badges.isEmpty());
        QVERIFY(demo.network.batches().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestNotifier)
#include "tst_notifier.moc"
