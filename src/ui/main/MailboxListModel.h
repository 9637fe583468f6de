#pragma once

#include "mail/MailboxTree.h"

#include <QAbstractListModel>
#include <QPointer>

class AppState;

// The sidebar's rows: the mailbox tree of AppState, flattened with the user's order, hidden
// and collapsed folders applied, and updated in place so that selection and scroll position
// survive a refresh.
class MailboxListModel : public QAbstractListModel
{
    Q_OBJECT
public:
    enum Role
    {
        IdRole = Qt::UserRole + 1,
        BadgeRole,
        DepthRole,
        HasChildrenRole,
        CollapsedRole,
    };

    explicit MailboxListModel(AppState* state, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The row of a mailbox id, or -1.
    int rowOf(const QString& id) const;
    // The badge text of a row: unread threads, or "unread / total" where the total is asked for.
    static QString badge(const Mailbox& mailbox, bool showTotal);
    // The icon theme name for a mailbox role.
    static QString iconName(const std::optional<QString>& role);

    // Brings the rows to `rows` with inserts, moves, removals and changes.
    void update(const QList<MailboxNode>& rows);

private:
    // The rows as the state and the settings say they are now.
    void rebuild();

    QPointer<AppState> m_state;
    QList<MailboxNode> m_rows;
};
