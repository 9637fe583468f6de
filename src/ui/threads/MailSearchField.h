#pragma once

#include <QLineEdit>

class AppState;
class QAction;

// The search field above the thread list. Typing changes only the text; Return runs the
// search, and the clear button goes back to the plain mailbox.
class MailSearchField : public QLineEdit
{
    Q_OBJECT
public:
    explicit MailSearchField(AppState* state, QWidget* parent = nullptr);
    QAction* clearAction() const { return m_clear; }

protected:
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void showState();
    void submit();
    void clearSearch();

    AppState* m_state;
    QAction* m_clear;
};
