#include "MailboxListModel.h"

#include "Icons.h"
#include "app/AppState.h"

MailboxListModel::MailboxListModel(AppState* state, QObject* parent)
    : QAbstractListModel(parent), m_state(state)
{
    QObject::connect(state, &AppState::mailboxesChanged, this,
                     [this] { update(m_state->mailboxes()); });
    QObject::connect(state, &AppState::configChanged, this, [this] {
        if (!m_rows.isEmpty())
            Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1), {BadgeRole});
    });
    update(state->mailboxes());
}

int MailboxListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant MailboxListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Mailbox& mailbox = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return mailbox.name;
    case Qt::DecorationRole:
        return Icons::icon(iconName(mailbox.role));
    case Qt::ToolTipRole:
        return QStringLiteral("%1: %2 conversations, %3 unread")
            .arg(mailbox.name)
            .arg(mailbox.totalThreads)
            .arg(mailbox.unreadThreads);
    case IdRole:
        return mailbox.id;
    case RoleRole:
        return mailbox.role.value_or(QString());
    case BadgeRole:
        return badge(mailbox, m_state && m_state->config().showTotalCount.contains(mailbox.id));
    case UnreadRole:
        return mailbox.unreadThreads > 0;
    default:
        return {};
    }
}

QHash<int, QByteArray> MailboxListModel::roleNames() const
{
    auto names = QAbstractListModel::roleNames();
    names.insert(IdRole, "mailboxId");
    names.insert(RoleRole, "role");
    names.insert(BadgeRole, "badge");
    names.insert(UnreadRole, "unread");
    return names;
}

int MailboxListModel::rowOf(const QString& id) const
{
    for (int row = 0; row < m_rows.size(); ++row)
        if (m_rows.at(row).id == id)
            return row;
    return -1;
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

void MailboxListModel::update(const QList<Mailbox>& mailboxes)
{
    for (int target = 0; target < mailboxes.size(); ++target) {
        const Mailbox& wanted = mailboxes.at(target);
        if (target < m_rows.size() && m_rows.at(target).id == wanted.id) {
            if (!(m_rows.at(target) == wanted)) {
                m_rows[target] = wanted;
                Q_EMIT dataChanged(index(target), index(target));
            }
            continue;
        }
        int found = -1;
        for (int row = target + 1; row < m_rows.size(); ++row)
            if (m_rows.at(row).id == wanted.id) {
                found = row;
                break;
            }
        if (found >= 0) {
            beginMoveRows({}, found, found, {}, target);
            m_rows.move(found, target);
            endMoveRows();
            if (!(m_rows.at(target) == wanted)) {
                m_rows[target] = wanted;
                Q_EMIT dataChanged(index(target), index(target));
            }
        } else {
            beginInsertRows({}, target, target);
            m_rows.insert(target, wanted);
            endInsertRows();
        }
    }
    if (m_rows.size() > mailboxes.size()) {
        beginRemoveRows({}, int(mailboxes.size()), int(m_rows.size()) - 1);
        m_rows.resize(mailboxes.size());
        endRemoveRows();
    }
}
