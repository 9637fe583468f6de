#include "Stepper.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QSignalBlocker>

#include <limits>

Stepper::Stepper(int minimum, int maximum, int step, std::function<QString(int)> text,
                 QWidget* parent)
    : QSpinBox(parent), m_minimum(minimum), m_maximum(maximum), m_text(std::move(text))
{
    setSingleStep(step);
    setRange(minimum, maximum);
    setFocusPolicy(Qt::StrongFocus);
    setKeyboardTracking(false);
    // The text is a sentence around the number; the number itself is set by stepping.
    lineEdit()->setReadOnly(true);
    setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Stepper::display(qint64 value)
{
    const QSignalBlocker blocker(this);
    const int shown = int(std::clamp<qint64>(value, std::numeric_limits<int>::min(),
                                             std::numeric_limits<int>::max()));
    setRange(std::min(m_minimum, shown), std::max(m_maximum, shown));
    setValue(shown);
}

void Stepper::stepBy(int steps)
{
    // From a value beyond a bound, stepping further away does nothing and stepping back lands
    // within the bounds.
    if ((steps > 0 && value() >= m_maximum) || (steps < 0 && value() <= m_minimum))
        return;
    const qint64 next = qint64(value()) + qint64(steps) * singleStep();
    const int bounded = int(std::clamp<qint64>(next, m_minimum, m_maximum));
    display(bounded);
    Q_EMIT stepped(bounded);
}

QString Stepper::textFromValue(int value) const
{
    return m_text(value);
}

QAbstractSpinBox::StepEnabled Stepper::stepEnabled() const
{
    StepEnabled enabled = StepNone;
    if (value() > m_minimum)
        enabled |= StepDownEnabled;
    if (value() < m_maximum)
        enabled |= StepUpEnabled;
    return enabled;
}

void Stepper::keyPressEvent(QKeyEvent* event)
{
    // Return means nothing more here; it must not reach the window's default button.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        event->accept();
        return;
    }
    QSpinBox::keyPressEvent(event);
}

void Stepper::wheelEvent(QWheelEvent* event)
{
    // Scrolling the page over a stepper must not change a setting.
    if (!hasFocus()) {
        event->ignore();
        return;
    }
    QSpinBox::wheelEvent(event);
}
