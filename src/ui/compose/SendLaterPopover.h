#pragma once

#include <QDateTime>
#include <QDialog>

class QCalendarWidget;
class QTimeEdit;

// "Choose Date and Time…" of the Send Later menu: a calendar and a time, limited to the range
// the server accepts (now up to now plus its longest delay).
class SendLaterPopover : public QDialog
{
    Q_OBJECT
public:
    // `initial` is clamped into [now, now + maxDelaySeconds].
    SendLaterPopover(const QDateTime& now, qint64 maxDelaySeconds, const QDateTime& initial,
                     QWidget* parent);

    // The chosen moment, always within the range.
    QDateTime chosen() const;
    QCalendarWidget* calendar() const { return m_calendar; }
    QTimeEdit* timeEdit() const { return m_time; }

private:
    void limitTime();

    QDateTime m_earliest;
    QDateTime m_latest;
    QCalendarWidget* m_calendar = nullptr;
    QTimeEdit* m_time = nullptr;
};
