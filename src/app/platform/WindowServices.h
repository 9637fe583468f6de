#pragma once

#include <QPointer>
#include <QUndoStack>

#include <functional>

// What AppState needs of the main window: its undo stack, and two things only the views can
// do. The main window fills this in when it is made; tests give their own.
struct WindowServices
{
    // The main window's undo stack: moves register their reverse here, and the Edit menu, Ctrl+Z
    // and the toast's "Undo" all drive it.
    QPointer<QUndoStack> undoStack;
    // Scrolls the reader by pages and lines (40 px each), animated; does nothing without one.
    std::function<void(double pages, double lines)> scrollReader;
    // Takes the keyboard away from text and list controls, unless it is inside a message body.
    std::function<void()> releaseFocus;
};
