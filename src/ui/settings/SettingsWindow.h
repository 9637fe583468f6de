#pragma once

#include <QDialog>

class AccountSettings;
class AppState;
class QTabWidget;

// The settings window; every change is written to the settings file as it happens.
class SettingsWindow : public QDialog
{
    Q_OBJECT
public:
    explicit SettingsWindow(AppState* state, QWidget* parent = nullptr);
    AccountSettings* account() const { return m_account; }
    QTabWidget* tabs() const { return m_tabs; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    AppState* m_state;
    QTabWidget* m_tabs;
    AccountSettings* m_account;
};
