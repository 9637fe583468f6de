#pragma once

#include <QUuid>

#include <optional>

// Where a key press happened, as the interface tells it to the key dispatch.
struct KeyContext
{
    enum class Window
    {
        // No window of ours is active.
        None,
        Main,
        // A compose window; `draftId` says which.
        Compose,
        // Settings, Contacts, Masked Email and the others keep all their keys.
        Other,
    };
    enum class Focus
    {
        None,
        // A text input: line edit, plain or rich text editor.
        Text,
        // A list or tree (the list moves its own selection with the arrow keys).
        ItemView,
        // Inside a message body.
        WebView,
        Other,
    };

    Window window = Window::None;
    Focus focus = Focus::None;
    std::optional<QUuid> draftId;

    bool operator==(const KeyContext&) const = default;
};
