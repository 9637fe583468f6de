#pragma once

#include <QWidget>

class AppState;
class QLabel;
class QProgressBar;

// What is in flight with the server: "Sending changes…" while changes go out, else "Fetching
// mail…" while mail comes in, with a thin busy bar; nothing at all when the line is quiet.
class SyncFooter : public QWidget
{
    Q_OBJECT
public:
    explicit SyncFooter(AppState* state, QWidget* parent = nullptr);
    // The text on show, empty when there is no status.
    QString status() const;

private:
    void showState();

    AppState* m_state;
    QLabel* m_label;
    QProgressBar* m_bar;
};
