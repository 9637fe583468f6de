#include "AppState.h"

#include <QUrl>

namespace {

// The parsed session URL, when it is a URL whose scheme is exactly "https".
std::optional<QUrl> httpsUrl(const QString& text)
{
    // QUrl lower-cases the scheme, so "HTTPS:" is caught on the text itself.
    const QUrl url(text, QUrl::StrictMode);
    if (!text.startsWith(QStringLiteral("https:")) || !url.isValid() || url.scheme() != u"https" ||
        url.host().isEmpty())
        return std::nullopt;
    return url;
}

} // namespace

void AppState::tearDownConnection()
{
    setIsConnected(false);
    setService(nullptr);
    m_maskedEmails->setService(nullptr);
    m_contacts->setService(nullptr);
    setAccess(false, false);
    m_addressBook = AddressBook();
    stopListening();
    m_threadCache.removeAll();
}

QCoro::Task<> AppState::learnRecipients(QPointer<AppState> self,
                                        std::shared_ptr<MailService> service, QString sentId)
{
    // Whom the user writes to, most often first; a failure leaves the book empty.
    try {
        const QList<EmailAddress> recipients = co_await service->recipients(sentId, 500);
        if (self && self->m_service == service)
            self->m_addressBook.add(recipients, true);
    } catch (...) {
    }
}

QCoro::Task<> AppState::connect()
{
    QPointer<AppState> self(this);
    const std::optional<QString> token = m_environment.readToken();
    setHasToken(token && !token->isEmpty());
    tearDownConnection();
    if (!m_hasToken)
        co_return;

    const auto url = httpsUrl(m_config.sessionUrl);
    if (!url) {
        setErrorMessage(QStringLiteral("The JMAP session URL must be an https URL."));
        co_return;
    }

    // The activity callback may outlive this object; it holds it weakly.
    auto client = std::make_shared<JMAPClient>(
        *url, *token, m_environment.network, [self](JMAPActivity activity, bool started) {
            if (!self)
                return;
            QMetaObject::invokeMethod(
                self.data(),
                [self, activity, started] {
                    if (self)
                        self->countActivity(activity, started);
                },
                Qt::AutoConnection);
        });
    auto service = std::make_shared<MailService>(client);

    try {
        const JMAPSession session = co_await client->session();
        if (!self)
            co_return;
        setAccountName(session.username);
    } catch (...) {
        if (self)
            self->report(std::current_exception());
        co_return;
    }

    try {
        const QList<Mailbox> mailboxes = co_await service->mailboxes();
        if (!self)
            co_return;
        setMailboxes(mailboxes);
    } catch (...) {
        if (self)
            self->report(std::current_exception());
        co_return;
    }

    // What follows is optional: a token may lack these, and the features then stay off.
    QList<Identity> identities;
    try {
        identities = co_await service->identities();
    } catch (...) {
    }
    if (!self)
        co_return;
    setIdentities(identities);

    qint64 delayedSend = 0;
    try {
        delayedSend = co_await client->maxDelayedSend();
    } catch (...) {
    }
    if (!self)
        co_return;
    m_maxDelayedSend = delayedSend;

    setService(service);

    m_maskedEmails->setService(std::make_shared<MaskedEmailService>(client));
    bool maskedEmail = false;
    try {
        co_await client->maskedEmailAccountId();
        maskedEmail = true;
    } catch (...) {
    }
    if (!self)
        co_return;
    m_contacts->setService(std::make_shared<ContactService>(client));
    bool contacts = false;
    try {
        co_await client->contactsAccountId();
        contacts = true;
    } catch (...) {
    }
    if (!self)
        co_return;
    setAccess(maskedEmail, contacts);

    setIsConnected(true);
    setErrorMessage(std::nullopt);

    const quint64 listGeneration = m_listGeneration;
    if (!mailbox(m_selectedMailboxId)) {
        if (const auto inbox = mailboxWithRole(QStringLiteral("inbox")))
            setSelectedMailboxId(inbox->id);
        else if (!m_mailboxes.isEmpty())
            setSelectedMailboxId(m_mailboxes.first().id);
        else
            setSelectedMailboxId(std::nullopt);
    }

    if (const auto sent = mailboxWithRole(QStringLiteral("sent")))
        learnRecipients(self, service, sent->id);

    // The main window answers a new selection with mailboxChanged(), whose fetch of the first
    // page is already on its way: a second one would only overtake it.
    if (m_listGeneration == listGeneration)
        co_await fetchThreads(0, m_config.pageSize);
    if (!self || m_service != service)
        co_return;
    // What is unread now is not news: the first check after a reset only learns it.
    m_notifier->reset();
    co_await checkForNewMail();
    // A connect that started meanwhile owns the listener now.
    if (!self || m_service != service)
        co_return;
    listenForChanges(service);
}
