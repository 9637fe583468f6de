#pragma once

#include "keys/MailAction.h"

#include <QHash>
#include <QList>
#include <QObject>

class AppState;
class MainWindow;
class QAction;
class QMenu;
class QMenuBar;
class QUndoStack;
class Updater;

// The main window's menu bar. The mail keys are not real shortcuts: a plain letter would steal
// the key from every text field. Their items show the key after a tab, where Qt draws the
// shortcut column, and the key monitor acts on the key itself. Titles follow the settings, so a
// key changed in Settings shows at once.
class MainMenus : public QObject
{
    Q_OBJECT
public:
    MainMenus(AppState* state, MainWindow* window, QUndoStack* undoStack);

    // The "Message" menu's groups, in order; a divider follows each.
    static const QList<QList<MailAction>>& groups();
    // "<title>\t<display>", or the title alone for an unbound action.
    static QString itemText(AppState* state, MailAction action);

    QAction* action(MailAction action) const { return m_actions.value(action); }
    QAction* undoAction() const { return m_undo; }
    QAction* redoAction() const { return m_redo; }
    QAction* groupByDateAction() const { return m_groupByDate; }
    QAction* showAvatarsAction() const { return m_showAvatars; }
    QAction* contactsAction() const { return m_contacts; }
    QAction* maskedEmailAction() const { return m_maskedEmail; }
    QAction* feedbackAction() const { return m_feedback; }
    QMenu* messageMenu() const { return m_messageMenu; }

    // "Check for Updates…" in the Help menu, for builds with an updater.
    QAction* addUpdater(Updater* updater);
    QAction* checkForUpdatesAction() const { return m_checkForUpdates; }

private:
    QAction* addMailAction(QMenu* menu, MailAction action);
    void showState();

    AppState* m_state;
    MainWindow* m_window;
    QHash<int, QAction*> m_actions;
    QAction* m_undo = nullptr;
    QAction* m_redo = nullptr;
    QAction* m_groupByDate = nullptr;
    QAction* m_showAvatars = nullptr;
    QAction* m_contacts = nullptr;
    QAction* m_maskedEmail = nullptr;
    QAction* m_feedback = nullptr;
    QMenu* m_messageMenu = nullptr;
    QMenu* m_helpMenu = nullptr;
    QAction* m_checkForUpdates = nullptr;
};
