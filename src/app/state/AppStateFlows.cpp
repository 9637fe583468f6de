#include "AppState.h"

#include "jmap/Errors.h"

#include <QNetworkAccessManager>

namespace {

const QString noDraftsOrIdentity =
    QStringLiteral("There is no Drafts mailbox or sending identity.");

// Who answers an invitation: the user's attendee entry and the identity with its address.
struct Answerer
{
    Invitation::Attendee attendee;
    Identity identity;
};

std::optional<Answerer> answerer(const Invitation& invitation, const QList<Identity>& identities,
                                 const QSet<QString>& own)
{
    const auto attendee = invitation.attendee(own);
    if (!attendee || !invitation.organizer)
        return std::nullopt;
    const QString address = attendee->address.email.toLower();
    for (const Identity& identity : identities)
        if (identity.email.toLower() == address)
            return Answerer{*attendee, identity};
    return std::nullopt;
}

QString nonEmpty(const std::optional<QString>& text)
{
    return text ? text->trimmed() : QString();
}

} // namespace

void AppState::loadInvitation(const Email& email)
{
    if ((!m_service && !m_environment.demo) || m_invitations.contains(email.id))
        return;
    const auto part = email.calendarPart();
    if (!part || !part->blobId)
        return;
    runLoadInvitation(this, email, *part);
}

QCoro::Task<> AppState::runLoadInvitation(QPointer<AppState> self, Email email, BodyPart part)
{
    part.name = QStringLiteral("invite.ics");
    QByteArray data;
    try {
        data = co_await self->partData(part);
    } catch (...) {
        // The message then simply shows no invitation.
        co_return;
    }
    if (!self || self->m_invitations.contains(email.id))
        co_return;
    // Invalid UTF-8 becomes replacement characters rather than failing the whole part.
    const auto invitation = Invitation::parse(QString::fromUtf8(data));
    if (!invitation)
        co_return;
    self->m_invitations.insert(email.id, *invitation);
    Q_EMIT self->invitationsChanged();
}

QSet<QString> AppState::ownAddresses() const
{
    QSet<QString> result;
    for (const Identity& identity : m_identities)
        result.insert(identity.email.toLower());
    return result;
}

bool AppState::canAnswer(const Invitation& invitation) const
{
    if (invitation.method != QLatin1String("REQUEST"))
        return false;
    if (!m_environment.demo && (!m_service || !mailboxWithRole(QStringLiteral("drafts"))))
        return false;
    return answerer(invitation, m_identities, ownAddresses()).has_value();
}

std::optional<ParticipationStatus> AppState::invitationAnswer(const QString& emailId,
                                                              const Invitation& invitation) const
{
    if (const auto sent = m_invitationAnswers.constFind(emailId);
        sent != m_invitationAnswers.cend())
        return *sent;
    const auto attendee = invitation.attendee(ownAddresses());
    if (!attendee || attendee->status == ParticipationStatus::NeedsAction)
        return std::nullopt;
    return attendee->status;
}

namespace {

// The REPLY mail of an answer; absent when the user cannot answer this invitation.
std::optional<OutgoingMessage> answerMessage(const AppState& state, const Invitation& invitation,
                                             const Email& email, ParticipationStatus status)
{
    const auto who = answerer(invitation, state.identities(), state.ownAddresses());
    if (!who)
        return std::nullopt;
    const Identity& identity = who->identity;
    const QString name =
        !identity.name.isEmpty() ? identity.name : who->attendee.address.name.value_or(QString());
    QString title = nonEmpty(invitation.summary);
    if (title.isEmpty())
        title = email.subject.value_or(QString());
    const QString pastTense = ParticipationStatuses::pastTense(status);

    OutgoingMessage message;
    message.identity = identity;
    message.to = {*invitation.organizer};
    message.subject = pastTense + QStringLiteral(": ") + title;
    message.textBody = (name.isEmpty() ? identity.email : name) + QStringLiteral(" has ") +
                       pastTense.toLower() + QStringLiteral(" the invitation to ") + title + u'.';
    const QStringList messageId = email.messageId.value_or(QStringList());
    message.inReplyTo = messageId;
    message.references = email.references.value_or(QStringList()) + messageId;
    const EmailAddress as{name.isEmpty() ? std::nullopt : std::optional(name), identity.email};
    message.calendar = OutgoingMessage::Calendar{
        invitation.reply(status, as, QDateTime::currentDateTimeUtc()), QStringLiteral("REPLY")};
    return message;
}

} // namespace

QCoro::Task<> AppState::answer(Invitation invitation, Email email, ParticipationStatus status)
{
    if (!m_service && !m_environment.demo)
        co_return;
    if (m_service && !mailboxWithRole(QStringLiteral("drafts")))
        co_return;
    // Impossible answers are silent: the reader offers no buttons for them. Coroutines here
    // keep plain values rather than optional aggregates across their waits (GCC 12).
    OutgoingMessage message;
    {
        auto built = answerMessage(*this, invitation, email, status);
        if (!built)
            co_return;
        message = std::move(*built);
    }
    const QString pastTense = ParticipationStatuses::pastTense(status);

    QPointer<AppState> self = this;
    if (m_service) {
        try {
            co_await sendGenerated(message);
        } catch (...) {
            // The answer stays unsent, so the buttons still offer it.
            if (self)
                self->report(std::current_exception());
            co_return;
        }
        if (!self)
            co_return;
    }
    m_invitationAnswers.insert(email.id, status);
    Q_EMIT invitationAnswersChanged();
    const EmailAddress& organizer = *invitation.organizer;
    const QString organizerName = nonEmpty(organizer.name);
    showToast(pastTense + QStringLiteral(", ") +
                  (organizerName.isEmpty() ? organizer.email : organizerName) +
                  QStringLiteral(" is told"),
              {}, false, 5);
}

void AppState::addToCalendar(const Email& email)
{
    auto part = email.calendarPart();
    if (!part)
        return;
    // The desktop picks the calendar application by the file's extension.
    if (!part->name || !part->name->toLower().endsWith(QLatin1String(".ics")))
        part->name = QStringLiteral("invite.ics");
    openAttachment(*part);
}

void AppState::unsubscribe(const Email& email)
{
    const auto method = Unsubscribe::method(email);
    if (!method)
        return;
    if (method->kind == Unsubscribe::Kind::Web) {
        // A page of the list's own: the user finishes there, so there is nothing to confirm.
        if (m_environment.openUrl)
            m_environment.openUrl(method->url);
        return;
    }
    if (!m_askQuestion)
        return;
    Question question;
    question.message = QStringLiteral("Unsubscribe from %1?").arg(email.senderName());
    question.informativeText =
        method->kind == Unsubscribe::Kind::OneClick
            ? QStringLiteral("Veldrin asks the sender to take you off the list. It cannot be "
                             "undone from here.")
            : QStringLiteral("Veldrin sends an unsubscribe request to %1.").arg(method->to);
    question.confirmTitle = QStringLiteral("Unsubscribe");
    QPointer<AppState> self = this;
    m_askQuestion(question, [self, method = *method, email] {
        if (self)
            self->leave(method, email);
    });
}

QCoro::Task<> AppState::leave(Unsubscribe method, Email email)
{
    QPointer<AppState> self = this;
    const QString sender = email.senderName();
    try {
        if (method.kind == Unsubscribe::Kind::OneClick) {
            // Demo mail's lists are made up: nothing leaves the process.
            if (m_service || !m_environment.demo) {
                QNetworkAccessManager* session = m_environment.unsubscribeNetwork;
                // A session of its own, so that no cookie or cache of other requests mixes in.
                std::unique_ptr<QNetworkAccessManager, void (*)(QNetworkAccessManager*)> owned(
                    nullptr, [](QNetworkAccessManager* s) { s->deleteLater(); });
                if (!session) {
                    owned.reset(Unsubscribe::makeEphemeralSession(nullptr));
                    session = owned.get();
                }
                co_await Unsubscribe::postOneClick(method.url, session);
            }
        } else {
            co_await sendUnsubscribeMail(method.to, method.subject, method.body, email);
        }
    } catch (...) {
        if (self)
            self->report(std::current_exception());
        co_return;
    }
    if (self)
        self->showToast(QStringLiteral("Unsubscribed from ") + sender, {}, false, 5);
}

QCoro::Task<> AppState::sendUnsubscribeMail(QString to, QString subject, QString body,
                                            Email answering)
{
    if (!m_service && m_environment.demo)
        co_return;
    QSet<QString> addresses;
    for (const auto& list : {answering.to, answering.cc})
        for (const EmailAddress& address : list.value_or(QList<EmailAddress>()))
            addresses.insert(address.email.toLower());
    if (!m_service || !mailboxWithRole(QStringLiteral("drafts")) || m_identities.isEmpty())
        throw MessageError(noDraftsOrIdentity);
    // The list hears from the address it mails to, so that it finds the subscription.
    Identity identity = m_identities.first();
    for (const Identity& candidate : std::as_const(m_identities))
        if (addresses.contains(candidate.email.toLower())) {
            identity = candidate;
            break;
        }
    OutgoingMessage message;
    message.identity = identity;
    message.to = {EmailAddress{std::nullopt, to}};
    message.subject = subject;
    message.textBody = body;
    co_await sendGenerated(message);
}

std::optional<Identity> AppState::feedbackIdentity() const
{
    if (m_accountName)
        for (const Identity& identity : m_identities)
            if (identity.email.toLower() == m_accountName->toLower())
                return identity;
    if (m_identities.isEmpty())
        return std::nullopt;
    return m_identities.first();
}

QCoro::Task<> AppState::sendFeedback(QString text, FeedbackKind kind)
{
    // Demo mode has no account to send from; the window behaves as after a send.
    if (!m_service && m_environment.demo)
        co_return;
    OutgoingMessage message;
    {
        const auto identity = feedbackIdentity();
        if (!m_service || !mailboxWithRole(QStringLiteral("drafts")) || !identity)
            throw MessageError(noDraftsOrIdentity);
        message.identity = *identity;
    }
    if (supportAddress().isEmpty())
        throw MessageError(QStringLiteral("This build of Veldrin has no address for feedback."));
    // The bare address: the report goes out without the user's name.
    message.identity.name.clear();
    message.to = {EmailAddress{std::nullopt, supportAddress()}};
    message.subject = Feedback::subject(text, kind);
    message.textBody = Feedback::body(text, kind);
    co_await sendGenerated(message);
}

QCoro::Task<> AppState::sendGenerated(OutgoingMessage message)
{
    QString draftsId;
    if (const auto drafts = mailboxWithRole(QStringLiteral("drafts")))
        draftsId = drafts->id;
    if (!m_service || draftsId.isEmpty())
        throw MessageError(noDraftsOrIdentity);
    const std::shared_ptr<MailService> service = m_service;
    std::optional<QString> sentId;
    if (const auto sent = mailboxWithRole(QStringLiteral("sent")))
        sentId = sent->id;
    QString emailId;
    if (message.calendar)
        emailId = co_await service->saveCalendarDraft(message, draftsId);
    else
        emailId = co_await service->saveDraft(message, draftsId, std::nullopt);
    co_await service->submit(emailId, message.identity.id, draftsId, sentId, std::nullopt,
                             std::nullopt);
}
