#include "MainWindow.h"

#include "ui/directory/ContactsWindow.h"
#include "ui/directory/MaskedEmailWindow.h"

namespace {

void bringUp(QWidget* window)
{
    window->show();
    window->raise();
    window->activateWindow();
}

} // namespace

ContactsWindow* MainWindow::contactsWindow()
{
    if (!m_contactsWindow) {
        m_contactsWindow = new ContactsWindow(m_state, this);
        connect(m_contactsWindow, &DirectoryWindow::openSettingsRequested, this,
                &MainWindow::showSettings);
    }
    return m_contactsWindow;
}

MaskedEmailWindow* MainWindow::maskedEmailWindow()
{
    if (!m_maskedEmailWindow) {
        m_maskedEmailWindow = new MaskedEmailWindow(m_state, this);
        connect(m_maskedEmailWindow, &DirectoryWindow::openSettingsRequested, this,
                &MainWindow::showSettings);
    }
    return m_maskedEmailWindow;
}

void MainWindow::showContacts()
{
    bringUp(contactsWindow());
}

void MainWindow::showMaskedEmail()
{
    bringUp(maskedEmailWindow());
}
