#pragma once

#include <QString>

#include <chrono>

// The single scenes demo mode can stage for screenshots and recordings: a start state, and a
// change that happens after a delay.
namespace DemoScene {

enum class Scene
{
    // The plain filled state: any value of VELDRIN_DEMO that names no scene.
    none,
    // The list starts empty and fills.
    load,
    // As load, without date groups.
    loadflat,
    // The first thread is held back, then put at the head of the list.
    insertone,
    // The first thread leaves the list.
    remove,
    // Date groups are switched.
    toggle,
    // Avatars are switched.
    avatar,
    // The first thread is selected and open; nothing changes.
    open,
    // The shortcuts overlay is up; nothing changes.
    shortcuts,
};

Scene fromName(const QString& name);
// Whether the scene changes something after the delay.
bool changesLater(Scene scene);

// The delay before a scene's change: the decimal seconds of `text` (at least 0, at most an
// hour), or 1.5 seconds when it is absent or no number.
std::chrono::milliseconds delay(const QString& text);

// VELDRIN_DEMO and VELDRIN_DEMO_DELAY as the process has them.
Scene fromEnvironment();
std::chrono::milliseconds delayFromEnvironment();

} // namespace DemoScene
