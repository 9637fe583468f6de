#pragma once

#include <QDBusConnection>

// The count on the application's icon in launchers that read the Unity launcher entry signal
// (KDE Plasma, Ubuntu Dock, Dash to Dock). A count of 0 hides it.
namespace LauncherBadge {

inline const QString appUri = QStringLiteral("application://veldrin.desktop");

void setCount(qint64 count, QDBusConnection bus = QDBusConnection::sessionBus());

} // namespace LauncherBadge
