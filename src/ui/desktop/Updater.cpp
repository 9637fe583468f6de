#include "Updater.h"

#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSettings>
#include <QStandardPaths>

namespace {

// A feed is a few kilobytes; anything far larger is not one.
constexpr qint64 maximumFeedSize = 4 * 1024 * 1024;

QString feedError(const QString& reason)
{
    return QObject::tr("The update feed could not be read: %1").arg(reason);
}

} // namespace

Updater::Updater(Options options, QNetworkAccessManager* network, QObject* parent)
    : QObject(parent), m_options(std::move(options)), m_network(network)
{
    QSettings state(m_options.stateFile, QSettings::IniFormat);
    m_checksAutomatically = state.value(QStringLiteral("checksAutomatically"), true).toBool();
    m_skippedVersion = state.value(QStringLiteral("skippedVersion")).toString();
    m_lastCheck = state.value(QStringLiteral("lastCheck")).toDateTime();
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, this, [this] {
        // A check the user started is still running: try again at the next turn.
        if (m_canCheck)
            run(this, false);
        else
            m_timer.start(m_options.firstCheckDelay);
    });
    schedule();
}

Updater::~Updater() = default;

QUrl Updater::configuredFeed()
{
#ifdef VELDRIN_UPDATE_FEED
    return QUrl(QStringLiteral(VELDRIN_UPDATE_FEED));
#else
    return {};
#endif
}

QString Updater::currentVersion()
{
#ifdef VELDRIN_VERSION
    return QStringLiteral(VELDRIN_VERSION);
#else
    return QStringLiteral("0");
#endif
}

std::unique_ptr<Updater> Updater::standard(QNetworkAccessManager* network)
{
    const QUrl feed = configuredFeed();
    if (feed.isEmpty())
        return nullptr;
    Options options;
    options.feed = feed;
    options.currentVersion = currentVersion();
    options.stateFile = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                        QStringLiteral("/veldrin/updater.ini");
    return std::make_unique<Updater>(std::move(options), network);
}

void Updater::setChecksAutomatically(bool on)
{
    if (m_checksAutomatically == on)
        return;
    m_checksAutomatically = on;
    saveState();
    schedule();
    Q_EMIT checksAutomaticallyChanged();
}

void Updater::skipVersion(const QString& version)
{
    m_skippedVersion = version;
    saveState();
}

void Updater::setCanCheck(bool can)
{
    if (m_canCheck == can)
        return;
    m_canCheck = can;
    Q_EMIT canCheckForUpdatesChanged();
}

void Updater::schedule()
{
    m_timer.stop();
    if (!m_checksAutomatically)
        return;
    auto delay = m_options.firstCheckDelay;
    if (m_lastCheck.isValid()) {
        const auto due =
            std::chrono::milliseconds(QDateTime::currentDateTimeUtc().msecsTo(m_lastCheck.addMSecs(
                std::chrono::duration_cast<std::chrono::milliseconds>(m_options.checkInterval)
                    .count())));
        delay = std::max(delay, due);
    }
    m_timer.start(delay);
}

void Updater::saveState()
{
    QSettings state(m_options.stateFile, QSettings::IniFormat);
    state.setValue(QStringLiteral("checksAutomatically"), m_checksAutomatically);
    state.setValue(QStringLiteral("skippedVersion"), m_skippedVersion);
    if (m_lastCheck.isValid())
        state.setValue(QStringLiteral("lastCheck"), m_lastCheck);
}

void Updater::checkForUpdates()
{
    if (m_canCheck)
        run(this, true);
}

QCoro::Task<> Updater::run(QPointer<Updater> self, bool userAsked)
{
    Check result = co_await self->check();
    if (!self)
        co_return;
    if (!userAsked) {
        self->m_lastCheck = QDateTime::currentDateTimeUtc();
        self->saveState();
        self->schedule();
    }
    Q_EMIT self->checked(result, userAsked);
}

QCoro::Task<Updater::Check> Updater::check()
{
    QPointer<Updater> self = this;
    setCanCheck(false);
    QNetworkRequest request(m_options.feed);
    request.setTransferTimeout(60000);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    QPointer<QNetworkReply> reply = m_network->get(request);
    co_await qCoro(reply.get()).waitForFinished();
    if (!self || !reply)
        co_return Check{};
    reply->deleteLater();
    setCanCheck(true);
    co_return outcome(reply, m_options.currentVersion);
}

Updater::Check Updater::outcome(QNetworkReply* reply, const QString& currentVersion)
{
    Check result;
    result.outcome = Check::Outcome::Failed;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->error() != QNetworkReply::NoError && status == 0) {
        result.error = feedError(reply->errorString());
        return result;
    }
    if (status != 0 && (status < 200 || status > 299)) {
        result.error = feedError(tr("the server answered with status %1.").arg(status));
        return result;
    }
    const QByteArray body = reply->read(maximumFeedSize + 1);
    if (body.size() > maximumFeedSize) {
        result.error = feedError(tr("it is far too large."));
        return result;
    }
    try {
        const auto releases = Appcast::parse(body);
        result.release = Appcast::newest(releases, currentVersion);
        result.outcome = result.release ? Check::Outcome::Newer : Check::Outcome::UpToDate;
    } catch (const Appcast::ParseError& error) {
        result.error = feedError(error.description);
    }
    return result;
}
