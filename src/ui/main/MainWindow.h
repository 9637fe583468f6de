#pragma once

#include <QMainWindow>
#include <QPointer>

class AppState;
class ErrorBar;
class MailboxOverview;
class SettingsWindow;
class SidebarView;

// The main window: mailboxes on the left, the mailbox on show to the right, the error bar
// across the top.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit MainWindow(AppState* state, QWidget* parent = nullptr);

    SidebarView* sidebar() const { return m_sidebar; }
    ErrorBar* errorBar() const { return m_errorBar; }
    // The settings window, made on first use.
    SettingsWindow* settingsWindow();
    void showSettings();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void buildMenus();

    AppState* m_state;
    SidebarView* m_sidebar;
    ErrorBar* m_errorBar;
    MailboxOverview* m_overview;
    QPointer<SettingsWindow> m_settings;
};
