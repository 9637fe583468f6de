#include "DirectoryWindow.h"

#include "DirectoryEmptyState.h"
#include "DirectoryTable.h"
#include "app/state/AppState.h"
#include "app/stores/DirectoryStore.h"
#include "ui/desktop/Icons.h"
#include "ui/main/ErrorBar.h"

#include <QAbstractItemModel>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QShowEvent>
#include <QStackedWidget>
#include <QToolBar>
#include <QVBoxLayout>

DirectoryWindow::DirectoryWindow(AppState* state, DirectoryStore* store, const QString& newTitle,
                                 QWidget* parent)
    : QMainWindow(parent, Qt::Window), m_state(state), m_store(store)
{
    m_toolBar = addToolBar(tr("Toolbar"));
    m_toolBar->setObjectName(QStringLiteral("directoryToolBar"));
    m_toolBar->setMovable(false);
    m_toolBar->setFloatable(false);
    m_toolBar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_toolBar->setContextMenuPolicy(Qt::PreventContextMenu);

    m_refresh = m_toolBar->addAction(Icons::icon(QStringLiteral("arrow.clockwise")), tr("Refresh"));
    m_refresh->setObjectName(QStringLiteral("refreshAction"));
    m_refresh->setShortcut(QKeySequence::Refresh);
    m_new = m_toolBar->addAction(Icons::icon(QStringLiteral("plus")), newTitle);
    m_new->setObjectName(QStringLiteral("newAction"));
    m_new->setShortcut(QKeySequence::New);
    connect(m_refresh, &QAction::triggered, this, [this] { load(); });
    connect(m_new, &QAction::triggered, this, [this] { create(); });

    m_busy = new QProgressBar(m_toolBar);
    m_busy->setObjectName(QStringLiteral("busyIndicator"));
    m_busy->setAccessibleName(tr("Loading"));
    m_busy->setRange(0, 0);
    m_busy->setTextVisible(false);
    m_busy->setFixedSize(48, 6);
    auto* spacer = new QWidget(m_toolBar);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_toolBar->addWidget(spacer);
    m_busyAction = m_toolBar->addWidget(m_busy);

    m_search = new QLineEdit(m_toolBar);
    m_search->setObjectName(QStringLiteral("searchField"));
    m_search->setClearButtonEnabled(true);
    m_search->addAction(Icons::icon(QStringLiteral("magnifyingglass")), QLineEdit::LeadingPosition);
    m_search->setMinimumWidth(220);
    m_search->setMaximumWidth(280);
    auto* find = new QAction(this);
    find->setShortcut(QKeySequence::Find);
    connect(find, &QAction::triggered, m_search, [this] {
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    });
    addAction(find);
    m_toolBar->addWidget(m_search);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    const QPointer<DirectoryStore> source(store);
    m_errorBar = new ErrorBar([source] { return source ? source->error() : QString(); },
                              [source] {
                                  if (source)
                                      source->clearError();
                              },
                              central);
    connect(store, &DirectoryStore::errorChanged, m_errorBar, &ErrorBar::refresh);
    m_stack = new QStackedWidget(central);
    m_empty = new DirectoryEmptyState(m_stack);
    m_stack->addWidget(m_empty);
    layout->addWidget(m_errorBar);
    layout->addWidget(m_stack, 1);
    setCentralWidget(central);

    connect(store, &DirectoryStore::isLoadingChanged, this, &DirectoryWindow::refreshState);
    connect(store, &DirectoryStore::hasLoadedChanged, this, &DirectoryWindow::refreshState);
    connect(store, &DirectoryStore::itemsChanged, this, &DirectoryWindow::refreshState);
    connect(state, &AppState::accessChanged, this, &DirectoryWindow::refreshState);
    // A new connection resets the store; an open window shows the new account's list.
    connect(state, &AppState::accessChanged, this, [this] {
        if (isVisible())
            load();
    });
    connect(state, &AppState::serviceChanged, this, &DirectoryWindow::refreshState);
    connect(m_search, &QLineEdit::textChanged, this, &DirectoryWindow::refreshState);
    // Down from the search field goes into the rows.
    m_search->installEventFilter(this);
}

void DirectoryWindow::setModel(QAbstractItemModel* model, int idRole)
{
    m_table = new DirectoryTable(idRole, m_stack);
    m_table->setObjectName(QStringLiteral("directoryTable"));
    m_table->setModel(model);
    m_stack->insertWidget(0, m_table);
    connect(model, &QAbstractItemModel::rowsInserted, this, &DirectoryWindow::refreshState);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &DirectoryWindow::refreshState);
    connect(m_table, &DirectoryTable::editRequested, this,
            [this](const QSet<QString>& ids) { edit(ids); });
    connect(m_table, &DirectoryTable::copyRequested, this, [this](const QSet<QString>& ids) {
        if (const QString text = copyText(ids); !text.isEmpty())
            copy(text);
    });
    connect(m_table, &DirectoryTable::deleteRequested, this, &DirectoryWindow::askToDelete);
    connect(m_table, &DirectoryTable::menuRequested, this,
            [this](const QSet<QString>& ids, const QPoint& globalPos) {
                if (QMenu* menu = contextMenu(ids)) {
                    menu->setAttribute(Qt::WA_DeleteOnClose);
                    menu->popup(globalPos);
                }
            });
    setFocusProxy(m_table);
    refreshState();
}

void DirectoryWindow::askToDelete(const QSet<QString>& ids)
{
    if (ids.isEmpty())
        return;
    if (m_confirmation)
        m_confirmation->close();
    auto* box = new QMessageBox(this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setObjectName(QStringLiteral("deleteConfirmation"));
    box->setWindowModality(Qt::WindowModal);
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(deleteTitle(ids.size()));
    box->setText(deleteTitle(ids.size()));
    box->setInformativeText(deleteMessage());
    QPushButton* destroy = box->addButton(tr("Delete"), QMessageBox::DestructiveRole);
    destroy->setObjectName(QStringLiteral("deleteButton"));
    QPushButton* cancel = box->addButton(QMessageBox::Cancel);
    // A stray Return never deletes.
    box->setDefaultButton(cancel);
    box->setEscapeButton(cancel);
    destroy->setAutoDefault(false);
    connect(box, &QMessageBox::buttonClicked, this, [this, destroy, ids](QAbstractButton* button) {
        if (button == destroy)
            remove(ids);
    });
    m_confirmation = box;
    box->open();
}

void DirectoryWindow::refreshState()
{
    const bool enabled = canAct();
    m_refresh->setEnabled(enabled);
    m_new->setEnabled(enabled);
    m_busyAction->setVisible(m_store && m_store->isLoading());
    if (!m_table)
        return;
    if (m_table->model()->rowCount() > 0) {
        m_stack->setCurrentWidget(m_table);
        return;
    }
    showEmptyState(m_empty);
    m_stack->setCurrentWidget(m_empty);
}

void DirectoryWindow::copy(const QString& text)
{
    QApplication::clipboard()->setText(text);
}

void DirectoryWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    if (event->spontaneous())
        return;
    load();
    // The rows take the keys first, as in the main window's list.
    if (m_table && !m_table->hasFocus() && !m_search->hasFocus())
        m_table->setFocus(Qt::ActiveWindowFocusReason);
}

bool DirectoryWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_search || event->type() != QEvent::KeyPress || !m_table)
        return QMainWindow::eventFilter(watched, event);
    // Down goes into the rows; Escape clears the search, then leaves it.
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Escape && !m_search->text().isEmpty()) {
        m_search->clear();
        return true;
    }
    if ((key == Qt::Key_Down && m_table->model()->rowCount() > 0) || key == Qt::Key_Escape) {
        m_table->setFocus(Qt::TabFocusReason);
        if (!m_table->currentIndex().isValid() && m_table->model()->rowCount() > 0)
            m_table->selectRow(0);
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}
