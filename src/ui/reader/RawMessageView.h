#pragma once

#include <QDialog>

class AppState;
class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;

// The source of a message, while the state holds one: its subject, the text as it came from
// the server (or a busy bar while it loads), "Copy" and "Close".
class RawMessageView : public QDialog
{
    Q_OBJECT
public:
    RawMessageView(AppState* state, QWidget* parent);

    QPlainTextEdit* sourceView() const { return m_source; }
    QPushButton* copyButton() const { return m_copy; }

protected:
    void done(int result) override;

private:
    void showState();

    AppState* m_state;
    QLabel* m_subject;
    QPlainTextEdit* m_source;
    QProgressBar* m_busy;
    QPushButton* m_copy;
};
