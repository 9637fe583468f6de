#include "SettingsWindow.h"

#include "AccountSettings.h"
#include "FolderSettings.h"
#include "GeneralSettings.h"
#include "KeybindingSettings.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"

#include <QTabWidget>
#include <QVBoxLayout>

SettingsWindow::SettingsWindow(AppState* state, QWidget* parent, Updater* updater)
    : QDialog(parent), m_state(state)
{
    setWindowTitle(tr("Settings"));
    setObjectName(QStringLiteral("settingsWindow"));
    setFixedSize(520, 520);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    m_tabs = new QTabWidget(this);
    m_general = new GeneralSettings(state, updater, m_tabs);
    m_folders = new FolderSettings(state, m_tabs);
    m_keybindings = new KeybindingSettings(state, m_tabs);
    m_account = new AccountSettings(state, m_tabs);
    m_tabs->addTab(m_general, Icons::icon(QStringLiteral("gearshape")), tr("General"));
    m_tabs->addTab(m_folders, Icons::icon(QStringLiteral("folder")), tr("Folders"));
    m_tabs->addTab(m_keybindings, Icons::icon(QStringLiteral("keyboard")), tr("Keybindings"));
    m_tabs->addTab(m_account, Icons::icon(QStringLiteral("person.crop.circle")), tr("Account"));
    // The tab stays where the user left it between openings.
    m_tabs->setCurrentWidget(m_general);
    layout->addWidget(m_tabs);
}

void SettingsWindow::showEvent(QShowEvent* event)
{
    // Without a token the user lands where the token goes.
    if (!m_state->hasToken()) {
        m_tabs->setCurrentWidget(m_account);
        m_account->focusTokenField();
    }
    QDialog::showEvent(event);
}
