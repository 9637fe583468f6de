#include "SendLaterPopover.h"

#include <QCalendarWidget>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QTimeEdit>
#include <QVBoxLayout>

SendLaterPopover::SendLaterPopover(const QDateTime& now, qint64 maxDelaySeconds,
                                   const QDateTime& initial, QWidget* parent)
    : QDialog(parent), m_earliest(now.toLocalTime()),
      m_latest(now.toLocalTime().addSecs(std::max<qint64>(0, maxDelaySeconds)))
{
    setWindowTitle(tr("Send Later"));
    setAccessibleName(tr("Send at"));
    setWindowModality(Qt::WindowModal);

    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(tr("Send at"), this);
    layout->addWidget(label);

    m_calendar = new QCalendarWidget(this);
    m_calendar->setAccessibleName(tr("Send date"));
    m_calendar->setDateRange(m_earliest.date(), m_latest.date());
    layout->addWidget(m_calendar);

    m_time = new QTimeEdit(this);
    m_time->setAccessibleName(tr("Send time"));
    m_time->setDisplayFormat(QLocale().timeFormat(QLocale::ShortFormat));
    layout->addWidget(m_time);
    label->setBuddy(m_calendar);

    const QDateTime start = std::clamp(initial.toLocalTime(), m_earliest, m_latest);
    m_calendar->setSelectedDate(start.date());
    limitTime();
    m_time->setTime(start.time());
    connect(m_calendar, &QCalendarWidget::selectionChanged, this, &SendLaterPopover::limitTime);

    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(QDialogButtonBox::Cancel);
    QPushButton* schedule = buttons->addButton(tr("Schedule"), QDialogButtonBox::AcceptRole);
    schedule->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

// The time range depends on the day: the first day starts now, the last ends at the limit.
void SendLaterPopover::limitTime()
{
    const QDate day = m_calendar->selectedDate();
    const QTime minimum = day == m_earliest.date() ? m_earliest.time() : QTime(0, 0);
    const QTime maximum = day == m_latest.date() ? m_latest.time() : QTime(23, 59, 59);
    m_time->setTimeRange(minimum, maximum);
}

QDateTime SendLaterPopover::chosen() const
{
    const QDateTime picked(m_calendar->selectedDate(), m_time->time());
    return std::clamp(picked, m_earliest, m_latest);
}
