#pragma once

#include <QFrame>

class AppState;
class QLabel;
class QPropertyAnimation;
class QPushButton;

// The short notice at the bottom centre of the main window ("Conversation archived"), with
// "Undo" when the change can be taken back and the undo key when the Edit menu has it too.
class ToastView : public QFrame
{
    Q_OBJECT
public:
    explicit ToastView(AppState* state, QWidget* parent);

    QLabel* messageLabel() const { return m_message; }
    QPushButton* undoButton() const { return m_undo; }
    QLabel* keyHint() const { return m_hint; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showToast();
    void place(bool hidden);

    AppState* m_state;
    QLabel* m_message;
    QPushButton* m_undo;
    QLabel* m_hint;
    QPropertyAnimation* m_slide;
};
