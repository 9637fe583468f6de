#pragma once

#include <QCoroTask>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

// The timed refresh: sleeps for the interval, runs one turn, and sleeps again once the turn
// is done. The interval is asked for afresh at each sleep, so a changed setting takes effect
// after the sleep in progress.
class RefreshLoop : public QObject
{
    Q_OBJECT
public:
    RefreshLoop(std::function<std::chrono::milliseconds()> interval,
                std::function<QCoro::Task<>()> turn, QObject* parent = nullptr);

    void start();
    void stop();
    bool isRunning() const { return m_running; }

Q_SIGNALS:
    // A turn has ended (whether it refreshed or not).
    void turned();

private:
    void sleep();
    static QCoro::Task<> runTurn(QPointer<RefreshLoop> self);

    std::function<std::chrono::milliseconds()> m_interval;
    std::function<QCoro::Task<>()> m_turn;
    QTimer m_timer;
    bool m_running = false;
};
