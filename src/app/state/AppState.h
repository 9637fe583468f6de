#pragma once

#include "app/compose/ComposeDraft.h"
#include "app/demo/DemoScene.h"
#include "app/feedback/Feedback.h"
#include "app/notify/MailNotifier.h"
#include "app/notify/NotificationCenter.h"
#include "app/platform/Question.h"
#include "app/platform/WindowServices.h"
#include "app/state/KeyContext.h"
#include "app/state/ThreadCache.h"
#include "app/stores/ContactStore.h"
#include "app/stores/MaskedEmailStore.h"
#include "config/AppConfig.h"
#include "config/ConfigStore.h"
#include "content/AddressBook.h"
#include "content/DraftSeed.h"
#include "content/Invitation.h"
#include "content/MailtoLink.h"
#include "content/Unsubscribe.h"
#include "jmap/Identity.h"
#include "jmap/JMAPClient.h"
#include "jmap/Mailbox.h"
#include "keys/KeyBinding.h"
#include "keys/MailAction.h"
#include "mail/MailService.h"
#include "mail/MailThread.h"
#include "mail/Submission.h"

#include <QCoroTask>
#include <QHash>
#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QUrl>
#include <QUuid>

#include <chrono>

#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;
class MoveCommand;
class PushListener;
class RefreshLoop;

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
    // The scene demo mode stages, and the delay before its change.
    DemoScene::Scene demoScene = DemoScene::Scene::none;
    std::chrono::milliseconds demoDelay{1500};

    // The desktop: open a link or a file in its default application, and show a file in the
    // file manager. Tests record the calls instead.
    std::function<void(const QUrl&)> openUrl;
    std::function<void(const QString& path)> revealFile;
    // Where received attachments are cached, and where "Save to Downloads" puts them.
    QString attachmentCacheDir;
    QString downloadsDir;

    // Timing of the refresh loop and the push listener; tests shorten them.
    struct Timing
    {
        std::chrono::milliseconds minimumRefreshInterval{15000};
        std::chrono::milliseconds pushFirstDelay{2000};
        std::chrono::milliseconds pushMaximumDelay{60000};
        // The unit of a toast's lifetime, which callers give in seconds.
        std::chrono::milliseconds toastSecond{1000};
        // The pause after the last change of a draft before it is saved.
        std::chrono::milliseconds autosaveDelay{3000};
    } timing;
    // How many messages one request of "Mark All as Read" marks.
    qint64 markAllReadBatchSize = 500;
    // Where feedback mail goes; empty when this build has no address.
    QString supportAddress = Feedback::supportAddress();
    // The session for one-click unsubscribing; null makes a fresh one that keeps nothing.
    QNetworkAccessManager* unsubscribeNetwork = nullptr;

    // New-mail notices and the launcher badge. Without a centre no notices are posted and the
    // unread inbox is not asked for; without a badge function no count is shown.
    std::shared_ptr<NotificationCenter> notifications;
    std::function<void(qint64 count)> setBadgeCount;
    // Whether a Veldrin window is the active one: new mail is announced only when it is not.
    std::function<bool()> isApplicationActive;

    // The real keychain, the settings file in the home directory, the desktop's file manager
    // and the user's cache and Downloads folders.
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
    // Shows the settings file in the desktop's file manager.
    void revealConfigFile();

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
    bool isDemo() const { return m_environment.demo; }
    // The one road by which background failures reach the error bar; silent for cancellation.
    void report(std::exception_ptr error);

    // Staying current.
    // Reloads mailboxes, the thread list and, when messages joined or left it, the open thread.
    // Never throws.
    QCoro::Task<> refresh();
    QCoro::Task<> reloadMailboxes();
    // The selected mailbox changed: the list empties at once and the first page is fetched.
    void mailboxChanged();
    bool isPushLive() const { return m_isPushLive; }

    // The thread list.
    const QList<MailThread>& threads() const { return m_threads; }
    qint64 totalThreads() const { return m_totalThreads; }
    const QSet<QString>& selectedThreadIds() const { return m_selectedThreadIds; }
    void setSelectedThreadIds(const QSet<QString>& ids);
    std::optional<QString> selectedThreadId() const;
    void setSelectedThreadId(const std::optional<QString>& id);
    std::optional<MailThread> selectedThread() const;
    QList<MailThread> selectedThreads() const;
    const QString& searchText() const { return m_searchText; }
    void setSearchText(const QString& text);
    bool isLoadingList() const { return m_isLoadingList; }
    // The next page (false) or the first page again (true).
    QCoro::Task<> loadThreads(bool reset);
    // Runs the search in searchText (the search field's submit and its clear button).
    QCoro::Task<> search();
    // The main window calls this whenever selectedThreadIds changes.
    void threadSelectionChanged();
    const ThreadCache& threadCache() const { return m_threadCache; }

    // The open thread.
    const QList<Email>& openEmails() const { return m_openEmails; }
    const QSet<QString>& expandedEmailIds() const { return m_expandedEmailIds; }
    void setExpandedEmailIds(const QSet<QString>& ids);
    // Opens or closes one message of the reader.
    void toggleExpanded(const QString& emailId);
    const QSet<QString>& detailEmailIds() const { return m_detailEmailIds; }
    void toggleDetails(const QString& emailId);
    bool isLoadingThread() const { return m_isLoadingThread; }
    const std::optional<QString>& scrollTargetEmailId() const { return m_scrollTargetEmailId; }
    int scrollRequest() const { return m_scrollRequest; }
    const std::optional<QString>& focusedEmailId() const { return m_focusedEmailId; }
    void setFocusedEmailId(const std::optional<QString>& id);
    int messageScrollRequest() const { return m_messageScrollRequest; }
    // A click on a new-mail notification: shows the inbox with that thread selected.
    void openInboxThread(const QString& threadId);
    // Sets or clears a keyword on messages: on screen at once, then on the server.
    QCoro::Task<> setKeyword(QString keyword, bool on, QStringList emailIds);

    // Received attachments and message sources.
    struct RawMessage
    {
        QString id;
        QString subject;
        // Absent while loading.
        std::optional<QString> source;
        bool operator==(const RawMessage&) const = default;
    };
    // The local file of a received part, fetched into the cache when it is not there yet.
    QCoro::Task<QString> attachmentFile(BodyPart part);
    // The bytes of an inline part (a cid: image), from the server or, in demo mode, made up.
    QCoro::Task<QByteArray> partData(BodyPart part);
    // A safe file name for a part: no "/" or ":", "attachment" plus an extension when unnamed.
    static QString fileName(const BodyPart& part);
    void quickLook(const BodyPart& part);
    const std::optional<QString>& quickLookPath() const { return m_quickLookPath; }
    void setQuickLookPath(const std::optional<QString>& path);
    void openAttachment(const BodyPart& part);
    void saveAttachment(const BodyPart& part);
    void showRawMessage(const Email& email);
    const std::optional<RawMessage>& rawMessage() const { return m_rawMessage; }
    void setRawMessage(const std::optional<RawMessage>& message);

    // Acting on threads.
    struct Toast
    {
        QUuid id;
        QString message;
        // Present when the toast offers "Undo".
        std::function<void()> undo;
        // The undo is on the window's undo stack, so the toast also shows the undo key.
        bool isOnUndoKey = false;
    };
    enum class FolderPicker
    {
        Move,
        GoTo,
    };
    enum class Pane
    {
        Sidebar,
        List,
        Reader,
    };
    void setWindowServices(WindowServices services);
    // The dispatcher for the main window's menus, toolbar and keys.
    void perform(MailAction action);
    // For a row's context menu, which may hit rows other than the selection.
    void perform(MailAction action, const QSet<QString>& threadIds);
    // Moves the threads' messages that are in the mailbox on show; true when something moved.
    bool moveThreads(const QSet<QString>& threadIds, const Mailbox& destination);
    void markAllRead(const QString& mailboxId);
    // The "archive" action of a notification: no local change, no toast.
    void archiveFromInbox(const QString& emailId);
    // Starts the task that marks one message read (a notification's "Mark as Read").
    void markRead(const QString& emailId);
    const std::optional<Toast>& toast() const { return m_toast; }
    void showToast(const QString& message, std::function<void()> undo, bool isOnUndoKey,
                   int seconds);
    // The toast's "Undo": clears the toast, then runs its operation.
    void undoFromToast();
    void dismissToast();
    const std::optional<FolderPicker>& folderPicker() const { return m_folderPicker; }
    void setFolderPicker(const std::optional<FolderPicker>& picker);
    // Opens a mailbox, unfolding the folders above it.
    void goToMailbox(const Mailbox& mailbox);
    bool hidesWhenEmpty(const QString& mailboxId) const;
    void setHidesWhenEmpty(const QString& mailboxId, bool hide);
    bool showsTotalCount(const QString& mailboxId) const;
    void setShowsTotalCount(const QString& mailboxId, bool show);
    // Drag reordering of the sidebar, and its reset.
    void moveMailbox(const QString& mailboxId, int toRow);
    void resetFolderOrder();

    // Writing mail.
    // Opens a compose window: a new message, a reply or forward of `email` (else of the message
    // the reader is about), with recipients or a mailto: link. Gives the draft, or null when a
    // reply has nothing to answer.
    ComposeDraft* compose(std::optional<ReplyKind> kind = std::nullopt,
                          const std::optional<Email>& email = std::nullopt,
                          const QList<EmailAddress>& to = {},
                          const std::optional<MailtoLink>& link = std::nullopt);
    // Reopens a server draft, or raises the window that already holds it.
    ComposeDraft* editDraft(const Email& email);
    // A window the system restored without its draft gets an empty one.
    ComposeDraft* ensureDraft(const QUuid& id);
    const QMap<QUuid, std::shared_ptr<ComposeDraft>>& drafts() const { return m_drafts; }
    ComposeDraft* draft(const QUuid& id) const;
    // The window calls this after each change of the draft's content: saves after a pause.
    void draftChanged(ComposeDraft* draft);
    // Writes the draft to Drafts after the writes asked before; gives the server id, or none
    // (the reason is in the draft's error). Never throws.
    QCoro::Task<std::optional<QString>> saveDraft(ComposeDraft* draft);
    // The window closed, however: a changed draft is saved, with the toast "Draft saved".
    void closeDraft(const QUuid& id);
    // The user confirmed the discard question: the window closes and the server copy goes.
    void discard(ComposeDraft* draft);
    // The recipient completion popup of a field.
    void updateSuggestions(RecipientField field, ComposeDraft* draft);
    void dismissSuggestions(ComposeDraft* draft);
    bool handleSuggestionKey(const KeyBinding& binding, ComposeDraft* draft);
    // The compose window's actions (send, attach, Markdown, preview, discard).
    void perform(MailAction action, const QUuid& draftId);
    // Adds local files to the draft; they are uploaded when the draft is saved.
    void attach(const QList<QUrl>& urls, ComposeDraft* draft);
    // The interface's file dialog for attachments; it calls attach() with the chosen files.
    void setChooseAttachments(std::function<void(ComposeDraft*)> choose);

    // Sending. Never throws: failures stand in the draft's error.
    QCoro::Task<> send(ComposeDraft* draft, bool archive = false,
                       std::optional<QDateTime> at = std::nullopt);
    QCoro::Task<> sendAndArchive(ComposeDraft* draft) { return send(draft, true); }
    QCoro::Task<> sendLater(ComposeDraft* draft, QDateTime at) { return send(draft, false, at); }
    // Held submissions of the open thread's sent messages, by email id.
    const QHash<QString, PendingSubmission>& pendingSends() const { return m_pendingSends; }
    // Stops a held message and opens it as a draft again.
    void cancelScheduledSend(const Email& email);

    // mailto: links handed over by the desktop; they wait until the start sequence ends.
    void open(const QList<QUrl>& urls);
    const std::optional<QList<MailtoLink>>& pendingLinks() const { return m_pendingLinks; }

    // New-mail notices and the launcher badge.
    MailNotifier* notifier() const { return m_notifier; }
    // Runs the notifier's check on the inbox; nothing without a service or an inbox.
    QCoro::Task<> checkForNewMail();
    // Brings the main window forward, for a click on a notice.
    void showMainWindow();
    // Counts the requests to bring the main window to the front.
    int windowRequest() const { return m_windowRequest; }
Q_SIGNALS:
    void windowRequestChanged();

public:
    // The keyboard.
    // Decides what a key press means where it happened; true when it was consumed.
    bool handleKeyDown(const KeyBinding& binding, const KeyContext& context);
    Pane focusedPane() const { return m_focusedPane; }
    void focus(Pane pane);
    int paneFocusRequest() const { return m_paneFocusRequest; }
    int searchFocusRequest() const { return m_searchFocusRequest; }
    bool showsShortcuts() const { return m_showsShortcuts; }
    void setShowsShortcuts(bool shows);

    // Invitations, unsubscribing and feedback: mail that Veldrin writes and sends by itself.
    // Calendar parts read so far, and the answers sent during this run, by email id.
    const QHash<QString, Invitation>& invitations() const { return m_invitations; }
    const QHash<QString, ParticipationStatus>& invitationAnswers() const
    {
        return m_invitationAnswers;
    }
    // Reads the message's calendar part, once per message and run; a failure shows nothing.
    void loadInvitation(const Email& email);
    // The lower-cased addresses of every identity.
    QSet<QString> ownAddresses() const;
    // Whether answer() can send anything: a request (not a cancellation) with an organizer,
    // the user among its attendees under an identity, and a Drafts mailbox.
    bool canAnswer(const Invitation& invitation) const;
    // The user's answer: sent during this run, else as the invitation records it; absent when
    // there is none yet.
    std::optional<ParticipationStatus> invitationAnswer(const QString& emailId,
                                                        const Invitation& invitation) const;
    // Sends the REPLY to the organizer and says so in a toast. Never throws: failures are
    // reported, and impossible answers do nothing.
    QCoro::Task<> answer(Invitation invitation, Email email, ParticipationStatus status);
    // Opens the calendar part in the desktop's calendar application.
    void addToCalendar(const Email& email);
    // How the state asks before leaving a list; without it, only web pages open.
    void setAskQuestion(AskQuestion ask) { m_askQuestion = std::move(ask); }
    // Leaves the list the message came from: a web page opens at once, the other ways ask
    // first. Never throws.
    void unsubscribe(const Email& email);
    // The identity feedback is sent from: the account's own address, else the first identity.
    std::optional<Identity> feedbackIdentity() const;
    const QString& supportAddress() const { return m_environment.supportAddress; }
    // Sends a bug report or feature request to the support address; throws on failure.
    QCoro::Task<> sendFeedback(QString text, FeedbackKind kind);

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
    void threadsChanged();
    void totalThreadsChanged();
    void selectedThreadIdsChanged();
    void searchTextChanged();
    void isLoadingListChanged();
    void openEmailsChanged();
    void expandedEmailIdsChanged();
    void detailEmailIdsChanged();
    void isLoadingThreadChanged();
    void scrollRequestChanged();
    void focusedEmailIdChanged();
    void messageScrollRequestChanged();
    void quickLookPathChanged();
    void rawMessageChanged();
    void toastChanged();
    void folderPickerChanged();
    void focusedPaneChanged();
    void paneFocusRequestChanged();
    void searchFocusRequestChanged();
    void showsShortcutsChanged();
    void draftsChanged();
    void pendingSendsChanged();
    void invitationsChanged();
    void invitationAnswersChanged();

private:
    friend class MoveCommand;

    void setHasToken(bool value);
    void setIsConnected(bool value);
    void setAccountName(const std::optional<QString>& name);
    void setIdentities(const QList<Identity>& identities);
    void setAccess(bool maskedEmail, bool contacts);
    void setService(std::shared_ptr<MailService> service);
    void countActivity(JMAPActivity activity, bool started);
    void tearDownConnection();
    static QCoro::Task<> runConnect(QPointer<AppState> self);
    static QCoro::Task<> refreshIfAlive(QPointer<AppState> self);

    // Staying current.
    void setIsPushLive(bool live);
    // Replaces the push listener with one on this connection's stream.
    void listenForChanges(std::shared_ptr<MailService> service);
    void stopListening();
    // The timed loop: started once by start(), never in demo mode.
    void startRefreshLoop();
    // One turn of the timed loop: refreshes unless the push stream is live.
    QCoro::Task<> refreshTurn();

    // The thread list.
    void setThreads(const QList<MailThread>& threads);
    void setTotalThreads(qint64 total);
    void setIsLoadingList(bool loading);
    // The one road to the server for the list; stale answers are dropped by generation.
    QCoro::Task<> fetchThreads(qint64 position, qint64 limit);
    // Demo mode: the made-up threads of the selected mailbox that match the search words.
    void showDemoThreads();
    // Demo mode's scene: its start state now, its change after the delay (AppStateDemo.cpp).
    void stageDemoScene();
    void playDemoScene(DemoScene::Scene scene);
    void prefetchThreads(const QString& around);
    void prefetchThreads(const QStringList& ids);
    static QCoro::Task<> runPrefetch(QPointer<AppState> self, std::shared_ptr<MailService> service,
                                     QStringList ids);

    // The open thread.
    void setOpenEmails(const QList<Email>& emails);
    void setIsLoadingThread(bool loading);
    QCoro::Task<> loadOpenThread();
    // Puts a thread's messages on show; a real opening also chooses what is expanded and
    // where the reader scrolls to. Gives the messages now on show.
    QList<Email> show(const QList<Email>& emails, bool opening);
    // The message the reader is about: the first expanded one, else the last; absent when none.
    std::optional<Email> openingEmail() const;
    // Runs the action that a row's context menu left for its thread, once it has opened.
    void performPendingAction();

    // Acting on threads.
    // Which way a move runs on the undo stack: a new move registers its reverse; the stack's own
    // undo and redo do not.
    enum class MoveKind
    {
        First,
        Undo,
        Redo,
    };
    void moveSelectedThreads(const QString& role);
    // The local change, the undo entry, the toast, then the server; the task may be dropped.
    QCoro::Task<> move(const QList<Email>& emails, const QSet<QString>& threadIds,
                       const QString& source, const QString& target, bool announce,
                       MoveKind kind = MoveKind::First);
    static QCoro::Task<> runMove(QPointer<AppState> self, std::shared_ptr<MailService> service,
                                 QList<Email> emails, QString source, QString target);
    void toggleRead();
    void toggleFlag();
    // The mailbox that "send and archive" takes a message out of; absent when there is none.
    std::optional<QString> archivableMailbox(const Email& email) const;
    static QCoro::Task<> runMarkAllRead(QPointer<AppState> self,
                                        std::shared_ptr<MailService> service, QString mailboxId,
                                        qint64 batchSize);
    static QCoro::Task<> runArchiveFromInbox(QPointer<AppState> self,
                                             std::shared_ptr<MailService> service,
                                             QMap<QString, QJsonObject> patch);

    // The keyboard.
    bool handleComposeKey(const KeyBinding& binding, const KeyContext& context);
    void stepSelection(int delta);
    void stepMessage(int delta);
    void stepPane(int delta);
    void toggleFocusedMessage();
    void toggleFocusedDetails();
    // The message keyboard actions work on: the focused one, else the one the reader is about.
    std::optional<QString> focusedOrOpeningEmailId() const;
    // Adds a mailbox to one of the settings' mailbox lists, or takes it out, and saves.
    void setMailboxMembership(QStringList AppConfig::*list, const QString& mailboxId, bool member);
    void scrollReader(double pages, double lines);
    void setFocusedPane(Pane pane);

    // Received attachments.
    static QCoro::Task<> runQuickLook(QPointer<AppState> self, BodyPart part);
    static QCoro::Task<> runOpenAttachment(QPointer<AppState> self, BodyPart part);
    static QCoro::Task<> runSaveAttachment(QPointer<AppState> self, BodyPart part);
    static QCoro::Task<> runRawMessage(QPointer<AppState> self,
                                       std::shared_ptr<MailService> service, QString emailId,
                                       QString blobId);
    static QCoro::Task<> learnRecipients(QPointer<AppState> self,
                                         std::shared_ptr<MailService> service, QString sentId);

    // Writing mail.
    // Keeps the draft in drafts and wires its autosave; openDraft also opens its window.
    void adoptDraft(std::shared_ptr<ComposeDraft> draft);
    void openDraft(std::shared_ptr<ComposeDraft> draft);
    void removeDraft(const QUuid& id);
    std::optional<Identity> sendingIdentity(const ComposeDraft& draft) const;
    OutgoingMessage outgoingMessage(const ComposeDraft& draft, const Identity& identity) const;
    QList<DraftAttachment> forwardedAttachments(const Email& email) const;
    static QCoro::Task<std::optional<QString>> runSave(QPointer<AppState> self,
                                                       std::shared_ptr<ComposeDraft> draft);
    QCoro::Task<std::optional<QString>> writeDraft(std::shared_ptr<ComposeDraft> draft);
    static QCoro::Task<QList<OutgoingAttachment>> upload(QList<DraftAttachment> attachments,
                                                         std::shared_ptr<ComposeDraft> draft,
                                                         std::shared_ptr<MailService> service);
    static QCoro::Task<> runClose(QPointer<AppState> self, std::shared_ptr<ComposeDraft> draft);
    static QCoro::Task<> runDiscard(QPointer<AppState> self, std::shared_ptr<ComposeDraft> draft);
    static QCoro::Task<> runUndoSend(QPointer<AppState> self, QString submissionId, QString emailId,
                                     std::shared_ptr<ComposeDraft> draft,
                                     std::optional<QList<Email>> archived, QString threadId,
                                     QString sourceMailbox, QString archiveMailbox);
    QCoro::Task<> unsend(QString submissionId, QString emailId,
                         std::shared_ptr<ComposeDraft> draft);
    static QCoro::Task<> runCancelScheduledSend(QPointer<AppState> self, PendingSubmission entry,
                                                Email email);
    QCoro::Task<> loadPendingSends(QList<Email> emails, quint64 generation);
    void composePendingLinks();

    // The launcher badge: the inbox's unread conversations, or 0 when the setting is off.
    void updateBadge();

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

    // Staying current.
    bool m_isPushLive = false;
    // Owned as children; the listener lives and dies with its connection.
    RefreshLoop* m_refreshLoop = nullptr;
    PushListener* m_pushListener = nullptr;

    // The thread list.
    QList<MailThread> m_threads;
    qint64 m_totalThreads = 0;
    QSet<QString> m_selectedThreadIds;
    QString m_searchText;
    bool m_isLoadingList = false;
    quint64 m_listGeneration = 0;
    std::optional<QString> m_threadToOpen;
    ThreadCache m_threadCache{50};

    // The open thread.
    QList<Email> m_openEmails;
    QSet<QString> m_expandedEmailIds;
    QSet<QString> m_detailEmailIds;
    bool m_isLoadingThread = false;
    std::optional<QString> m_scrollTargetEmailId;
    int m_scrollRequest = 0;
    std::optional<QString> m_focusedEmailId;
    int m_messageScrollRequest = 0;
    quint64 m_threadGeneration = 0;
    // An action of a row's context menu that waits for its thread to open.
    std::optional<std::pair<QString, MailAction>> m_pendingAction;
    // Demo mode: where moves have put made-up messages, by email id.
    QHash<QString, QMap<QString, bool>> m_demoMailboxIds;

    // Attachments.
    std::optional<QString> m_quickLookPath;
    std::optional<RawMessage> m_rawMessage;

    // Acting and the keyboard.
    WindowServices m_windowServices;
    std::optional<Toast> m_toast;
    quint64 m_toastGeneration = 0;
    std::optional<FolderPicker> m_folderPicker;
    Pane m_focusedPane = Pane::List;
    int m_paneFocusRequest = 0;
    int m_searchFocusRequest = 0;
    bool m_showsShortcuts = false;

    // Writing mail.
    QMap<QUuid, std::shared_ptr<ComposeDraft>> m_drafts;
    QHash<QString, PendingSubmission> m_pendingSends;
    std::optional<QList<MailtoLink>> m_pendingLinks = QList<MailtoLink>{};
    std::function<void(ComposeDraft*)> m_chooseAttachments;

    // New-mail notices and the launcher badge.
    MailNotifier* m_notifier = nullptr;
    int m_windowRequest = 0;
    // The desktop shows a badge only once start() has run, and never in demo mode.
    bool m_showsBadge = false;
    // Invitations, unsubscribing and feedback.
    static QCoro::Task<> runLoadInvitation(QPointer<AppState> self, Email email, BodyPart part);
    QCoro::Task<> leave(Unsubscribe method, Email email);
    QCoro::Task<> sendUnsubscribeMail(QString to, QString subject, QString body, Email answering);
    // Stores the message in Drafts and submits it at once, filing it in Sent.
    QCoro::Task<> sendGenerated(OutgoingMessage message);
    QHash<QString, Invitation> m_invitations;
    QHash<QString, ParticipationStatus> m_invitationAnswers;
    AskQuestion m_askQuestion;
};
