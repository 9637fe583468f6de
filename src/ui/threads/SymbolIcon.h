#pragma once

#include "ui/desktop/Icons.h"

#include <QIcon>
#include <QString>

// An icon by the symbol name used across the interface, else by a freedesktop theme name, so
// that symbols the shared icon table does not know yet still find a themed icon.
inline QIcon symbolIcon(const QString& symbol, const QString& themeName)
{
    const QIcon icon = Icons::icon(symbol);
    return icon.isNull() ? QIcon::fromTheme(themeName) : icon;
}
