#include "MainWindow.h"

#include "ErrorBar.h"
#include "MailboxOverview.h"
#include "SidebarView.h"
#include "app/state/AppState.h"
#include "ui/settings/SettingsWindow.h"

#include <QApplication>
#include <QMenuBar>
#include <QSplitter>
#include <QVBoxLayout>

MainWindow::MainWindow(AppState* state, QWidget* parent) : QMainWindow(parent), m_state(state)
{
    setWindowTitle(QStringLiteral("Veldrin"));
    setObjectName(QStringLiteral("main"));
    resize(1280, 800);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_errorBar = new ErrorBar(state, central);
    layout->addWidget(m_errorBar);

    auto* splitter = new QSplitter(Qt::Horizontal, central);
    splitter->setChildrenCollapsible(false);
    m_sidebar = new SidebarView(state, splitter);
    m_sidebar->setMinimumWidth(170);
    m_sidebar->setMaximumWidth(320);
    m_overview = new MailboxOverview(state, splitter);
    splitter->addWidget(m_sidebar);
    splitter->addWidget(m_overview);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({210, 1070});
    layout->addWidget(splitter, 1);
    setCentralWidget(central);

    QObject::connect(m_sidebar, &SidebarView::openSettingsRequested, this,
                     &MainWindow::showSettings);
    buildMenus();
}

void MainWindow::buildMenus()
{
    QMenu* file = menuBar()->addMenu(tr("&File"));
    QAction* settings = file->addAction(tr("Settings…"), this, &MainWindow::showSettings);
    settings->setShortcut(QKeySequence::Preferences);
    settings->setMenuRole(QAction::PreferencesRole);
    file->addSeparator();
    QAction* quit = file->addAction(tr("Quit"), qApp, &QApplication::quit);
    quit->setShortcut(QKeySequence::Quit);

    QMenu* window = menuBar()->addMenu(tr("&Window"));
    QAction* main = window->addAction(QStringLiteral("Veldrin"), this, [this] {
        showNormal();
        raise();
        activateWindow();
    });
    main->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_1));
}

SettingsWindow* MainWindow::settingsWindow()
{
    if (!m_settings)
        m_settings = new SettingsWindow(m_state, this);
    return m_settings;
}

void MainWindow::showSettings()
{
    SettingsWindow* window = settingsWindow();
    window->show();
    window->raise();
    window->activateWindow();
}

void MainWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    m_state->start([](QUuid) {});
}
