#pragma once

#include "app/feedback/Feedback.h"

#include <QPointer>
#include <QWidget>

#include <QCoroTask>

class AppState;
class QComboBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;

// "Report a Bug or Request a Feature": a short text mailed to the makers from the user's own
// account, with the diagnostics of a bug report shown before they go.
class FeedbackWindow : public QWidget
{
    Q_OBJECT
public:
    explicit FeedbackWindow(AppState* state, QWidget* parent = nullptr);

    FeedbackKind kind() const;
    void setKind(FeedbackKind kind);
    bool isSending() const { return m_isSending; }

    QComboBox* kindPicker() const { return m_kind; }
    QPlainTextEdit* textEdit() const { return m_text; }
    QWidget* diagnosticsSection() const { return m_diagnostics; }
    QLabel* replyToLabel() const { return m_replyTo; }
    QLabel* errorLabel() const { return m_error; }
    QLabel* noAddressLabel() const { return m_noAddress; }
    QPushButton* sendButton() const { return m_send; }
    QPushButton* cancelButton() const { return m_cancel; }

private:
    void showState();
    void send();
    static QCoro::Task<> runSend(QPointer<FeedbackWindow> self, QPointer<AppState> state,
                                 QString text, FeedbackKind kind);

    QPointer<AppState> m_state;
    bool m_isSending = false;
    QComboBox* m_kind;
    QPlainTextEdit* m_text;
    QWidget* m_diagnostics;
    QLabel* m_replyTo;
    QLabel* m_error;
    QLabel* m_noAddress;
    QPushButton* m_cancel;
    QPushButton* m_send;
};
