#include "MainWindow.h"

#include "ui/compose/ComposeWindows.h"

#include "AskInWindow.h"
#include "ErrorBar.h"
#include "FolderPicker.h"
#include "MainMenus.h"
#include "ShortcutsOverlay.h"
#include "SidebarView.h"
#include "Toast.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"
#include "ui/desktop/UpdateAlert.h"
#include "ui/feedback/FeedbackWindow.h"
#include "ui/reader/AttachmentPreview.h"
#include "ui/reader/MessageView.h"
#include "ui/reader/RawMessageView.h"
#include "ui/reader/ThreadDetailView.h"
#include "ui/settings/SettingsWindow.h"
#include "ui/threads/MailSearchField.h"
#include "ui/threads/ThreadListView.h"
#include "ui/web/MailWebView.h"
#include "ui/web/MailWebViewPool.h"

#include <QApplication>
#include <QListView>
#include <QMenuBar>
#include <QPropertyAnimation>
#include <QScrollArea>
#include <QScrollBar>
#include <QShowEvent>
#include <QSplitter>
#include <QTimer>
#include <QToolBar>
#include <QUndoStack>
#include <QVBoxLayout>
#include <QWebEngineView>

namespace {

bool insideWebView(const QWidget* widget)
{
    for (; widget; widget = widget->parentWidget())
        if (qobject_cast<const QWebEngineView*>(widget))
            return true;
    return false;
}

} // namespace

MainWindow::MainWindow(AppState* state, QWidget* parent)
    : QMainWindow(parent), m_state(state), m_undoStack(new QUndoStack(this)),
      m_composeWindows(new ComposeWindows(state, this))
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
    m_menus = new MainMenus(state, this, m_undoStack);
    buildToolBar();
    m_toast = new ToastView(state, central);
    m_overlay = new ShortcutsOverlay(state, this);
    m_picker = new FolderPickerView(state, this);

    m_readerScroll =
        new QPropertyAnimation(m_reader->scrollArea()->verticalScrollBar(), "value", this);
    m_readerScroll->setDuration(150);
    m_readerScroll->setEasingCurve(QEasingCurve::OutCubic);
    WindowServices services;
    services.undoStack = m_undoStack;
    services.scrollReader = [this](double pages, double lines) { scrollReader(pages, lines); };
    services.releaseFocus = [this] { releaseFocus(); };
    state->setWindowServices(std::move(services));
    QObject::connect(state, &AppState::windowRequestChanged, this, [this] {
        // Out of the taskbar if minimised, without giving up a maximised or full-screen size.
        setWindowState(windowState() & ~Qt::WindowMinimized);
        show();
        raise();
        activateWindow();
    });
    state->setAskQuestion([this](const Question& question, std::function<void()> yes) {
        askInWindow(this, question, std::move(yes));
    });

    QObject::connect(state, &AppState::paneFocusRequestChanged, this, &MainWindow::moveFocusToPane);
    QObject::connect(state, &AppState::searchFocusRequestChanged, this, [this] {
        m_threadList->searchField()->setFocus(Qt::ShortcutFocusReason);
        m_threadList->searchField()->selectAll();
    });
    // Focus that arrives by mouse or Tab tells the state which pane the keys work on.
    m_threadList->list()->installEventFilter(this);
    m_sidebar->list()->installEventFilter(this);
}

void MainWindow::buildToolBar()
{
    m_toolBar = addToolBar(tr("Message Actions"));
    m_toolBar->setObjectName(QStringLiteral("messageToolBar"));
    m_toolBar->setMovable(false);
    m_toolBar->setFloatable(false);
    m_toolBar->setIconSize(QSize(18, 18));
    m_toolBar->setContextMenuPolicy(Qt::PreventContextMenu);
    const QList<std::pair<MailAction, const char*>> buttons{
        {MailAction::Compose, "square.and.pencil"},
        {MailAction::Reply, "arrowshape.turn.up.left"},
        {MailAction::ReplyAll, "arrowshape.turn.up.left.2"},
        {MailAction::Forward, "arrowshape.turn.up.right"},
        {MailAction::Archive, "archivebox"},
        {MailAction::Spam, "xmark.bin"},
        {MailAction::Trash, "trash"},
        {MailAction::Move, "folder"},
        {MailAction::ToggleRead, "envelope.badge"},
        {MailAction::ToggleFlag, "flag"},
    };
    for (const auto& [action, symbol] : buttons) {
        QAction* button =
            m_toolBar->addAction(Icons::icon(QString::fromLatin1(symbol)), action.title());
        button->setObjectName(action.rawValue());
        QObject::connect(button, &QAction::triggered, m_state,
                         [state = m_state, action] { state->perform(action); });
        m_toolActions.insert(action, button);
        // Gaps between answering, filing away and marking.
        if (action == MailAction::Compose || action == MailAction::Forward ||
            action == MailAction::Move)
            m_toolBar->addSeparator();
    }
    for (auto signal :
         {&AppState::selectedThreadIdsChanged, &AppState::threadsChanged, &AppState::configChanged})
        QObject::connect(m_state, signal, this, &MainWindow::showToolBarState);
    showToolBarState();
}

void MainWindow::showToolBarState()
{
    const bool one = m_state->selectedThread().has_value();
    const bool any = !m_state->selectedThreads().isEmpty();
    for (auto it = m_toolActions.cbegin(); it != m_toolActions.cend(); ++it) {
        const MailAction action = MailAction::Value(it.key());
        QAction* button = it.value();
        const auto binding = m_state->config().binding(action);
        const QString help =
            binding ? action.title() + QStringLiteral("   ") + binding->display() : action.title();
        button->setToolTip(help);
        if (QWidget* widget = m_toolBar->widgetForAction(button))
            widget->setAccessibleName(help);
        switch (action) {
        case MailAction::Compose:
            button->setEnabled(true);
            break;
        case MailAction::Reply:
        case MailAction::ReplyAll:
        case MailAction::Forward:
            button->setEnabled(one);
            break;
        default:
            button->setEnabled(any);
        }
    }
}

void MainWindow::moveFocusToPane()
{
    switch (m_state->focusedPane()) {
    case AppState::Pane::Sidebar:
        m_sidebar->list()->setFocus(Qt::OtherFocusReason);
        break;
    case AppState::Pane::List:
        m_threadList->list()->setFocus(Qt::OtherFocusReason);
        break;
    case AppState::Pane::Reader:
        // A message body keeps the focus it has; else the reader itself takes the keys.
        if (!insideWebView(focusWidget()))
            m_reader->scrollArea()->setFocus(Qt::OtherFocusReason);
        break;
    }
}

void MainWindow::releaseFocus()
{
    if (insideWebView(focusWidget()))
        return;
    setFocus(Qt::OtherFocusReason);
}

void MainWindow::scrollReader(double pages, double lines)
{
    QScrollBar* bar = m_reader->scrollArea()->verticalScrollBar();
    const int visible = m_reader->scrollArea()->viewport()->height();
    const double page = std::max(visible / 2.0, visible - 48.0);
    const int from = m_readerScroll->state() == QAbstractAnimation::Running
                         ? m_readerScroll->endValue().toInt()
                         : bar->value();
    int delta = int(std::lround(pages * page + lines * 40.0));
    int lowest = bar->minimum();
    int highest = bar->maximum();
    // A message taller than its view scrolls inside it while it fills the reader; the reader
    // stops where such a message comes to fill it, as long as the message has more to show.
    const QWidget* content = m_reader->scrollArea()->widget();
    for (MessageView* message : m_reader->messageViews()) {
        MailWebView* web = message->webView();
        if (!web || !web->isTallerThanView() || delta == 0)
            continue;
        const int top = web->mapTo(content, QPoint()).y();
        const int bottom = top + web->height();
        if (bottom <= from || top >= from + visible)
            continue;
        if (top <= from && bottom >= from + visible) {
            delta -= web->scrollInside(delta);
            if (delta == 0)
                return;
        } else if (delta > 0 && top > from && web->canScrollInside(1)) {
            highest = std::min(highest, top);
        } else if (delta < 0 && bottom < from + visible && web->canScrollInside(-1)) {
            lowest = std::max(lowest, bottom - visible);
        }
    }
    const int to = std::clamp(from + delta, lowest, std::max(lowest, highest));
    m_readerScroll->stop();
    m_readerScroll->setStartValue(bar->value());
    m_readerScroll->setEndValue(to);
    m_readerScroll->start();
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusIn) {
        const AppState::Pane pane =
            watched == m_sidebar->list() ? AppState::Pane::Sidebar : AppState::Pane::List;
        if (m_state->focusedPane() != pane)
            m_state->focus(pane);
    }
    return QMainWindow::eventFilter(watched, event);
}

SettingsWindow* MainWindow::settingsWindow()
{
    if (!m_settings)
        m_settings = new SettingsWindow(m_state, this, m_updater);
    return m_settings;
}

void MainWindow::setUpdater(Updater* updater)
{
    m_updater = updater;
    m_menus->addUpdater(updater);
    new UpdateAlert(updater, this);
}

Updater* MainWindow::updater() const
{
    return m_updater;
}

void MainWindow::showSettings()
{
    SettingsWindow* window = settingsWindow();
    window->show();
    window->raise();
    window->activateWindow();
}

FeedbackWindow* MainWindow::feedbackWindow()
{
    if (!m_feedback)
        m_feedback = new FeedbackWindow(m_state, this);
    return m_feedback;
}

void MainWindow::showFeedback()
{
    FeedbackWindow* window = feedbackWindow();
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
    m_state->start(m_composeWindows->opener());
    warmUpWebEngine();
}

void MainWindow::warmUpWebEngine()
{
    // The first mail view starts the web engine, which costs a few times what a later view
    // does. Once the first page of the list is on screen, the reader makes a spare view ahead
    // of the first message opened, which pays that and is then reused.
    if (m_warmedUp)
        return;
    m_warmedUp = true;
    auto* once = new QObject(this);
    const auto warm = [this, once] {
        if (m_state->threads().isEmpty())
            return;
        delete once;
        QTimer::singleShot(50, this, [this] { m_reader->webViewPool()->prepare(); });
    };
    QObject::connect(m_state, &AppState::threadsChanged, once, warm);
}
