#pragma once

#include <QIcon>
#include <QString>
#include <QStringList>

// Symbol names used across the interface ("tray", "archivebox", "paperclip", ...) mapped to
// freedesktop icon theme names. The user's icon theme comes first, Breeze stands behind it, and
// the style's own icons behind that, so that even a bare system shows something sensible.
namespace Icons {

// The theme that fills the gaps of the user's theme; set it before the first window is made.
inline constexpr const char* fallbackTheme = "breeze";
void useFallbackTheme();

// Every symbol the table knows, in no particular order.
QStringList symbols();
// The theme names tried for a symbol, best first; empty for a symbol the table lacks.
QStringList themeNames(const QString& symbol);
// The icon of a symbol: the first theme name the themes have, else the style's stand-in. A
// symbol the table lacks is looked up in the theme as it is written.
QIcon icon(const QString& symbol);

} // namespace Icons
