#include "ThreadListView.h"

#include "EmptyState.h"
#include "MailSearchField.h"
#include "MessageContextMenu.h"
#include "ThreadDelegate.h"
#include "ThreadListModel.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"

#include <QListView>
#include <QMenu>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {

// A click on a date header or on "Load more" leaves the selection alone: those rows are not
// threads, and losing the open thread to a click on a header would surprise.
class ThreadRowsView : public QListView
{
public:
    using QListView::QListView;

protected:
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event) const override
    {
        if (index.isValid() && !(index.flags() & Qt::ItemIsSelectable))
            return QItemSelectionModel::NoUpdate;
        return QListView::selectionCommand(index, event);
    }
};

} // namespace

ThreadListView::ThreadListView(AppState* state, QWidget* parent)
    : QWidget(parent), m_state(state), m_model(new ThreadListModel(state, this))
{
    setObjectName(QStringLiteral("threadList"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_search = new MailSearchField(state, this);
    auto* searchRow = new QVBoxLayout();
    searchRow->setContentsMargins(8, 8, 8, 6);
    searchRow->addWidget(m_search);
    layout->addLayout(searchRow);

    m_stack = new QStackedWidget(this);
    layout->addWidget(m_stack, 1);

    // Rows that leave take their selection with them; that is the state's to decide (it selects
    // the next thread after a move), not a choice of the user's. Connected before the list's
    // selection model exists, so that these run before it drops the rows.
    const auto hold = [this] { m_syncing = true; };
    const auto release = [this] {
        m_syncing = false;
        selectionFromState();
    };
    QObject::connect(m_model, &QAbstractItemModel::rowsAboutToBeRemoved, this, hold);
    QObject::connect(m_model, &QAbstractItemModel::rowsAboutToBeMoved, this, hold);
    QObject::connect(m_model, &QAbstractItemModel::rowsRemoved, this, release);
    QObject::connect(m_model, &QAbstractItemModel::rowsMoved, this, release);
    m_list = new ThreadRowsView(m_stack);
    m_list->setObjectName(QStringLiteral("threadListView"));
    m_list->setAccessibleName(tr("Conversations"));
    m_list->setModel(m_model);
    m_delegate = new ThreadDelegate(m_list);
    m_list->setItemDelegate(m_delegate);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setDragEnabled(true);
    m_list->setDragDropMode(QAbstractItemView::DragOnly);
    m_list->setAttribute(Qt::WA_MacShowFocusRect, false);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    m_stack->addWidget(m_list);
    QObject::connect(m_list, &QWidget::customContextMenuRequested, this, [this](QPoint at) {
        if (MessageContextMenu* menu = contextMenu(m_list->indexAt(at))) {
            menu->setAttribute(Qt::WA_DeleteOnClose);
            menu->popup(m_list->viewport()->mapToGlobal(at));
        }
    });

    m_empty = new EmptyState(m_stack);
    m_empty->setObjectName(QStringLiteral("threadListEmpty"));
    m_stack->addWidget(m_empty);

    QObject::connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                     &ThreadListView::selectionFromView);
    QObject::connect(m_list, &QListView::clicked, this, &ThreadListView::activate);
    QObject::connect(m_list, &QListView::activated, this, &ThreadListView::activate);
    QObject::connect(state, &AppState::selectedThreadIdsChanged, this,
                     &ThreadListView::selectionFromState);
    // Rows that arrive with a refresh may be selected already in the state.
    QObject::connect(m_model, &QAbstractItemModel::rowsInserted, this,
                     &ThreadListView::selectionFromState);
    for (auto signal : {&AppState::threadsChanged, &AppState::isLoadingListChanged,
                        &AppState::isConnectedChanged, &AppState::searchTextChanged})
        QObject::connect(state, signal, this, &ThreadListView::showState);
    QObject::connect(state, &AppState::configChanged, this, [this] {
        const bool avatars = m_state->config().showAvatars;
        if (avatars == m_delegate->showsAvatars())
            return;
        m_delegate->setShowAvatars(avatars);
        // Row heights depend on the avatar.
        m_list->doItemsLayout();
    });
    m_delegate->setShowAvatars(state->config().showAvatars);
    showState();
    selectionFromState();
}

bool ThreadListView::showsEmptyState() const
{
    return m_stack->currentWidget() == m_empty;
}

void ThreadListView::showState()
{
    const bool empty =
        m_state->threads().isEmpty() && !m_state->isLoadingList() && m_state->isConnected();
    if (empty) {
        if (m_state->searchText().isEmpty())
            m_empty->show(Icons::icon(QStringLiteral("tray")), tr("No conversations"));
        else
            m_empty->show(Icons::icon(QStringLiteral("magnifyingglass")), tr("No matches"));
    }
    m_stack->setCurrentWidget(empty ? static_cast<QWidget*>(m_empty) : m_list);
}

MessageContextMenu* ThreadListView::contextMenu(const QModelIndex& index)
{
    const MailThread* hit = index.isValid() ? m_model->threadAt(index.row()) : nullptr;
    if (!hit)
        return nullptr;
    QSet<QString> ids{hit->id};
    if (m_state->selectedThreadIds().contains(hit->id))
        ids = m_state->selectedThreadIds();
    std::optional<Email> email;
    if (ids.size() == 1) {
        const int row = m_model->rowOf(*ids.cbegin());
        if (const MailThread* thread = row >= 0 ? m_model->threadAt(row) : nullptr;
            thread && !thread->emails.isEmpty())
            email = thread->anchor();
    }
    return new MessageContextMenu(
        m_state, email, [state = m_state, ids](MailAction action) { state->perform(action, ids); },
        this);
}

void ThreadListView::activate(const QModelIndex& index)
{
    if (index.data(ThreadListModel::KindRole).value<ThreadListModel::Kind>() ==
            ThreadListModel::Kind::LoadMore &&
        (index.flags() & Qt::ItemIsEnabled))
        m_state->loadThreads(false);
}

void ThreadListView::selectionFromView()
{
    if (m_syncing)
        return;
    QSet<QString> ids;
    for (const QModelIndex& index : m_list->selectionModel()->selectedIndexes())
        if (index.data(ThreadListModel::KindRole).value<ThreadListModel::Kind>() ==
            ThreadListModel::Kind::Thread)
            ids.insert(index.data(ThreadListModel::IdRole).toString());
    m_state->setSelectedThreadIds(ids);
}

void ThreadListView::selectionFromState()
{
    const QSet<QString>& ids = m_state->selectedThreadIds();
    QItemSelection selection;
    QModelIndex single;
    for (const QString& id : ids) {
        const int row = m_model->rowOf(id);
        if (row < 0)
            continue;
        const QModelIndex index = m_model->index(row);
        selection.select(index, index);
        single = index;
    }
    QItemSelectionModel* model = m_list->selectionModel();
    QSet<QString> shown;
    for (const QModelIndex& index : model->selectedIndexes())
        shown.insert(index.data(ThreadListModel::IdRole).toString());
    m_syncing = true;
    if (shown != ids)
        model->select(selection, QItemSelectionModel::ClearAndSelect);
    if (ids.size() == 1 && single.isValid()) {
        if (model->currentIndex() != single)
            model->setCurrentIndex(single, QItemSelectionModel::NoUpdate);
        // Only a new selection moves the list; a refresh leaves the user's scroll position.
        const QString id = single.data(ThreadListModel::IdRole).toString();
        if (id != m_scrolledTo)
            m_list->scrollTo(single);
        m_scrolledTo = id;
    } else {
        m_scrolledTo.clear();
    }
    m_syncing = false;
}
