#pragma once

#include "mail/MailboxTree.h"

#include "ui/models/KeyedModel.h"
#include <QPointer>

class AppState;

// The sidebar's rows: the mailbox tree of AppState, flattened with the user's order, hidden
// and collapsed folders applied, and updated in place so that selection and scroll position
// survive a refresh.
class MailboxListModel : public KeyedListModel
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
    // A row drags its mailbox id, for reordering within the sidebar.
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    static inline const QString mailboxMimeType = QStringLiteral("application/x-veldrin-mailbox");

    // The row of a mailbox id, or -1.
    int rowOf(const QString& id) const;
    // The tree within the flat rows: the row of the folder that holds `row` (-1 at the top), and
    // the rows directly inside `row` (-1 for the top level), in order.
    int parentRow(int row) const;
    QList<int> childRows(int row) const;
    // The badge text of a row: unread threads, or "unread / total" where the total is asked for.
    static QString badge(const Mailbox& mailbox, bool showTotal);
    // The row as a screen reader says it: the name, then what the badge shows ("Inbox, 2 unread").
    static QString spokenText(const Mailbox& mailbox, bool showTotal);
    // The icon symbol for a mailbox role.
    static QString iconName(const std::optional<QString>& role);

    // Brings the rows to `rows` with inserts, moves, removals and changes.
    void update(const QList<MailboxNode>& rows);

private:
    // The rows as the state and the settings say they are now.
    void rebuild();

    QPointer<AppState> m_state;
    QList<MailboxNode> m_rows;
};
