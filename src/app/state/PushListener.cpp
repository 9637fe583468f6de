#include "PushListener.h"

PushListener::PushListener(std::shared_ptr<MailService> service,
                           std::function<QCoro::Task<>()> refresh,
                           std::chrono::milliseconds firstDelay,
                           std::chrono::milliseconds maximumDelay, QObject* parent)
    : QObject(parent), m_service(std::move(service)), m_refresh(std::move(refresh)),
      m_firstDelay(firstDelay), m_maximumDelay(maximumDelay), m_delay(firstDelay)
{
    m_retry.setSingleShot(true);
    m_retry.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_retry, &QTimer::timeout, this, &PushListener::openStream);
}

PushListener::~PushListener()
{
    stop();
}

void PushListener::start()
{
    if (!m_control->stopped && !m_stream && !m_retry.isActive())
        openStream();
}

void PushListener::stop()
{
    // First, so that a reader woken by the closing stream leaves without touching anything.
    m_control->stopped = true;
    m_retry.stop();
    if (m_stream) {
        m_stream->stop();
        m_stream.reset();
    }
    setLive(false);
}

void PushListener::openStream()
{
    if (m_control->stopped)
        return;
    m_stream = JMAPClient::pushEvents(m_service->client(),
                                      {QStringLiteral("Email"), QStringLiteral("Mailbox")});
    read(m_control, this, m_stream.get());
}

QCoro::Task<> PushListener::read(std::shared_ptr<Control> control, PushListener* listener,
                                 JMAPPushStream* stream)
{
    while (true) {
        std::optional<JMAPPushEvent> event;
        try {
            event = co_await stream->next();
        } catch (...) {
            // Whatever ended the stream, also a rejected token: the timer has taken over, and
            // the next refresh shows a real problem.
        }
        if (control->stopped)
            co_return;
        if (!event)
            break;
        listener->setLive(true);
        // The first "connected" follows a connect that has just loaded everything; a later
        // one means the stream was down and changes may have been missed.
        if (*event == JMAPPushEvent::changed || listener->m_hasConnected) {
            // The stream is not read meanwhile: a burst of changes costs one more refresh.
            co_await listener->m_refresh();
            if (control->stopped)
                co_return;
        }
        listener->m_hasConnected = true;
        listener->m_delay = listener->m_firstDelay;
    }
    listener->streamEnded();
}

void PushListener::streamEnded()
{
    setLive(false);
    // We may be inside the stream's own callback: it goes on the next turn.
    if (m_stream)
        m_stream.release()->deleteLater();
    const std::chrono::milliseconds delay = m_delay;
    m_delay = std::min(m_delay * 2, m_maximumDelay);
    m_retry.start(delay);
    Q_EMIT retryScheduled(delay.count());
}

void PushListener::setLive(bool live)
{
    if (m_live == live)
        return;
    m_live = live;
    Q_EMIT liveChanged(live);
}
