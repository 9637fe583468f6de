#include "SidebarView.h"

#include "MailboxDelegate.h"
#include "MailboxListModel.h"
#include "MailboxListView.h"
#include "SyncFooter.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"

#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

SidebarView::SidebarView(AppState* state, QWidget* parent)
    : QWidget(parent), m_state(state), m_model(new MailboxListModel(state, this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_stack = new QStackedWidget(this);
    layout->addWidget(m_stack, 1);

    // The prompt for a first start, or after the token was removed.
    auto* empty = new QWidget(m_stack);
    empty->setObjectName(QStringLiteral("noTokenState"));
    auto* emptyLayout = new QVBoxLayout(empty);
    emptyLayout->addStretch(1);
    auto* title = new QLabel(tr("No API token"), empty);
    title->setObjectName(QStringLiteral("emptyTitle"));
    QFont titleFont = title->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.2);
    title->setFont(titleFont);
    title->setAlignment(Qt::AlignCenter);
    auto* text = new QLabel(tr("Add your Fastmail API token to get started."), empty);
    text->setWordWrap(true);
    text->setAlignment(Qt::AlignCenter);
    text->setForegroundRole(QPalette::PlaceholderText);
    auto* open = new QPushButton(tr("Open Settings"), empty);
    open->setObjectName(QStringLiteral("openSettingsButton"));
    open->setFlat(true);
    open->setCursor(Qt::PointingHandCursor);
    open->setStyleSheet(QStringLiteral("color: palette(link);"));
    emptyLayout->addWidget(title);
    emptyLayout->addWidget(text);
    emptyLayout->addWidget(open, 0, Qt::AlignHCenter);
    emptyLayout->addStretch(2);
    m_stack->addWidget(empty);
    QObject::connect(open, &QPushButton::clicked, this, &SidebarView::openSettingsRequested);

    m_list = new MailboxListView(m_stack);
    m_list->setModel(m_model);
    auto* delegate = new MailboxDelegate(m_list);
    m_list->setItemDelegate(delegate);
    // A click on the triangle goes the way of the keys, so that it is announced the same.
    QObject::connect(delegate, &MailboxDelegate::toggleCollapsedRequested, m_list,
                     [this](const QString& id) {
                         const QModelIndex index = m_model->index(m_model->rowOf(id));
                         m_list->setExpanded(index, !MailboxListView::isExpanded(index));
                     });
    QObject::connect(m_list, &MailboxListView::toggleCollapsedRequested, state,
                     &AppState::toggleCollapsed);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setUniformItemSizes(true);
    m_list->setIconSize(QSize(16, 16));
    m_list->setAttribute(Qt::WA_MacShowFocusRect, false);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    m_stack->addWidget(m_list);
    QObject::connect(m_list, &QWidget::customContextMenuRequested, this, [this](QPoint at) {
        if (QMenu* menu = contextMenu(m_list->indexAt(at))) {
            menu->setAttribute(Qt::WA_DeleteOnClose);
            menu->popup(m_list->viewport()->mapToGlobal(at));
        }
    });
    m_list->dropThreads = [this](const QSet<QString>& ids, const QString& mailboxId) {
        const auto mailbox = m_state->mailbox(mailboxId);
        return mailbox && m_state->moveThreads(ids, *mailbox);
    };
    m_list->moveRow = [this](const QString& mailboxId, int toRow) {
        m_state->moveMailbox(mailboxId, toRow);
    };

    QObject::connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
                     [this](const QModelIndex& current) {
                         if (current.isValid())
                             m_state->setSelectedMailboxId(
                                 current.data(MailboxListModel::IdRole).toString());
                     });

    // The footer: what is in flight, and the button for a new message.
    auto* footer = new QWidget(this);
    auto* footerLayout = new QHBoxLayout(footer);
    footerLayout->setContentsMargins(8, 4, 4, 4);
    footerLayout->addWidget(new SyncFooter(state, footer), 1);
    m_composeButton = new QToolButton(footer);
    m_composeButton->setObjectName(QStringLiteral("composeButton"));
    m_composeButton->setIcon(Icons::icon(QStringLiteral("square.and.pencil")));
    m_composeButton->setAutoRaise(true);
    footerLayout->addWidget(m_composeButton);
    QObject::connect(m_composeButton, &QToolButton::clicked, state,
                     [state] { state->perform(MailAction::Compose); });
    layout->addWidget(footer);

    QObject::connect(state, &AppState::hasTokenChanged, this, &SidebarView::showState);
    QObject::connect(state, &AppState::selectedMailboxIdChanged, this, &SidebarView::selectCurrent);
    QObject::connect(m_model, &QAbstractItemModel::rowsInserted, this, &SidebarView::selectCurrent);
    QObject::connect(state, &AppState::configChanged, this, &SidebarView::updateComposeHelp);
    showState();
    updateComposeHelp();
    selectCurrent();
}

QMenu* SidebarView::contextMenu(const QModelIndex& index)
{
    const auto mailbox = index.isValid()
                             ? m_state->mailbox(index.data(MailboxListModel::IdRole).toString())
                             : std::nullopt;
    if (!mailbox)
        return nullptr;
    const QString id = mailbox->id;
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("mailboxContextMenu"));
    QAction* markAll = menu->addAction(tr("Mark All as Read"), m_state,
                                       [state = m_state, id] { state->markAllRead(id); });
    markAll->setObjectName(QStringLiteral("markAllRead"));
    markAll->setEnabled(mailbox->unreadEmails > 0);
    menu->addSeparator();
    QAction* count = menu->addAction(tr("Show Message Count"));
    count->setObjectName(QStringLiteral("showMessageCount"));
    count->setCheckable(true);
    count->setChecked(m_state->showsTotalCount(id));
    QObject::connect(count, &QAction::toggled, m_state,
                     [state = m_state, id](bool on) { state->setShowsTotalCount(id, on); });
    QAction* hide = menu->addAction(tr("Hide When Empty"));
    hide->setObjectName(QStringLiteral("hideWhenEmpty"));
    hide->setCheckable(true);
    hide->setChecked(m_state->hidesWhenEmpty(id));
    QObject::connect(hide, &QAction::toggled, m_state,
                     [state = m_state, id](bool on) { state->setHidesWhenEmpty(id, on); });
    menu->addSeparator();
    QAction* reset = menu->addAction(tr("Reset Folder Order"), m_state,
                                     [state = m_state] { state->resetFolderOrder(); });
    reset->setObjectName(QStringLiteral("resetFolderOrder"));
    reset->setEnabled(!m_state->config().mailboxOrder.isEmpty());
    return menu;
}

void SidebarView::showState()
{
    m_stack->setCurrentIndex(m_state->hasToken() ? 1 : 0);
    m_composeButton->setEnabled(m_state->hasToken());
}

void SidebarView::selectCurrent()
{
    const auto& id = m_state->selectedMailboxId();
    const int row = id ? m_model->rowOf(*id) : -1;
    const QModelIndex wanted = row >= 0 ? m_model->index(row) : QModelIndex();
    if (m_list->currentIndex() != wanted) {
        if (wanted.isValid())
            m_list->setCurrentIndex(wanted);
        else
            m_list->clearSelection();
    }
}

void SidebarView::updateComposeHelp()
{
    // The button shows only an icon: its name is the action's title, its help adds the key.
    const MailAction compose(MailAction::Compose);
    const auto binding = m_state->config().binding(compose);
    m_composeButton->setAccessibleName(compose.title());
    m_composeButton->setToolTip(
        binding ? compose.title() + QStringLiteral("   ") + binding->display() : compose.title());
}
