#include "AppState.h"

#include "RefreshLoop.h"
#include "app/demo/DemoData.h"
#include "app/notify/DesktopNotifications.h"
#include "app/notify/LauncherBadge.h"
#include "config/Keychain.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QStandardPaths>

namespace {

// Shows a file selected in the desktop's file manager, or at least opens its folder.
void revealInFileManager(const QString& path)
{
    const QUrl folder = QUrl::fromLocalFile(QFileInfo(path).absolutePath());
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        QDesktopServices::openUrl(folder);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [folder](QDBusPendingCallWatcher* finished) {
                         if (finished->isError())
                             QDesktopServices::openUrl(folder);
                         finished->deleteLater();
                     });
}

} // namespace

AppEnvironment AppEnvironment::standard(QNetworkAccessManager* network)
{
    AppEnvironment environment;
    environment.network = network;
    environment.readToken = [] { return Keychain::readToken(); };
    environment.saveToken = [](const QString& token) { return Keychain::saveToken(token); };
    environment.demo = DemoData::isDemo();
    environment.demoScene = DemoScene::fromEnvironment();
    environment.demoDelay = DemoScene::delayFromEnvironment();
    environment.openUrl = [](const QUrl& url) { QDesktopServices::openUrl(url); };
    environment.revealFile = revealInFileManager;
    environment.attachmentCacheDir =
        QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
        QStringLiteral("/Veldrin/Attachments");
    environment.downloadsDir = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    // Demo mode has no notices, and no count on the launcher.
    if (!environment.demo) {
        environment.notifications = std::make_shared<DesktopNotifications>();
        environment.setBadgeCount = [](qint64 count) { LauncherBadge::setCount(count); };
    }
    environment.isApplicationActive = [] {
        return QGuiApplication::applicationState() == Qt::ApplicationActive;
    };
    return environment;
}

AppState::AppState(AppEnvironment environment, QObject* parent)
    : QObject(parent), m_environment(std::move(environment)),
      m_maskedEmails(new MaskedEmailStore(this)), m_contacts(new ContactStore(this)),
      m_notifier(
          new MailNotifier(m_environment.notifications, m_environment.isApplicationActive, this))
{
    try {
        m_config = m_environment.configStore.load();
    } catch (const std::exception&) {
        m_config = AppConfig();
        m_errorMessage = QStringLiteral("Could not read %1: %2. Using defaults.")
                             .arg(QDir::toNativeSeparators(m_environment.configStore.path()),
                                  Errors::describe(std::current_exception()));
    }
}

AppState::~AppState()
{
    // While the members they read are still there.
    stopListening();
    delete m_refreshLoop;
}

void AppState::setConfig(const AppConfig& config)
{
    if (m_config == config)
        return;
    const bool badgeChanged = m_config.showDockBadge != config.showDockBadge;
    m_config = config;
    Q_EMIT configChanged();
    if (badgeChanged)
        updateBadge();
}

void AppState::saveConfig()
{
    try {
        m_environment.configStore.save(m_config);
    } catch (const std::exception&) {
        setErrorMessage(QStringLiteral("Could not save config: %1")
                            .arg(Errors::describe(std::current_exception())));
    }
}

void AppState::setErrorMessage(const std::optional<QString>& message)
{
    if (m_errorMessage == message)
        return;
    m_errorMessage = message;
    Q_EMIT errorMessageChanged();
}

void AppState::setHasToken(bool value)
{
    if (m_hasToken == value)
        return;
    m_hasToken = value;
    Q_EMIT hasTokenChanged();
}

void AppState::setIsConnected(bool value)
{
    if (m_isConnected == value)
        return;
    m_isConnected = value;
    Q_EMIT isConnectedChanged();
}

void AppState::setAccountName(const std::optional<QString>& name)
{
    if (m_accountName == name)
        return;
    m_accountName = name;
    Q_EMIT accountNameChanged();
}

void AppState::setMailboxes(const QList<Mailbox>& mailboxes)
{
    if (m_mailboxes == mailboxes)
        return;
    m_mailboxes = mailboxes;
    Q_EMIT mailboxesChanged();
    updateBadge();
}

void AppState::setSelectedMailboxId(const std::optional<QString>& id)
{
    if (m_selectedMailboxId == id)
        return;
    m_selectedMailboxId = id;
    Q_EMIT selectedMailboxIdChanged();
}

void AppState::setIdentities(const QList<Identity>& identities)
{
    if (m_identities == identities)
        return;
    m_identities = identities;
    Q_EMIT identitiesChanged();
}

void AppState::setAccess(bool maskedEmail, bool contacts)
{
    if (m_hasMaskedEmail == maskedEmail && m_hasContacts == contacts)
        return;
    m_hasMaskedEmail = maskedEmail;
    m_hasContacts = contacts;
    Q_EMIT accessChanged();
}

void AppState::setService(std::shared_ptr<MailService> service)
{
    if (m_service == service)
        return;
    m_service = std::move(service);
    Q_EMIT serviceChanged();
}

std::optional<Mailbox> AppState::mailbox(const std::optional<QString>& id) const
{
    if (!id)
        return std::nullopt;
    for (const Mailbox& candidate : m_mailboxes)
        if (candidate.id == *id)
            return candidate;
    return std::nullopt;
}

std::optional<Mailbox> AppState::mailboxWithRole(const QString& role) const
{
    for (const Mailbox& candidate : m_mailboxes)
        if (candidate.role == role)
            return candidate;
    return std::nullopt;
}

void AppState::toggleCollapsed(const QString& mailboxId)
{
    AppConfig changed = m_config;
    if (!changed.collapsedMailboxes.removeAll(mailboxId))
        changed.collapsedMailboxes.append(mailboxId);
    changed.collapsedMailboxes.sort();
    setConfig(changed);
    saveConfig();
}

void AppState::countActivity(JMAPActivity activity, bool started)
{
    int& counter = activity == JMAPActivity::fetching ? m_activeFetches : m_activePushes;
    counter = std::max(0, counter + (started ? 1 : -1));
    Q_EMIT activityChanged();
}

void AppState::report(std::exception_ptr error)
{
    if (!error || Errors::isCancellation(error))
        return;
    setErrorMessage(Errors::describe(error));
}

void AppState::start(std::function<void(QUuid)> openCompose)
{
    m_openComposeWindow = std::move(openCompose);
    if (m_started)
        return;
    m_started = true;
    if (m_environment.installKeyMonitor)
        m_environment.installKeyMonitor();
    if (m_environment.demo) {
        loadDemoData();
        composePendingLinks();
        return;
    }
    m_notifier->start(this);
    // Notices need no permission here, so the badge may show at once.
    m_showsBadge = true;
    updateBadge();
    // Started before connect: it sleeps first, and does nothing while there is no service.
    startRefreshLoop();
    runConnect(this);
}

void AppState::loadDemoData()
{
    setMailboxes(DemoData::mailboxes());
    m_addressBook.add(DemoData::senders(), true);
    m_maskedEmails->setItems(DemoData::maskedEmails(QDateTime::currentDateTime()));
    m_contacts->setItems(DemoData::contacts());
    setAccountName(DemoData::accountName());
    setIdentities(DemoData::identities());
    setSelectedMailboxId(QStringLiteral("inbox"));
    showDemoThreads();
    setHasToken(true);
    setIsConnected(true);
    setAccess(true, true);
    stageDemoScene();
}

QCoro::Task<> AppState::runConnect(QPointer<AppState> self)
{
    co_await self->connect();
    // Links that came while connecting are composed whatever connect achieved.
    if (self)
        self->composePendingLinks();
}
