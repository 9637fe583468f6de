#include "RefreshLoop.h"

#include <QPointer>

RefreshLoop::RefreshLoop(std::function<std::chrono::milliseconds()> interval,
                         std::function<QCoro::Task<>()> turn, QObject* parent)
    : QObject(parent), m_interval(std::move(interval)), m_turn(std::move(turn))
{
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, this, [this] { runTurn(this); });
}

void RefreshLoop::start()
{
    if (m_running)
        return;
    m_running = true;
    sleep();
}

void RefreshLoop::stop()
{
    m_running = false;
    m_timer.stop();
}

void RefreshLoop::sleep()
{
    if (m_running)
        m_timer.start(m_interval());
}

QCoro::Task<> RefreshLoop::runTurn(QPointer<RefreshLoop> self)
{
    co_await self->m_turn();
    if (!self)
        co_return;
    Q_EMIT self->turned();
    self->sleep();
}
