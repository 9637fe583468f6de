#pragma once

#include <QWidget>

class AppState;
class QLabel;

// The column beside the sidebar: what the selected mailbox holds, or why nothing is on show.
class MailboxOverview : public QWidget
{
    Q_OBJECT
public:
    explicit MailboxOverview(AppState* state, QWidget* parent = nullptr);

private:
    void refresh();
    AppState* m_state;
    QLabel* m_title;
    QLabel* m_detail;
};
