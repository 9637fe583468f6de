#pragma once

#include "StateFixture.h"
#include "app/notify/NotificationCenter.h"

#include <QDateTime>

// A notification centre that keeps what it was given, and plays the user's responses.
class RecordingCenter : public NotificationCenter
{
    Q_OBJECT
public:
    QList<NotificationRequest> posted;
    QStringList withdrawn;

    void post(const NotificationRequest& request) override { posted.append(request); }
    void withdraw(const QStringList& identifiers) override { withdrawn.append(identifiers); }
    void respond(const QString& action, const QVariantMap& userInfo)
    {
        Q_EMIT responded(action, userInfo);
    }
    QStringList postedIds() const
    {
        QStringList ids;
        for (const NotificationRequest& request : posted)
            ids.append(request.identifier);
        return ids;
    }
};

// A started AppState with a desktop of the test's own: notices, the badge, the active window.
struct NotifyFixture : StateFixture
{
    std::shared_ptr<NotificationCenter> center;
    std::function<void(qint64)> setBadgeCount;
    bool active = false;
    int raised = 0;

    explicit NotifyFixture(std::shared_ptr<NotificationCenter> notifications,
                           std::function<void(qint64)> badge)
        : center(std::move(notifications)), setBadgeCount(std::move(badge))
    {
    }

    std::unique_ptr<AppState> started(bool demo = false)
    {
        auto state = make(50, [this, demo](AppEnvironment& environment) {
            environment.notifications = center;
            environment.setBadgeCount = setBadgeCount;
            environment.isApplicationActive = [this] { return active; };
            environment.demo = demo;
            // Refreshes come from the test.
            environment.timing.minimumRefreshInterval = std::chrono::hours(1);
        });
        WindowServices services;
        services.raiseWindow = [this] { ++raised; };
        state->setWindowServices(services);
        state->start([](QUuid) {});
        // Links are composed once connect has ended.
        if (QTest::qWaitFor([&state] { return !state->pendingLinks(); }))
            settle(*state);
        else
            QTest::qFail("The start sequence did not end", __FILE__, __LINE__);
        return state;
    }

    // Unread mail in the inbox from `from`, received `secondsAgo`, alone in thread "t-<id>".
    void arrive(const QString& id, const QString& from, const QString& subject, int secondsAgo)
    {
        server.add(FakeMailServer::message(id, "t-" + id, from, subject,
                                           QDateTime::currentDateTimeUtc().addSecs(-secondsAgo),
                                           false));
    }
};
