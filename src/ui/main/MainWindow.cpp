#include "MainWindow.h"

#include "ErrorBar.h"
#include "SidebarView.h"
#include "app/state/AppState.h"
#include "ui/reader/AttachmentPreview.h"
#include "ui/reader/RawMessageView.h"
#include "ui/reader/ThreadDetailView.h"
#include "ui/settings/SettingsWindow.h"
#include "ui/threads/ThreadListView.h"

#include <QApplication>
#include <QListView>
#include <QMenuBar>
#include <QShowEvent>
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

    m_splitter = new QSplitter(Qt::Horizontal, central);
    m_splitter->setChildrenCollapsible(false);
    m_sidebar = new SidebarView(state, m_splitter);
    m_sidebar->setMinimumWidth(170);
    m_sidebar->setMaximumWidth(320);
    m_threadList = new ThreadListView(state, m_splitter);
    m_threadList->setMinimumWidth(280);
    m_threadList->setMaximumWidth(512);
    m_reader = new ThreadDetailView(state, m_splitter);
    m_reader->setMinimumWidth(320);
    m_splitter->addWidget(m_sidebar);
    m_splitter->addWidget(m_threadList);
    m_splitter->addWidget(m_reader);
    // The reader takes what the window gains; the two lists keep their width.
    m_splitter->setStretchFactor(0, 0);
    m_splitter->setStretchFactor(1, 0);
    m_splitter->setStretchFactor(2, 1);
    m_splitter->setSizes({210, 356, 1280 - 210 - 356});
    layout->addWidget(m_splitter, 1);
    setCentralWidget(central);

    QObject::connect(m_sidebar, &SidebarView::openSettingsRequested, this,
                     &MainWindow::showSettings);
    QObject::connect(state, &AppState::selectedMailboxIdChanged, state, &AppState::mailboxChanged);
    QObject::connect(state, &AppState::selectedThreadIdsChanged, state,
                     &AppState::threadSelectionChanged);
    m_preview = new AttachmentPreview(state, this);
    m_rawMessage = new RawMessageView(state, this);
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
    // The list is where the keys act first.
    if (!focusWidget())
        m_threadList->list()->setFocus();
    m_state->start([](QUuid) {});
}
