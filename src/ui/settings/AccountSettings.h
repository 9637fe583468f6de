#pragma once

#include <QWidget>

class AppState;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;

// The Account tab: the API token, the session URL and the state of the connection.
class AccountSettings : public QWidget
{
    Q_OBJECT
public:
    explicit AccountSettings(AppState* state, QWidget* parent = nullptr);

    bool isConnecting() const { return m_connecting; }
    QPushButton* saveButton() const { return m_save; }

    // The two buttons of the tab.
    void saveAndConnect();
    void removeToken();
    // Where a user without a token starts.
    void focusTokenField();

private:
    void refresh();
    void runConnect();
    void takeSessionUrl(const QString& text);

    AppState* m_state;
    QLineEdit* m_token;
    QLineEdit* m_sessionUrl;
    QProgressBar* m_progress;
    QLabel* m_statusIcon;
    QLabel* m_status;
    QPushButton* m_remove;
    QPushButton* m_save;
    bool m_connecting = false;
};
