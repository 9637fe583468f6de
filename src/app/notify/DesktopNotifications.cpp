#include "DesktopNotifications.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QPointer>

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");

QDBusMessage call(const QString& method)
{
    return QDBusMessage::createMethodCall(service, path, interface, method);
}

// Subject and preview under the sender's name: the service has a summary and a body only.
QString bodyText(const NotificationRequest& request, bool markup)
{
    // Mail is hostile: where the body is read as markup, its text must not be.
    const auto text = [markup](const QString& plain) {
        return markup ? plain.toHtmlEscaped() : plain;
    };
    QStringList lines;
    if (!request.subtitle.isEmpty())
        lines.append(markup ? QStringLiteral("<b>%1</b>").arg(text(request.subtitle))
                            : request.subtitle);
    if (!request.body.isEmpty())
        lines.append(text(request.body));
    return lines.join(u'\n');
}

} // namespace

DesktopNotifications::DesktopNotifications(QDBusConnection bus, QObject* parent)
    : NotificationCenter(parent), m_bus(std::move(bus))
{
    if (!m_bus.isConnected())
        return;
    m_bus.connect(service, path, interface, QStringLiteral("ActionInvoked"), this,
                  SLOT(actionInvoked(uint, QString)));
    m_bus.connect(service, path, interface, QStringLiteral("NotificationClosed"), this,
                  SLOT(notificationClosed(uint, uint)));
    // A notification service that restarts knows nothing of our notices, and may be another
    // program with other capabilities.
    m_watcher =
        new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    QObject::connect(m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                     &DesktopNotifications::forgetService);
    // On Wayland a window may only take the focus with the desktop's token, which the service
    // sends just before it reports the click.
    m_bus.connect(service, path, interface, QStringLiteral("ActivationToken"), this,
                  SLOT(activationToken(uint, QString)));
    // The service is asked about its capabilities with the first notice, not before: asking
    // may start it.
}

void DesktopNotifications::forgetService(const QString& /*name*/, const QString& oldOwner,
                                         const QString& /*newOwner*/)
{
    // The next notice asks the new service what it can do.
    ++m_capabilitiesGeneration;
    m_capabilities.reset();
    m_isAsking = false;
    if (!oldOwner.isEmpty()) {
        // Notices of a service that went away are gone with it.
        ++m_serviceGeneration;
        m_ids.clear();
        m_shown.clear();
        m_sending.clear();
        m_withdrawnWhileSending.clear();
    }
    if (!m_waiting.isEmpty())
        askCapabilities();
}

void DesktopNotifications::askCapabilities()
{
    if (m_isAsking || !m_bus.isConnected())
        return;
    m_isAsking = true;
    const quint64 generation = m_capabilitiesGeneration;
    auto* watcher =
        new QDBusPendingCallWatcher(m_bus.asyncCall(call(QStringLiteral("GetCapabilities"))), this);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this,
                     [this, generation](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         if (generation != m_capabilitiesGeneration)
                             return;
                         const QDBusPendingReply<QStringList> reply = *finished;
                         m_isAsking = false;
                         // Without an answer, plain notices without buttons are the safe guess.
                         m_capabilities = reply.isError() ? QStringList() : reply.value();
                         const QList<NotificationRequest> waiting = std::exchange(m_waiting, {});
                         for (const NotificationRequest& request : waiting)
                             send(request);
                     });
}

void DesktopNotifications::post(const NotificationRequest& request)
{
    if (!m_bus.isConnected())
        return;
    if (!m_capabilities) {
        m_waiting.append(request);
        askCapabilities();
        return;
    }
    send(request);
}

void DesktopNotifications::send(const NotificationRequest& request)
{
    QStringList actions;
    if (m_capabilities->contains(QStringLiteral("actions"))) {
        actions << defaultAction << QStringLiteral("Open");
        for (const NotificationRequest::Action& action : request.actions)
            actions << action.identifier << action.title;
    }
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("veldrin")},
                            {QStringLiteral("category"), QStringLiteral("email.arrived")},
                            {QStringLiteral("sound-name"), QStringLiteral("message-new-email")}};
    QDBusMessage notify = call(QStringLiteral("Notify"));
    notify << QStringLiteral("Veldrin") << m_ids.value(request.identifier, 0u)
           << QStringLiteral("veldrin") << request.title
           << bodyText(request, m_capabilities->contains(QStringLiteral("body-markup"))) << actions
           << hints << -1;

    m_sending.insert(request.identifier);
    const quint64 generation = m_serviceGeneration;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(notify), this);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this,
                     [this, generation, request](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         if (generation != m_serviceGeneration)
                             return;
                         m_sending.remove(request.identifier);
                         const QDBusPendingReply<uint> reply = *finished;
                         if (reply.isError())
                             return;
                         const uint id = reply.value();
                         m_ids.insert(request.identifier, id);
                         m_shown.insert(id, request);
                         // Read before the notice was even on show.
                         if (m_withdrawnWhileSending.remove(request.identifier))
                             withdraw({request.identifier});
                     });
}

void DesktopNotifications::withdraw(const QStringList& identifiers)
{
    if (!m_bus.isConnected())
        return;
    for (const QString& identifier : identifiers) {
        m_waiting.removeIf([&identifier](const NotificationRequest& request) {
            return request.identifier == identifier;
        });
        if (m_sending.contains(identifier))
            m_withdrawnWhileSending.insert(identifier);
        const auto id = m_ids.constFind(identifier);
        if (id == m_ids.constEnd())
            continue;
        QDBusMessage close = call(QStringLiteral("CloseNotification"));
        close << *id;
        m_bus.asyncCall(close);
        // NotificationClosed will say so too, but the notice is gone for us either way.
        m_shown.remove(*id);
        m_ids.erase(id);
    }
}

void DesktopNotifications::actionInvoked(uint id, const QString& action)
{
    // Notices of other programs, or of an earlier run, are not ours to answer.
    const auto shown = m_shown.constFind(id);
    if (shown == m_shown.constEnd())
        return;
    // A slot may withdraw the notice, which removes the entry: the signal gets a copy.
    const QVariantMap userInfo = shown->userInfo;
    Q_EMIT responded(action, userInfo);
}

void DesktopNotifications::activationToken(uint id, const QString& token)
{
    if (m_shown.contains(id) && !token.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

void DesktopNotifications::notificationClosed(uint id, uint /*reason*/)
{
    const auto shown = m_shown.constFind(id);
    if (shown == m_shown.constEnd())
        return;
    m_ids.remove(shown->identifier);
    m_shown.erase(shown);
}
