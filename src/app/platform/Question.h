#pragma once

#include <QString>

#include <functional>

// A question the state puts to the user before something that cannot be taken back.
struct Question
{
    QString message;
    QString informativeText;
    // The first button; the other is "Cancel".
    QString confirmTitle;
};

// Asks in a window-modal alert and runs `confirmed` only when the user chooses the first
// button. The main window provides it; tests answer by themselves.
using AskQuestion = std::function<void(const Question& question, std::function<void()> confirmed)>;
