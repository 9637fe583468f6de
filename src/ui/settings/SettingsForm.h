#pragma once

#include <QString>

class QBoxLayout;
class QLabel;
class QPushButton;
class QToolButton;
class QScrollArea;
class QVBoxLayout;
class QWidget;

// The pieces the settings tabs are built of, so that all tabs look alike.
namespace SettingsForm {

// A tab page that scrolls when its content is taller than the window; gives the column to
// fill and sets it on `page`.
QVBoxLayout* scrollingColumn(QWidget* page);
// A section's title, in bold.
QLabel* header(const QString& text, QWidget* parent);
// Explanatory text under a section, wrapped, in the secondary colour.
QLabel* footnote(const QString& text, QWidget* parent);
// A flat button drawn like a link, as wide as its text. It is never a default button, so
// Return elsewhere does not press it.
QToolButton* linkButton(const QString& text, QWidget* parent);
// A plain button that never becomes the window's default.
QPushButton* button(const QString& text, QWidget* parent);
// The space between two sections.
void addSectionGap(QBoxLayout* layout);

// The colours of the notes beside a value.
inline constexpr const char* errorColor = "#c62828";
inline constexpr const char* warningColor = "#e65100";

} // namespace SettingsForm
