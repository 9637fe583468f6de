#pragma once

#include "content/Invitation.h"
#include "mail/Email.h"

#include <QFrame>
#include <QLocale>
#include <QPointer>
#include <QTimeZone>

class AppState;
class QLabel;
class QPushButton;

// The calendar invitation of a message: what, when, where and who invites, with the answers
// the user can give and the way into the desktop's calendar. It asks the state to read the
// calendar part when it is made, and shows the event once that is done.
class InvitationBox : public QFrame
{
    Q_OBJECT
public:
    InvitationBox(AppState* state, const Email& email, QWidget* parent = nullptr);

    // The time of the event as one line: a single day for an all-day event of one day, the
    // end time after the start on the same day. Absent without a start.
    static std::optional<QString> when(const Invitation& invitation,
                                       const QLocale& locale = QLocale(),
                                       const QTimeZone& timeZone = QTimeZone::systemTimeZone());

    QPushButton* answerButton(ParticipationStatus status) const;
    QPushButton* addToCalendarButton() const { return m_addToCalendar; }
    QLabel* answeredLabel() const { return m_answered; }
    QLabel* canceledLabel() const { return m_canceled; }
    QLabel* titleLabel() const { return m_title; }

private:
    void showInvitation();

    QPointer<AppState> m_state;
    Email m_email;
    QLabel* m_icon;
    QLabel* m_title;
    QLabel* m_time;
    QLabel* m_location;
    QLabel* m_organizer;
    QLabel* m_canceled;
    QLabel* m_answered;
    QWidget* m_answers;
    QList<QPushButton*> m_answerButtons;
    QPushButton* m_addToCalendar;
};
