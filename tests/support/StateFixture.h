#pragma once

#include "AppTestEnvironment.h"
#include "AsyncTest.h"
#include "FakeMailServer.h"
#include "FakeNetwork.h"
#include "app/state/AppState.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>

// An AppState on a fake mail account, with short timings, temporary folders and a desktop
// that records what it was asked to open and reveal.
struct StateFixture
{
    QTemporaryDir home;
    FakeNetwork network;
    FakeMailServer server{network};
    MemorySecretStore keychain;
    QList<QUrl> opened;
    QStringList revealed;

    StateFixture()
    {
        // A push stream that stays open and quiet, unless a test says otherwise.
        network.setStreamPrefix(QStringLiteral("https://jmap.example.test/jmap/event/"));
    }

    AppEnvironment environment()
    {
        keychain.data = QByteArray("fmu1-secret");
        AppEnvironment result = testEnvironment(
            &network, home.filePath(QStringLiteral("config/veldrin/config.json")), keychain);
        result.openUrl = [this](const QUrl& url) { opened.append(url); };
        result.revealFile = [this](const QString& path) { revealed.append(path); };
        result.attachmentCacheDir = home.filePath(QStringLiteral("cache"));
        result.downloadsDir = home.filePath(QStringLiteral("Downloads"));
        result.timing.minimumRefreshInterval = std::chrono::milliseconds(20);
        result.timing.pushFirstDelay = std::chrono::milliseconds(10);
        result.timing.pushMaximumDelay = std::chrono::milliseconds(40);
        return result;
    }

    std::unique_ptr<AppState> make(int pageSize = 50,
                                   const std::function<void(AppEnvironment&)>& adjust = {})
    {
        AppEnvironment env = environment();
        if (adjust)
            adjust(env);
        auto state = makeTestState(std::move(env), FakeNetwork::sessionUrl().toString());
        AppConfig config = state->config();
        config.pageSize = pageSize;
        config.refreshIntervalSeconds = 0;
        state->setConfig(config);
        return state;
    }

    // A connected state whose first page has arrived and whose prefetch has settled.
    std::unique_ptr<AppState> connected(int pageSize = 50)
    {
        auto state = make(pageSize);
        AsyncTest::await(state->connect());
        settle(*state);
        return state;
    }

    // Lets the requests on their way (a prefetch, the address book) finish.
    static void settle(const AppState& state) { QTRY_COMPARE(state.activeFetches(), 0); }
};
