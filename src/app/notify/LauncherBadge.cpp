#include "LauncherBadge.h"

#include <QDBusMessage>
#include <QVariantMap>

void LauncherBadge::setCount(qint64 count, QDBusConnection bus)
{
    if (!bus.isConnected())
        return;
    // Launchers listen on any object path; the entry is named by the application's URI.
    QDBusMessage update = QDBusMessage::createSignal(
        QStringLiteral("/com/tolvik/Veldrin/LauncherEntry"),
        QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    const QVariantMap properties{{QStringLiteral("count"), QVariant::fromValue<qint64>(count)},
                                 {QStringLiteral("count-visible"), count > 0}};
    update << appUri << properties;
    bus.send(update);
}
