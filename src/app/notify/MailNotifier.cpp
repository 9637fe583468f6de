#include "MailNotifier.h"

#include "app/state/AppState.h"

namespace {

// The newest mail the query looks at; more stays unknown until it moves into the first ones.
constexpr qint64 checkLimit = 30;
// How far before the connection the query looks back.
constexpr qint64 lookBackSeconds = 600;

} // namespace

MailNotifier::MailNotifier(std::shared_ptr<NotificationCenter> center,
                           std::function<bool()> isApplicationActive, QObject* parent)
    : QObject(parent), m_center(std::move(center)),
      m_isApplicationActive(std::move(isApplicationActive)),
      m_since(QDateTime::currentDateTimeUtc())
{
}

void MailNotifier::start(AppState* state)
{
    m_state = state;
    if (m_center)
        QObject::connect(m_center.get(), &NotificationCenter::responded, this,
                         &MailNotifier::respond, Qt::UniqueConnection);
}

void MailNotifier::reset()
{
    ++m_generation;
    m_since = QDateTime::currentDateTimeUtc().addSecs(-lookBackSeconds);
    m_known.clear();
    m_isPrimed = false;
}

QCoro::Task<> MailNotifier::check(std::shared_ptr<MailService> service, QString inbox,
                                  bool isEnabled)
{
    if (!m_center || !service)
        co_return;
    QPointer<MailNotifier> self(this);
    const quint64 generation = m_generation;
    QList<Email> found;
    try {
        found = co_await service->unreadEmails(inbox, m_since, checkLimit);
    } catch (...) {
        // The next refresh asks again.
        co_return;
    }
    // A reset meanwhile belongs to a newer connection, which primes itself.
    if (!self || generation != m_generation)
        co_return;

    QList<Email> fresh;
    for (const Email& email : found) {
        if (m_known.contains(email.id))
            continue;
        m_known.insert(email.id);
        if (!email.isDraft())
            fresh.append(email);
    }
    if (!m_isPrimed) {
        // What was unread when the connection began is not news.
        m_isPrimed = true;
        co_return;
    }
    // Mail that arrives while the user looks at Veldrin is known from now on, and never
    // announced later.
    if (!isEnabled || (m_isApplicationActive && m_isApplicationActive()))
        co_return;
    // The answer is newest first; the newest notice should end on top.
    for (auto email = fresh.crbegin(); email != fresh.crend(); ++email)
        post(*email);
}

void MailNotifier::withdraw(const QStringList& emailIds)
{
    if (m_center && !emailIds.isEmpty())
        m_center->withdraw(emailIds);
}

void MailNotifier::post(const Email& email)
{
    NotificationRequest request;
    request.identifier = email.id;
    request.title = email.senderName();
    request.subtitle = email.subject.value_or(QString());
    request.body = email.preview.value_or(QString());
    request.threadIdentifier = email.threadId;
    request.actions = {{archiveAction, QStringLiteral("Archive")},
                       {markReadAction, QStringLiteral("Mark as Read")}};
    request.userInfo = {{QStringLiteral("emailId"), email.id},
                        {QStringLiteral("threadId"), email.threadId}};
    m_center->post(request);
}

void MailNotifier::respond(const QString& action, const QVariantMap& userInfo)
{
    const QVariant emailId = userInfo.value(QStringLiteral("emailId"));
    const QVariant threadId = userInfo.value(QStringLiteral("threadId"));
    if (emailId.typeId() != QMetaType::QString || threadId.typeId() != QMetaType::QString ||
        emailId.toString().isEmpty() || threadId.toString().isEmpty() || !m_state)
        return;
    // The buttons act without bringing a window forward; a click on the notice opens it.
    if (action == archiveAction) {
        m_state->archiveFromInbox(emailId.toString());
    } else if (action == markReadAction) {
        m_state->markRead(emailId.toString());
    } else {
        m_state->showMainWindow();
        m_state->openInboxThread(threadId.toString());
    }
}
