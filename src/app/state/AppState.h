#pragma once

#include "app/stores/ContactStore.h"
#include "app/stores/MaskedEmailStore.h"
#include "config/AppConfig.h"
#include "config/ConfigStore.h"
#include "content/AddressBook.h"
#include "jmap/Identity.h"
#include "jmap/JMAPClient.h"
#include "jmap/Mailbox.h"
#include "mail/MailService.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QUuid>

#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;

// What AppState needs from its surroundings; the program passes the real ones, tests fakes.
struct AppEnvironment
{
    // The process-wide HTTP session.
    QNetworkAccessManager* network = nullptr;
    ConfigStore configStore;
    // The token in the keychain; absent when there is none or it cannot be read.
    std::function<std::optional<QString>()> readToken;
    // Stores the token; the empty string removes it. True when the keychain now says so.
    std::function<bool(const QString&)> saveToken;
    // Installs the application's key monitor; called once per process by start().
    std::function<void()> installKeyMonitor;
    // Demo mode: made-up data, no network, no keychain.
    bool demo = false;

    // The real keychain, the settings file in the home directory.
    static AppEnvironment standard(QNetworkAccessManager* network);
};

// The one long-lived controller: settings, connection state and everything the windows show.
// All of it lives on the main thread; network work runs in coroutines that come back to it.
class AppState : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool hasToken READ hasToken NOTIFY hasTokenChanged)
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY isConnectedChanged)
    Q_PROPERTY(int activeFetches READ activeFetches NOTIFY activityChanged)
    Q_PROPERTY(int activePushes READ activePushes NOTIFY activityChanged)

public:
    explicit AppState(AppEnvironment environment, QObject* parent = nullptr);
    ~AppState() override;

    // Settings.
    const AppConfig& config() const { return m_config; }
    void setConfig(const AppConfig& config);
    const ConfigStore& configStore() const { return m_environment.configStore; }
    // Writes the settings file; a failure shows in the error bar and the settings stay.
    void saveConfig();

    // The keychain, as Settings uses it.
    bool saveToken(const QString& token) { return m_environment.saveToken(token); }

    // Connection state.
    bool hasToken() const { return m_hasToken; }
    bool isConnected() const { return m_isConnected; }
    const std::optional<QString>& accountName() const { return m_accountName; }
    const std::optional<QString>& errorMessage() const { return m_errorMessage; }
    void setErrorMessage(const std::optional<QString>& message);
    bool hasMaskedEmail() const { return m_hasMaskedEmail; }
    bool hasContacts() const { return m_hasContacts; }
    qint64 maxDelayedSend() const { return m_maxDelayedSend; }
    const std::shared_ptr<MailService>& service() const { return m_service; }

    // The directory windows' lists, and the addresses that recipient fields complete from.
    MaskedEmailStore* maskedEmails() const { return m_maskedEmails; }
    ContactStore* contacts() const { return m_contacts; }
    const AddressBook& addressBook() const { return m_addressBook; }

    // Mail on show.
    const QList<Mailbox>& mailboxes() const { return m_mailboxes; }
    void setMailboxes(const QList<Mailbox>& mailboxes);
    const std::optional<QString>& selectedMailboxId() const { return m_selectedMailboxId; }
    void setSelectedMailboxId(const std::optional<QString>& id);
    const QList<Identity>& identities() const { return m_identities; }
    std::optional<Mailbox> mailbox(const std::optional<QString>& id) const;
    std::optional<Mailbox> mailboxWithRole(const QString& role) const;
    // Opens or closes a folder of the sidebar tree, and saves the choice.
    void toggleCollapsed(const QString& mailboxId);

    // Requests in flight that read and that write.
    int activeFetches() const { return m_activeFetches; }
    int activePushes() const { return m_activePushes; }

    // The launch sequence; runs its body once per process, but always keeps the callback.
    void start(std::function<void(QUuid)> openCompose);
    bool hasStarted() const { return m_started; }
    // Turns the token and session URL into a working mail session. Never throws: failures
    // land in errorMessage.
    QCoro::Task<> connect();
    // Fills the state with made-up mail, contacts and masked addresses (demo mode).
    void loadDemoData();
    // The one road by which background failures reach the error bar; silent for cancellation.
    void report(std::exception_ptr error);

Q_SIGNALS:
    void configChanged();
    void hasTokenChanged();
    void isConnectedChanged();
    void accountNameChanged();
    void errorMessageChanged();
    void mailboxesChanged();
    void selectedMailboxIdChanged();
    void identitiesChanged();
    void accessChanged();
    void serviceChanged();
    void activityChanged();

private:
    void setHasToken(bool value);
    void setIsConnected(bool value);
    void setAccountName(const std::optional<QString>& name);
    void setIdentities(const QList<Identity>& identities);
    void setAccess(bool maskedEmail, bool contacts);
    void setService(std::shared_ptr<MailService> service);
    void countActivity(JMAPActivity activity, bool started);
    void tearDownConnection();
    static QCoro::Task<> runConnect(QPointer<AppState> self);
    static QCoro::Task<> learnRecipients(QPointer<AppState> self,
                                         std::shared_ptr<MailService> service, QString sentId);

    AppEnvironment m_environment;
    AppConfig m_config;
    bool m_hasToken = false;
    bool m_isConnected = false;
    std::optional<QString> m_accountName;
    std::optional<QString> m_errorMessage;
    QList<Mailbox> m_mailboxes;
    std::optional<QString> m_selectedMailboxId;
    QList<Identity> m_identities;
    qint64 m_maxDelayedSend = 0;
    bool m_hasMaskedEmail = false;
    bool m_hasContacts = false;
    std::shared_ptr<MailService> m_service;
    MaskedEmailStore* m_maskedEmails;
    ContactStore* m_contacts;
    AddressBook m_addressBook;
    std::function<void(QUuid)> m_openComposeWindow;
    bool m_started = false;
    int m_activeFetches = 0;
    int m_activePushes = 0;
};
