#pragma once

#include "StateFixture.h"

#include <QElapsedTimer>
#include <QJsonArray>

// A started state on an account with Drafts and two identities, whose compose windows are
// recorded instead of opened.
struct ComposeFixture : StateFixture
{
    QList<QUuid> windows;
    // Every toast shown, and how many toast seconds each stayed up.
    QStringList toasts;
    QList<double> toastSeconds;
    QElapsedTimer toastClock;

    ComposeFixture()
    {
        server.mailboxes.append(FakeMailServer::mailbox("drafts", "Drafts", "drafts", 4));
        server.identities =
            QJsonArray{FakeMailServer::identity("id-me", "me@example.com", "Me"),
                       FakeMailServer::identity("id-work", "work@example.com", "Work team")};
    }

    std::unique_ptr<AppState> started(qint64 undoSendSeconds = 10)
    {
        auto state = make(50, [](AppEnvironment& env) {
            env.timing.toastSecond = std::chrono::milliseconds(10);
            env.timing.autosaveDelay = std::chrono::milliseconds(40);
        });
        AppConfig config = state->config();
        config.undoSendSeconds = undoSendSeconds;
        state->setConfig(config);
        AppState* raw = state.get();
        QObject::connect(raw, &AppState::toastChanged, raw, [this, raw] {
            if (raw->toast()) {
                toasts.append(raw->toast()->message);
                toastClock.start();
            } else if (toastClock.isValid()) {
                toastSeconds.append(toastClock.elapsed() / 10.0);
                toastClock.invalidate();
            }
        });
        state->start([this](QUuid id) { windows.append(id); });
        // Connected, and the links handed over meanwhile composed.
        if (!QTest::qWaitFor([&] { return state->isConnected() && !state->pendingLinks(); }))
            qWarning("the state did not connect");
        settle(*state);
        return state;
    }

    // The arguments of every Email/set call that created something, in order.
    QList<QJsonObject> creates() const
    {
        QList<QJsonObject> result;
        for (const RecordedRequest& batch : server.batchesWith("Email/set")) {
            const QJsonObject arguments = batch.methodCalls().at(0).toArray().at(1).toObject();
            if (arguments.contains("create"))
                result.append(arguments);
        }
        return result;
    }
};
