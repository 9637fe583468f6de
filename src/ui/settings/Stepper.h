#pragma once

#include <QSpinBox>

#include <functional>

// A stepper over a setting: the arrows and the Up and Down keys move by a fixed step within
// fixed bounds, and the text reads as a sentence ("Refresh every 60 seconds"). The value is
// not typed, so no value off the steps can be entered; one from a hand-edited file is shown as
// it stands until the user steps.
class Stepper : public QSpinBox
{
    Q_OBJECT
public:
    Stepper(int minimum, int maximum, int step, std::function<QString(int)> text,
            QWidget* parent = nullptr);

    // Shows a value, also one outside the bounds, without emitting stepped().
    void display(qint64 value);
    void stepBy(int steps) override;

Q_SIGNALS:
    // The user moved the value.
    void stepped(int value);

protected:
    QString textFromValue(int value) const override;
    StepEnabled stepEnabled() const override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    int m_minimum;
    int m_maximum;
    std::function<QString(int)> m_text;
};
