#pragma once

#include "app/platform/Question.h"

class QMessageBox;
class QWidget;

// The state's questions as window-modal alerts: the window stays usable elsewhere on the
// desktop, and `confirmed` runs only for the first button. Gives the alert, already open.
QMessageBox* askInWindow(QWidget* window, const Question& question,
                         std::function<void()> confirmed);
