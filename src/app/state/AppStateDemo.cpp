#include "AppState.h"

#include <QTimer>

using DemoScene::Scene;

void AppState::stageDemoScene()
{
    const Scene scene = m_environment.demoScene;
    AppConfig config = m_config;
    switch (scene) {
    case Scene::loadflat:
        // In memory only: a scene never writes the user's settings.
        config.groupByDate = false;
        setConfig(config);
        [[fallthrough]];
    case Scene::load:
        setThreads({});
        setTotalThreads(0);
        break;
    case Scene::insertone:
        if (!m_threads.isEmpty()) {
            setThreads(m_threads.mid(1));
            setTotalThreads(m_threads.size());
        }
        break;
    case Scene::open:
        if (!m_threads.isEmpty()) {
            setSelectedThreadIds({m_threads.first().id});
            // The main window opens a selection too; without one, this does.
            threadSelectionChanged();
        }
        break;
    case Scene::shortcuts:
        setShowsShortcuts(true);
        break;
    case Scene::none:
    case Scene::remove:
    case Scene::toggle:
    case Scene::avatar:
        break;
    }
    if (DemoScene::changesLater(scene))
        QTimer::singleShot(m_environment.demoDelay, this, [this, scene] { playDemoScene(scene); });
}

void AppState::playDemoScene(Scene scene)
{
    AppConfig config = m_config;
    switch (scene) {
    case Scene::load:
    case Scene::loadflat:
    case Scene::insertone:
        showDemoThreads();
        break;
    case Scene::remove:
        if (!m_threads.isEmpty()) {
            const QString first = m_threads.first().id;
            setThreads(m_threads.mid(1));
            setTotalThreads(m_threads.size());
            if (m_selectedThreadIds.contains(first))
                setSelectedThreadIds(m_selectedThreadIds - QSet<QString>{first});
        }
        break;
    case Scene::toggle:
        config.groupByDate = !config.groupByDate;
        setConfig(config);
        break;
    case Scene::avatar:
        config.showAvatars = !config.showAvatars;
        setConfig(config);
        break;
    case Scene::none:
    case Scene::open:
    case Scene::shortcuts:
        break;
    }
}
