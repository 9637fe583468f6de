#include "InvitationBox.h"

#include "app/state/AppState.h"
#include "content/DateFormat.h"
#include "ui/desktop/Icons.h"
#include "ui/threads/ViewColors.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QLabel* makeLabel(QWidget* parent, const QString& name, bool secondary)
{
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    if (secondary) {
        QPalette palette = label->palette();
        palette.setColor(QPalette::WindowText, secondaryTextColor(palette));
        label->setPalette(palette);
    }
    return label;
}

QString fullDate(const QDate& date, const QLocale& locale)
{
    return locale.toString(date, QLocale::LongFormat);
}

} // namespace

InvitationBox::InvitationBox(AppState* state, const Email& email, QWidget* parent)
    : QFrame(parent), m_state(state), m_email(email)
{
    setObjectName(QStringLiteral("invitationBox"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::AlternateBase);
    setAccessibleName(tr("Calendar invitation"));

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(12, 10, 12, 10);
    row->setSpacing(12);
    m_icon = new QLabel(this);
    row->addWidget(m_icon, 0, Qt::AlignTop);

    auto* column = new QVBoxLayout();
    column->setSpacing(3);
    auto* heading = makeLabel(this, QStringLiteral("invitationHeading"), true);
    heading->setText(tr("Calendar invitation"));
    m_title = makeLabel(this, QStringLiteral("invitationTitle"), false);
    QFont titleFont = m_title->font();
    titleFont.setWeight(QFont::DemiBold);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.15);
    m_title->setFont(titleFont);
    m_time = makeLabel(this, QStringLiteral("invitationTime"), false);
    m_location = makeLabel(this, QStringLiteral("invitationLocation"), true);
    m_location->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_location->setAccessibleName(tr("Location"));
    m_organizer = makeLabel(this, QStringLiteral("invitationOrganizer"), true);
    m_canceled = makeLabel(this, QStringLiteral("invitationCanceled"), false);
    m_canceled->setText(tr("This event was canceled."));
    QFont emphasis = m_canceled->font();
    emphasis.setWeight(QFont::DemiBold);
    m_canceled->setFont(emphasis);
    m_answered = makeLabel(this, QStringLiteral("invitationAnswered"), false);
    QFont answeredFont = m_answered->font();
    answeredFont.setWeight(QFont::DemiBold);
    m_answered->setFont(answeredFont);
    for (QLabel* label :
         {heading, m_title, m_time, m_location, m_organizer, m_canceled, m_answered})
        column->addWidget(label);

    auto* buttons = new QHBoxLayout();
    buttons->setContentsMargins(0, 6, 0, 0);
    buttons->setSpacing(6);
    m_answers = new QWidget(this);
    auto* answers = new QHBoxLayout(m_answers);
    answers->setContentsMargins(0, 0, 0, 0);
    answers->setSpacing(6);
    for (ParticipationStatus status : ParticipationStatuses::answers()) {
        auto* button = new QPushButton(ParticipationStatuses::title(status), m_answers);
        button->setObjectName(QStringLiteral("answer") + ParticipationStatuses::value(status));
        button->setAutoDefault(false);
        answers->addWidget(button);
        m_answerButtons.append(button);
        QObject::connect(button, &QPushButton::clicked, this, [this, status] {
            if (!m_state || !m_state->invitations().contains(m_email.id))
                return;
            m_state->answer(m_state->invitations().value(m_email.id), m_email, status);
        });
    }
    m_addToCalendar = new QPushButton(tr("Add to Calendar"), this);
    m_addToCalendar->setObjectName(QStringLiteral("addToCalendarButton"));
    m_addToCalendar->setAutoDefault(false);
    QObject::connect(m_addToCalendar, &QPushButton::clicked, this, [this] {
        if (m_state)
            m_state->addToCalendar(m_email);
    });
    buttons->addWidget(m_answers);
    buttons->addStretch(1);
    buttons->addWidget(m_addToCalendar);
    column->addLayout(buttons);
    row->addLayout(column, 1);

    QObject::connect(state, &AppState::invitationsChanged, this, &InvitationBox::showInvitation);
    QObject::connect(state, &AppState::invitationAnswersChanged, this,
                     &InvitationBox::showInvitation);
    QObject::connect(state, &AppState::identitiesChanged, this, &InvitationBox::showInvitation);
    showInvitation();
    state->loadInvitation(email);
}

QPushButton* InvitationBox::answerButton(ParticipationStatus status) const
{
    const qsizetype index = ParticipationStatuses::answers().indexOf(status);
    return index < 0 ? nullptr : m_answerButtons.value(index);
}

std::optional<QString> InvitationBox::when(const Invitation& invitation, const QLocale& locale,
                                           const QTimeZone& timeZone)
{
    if (!invitation.start)
        return std::nullopt;
    const QDateTime start = *invitation.start;
    QDateTime upper = invitation.end.value_or(start);
    // An all-day event ends at the midnight after its last day.
    if (invitation.isAllDay)
        upper = upper.addSecs(-1);
    if (upper < start)
        upper = start;
    const QDate firstDay = start.toTimeZone(timeZone).date();
    const QDate lastDay = upper.toTimeZone(timeZone).date();
    if (invitation.isAllDay) {
        if (firstDay == lastDay)
            return fullDate(firstDay, locale);
        return fullDate(firstDay, locale) + QStringLiteral(" – ") + fullDate(lastDay, locale);
    }
    const QString from = DateFormat::shortTime(start, locale, timeZone);
    const QString to = DateFormat::shortTime(upper, locale, timeZone);
    if (firstDay == lastDay) {
        const QString day = fullDate(firstDay, locale) + QStringLiteral(", ") + from;
        return upper == start ? day : day + QStringLiteral(" – ") + to;
    }
    return fullDate(firstDay, locale) + QStringLiteral(", ") + from + QStringLiteral(" – ") +
           fullDate(lastDay, locale) + QStringLiteral(", ") + to;
}

void InvitationBox::showInvitation()
{
    if (!m_state)
        return;
    const auto found = m_state->invitations().constFind(m_email.id);
    const bool loaded = found != m_state->invitations().cend();
    const Invitation invitation = loaded ? *found : Invitation();
    const bool canceled = loaded && invitation.isCanceled();
    m_icon->setPixmap(
        Icons::icon(canceled ? QStringLiteral("calendar.badge.minus") : QStringLiteral("calendar"))
            .pixmap(28, 28));

    const QString summary = invitation.summary.value_or(QString()).trimmed();
    m_title->setText(summary.isEmpty() ? tr("Untitled") : summary);
    m_title->setVisible(loaded);
    const auto time = loaded ? when(invitation) : std::nullopt;
    m_time->setText(time.value_or(QString()));
    m_time->setVisible(time.has_value());
    const QString location = invitation.location.value_or(QString()).trimmed();
    m_location->setText(location);
    m_location->setVisible(!location.isEmpty());
    QString organizer;
    if (invitation.organizer) {
        const QString name = invitation.organizer->name.value_or(QString()).trimmed();
        organizer = tr("Organizer: %1").arg(name.isEmpty() ? invitation.organizer->email : name);
    }
    m_organizer->setText(organizer);
    m_organizer->setVisible(!organizer.isEmpty());
    m_canceled->setVisible(canceled);

    const bool answerable = loaded && m_state->canAnswer(invitation);
    m_answers->setVisible(answerable);
    const auto answer = loaded ? m_state->invitationAnswer(m_email.id, invitation) : std::nullopt;
    m_answered->setText(
        answer ? tr("You answered %1").arg(ParticipationStatuses::pastTense(*answer)) : QString());
    m_answered->setVisible(answer.has_value());
    // Until the part is read, and for a part that cannot be read, there is nothing to show.
    setVisible(loaded);
}
