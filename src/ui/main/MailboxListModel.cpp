#include "MailboxListModel.h"

#include <QMimeData>

#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"

MailboxListModel::MailboxListModel(AppState* state, QObject* parent)
    : KeyedListModel(parent), m_state(state)
{
    for (auto signal : {&AppState::mailboxesChanged, &AppState::configChanged,
                        &AppState::selectedMailboxIdChanged})
        QObject::connect(state, signal, this, &MailboxListModel::rebuild);
    rebuild();
}

void MailboxListModel::rebuild()
{
    const AppConfig& config = m_state->config();
    const QSet<QString> hiding(config.hideWhenEmpty.begin(), config.hideWhenEmpty.end());
    const QSet<QString> collapsed(config.collapsedMailboxes.begin(),
                                  config.collapsedMailboxes.end());
    update(MailboxTree::hierarchy(m_state->mailboxes(), hiding, m_state->selectedMailboxId(),
                                  collapsed, config.mailboxOrder));
    // The badge and the disclosure state read settings that a row comparison does not see.
    if (!m_rows.isEmpty())
        Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1),
                           {BadgeRole, CollapsedRole, Qt::AccessibleTextRole});
}

int MailboxListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant MailboxListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const MailboxNode& node = m_rows.at(index.row());
    const Mailbox& mailbox = node.mailbox;
    switch (role) {
    case Qt::DisplayRole:
        return mailbox.name;
    case Qt::AccessibleTextRole:
        return spokenText(mailbox,
                          m_state && m_state->config().showTotalCount.contains(mailbox.id));
    case Qt::DecorationRole:
        return Icons::icon(iconName(mailbox.role));
    case Qt::ToolTipRole:
        // One arg() call: a name such as "A%2" must not be taken for a placeholder.
        return tr("%1: %2 conversations, %3 unread")
            .arg(mailbox.name, QString::number(mailbox.totalThreads),
                 QString::number(mailbox.unreadThreads));
    case IdRole:
        return mailbox.id;
    case BadgeRole:
        return badge(mailbox, m_state && m_state->config().showTotalCount.contains(mailbox.id));
    case DepthRole:
        return node.depth;
    case HasChildrenRole:
        return node.hasChildren;
    case CollapsedRole:
        return m_state && m_state->config().collapsedMailboxes.contains(mailbox.id);
    default:
        return {};
    }
}

QHash<int, QByteArray> MailboxListModel::roleNames() const
{
    auto names = QAbstractListModel::roleNames();
    names.insert(IdRole, "mailboxId");
    names.insert(BadgeRole, "badge");
    names.insert(DepthRole, "depth");
    names.insert(HasChildrenRole, "hasChildren");
    names.insert(CollapsedRole, "collapsed");
    return names;
}

int MailboxListModel::rowOf(const QString& id) const
{
    for (int row = 0; row < m_rows.size(); ++row)
        if (m_rows.at(row).mailbox.id == id)
            return row;
    return -1;
}

int MailboxListModel::parentRow(int row) const
{
    if (row < 0 || row >= m_rows.size())
        return -1;
    const int depth = m_rows.at(row).depth;
    for (int above = row - 1; above >= 0; --above)
        if (m_rows.at(above).depth < depth)
            return above;
    return -1;
}

QList<int> MailboxListModel::childRows(int row) const
{
    QList<int> children;
    const int depth = row >= 0 && row < m_rows.size() ? m_rows.at(row).depth : -1;
    for (int below = row + 1; below < m_rows.size(); ++below) {
        if (m_rows.at(below).depth <= depth)
            break;
        if (parentRow(below) == row)
            children << below;
    }
    return children;
}

QString MailboxListModel::badge(const Mailbox& mailbox, bool showTotal)
{
    const qint64 unread = mailbox.unreadThreads;
    const qint64 total = mailbox.totalThreads;
    if (showTotal) {
        if (total < 1)
            return {};
        if (unread < 1)
            return QString::number(total);
        return QStringLiteral("%1 / %2").arg(unread).arg(total);
    }
    return unread >= 1 ? QString::number(unread) : QString();
}

QString MailboxListModel::spokenText(const Mailbox& mailbox, bool showTotal)
{
    // What the badge shows, in words, for those who hear the row rather than see it.
    QStringList parts{mailbox.name};
    if (mailbox.unreadThreads >= 1)
        parts << tr("%1 unread").arg(mailbox.unreadThreads);
    if (showTotal && mailbox.totalThreads >= 1)
        parts << (mailbox.totalThreads == 1 ? tr("1 conversation")
                                            : tr("%1 conversations").arg(mailbox.totalThreads));
    return parts.join(QStringLiteral(", "));
}

Qt::ItemFlags MailboxListModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags flags = QAbstractListModel::flags(index);
    if (index.isValid())
        flags |= Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled;
    return flags;
}

QStringList MailboxListModel::mimeTypes() const
{
    return {mailboxMimeType};
}

QMimeData* MailboxListModel::mimeData(const QModelIndexList& indexes) const
{
    if (indexes.isEmpty() || !indexes.first().isValid() || indexes.first().row() >= m_rows.size())
        return nullptr;
    auto* data = new QMimeData;
    data->setData(mailboxMimeType, m_rows.at(indexes.first().row()).mailbox.id.toUtf8());
    return data;
}

QString MailboxListModel::iconName(const std::optional<QString>& role)
{
    static const QHash<QString, QString> byRole = {
        {QStringLiteral("inbox"), QStringLiteral("tray")},
        {QStringLiteral("drafts"), QStringLiteral("doc")},
        {QStringLiteral("sent"), QStringLiteral("paperplane")},
        {QStringLiteral("archive"), QStringLiteral("archivebox")},
        {QStringLiteral("junk"), QStringLiteral("xmark.bin")},
        {QStringLiteral("trash"), QStringLiteral("trash")}};
    return byRole.value(role.value_or(QString()), QStringLiteral("folder"));
}

void MailboxListModel::update(const QList<MailboxNode>& rows)
{
    updateRows(m_rows, rows, [](const MailboxNode& node) { return node.mailbox.id; });
}
