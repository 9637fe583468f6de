#include "MailboxListView.h"

#include "MailboxAccessible.h"
#include "MailboxListModel.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>

MailboxListView::MailboxListView(QWidget* parent) : QListView(parent)
{
    MailboxAccessible::install();
    setObjectName(QStringLiteral("mailboxList"));
    setAccessibleName(tr("Mailboxes"));
    setDragEnabled(true);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setDropIndicatorShown(true);
}

void MailboxListView::setModel(QAbstractItemModel* model)
{
    QListView::setModel(model);
    if (!model)
        return;
    for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        QObject::connect(model, signal, this, &MailboxListView::announceReorder);
    QObject::connect(model, &QAbstractItemModel::rowsMoved, this,
                     &MailboxListView::announceReorder);
    QObject::connect(model, &QAbstractItemModel::modelReset, this,
                     &MailboxListView::announceReorder);
    QObject::connect(model, &QAbstractItemModel::dataChanged, this,
                     [this](const QModelIndex& from, const QModelIndex& to) {
                         if (!QAccessible::isActive())
                             return;
                         for (int row = from.row(); row <= to.row(); ++row)
                             if (QAccessibleInterface* item = MailboxAccessible::row(this, row)) {
                                 QAccessibleEvent event(item, QAccessible::NameChanged);
                                 QAccessible::updateAccessibility(&event);
                             }
                     });
}

MailboxListModel* MailboxListView::mailboxModel() const
{
    return qobject_cast<MailboxListModel*>(model());
}

bool MailboxListView::isExpandable(const QModelIndex& index)
{
    return index.data(MailboxListModel::HasChildrenRole).toBool();
}

bool MailboxListView::isExpanded(const QModelIndex& index)
{
    return isExpandable(index) && !index.data(MailboxListModel::CollapsedRole).toBool();
}

QString MailboxListView::disclosureLabel(const QModelIndex& index)
{
    const QString name = index.data(Qt::DisplayRole).toString();
    return isExpanded(index) ? tr("Collapse %1").arg(name) : tr("Expand %1").arg(name);
}

void MailboxListView::setExpanded(const QModelIndex& index, bool expanded)
{
    if (!isExpandable(index) || isExpanded(index) == expanded)
        return;
    const QString id = index.data(MailboxListModel::IdRole).toString();
    Q_EMIT toggleCollapsedRequested(id);
    if (!QAccessible::isActive() || !mailboxModel())
        return;
    if (QAccessibleInterface* item = MailboxAccessible::row(this, mailboxModel()->rowOf(id))) {
        QAccessible::State changed;
        changed.expanded = true;
        changed.collapsed = true;
        QAccessibleStateChangeEvent event(item, changed);
        QAccessible::updateAccessibility(&event);
    }
}

void MailboxListView::keyPressEvent(QKeyEvent* event)
{
    const QModelIndex current = currentIndex();
    MailboxListModel* rows = mailboxModel();
    const auto chords = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    if (!current.isValid() || !rows || event->modifiers() & chords) {
        QListView::keyPressEvent(event);
        return;
    }
    switch (event->key()) {
    case Qt::Key_Plus:
        setExpanded(current, true);
        return;
    case Qt::Key_Minus:
        setExpanded(current, false);
        return;
    case Qt::Key_Right:
        // A closed folder opens; an open one hands the focus to its first subfolder.
        if (isExpandable(current) && !isExpanded(current)) {
            setExpanded(current, true);
        } else if (isExpanded(current)) {
            const QList<int> children = rows->childRows(current.row());
            if (!children.isEmpty())
                setCurrentIndex(rows->index(children.first()));
        }
        return;
    case Qt::Key_Left:
        // An open folder closes; anything else goes up to the folder that holds it.
        if (isExpanded(current)) {
            setExpanded(current, false);
        } else if (const int parent = rows->parentRow(current.row()); parent >= 0) {
            setCurrentIndex(rows->index(parent));
        }
        return;
    default:
        QListView::keyPressEvent(event);
    }
}

void MailboxListView::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QAbstractItemView::currentChanged(current, previous);
    if (!QAccessible::isActive() || !current.isValid() || !hasFocus())
        return;
    if (QAccessibleInterface* item = MailboxAccessible::row(this, current.row())) {
        QAccessibleEvent event(item, QAccessible::Focus);
        QAccessible::updateAccessibility(&event);
    }
}

void MailboxListView::selectionChanged(const QItemSelection& selected,
                                       const QItemSelection& deselected)
{
    QAbstractItemView::selectionChanged(selected, deselected);
    if (!QAccessible::isActive())
        return;
    const auto announce = [this](const QItemSelection& range, QAccessible::Event type) {
        for (const QModelIndex& index : range.indexes())
            if (QAccessibleInterface* item = MailboxAccessible::row(this, index.row())) {
                QAccessibleEvent event(item, type);
                QAccessible::updateAccessibility(&event);
            }
    };
    announce(deselected, QAccessible::SelectionRemove);
    announce(selected, QAccessible::SelectionAdd);
}

void MailboxListView::announceReorder()
{
    if (!QAccessible::isActive())
        return;
    QAccessibleEvent event(this, QAccessible::ObjectReorder);
    QAccessible::updateAccessibility(&event);
}

void MailboxListView::setDropTargetId(const QString& id)
{
    if (m_dropTargetId == id)
        return;
    m_dropTargetId = id;
    viewport()->update();
}

int MailboxListView::insertionRow(const QPoint& position) const
{
    const QModelIndex index = indexAt(position);
    if (!index.isValid())
        return model() ? model()->rowCount() : 0;
    const QRect rect = visualRect(index);
    return position.y() > rect.center().y() ? index.row() + 1 : index.row();
}

void MailboxListView::dragEnterEvent(QDragEnterEvent* event)
{
    const QMimeData* data = event->mimeData();
    if (data->hasFormat(MailboxListModel::mailboxMimeType) || data->hasText()) {
        event->acceptProposedAction();
        return;
    }
    event->ignore();
}

void MailboxListView::dragMoveEvent(QDragMoveEvent* event)
{
    const QMimeData* data = event->mimeData();
    const QModelIndex index = indexAt(event->position().toPoint());
    if (data->hasFormat(MailboxListModel::mailboxMimeType)) {
        setDropTargetId({});
        event->acceptProposedAction();
    } else if (data->hasText() && index.isValid()) {
        setDropTargetId(index.data(MailboxListModel::IdRole).toString());
        event->acceptProposedAction();
    } else {
        setDropTargetId({});
        event->ignore();
    }
}

void MailboxListView::dragLeaveEvent(QDragLeaveEvent* event)
{
    setDropTargetId({});
    QListView::dragLeaveEvent(event);
}

void MailboxListView::dropEvent(QDropEvent* event)
{
    setDropTargetId({});
    const QMimeData* data = event->mimeData();
    const QPoint position = event->position().toPoint();
    if (data->hasFormat(MailboxListModel::mailboxMimeType)) {
        const QString id = QString::fromUtf8(data->data(MailboxListModel::mailboxMimeType));
        if (moveRow && !id.isEmpty())
            moveRow(id, insertionRow(position));
        event->setDropAction(Qt::MoveAction);
        event->accept();
        return;
    }
    const QModelIndex index = indexAt(position);
    if (!data->hasText() || !index.isValid() || !dropThreads) {
        event->ignore();
        return;
    }
    QSet<QString> ids;
    for (const QString& line : data->text().split(u'\n', Qt::SkipEmptyParts))
        if (!line.trimmed().isEmpty())
            ids.insert(line.trimmed());
    if (!ids.isEmpty() && dropThreads(ids, index.data(MailboxListModel::IdRole).toString())) {
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
}

void MailboxListView::paintEvent(QPaintEvent* event)
{
    QListView::paintEvent(event);
    if (m_dropTargetId.isEmpty() || !mailboxModel())
        return;
    const int row = mailboxModel()->rowOf(m_dropTargetId);
    if (row < 0)
        return;
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = palette().color(QPalette::Highlight);
    fill.setAlpha(60);
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(visualRect(mailboxModel()->index(row))).adjusted(2, 1, -2, -1),
                            5, 5);
}
