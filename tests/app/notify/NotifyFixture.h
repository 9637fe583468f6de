#pragma once

#include "StateFixture.h"
#include "app/notify/NotificationCenter.h"

#include <QDateTime>

// A started AppState with a desktop of the test's own: its notices, its badge and whether a
// Veldrin window is active.
struct NotifyFixture : StateFixture
{
    std::shared_ptr<NotificationCenter> center;
    std::function<void(qint64)> setBadgeCount;
    bool active = false;

    std::unique_ptr<AppState> started(bool demo = false)
    {
        auto state = make(50, [this, demo](AppEnvironment& environment) {
            environment.notifications = center;
            environment.setBadgeCount = setBadgeCount;
            environment.isApplicationActive = [this] { return active; };
            environment.demo = demo;
            environment.timing.minimumRefreshInterval = std::chrono::hours(1);
        });
        state->start([](QUuid) {});
        // Links are composed once connect has ended.
        if (QTest::qWaitFor([&state] { return !state->pendingLinks(); }))
            settle(*state);
        return state;
    }

    // Unread inbox mail, received `secondsAgo`, alone in its thread "t-<id>".
    void arrive(const QString& id, const QString& from, const QString& subject, int secondsAgo)
    {
        server.add(FakeMailServer::message(id, "t-" + id, from, subject,
                                           QDateTime::currentDateTimeUtc().addSecs(-secondsAgo),
                                           false));
    }
    void setInboxUnread(int threads)
    {
        QJsonObject inbox = server.mailboxes.at(0).toObject();
        inbox.insert("unreadThreads", threads);
        server.mailboxes.replace(0, inbox);
    }
};
