#pragma once

#include <QMainWindow>
#include <QPointer>

#include "keys/MailAction.h"

#include <QHash>

class AppState;
class ErrorBar;
class FolderPickerView;
class MainMenus;
class QAction;
class QPropertyAnimation;
class QToolBar;
class QUndoStack;
class ShortcutsOverlay;
class ToastView;
class SettingsWindow;
class Updater;
class SidebarView;
class QSplitter;
class AttachmentPreview;
class RawMessageView;
class ThreadDetailView;
class ComposeWindows;
class ContactsWindow;
class MaskedEmailWindow;
class FeedbackWindow;
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
    QUndoStack* undoStack() const { return m_undoStack; }
    MainMenus* menus() const { return m_menus; }
    QToolBar* toolBar() const { return m_toolBar; }
    QAction* toolBarAction(MailAction action) const { return m_toolActions.value(action); }
    ToastView* toast() const { return m_toast; }
    ShortcutsOverlay* shortcutsOverlay() const { return m_overlay; }
    FolderPickerView* folderPicker() const { return m_picker; }
    ComposeWindows* composeWindows() const { return m_composeWindows; }
    // The settings window, made on first use.
    SettingsWindow* settingsWindow();
    void showSettings();
    // "Report a Bug or Request a Feature", made on first use.
    FeedbackWindow* feedbackWindow();
    void showFeedback();

    // Builds that name an update feed: the menu item, the alert and the Settings section.
    void setUpdater(Updater* updater);
    Updater* updater() const;
    // The directory windows, each made on first use (MainWindowDirectory.cpp).
    ContactsWindow* contactsWindow();
    MaskedEmailWindow* maskedEmailWindow();
    void showContacts();
    void showMaskedEmail();

protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void warmUpWebEngine();
    void buildToolBar();
    void showToolBarState();
    void moveFocusToPane();
    void scrollReader(double pages, double lines);
    void releaseFocus();

    AppState* m_state;
    SidebarView* m_sidebar;
    ErrorBar* m_errorBar;
    QSplitter* m_splitter;
    ThreadListView* m_threadList;
    ThreadDetailView* m_reader;
    AttachmentPreview* m_preview;
    RawMessageView* m_rawMessage;
    QPointer<SettingsWindow> m_settings;
    QPointer<FeedbackWindow> m_feedback;
    QUndoStack* m_undoStack;
    MainMenus* m_menus = nullptr;
    QToolBar* m_toolBar = nullptr;
    QHash<int, QAction*> m_toolActions;
    ToastView* m_toast = nullptr;
    ShortcutsOverlay* m_overlay = nullptr;
    FolderPickerView* m_picker = nullptr;
    QPropertyAnimation* m_readerScroll = nullptr;
    ComposeWindows* m_composeWindows;
    bool m_warmedUp = false;
    QPointer<Updater> m_updater;
    QPointer<ContactsWindow> m_contactsWindow;
    QPointer<MaskedEmailWindow> m_maskedEmailWindow;
};
