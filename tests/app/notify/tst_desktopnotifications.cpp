#include "NotifyFixture.h"
#include "app/notify/DesktopNotifications.h"
#include "app/notify/LauncherBadge.h"

#include <QDBusMessage>

using namespace AsyncTest;

// A notification service of the test's own on a bus connection of its own: it keeps every
// notice and every close, plays the user's clicks, and hears the launcher's signal.
class FakeNotificationServer : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Notice
    {
        QString appName;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
    };
    QStringList capabilities;
    QList<Notice> notices;
    QList<uint> closed;
    QList<QVariantMap> launcher;

    FakeNotificationServer(const QString& connection, QStringList caps)
        : capabilities(std::move(caps)),
          m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connection))
    {
        m_bus.registerObject("/org/freedesktop/Notifications", this,
                             QDBusConnection::ExportAllSlots);
        m_bus.registerService("org.freedesktop.Notifications");
        m_bus.connect({}, {}, "com.canonical.Unity.LauncherEntry", "Update", this,
                      SLOT(update(QString, QVariantMap)));
    }
    ~FakeNotificationServer() override { QDBusConnection::disconnectFromBus(m_bus.name()); }

    // Ids count from 1 in the order of the notices.
    void click(uint id, const QString& action)
    {
        QDBusMessage signal = QDBusMessage::createSignal(
            "/org/freedesktop/Notifications", "org.freedesktop.Notifications", "ActionInvoked");
        m_bus.send(signal << id << action);
    }

public Q_SLOTS:
    QStringList GetCapabilities() { return capabilities; }
    uint Notify(const QString& appName, uint, const QString&, const QString& summary,
                const QString& body, const QStringList& actions, const QVariantMap& hints, int)
    {
        notices.append({appName, summary, body, actions, hints});
        return uint(notices.size());
    }
    void CloseNotification(uint id) { closed.append(id); }
    void update(const QString& uri, const QVariantMap& properties)
    {
        if (uri == "application://veldrin.desktop")
            launcher.append(properties);
    }

private:
    QDBusConnection m_bus;
};

class TestDesktopNotifications : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        if (!QDBusConnection::sessionBus().isConnected())
            QSKIP("No session bus: run under dbus-run-session");
    }

    void noticesButtonsAndBadgeOnTheSessionBus()
    {
        FakeNotificationServer service("service-1", {"actions", "body", "body-markup"});
        NotifyFixture f;
        f.center = std::make_shared<DesktopNotifications>();
        f.setBadgeCount = [](qint64 count) { LauncherBadge::setCount(count); };
        f.setInboxUnread(2);
        auto state = f.started();
        QTRY_COMPARE(service.launcher.value(service.launcher.size() - 1),
                     QVariantMap({{"count", qint64(2)}, {"count-visible", true}}));
        QCOMPARE(service.launcher.constLast().value("count").typeId(), QMetaType::LongLong);

        f.arrive("n1", "Ann Able", "<b>Lunch</b> & co", 30);
        f.arrive("n2", "Ben Bold", "Minutes", 20);
        f.arrive("n3", "Cy Clear", "Agenda", 10);
        await(state->refresh());
        QTRY_COMPARE(service.notices.size(), 3);
        const auto& first = service.notices.at(0);
        QCOMPARE(first.appName, "Veldrin");
        QCOMPARE(first.summary, "Ann Able");
        // The service reads markup, so the mail's own text is escaped.
        QCOMPARE(first.body, "<b>&lt;b&gt;Lunch&lt;/b&gt; &amp; co</b>\n"
                             "Preview of &lt;b&gt;Lunch&lt;/b&gt; &amp; co");
        QCOMPARE(first.actions, QStringList({"default", "Open", "archive", "Archive", "markRead",
                                             "Mark as Read"}));
        QCOMPARE(first.hints.value("desktop-entry"), QVariant("veldrin"));

        service.click(1, "archive");
        QTRY_COMPARE(f.server.find("n1")->value("mailboxIds").toObject(),
                     QJsonObject({{"arch", true}}));
        service.click(2, "markRead");
        QTRY_VERIFY(f.server.find("n2")->value("keywords")["$seen"].toBool());
        // A click opens the thread, and reading it closes its notice.
        service.click(3, "default");
        QTRY_COMPARE(state->selectedThreadIds(), QSet<QString>{"t-n3"});
        state->threadSelectionChanged();
        QTRY_COMPARE(service.closed, QList<uint>{3});
    }

    void aServiceWithoutButtonsStillGetsPlainNotices()
    {
        FakeNotificationServer service("service-2", {"body"});
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
        QTRY_COMPARE(service.closed, QList<uint>{2});
    }
};

QTEST_GUILESS_MAIN(TestDesktopNotifications)
#include "tst_desktopnotifications.moc"
