#include "SettingsWindow.h"

#include "AccountSettings.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"

#include <QTabWidget>
#include <QVBoxLayout>

SettingsWindow::SettingsWindow(AppState* state, QWidget* parent) : QDialog(parent), m_state(state)
{
    setWindowTitle(tr("Settings"));
    setObjectName(QStringLiteral("settingsWindow"));
    setFixedSize(520, 520);
    auto* layout = new QVBoxLayout(this);
    m_tabs = new QTabWidget(this);
    m_account = new AccountSettings(state, m_tabs);
    m_tabs->addTab(m_account, Icons::icon(QStringLiteral("person.crop.circle")), tr("Account"));
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
