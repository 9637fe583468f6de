#include "NotifyFixture.h"
#include "app/notify/DesktopNotifications.h"
#include "app/notify/LauncherBadge.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

using namespace AsyncTest;

namespace {

const QString notificationsPath = QStringLiteral("/org/freedesktop/Notifications");
const QString notificationsName = QStringLiteral("org.freedesktop.Notifications");

} // namespace

// A notification service of the test's own, on a connection of its own, that keeps every call
// and plays the user's clicks. It also listens for the launcher's signal.
class FakeNotificationServer : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Notice
    {
        uint id = 0;
        QString appName;
        uint replacesId = 0;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
    };
    QStringList capabilities;
    QList<Notice> notices;
    QList<uint> closed;
    QList<QVariantMap> launcher;

    FakeNotificationServer(const QString& connectionName, QStringList caps)
        : capabilities(std::move(caps)),
          m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName))
    {
        QVERIFY(m_bus.registerObject(notificationsPath, this, QDBusConnection::ExportAllSlots));
        QVERIFY(m_bus.registerService(notificationsName));
        QVERIFY(m_bus.connect(
            QString(), QString(), QStringLiteral("com.canonical.Unity.LauncherEntry"),
            QStringLiteral("Update"), this, SLOT(launcherUpdate(QString, QVariantMap))));
    }
    ~FakeNotificationServer() override
    {
        m_bus.unregisterService(notificationsName);
        QDBusConnection::disconnectFromBus(m_bus.name());
    }

    void invoke(uint id, const QString& action)
    {
        QDBusMessage signal = QDBusMessage::createSignal(notificationsPath, notificationsName,
                                                         QStringLiteral("ActionInvoked"));
        signal << id << action;
        m_bus.send(signal);
    }
    uint idOf(int index) const { return notices.at(index).id; }

public Q_SLOTS:
    QStringList GetCapabilities() { return capabilities; }
    uint Notify(const QString& appName, uint replacesId, const QString& /*icon*/,
                const QString& summary, const QString& body, const QStringList& actions,
                const QVariantMap& hints, int /*timeout*/)
    {
        notices.append({++m_lastId, appName, replacesId, summary, body, actions, hints});
        return m_lastId;
    }
    void CloseNotification(uint id) { closed.append(id); }
    void launcherUpdate(const QString& uri, const QVariantMap& properties)
    {
        if (uri == LauncherBadge::appUri)
            launcher.append(properties);
    }

private:
    QDBusConnection m_bus;
    uint m_lastId = 40;
};

class TestDesktopNotifications : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void noticesButtonsAndBadgeOnTheSessionBus();
    void aServiceWithoutButtonsStillGetsPlainNotices();
};

void TestDesktopNotifications::init()
{
    if (!QDBusConnection::sessionBus().isConnected())
        QSKIP("No session bus: run under dbus-run-session");
}

void TestDesktopNotifications::noticesButtonsAndBadgeOnTheSessionBus()
{
    FakeNotificationServer service(QStringLiteral("service-1"), {"actions", "body", "body-markup"});
    NotifyFixture f(std::make_shared<DesktopNotifications>(),
                    [](qint64 count) { LauncherBadge::setCount(count); });
    QJsonObject inbox = f.server.mailboxes.at(0).toObject();
    inbox.insert("unreadThreads", 2);
    f.server.mailboxes.replace(0, inbox);
    auto state = f.started();
    QTRY_VERIFY(!service.launcher.isEmpty() &&
                service.launcher.constLast().value("count") == QVariant(qint64(2)));
    QCOMPARE(service.launcher.constLast().value("count").typeId(), QMetaType::LongLong);
    QCOMPARE(service.launcher.constLast().value("count-visible"), QVariant(true));

    f.arrive("n1", "Ann Able", "<b>Lunch</b> & co", 30);
    f.arrive("n2", "Ben Bold", "Minutes", 20);
    await(state->refresh());
    QTRY_COMPARE(service.notices.size(), 2);
    const FakeNotificationServer::Notice& first = service.notices.at(0);
    QCOMPARE(first.appName, "Veldrin");
    QCOMPARE(first.summary, "Ann Able");
    // The service reads markup, so the mail's own text is escaped.
    QCOMPARE(first.body, "<b>&lt;b&gt;Lunch&lt;/b&gt; &amp; co</b>\n"
                         "Preview of &lt;b&gt;Lunch&lt;/b&gt; &amp; co");
    QCOMPARE(first.actions,
             QStringList({"default", "Open", "archive", "Archive", "markRead", "Mark as Read"}));
    QCOMPARE(first.hints.value("desktop-entry"), QVariant("veldrin"));

    service.invoke(service.idOf(0), "archive");
    QTRY_COMPARE(f.server.find("n1")->value("mailboxIds").toObject(),
                 QJsonObject({{"arch", true}}));
    service.invoke(service.idOf(1), "markRead");
    QTRY_VERIFY(f.server.find("n2")->value("keywords")["$seen"].toBool());
    QCOMPARE(f.raised, 0);

    // A click on someone else's notice is not ours; a click on ours opens its thread.
    service.invoke(7, "default");
    f.arrive("n3", "Cy Clear", "Agenda", 10);
    await(state->refresh());
    QTRY_COMPARE(service.notices.size(), 3);
    QCOMPARE(f.raised, 0);
    service.invoke(service.idOf(2), "default");
    QTRY_COMPARE(f.raised, 1);
    QCOMPARE(state->selectedThreadIds(), QSet<QString>{"t-n3"});

    // Reading the thread closes its notice.
    state->threadSelectionChanged();
    QTRY_COMPARE(service.closed, QList<uint>{service.idOf(2)});
}

void TestDesktopNotifications::aServiceWithoutButtonsStillGetsPlainNotices()
{
    FakeNotificationServer service(QStringLiteral("service-2"), {"body"});
    DesktopNotifications center;
    NotificationRequest request{"e1",
                                "Ann Able",
                                "<Lunch>",
                                "Bring & share",
                                "t1",
                                {{"archive", "Archive"}},
                                {{"emailId", "e1"}}};
    center.post(request);
    QTRY_COMPARE(service.notices.size(), 1);
    QVERIFY(service.notices.at(0).actions.isEmpty());
    QCOMPARE(service.notices.at(0).body, "<Lunch>\nBring & share");

    // Withdrawn before the service has even said its id: closed as soon as it does.
    request.identifier = "e2";
    center.post(request);
    center.withdraw({"e2"});
    QTRY_COMPARE(service.closed, QList<uint>{service.idOf(1)});
    center.withdraw({"e1"});
    QTRY_COMPARE(service.closed.size(), 2);
    QCOMPARE(service.closed.at(1), service.idOf(0));
}

QTEST_GUILESS_MAIN(TestDesktopNotifications)
#include "tst_desktopnotifications.moc"
