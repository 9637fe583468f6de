#pragma once

#include <QIcon>
#include <QString>

// Symbol names used across the interface ("tray", "archivebox", ...) mapped to freedesktop
// icon theme names, with the style's own icons where the system has no theme.
namespace Icons {
QIcon icon(const QString& symbol);
}
