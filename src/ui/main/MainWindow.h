#pragma once

#include <QMainWindow>
#include <QPointer>

class AppState;
class ErrorBar;
class SettingsWindow;
class SidebarView;
class QSplitter;
class AttachmentPreview;
class RawMessageView;
class ThreadDetailView;
class ThreadListView;

// The main window: mailboxes, the thread list and the reader side by side, the error bar
// across the top.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit MainWindow(AppState* state, QWidget* parent = nullptr);

    SidebarView* sidebar() const { return m_sidebar; }
    ErrorBar* errorBar() const { return m_errorBar; }
    ThreadListView* threadList() const { return m_threadList; }
    ThreadDetailView* reader() const { return m_reader; }
    QSplitter* splitter() const { return m_splitter; }
    AttachmentPreview* attachmentPreview() const { return m_preview; }
    RawMessageView* rawMessageView() const { return m_rawMessage; }
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
    QSplitter* m_splitter;
    ThreadListView* m_threadList;
    ThreadDetailView* m_reader;
    AttachmentPreview* m_preview;
    RawMessageView* m_rawMessage;
    QPointer<SettingsWindow> m_settings;
};
