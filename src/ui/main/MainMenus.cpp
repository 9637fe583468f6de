#include "MainMenus.h"

#include "MainWindow.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"
#include "ui/desktop/Updater.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QUndoStack>

namespace {

// The text items of the Edit menu act on whatever text control has the focus.
void onFocusedText(const char* slot)
{
    QWidget* focus = QApplication::focusWidget();
    if (qobject_cast<QLineEdit*>(focus) || qobject_cast<QTextEdit*>(focus) ||
        qobject_cast<QPlainTextEdit*>(focus))
        QMetaObject::invokeMethod(focus, slot);
}

} // namespace

MainMenus::MainMenus(AppState* state, MainWindow* window, QUndoStack* undoStack)
    : QObject(window), m_state(state), m_window(window)
{
    QMenuBar* bar = window->menuBar();

    QMenu* file = bar->addMenu(tr("&File"));
    addMailAction(file, MailAction::Compose);
    file->addSeparator();
    QAction* settings = file->addAction(tr("Settings…"), window, &MainWindow::showSettings);
    // Desktops without a standard key for it (most outside KDE) get the usual Ctrl+,.
    const QList<QKeySequence> preferences = QKeySequence::keyBindings(QKeySequence::Preferences);
    settings->setShortcuts(preferences.isEmpty()
                               ? QList<QKeySequence>{QKeySequence(Qt::CTRL | Qt::Key_Comma)}
                               : preferences);
    settings->setMenuRole(QAction::PreferencesRole);
    file->addSeparator();
    QAction* quit = file->addAction(tr("Quit"), qApp, &QApplication::quit);
    quit->setShortcut(QKeySequence::Quit);

    QMenu* edit = bar->addMenu(tr("&Edit"));
    m_undo = undoStack->createUndoAction(edit, tr("Undo"));
    m_undo->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Z));
    m_redo = undoStack->createRedoAction(edit, tr("Redo"));
    m_redo->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z));
    // A text field keeps its own undo while it has the focus.
    m_undo->setShortcutContext(Qt::WindowShortcut);
    m_redo->setShortcutContext(Qt::WindowShortcut);
    edit->addAction(m_undo);
    edit->addAction(m_redo);
    edit->addSeparator();
    edit->addAction(tr("Cut"), QKeySequence::Cut, this, [] { onFocusedText("cut"); });
    edit->addAction(tr("Copy"), QKeySequence::Copy, this, [] { onFocusedText("copy"); });
    edit->addAction(tr("Paste"), QKeySequence::Paste, this, [] { onFocusedText("paste"); });
    edit->addAction(tr("Select All"), QKeySequence::SelectAll, this,
                    [] { onFocusedText("selectAll"); });
    // The shortcuts of the text items belong to the text controls themselves.
    for (QAction* item : edit->actions())
        if (item != m_undo && item != m_redo)
            item->setShortcutContext(Qt::WidgetShortcut);

    QMenu* view = bar->addMenu(tr("&View"));
    m_groupByDate = view->addAction(tr("Group Messages by Date"));
    m_showAvatars = view->addAction(tr("Show Avatars"));
    for (QAction* toggle : {m_groupByDate, m_showAvatars}) {
        toggle->setCheckable(true);
        QObject::connect(toggle, &QAction::triggered, this, [this, toggle](bool on) {
            AppConfig config = m_state->config();
            (toggle == m_groupByDate ? config.groupByDate : config.showAvatars) = on;
            m_state->setConfig(config);
            m_state->saveConfig();
        });
    }

    m_messageMenu = bar->addMenu(tr("&Message"));
    for (const QList<MailAction>& group : groups()) {
        for (MailAction action : group)
            addMailAction(m_messageMenu, action);
        m_messageMenu->addSeparator();
    }

    QMenu* windows = bar->addMenu(tr("&Window"));
    QAction* main = windows->addAction(QStringLiteral("Veldrin"), window, [window] {
        window->showNormal();
        window->raise();
        window->activateWindow();
    });
    main->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_1));
    m_maskedEmail = windows->addAction(tr("Masked Email"), window, &MainWindow::showMaskedEmail);
    m_contacts = windows->addAction(tr("Contacts"), window, &MainWindow::showContacts);

    QMenu* help = bar->addMenu(tr("&Help"));
    m_helpMenu = help;
    QAction* shortcuts = addMailAction(help, MailAction::ShowShortcuts);
    shortcuts->setIcon(Icons::icon(QStringLiteral("keyboard")));
    help->addSeparator();
    m_feedback = help->addAction(Icons::icon(QStringLiteral("ladybug")),
                                 tr("Report a Bug or Request a Feature…"), window,
                                 &MainWindow::showFeedback);

    QObject::connect(state, &AppState::configChanged, this, &MainMenus::showState);
    QObject::connect(state, &AppState::accessChanged, this, &MainMenus::showState);
    showState();
}

QAction* MainMenus::addUpdater(Updater* updater)
{
    m_helpMenu->addSeparator();
    m_checkForUpdates =
        m_helpMenu->addAction(tr("Check for Updates…"), updater, &Updater::checkForUpdates);
    m_checkForUpdates->setObjectName(QStringLiteral("checkForUpdates"));
    // Greyed while a check runs.
    const auto follow = [this, updater] {
        m_checkForUpdates->setEnabled(updater->canCheckForUpdates());
    };
    QObject::connect(updater, &Updater::canCheckForUpdatesChanged, m_checkForUpdates, follow);
    follow();
    return m_checkForUpdates;
}

const QList<QList<MailAction>>& MainMenus::groups()
{
    static const QList<QList<MailAction>> list{
        {MailAction::Reply, MailAction::ReplyAll, MailAction::Forward},
        {MailAction::Archive, MailAction::Spam, MailAction::Trash, MailAction::Move},
        {MailAction::ToggleRead, MailAction::ToggleFlag},
        {MailAction::NextThread, MailAction::PreviousThread, MailAction::CloseThread},
        {MailAction::NextMessage, MailAction::PreviousMessage, MailAction::ToggleMessage,
         MailAction::ToggleDetails, MailAction::ScrollDown, MailAction::ScrollUp},
        {MailAction::NextPane, MailAction::PreviousPane},
        {MailAction::GoToFolder, MailAction::Search, MailAction::Refresh},
    };
    return list;
}

QString MainMenus::itemText(AppState* state, MailAction action)
{
    const auto binding = state->config().binding(action);
    return binding ? action.title() + u'\t' + binding->display() : action.title();
}

QAction* MainMenus::addMailAction(QMenu* menu, MailAction action)
{
    QAction* item = menu->addAction(action.title());
    item->setObjectName(action.rawValue());
    QObject::connect(item, &QAction::triggered, m_state, [this, action] {
        if (action == MailAction::ShowShortcuts)
            m_state->setShowsShortcuts(true);
        else
            m_state->perform(action);
    });
    m_actions.insert(action, item);
    return item;
}

void MainMenus::showState()
{
    for (auto it = m_actions.cbegin(); it != m_actions.cend(); ++it)
        it.value()->setText(itemText(m_state, MailAction::Value(it.key())));
    m_groupByDate->setChecked(m_state->config().groupByDate);
    m_showAvatars->setChecked(m_state->config().showAvatars);
    m_contacts->setEnabled(m_state->hasContacts());
    m_maskedEmail->setEnabled(m_state->hasMaskedEmail());
}
