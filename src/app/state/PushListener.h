#pragma once

#include "jmap/JMAPPushStream.h"
#include "mail/MailService.h"

#include <QCoroTask>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

// Listens to one connection's push stream and asks for a refresh when the server says that
// something changed. A stream that ends is opened again after a pause that doubles on each
// failure, up to a maximum, and starts over at the first pause once an event arrives. It lives
// and dies with its connection: after stop() nothing of it touches the connection again.
class PushListener : public QObject
{
    Q_OBJECT
public:
    PushListener(std::shared_ptr<MailService> service, std::function<QCoro::Task<>()> refresh,
                 std::chrono::milliseconds firstDelay, std::chrono::milliseconds maximumDelay,
                 QObject* parent = nullptr);
    ~PushListener() override;

    void start();
    void stop();
    // The stream has delivered an event and has not ended since.
    bool isLive() const { return m_live; }

Q_SIGNALS:
    void liveChanged(bool live);
    // The stream ended; it is opened again after this many milliseconds.
    void retryScheduled(qint64 delay);

private:
    // What the reading coroutine checks after each wait: the listener may be gone.
    struct Control
    {
        bool stopped = false;
    };

    void openStream();
    void streamEnded();
    void setLive(bool live);
    static QCoro::Task<> read(std::shared_ptr<Control> control, PushListener* listener,
                              JMAPPushStream* stream);

    std::shared_ptr<MailService> m_service;
    std::function<QCoro::Task<>()> m_refresh;
    std::chrono::milliseconds m_firstDelay;
    std::chrono::milliseconds m_maximumDelay;
    std::chrono::milliseconds m_delay;
    bool m_hasConnected = false;
    bool m_live = false;
    std::shared_ptr<Control> m_control = std::make_shared<Control>();
    std::unique_ptr<JMAPPushStream> m_stream;
    QTimer m_retry;
};
