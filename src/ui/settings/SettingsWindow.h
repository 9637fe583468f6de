#pragma once

#include <QDialog>

class AccountSettings;
class AppState;
class FolderSettings;
class GeneralSettings;
class KeybindingSettings;
class QTabWidget;
class Updater;

// The settings window; every change is written to the settings file as it happens.
class SettingsWindow : public QDialog
{
    Q_OBJECT
public:
    // Without an updater, General has no Updates section.
    explicit SettingsWindow(AppState* state, QWidget* parent = nullptr, Updater* updater = nullptr);
    GeneralSettings* general() const { return m_general; }
    FolderSettings* folders() const { return m_folders; }
    KeybindingSettings* keybindings() const { return m_keybindings; }
    AccountSettings* account() const { return m_account; }
    QTabWidget* tabs() const { return m_tabs; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    AppState* m_state;
    QTabWidget* m_tabs;
    GeneralSettings* m_general;
    FolderSettings* m_folders;
    KeybindingSettings* m_keybindings;
    AccountSettings* m_account;
};
