#pragma once

class QDialog;
class QLayout;
class QPushButton;

// Lays out an editor dialog of the directory windows: its form above Cancel and a default
// "Save" ("Create" for a new record). Gives that button; the editor connects it.
QPushButton* layOutEditor(QDialog* dialog, QLayout* form, bool existing, int minimumWidth);
