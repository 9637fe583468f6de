#include "MailboxAccessible.h"

#include "MailboxListModel.h"
#include "MailboxListView.h"

#include <QCoreApplication>
#include <QItemSelectionModel>
#include <QWindow>

namespace MailboxAccessible {

namespace {

QString translate(const char* text)
{
    return QCoreApplication::translate("MailboxAccessible", text);
}

QAccessibleInterface* factory(const QString& className, QObject* object)
{
    if (className == QLatin1String("MailboxListView"))
        if (auto* view = qobject_cast<MailboxListView*>(object))
            return new Tree(view);
    return nullptr;
}

// The row at a point on the screen, or -1.
int rowAt(MailboxListView* view, int x, int y)
{
    const QModelIndex index = view->indexAt(view->viewport()->mapFromGlobal(QPoint(x, y)));
    return index.isValid() ? index.row() : -1;
}

// The row on the way from `row` up to `ancestor` that sits directly inside `ancestor` (-1 for
// the top level), or -1 when `row` is not below `ancestor`.
int childOnPath(const MailboxListModel* model, int row, int ancestor)
{
    while (row >= 0) {
        const int parent = model->parentRow(row);
        if (parent == ancestor)
            return row;
        row = parent;
    }
    return -1;
}

} // namespace

void install()
{
    static const bool installed = [] {
        QAccessible::installFactory(factory);
        return true;
    }();
    Q_UNUSED(installed);
}

QAccessibleInterface* row(MailboxListView* view, int row)
{
    auto* tree = dynamic_cast<Tree*>(QAccessible::queryAccessibleInterface(view));
    return tree ? tree->item(row) : nullptr;
}

Tree::Tree(MailboxListView* view) : QAccessibleWidget(view, QAccessible::Tree) {}

Tree::~Tree()
{
    for (QAccessible::Id id : std::as_const(m_items))
        QAccessible::deleteAccessibleInterface(id);
}

MailboxListView* Tree::view() const
{
    return static_cast<MailboxListView*>(widget());
}

QAccessibleInterface* Tree::item(int row) const
{
    const MailboxListModel* model = view()->mailboxModel();
    if (!model || row < 0 || row >= model->rowCount())
        return nullptr;
    const QString id = model->index(row).data(MailboxListModel::IdRole).toString();
    const auto known = m_items.constFind(id);
    if (known != m_items.constEnd())
        if (QAccessibleInterface* existing = QAccessible::accessibleInterface(*known))
            return existing;
    auto* created = new Item(view(), id);
    m_items.insert(id, QAccessible::registerAccessibleInterface(created));
    return created;
}

int Tree::childCount() const
{
    const MailboxListModel* model = view()->mailboxModel();
    return model ? int(model->childRows(-1).size()) : 0;
}

QAccessibleInterface* Tree::child(int index) const
{
    const MailboxListModel* model = view()->mailboxModel();
    return model ? item(model->childRows(-1).value(index, -1)) : nullptr;
}

int Tree::indexOfChild(const QAccessibleInterface* child) const
{
    const auto* mailbox = dynamic_cast<const Item*>(child);
    const MailboxListModel* model = view()->mailboxModel();
    if (!mailbox || !model)
        return -1;
    return int(model->childRows(-1).indexOf(mailbox->row()));
}

QAccessibleInterface* Tree::childAt(int x, int y) const
{
    const MailboxListModel* model = view()->mailboxModel();
    if (!model)
        return nullptr;
    return item(childOnPath(model, rowAt(view(), x, y), -1));
}

QAccessibleInterface* Tree::focusChild() const
{
    if (!view()->hasFocus() || !view()->currentIndex().isValid())
        return nullptr;
    return item(view()->currentIndex().row());
}

Item::Item(MailboxListView* view, const QString& mailboxId) : m_view(view), m_mailboxId(mailboxId)
{
}

int Item::row() const
{
    const MailboxListModel* model = m_view ? m_view->mailboxModel() : nullptr;
    return model ? model->rowOf(m_mailboxId) : -1;
}

bool Item::isValid() const
{
    return row() >= 0;
}

QAccessibleInterface* Item::tree() const
{
    return m_view ? QAccessible::queryAccessibleInterface(m_view.data()) : nullptr;
}

QWindow* Item::window() const
{
    return m_view ? m_view->window()->windowHandle() : nullptr;
}

QAccessibleInterface* Item::parent() const
{
    const int own = row();
    if (own < 0)
        return tree();
    const int parent = m_view->mailboxModel()->parentRow(own);
    return parent >= 0 ? MailboxAccessible::row(m_view, parent) : tree();
}

int Item::childCount() const
{
    const int own = row();
    return own >= 0 ? int(m_view->mailboxModel()->childRows(own).size()) : 0;
}

QAccessibleInterface* Item::child(int index) const
{
    const int own = row();
    if (own < 0)
        return nullptr;
    return MailboxAccessible::row(m_view, m_view->mailboxModel()->childRows(own).value(index, -1));
}

int Item::indexOfChild(const QAccessibleInterface* child) const
{
    const auto* mailbox = dynamic_cast<const Item*>(child);
    const int own = row();
    if (!mailbox || own < 0)
        return -1;
    return int(m_view->mailboxModel()->childRows(own).indexOf(mailbox->row()));
}

QAccessibleInterface* Item::childAt(int x, int y) const
{
    const int own = row();
    if (own < 0)
        return nullptr;
    return MailboxAccessible::row(m_view,
                                  childOnPath(m_view->mailboxModel(), rowAt(m_view, x, y), own));
}

QString Item::text(QAccessible::Text t) const
{
    const int own = row();
    if (own < 0)
        return {};
    const QModelIndex index = m_view->model()->index(own, 0);
    switch (t) {
    case QAccessible::Name:
        return index.data(Qt::AccessibleTextRole).toString();
    case QAccessible::Description:
        return index.data(Qt::ToolTipRole).toString();
    default:
        return {};
    }
}

QRect Item::rect() const
{
    const int own = row();
    if (own < 0)
        return {};
    const QRect local = m_view->visualRect(m_view->model()->index(own, 0));
    return QRect(m_view->viewport()->mapToGlobal(local.topLeft()), local.size());
}

QAccessible::State Item::state() const
{
    QAccessible::State state;
    const int own = row();
    if (own < 0) {
        state.invalid = true;
        return state;
    }
    const QModelIndex index = m_view->model()->index(own, 0);
    state.selectable = true;
    state.focusable = true;
    state.selected = m_view->selectionModel() && m_view->selectionModel()->isSelected(index);
    state.focused = m_view->hasFocus() && m_view->currentIndex() == index;
    state.expandable = MailboxListView::isExpandable(index);
    state.expanded = MailboxListView::isExpanded(index);
    state.collapsed = state.expandable && !state.expanded;
    if (!m_view->isVisible())
        state.invisible = true;
    else if (!m_view->viewport()->rect().intersects(m_view->visualRect(index)))
        state.offscreen = true;
    return state;
}

void* Item::interface_cast(QAccessible::InterfaceType type)
{
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                : nullptr;
}

QStringList Item::actionNames() const
{
    const int own = row();
    if (own < 0)
        return {};
    QStringList names{pressAction()};
    if (MailboxListView::isExpandable(m_view->model()->index(own, 0)))
        names << toggleAction();
    return names;
}

QString Item::localizedActionName(const QString& name) const
{
    const int own = row();
    if (own < 0)
        return {};
    const QModelIndex index = m_view->model()->index(own, 0);
    if (name == toggleAction())
        return MailboxListView::disclosureLabel(index);
    if (name == pressAction())
        return translate("Show %1").arg(index.data(Qt::DisplayRole).toString());
    return {};
}

QString Item::localizedActionDescription(const QString& name) const
{
    return localizedActionName(name);
}

void Item::doAction(const QString& name)
{
    const int own = row();
    if (own < 0)
        return;
    const QModelIndex index = m_view->model()->index(own, 0);
    if (name == toggleAction())
        m_view->setExpanded(index, !MailboxListView::isExpanded(index));
    else if (name == pressAction())
        m_view->setCurrentIndex(index);
}

QStringList Item::keyBindingsForAction(const QString& name) const
{
    const int own = row();
    if (own < 0 || name != toggleAction())
        return {};
    return {MailboxListView::isExpanded(m_view->model()->index(own, 0)) ? QStringLiteral("Left")
                                                                        : QStringLiteral("Right")};
}

} // namespace MailboxAccessible
