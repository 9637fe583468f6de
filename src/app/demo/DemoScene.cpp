#include "DemoScene.h"

#include <QHash>

#include <algorithm>
#include <cmath>

namespace DemoScene {

Scene fromName(const QString& name)
{
    static const QHash<QString, Scene> scenes{
        {QStringLiteral("load"), Scene::load},
        {QStringLiteral("loadflat"), Scene::loadflat},
        {QStringLiteral("insertone"), Scene::insertone},
        {QStringLiteral("remove"), Scene::remove},
        {QStringLiteral("toggle"), Scene::toggle},
        {QStringLiteral("avatar"), Scene::avatar},
        {QStringLiteral("open"), Scene::open},
        {QStringLiteral("shortcuts"), Scene::shortcuts},
    };
    return scenes.value(name, Scene::none);
}

bool changesLater(Scene scene)
{
    return scene != Scene::none && scene != Scene::open && scene != Scene::shortcuts;
}

std::chrono::milliseconds delay(const QString& text)
{
    constexpr std::chrono::milliseconds standard{1500};
    bool ok = false;
    const double seconds = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(seconds))
        return standard;
    // A past moment is now; an hour is more than any recording needs and keeps the timer's
    // milliseconds in range.
    return std::chrono::milliseconds(std::llround(std::clamp(seconds, 0.0, 3600.0) * 1000));
}

Scene fromEnvironment()
{
    return fromName(qEnvironmentVariable("VELDRIN_DEMO"));
}

std::chrono::milliseconds delayFromEnvironment()
{
    return delay(qEnvironmentVariable("VELDRIN_DEMO_DELAY"));
}

} // namespace DemoScene
