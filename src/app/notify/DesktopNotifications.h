#pragma once

#include "NotificationCenter.h"

#include <QDBusConnection>
#include <QHash>
#include <QSet>

#include <optional>

class QDBusServiceWatcher;

// The notification centre of a Linux desktop: the org.freedesktop.Notifications service on the
// session bus. Buttons are offered only where the service says it can show them, and markup
// only where it reads it. Without a bus or a service, notices go nowhere, silently.
class DesktopNotifications : public NotificationCenter
{
    Q_OBJECT
public:
    explicit DesktopNotifications(QDBusConnection bus = QDBusConnection::sessionBus(),
                                  QObject* parent = nullptr);

    void post(const NotificationRequest& request) override;
    void withdraw(const QStringList& identifiers) override;

private Q_SLOTS:
    void actionInvoked(uint id, const QString& action);
    void activationToken(uint id, const QString& token);
    void notificationClosed(uint id, uint reason);

private:
    void askCapabilities();
    void send(const NotificationRequest& request);
    void forgetService(const QString& name, const QString& oldOwner, const QString& newOwner);

    QDBusConnection m_bus;
    QDBusServiceWatcher* m_watcher = nullptr;
    // What the service can show; absent until it has answered.
    std::optional<QStringList> m_capabilities;
    bool m_isAsking = false;
    // Notices waiting for the answer about capabilities.
    QList<NotificationRequest> m_waiting;
    // The service's id of each notice on show, by request identifier, and back.
    QHash<QString, uint> m_ids;
    QHash<uint, NotificationRequest> m_shown;
    // Notices sent whose id has not come back yet, and those of them withdrawn meanwhile.
    QSet<QString> m_sending;
    QSet<QString> m_withdrawnWhileSending;
    // Bumped when the service changes and when it goes away, so that answers from the old one
    // are dropped.
    quint64 m_capabilitiesGeneration = 0;
    quint64 m_serviceGeneration = 0;
};
