#pragma once

#include "jmap/Mailbox.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

// One row of the flattened mailbox tree.
struct MailboxNode
{
    Mailbox mailbox;
    int depth = 0;
    // Some subfolder survives the hiding rule; stays true while the row is collapsed.
    bool hasChildren = false;

    bool operator==(const MailboxNode&) const = default;
};

size_t qHash(const MailboxNode& node, size_t seed = 0);

// The mailbox tree as the sidebar, the folder picker and the folder settings show it. The
// user's own sibling order lives in the settings; the server's folders are never changed.
namespace MailboxTree {

// inbox 0, drafts 1, sent 2, archive 3, junk 4, trash 5, anything else 6.
int roleRank(const Mailbox& mailbox);

// Mailboxes by parent id in list order; top-level ones, and those whose parent is not in the
// list, under the empty string.
QHash<QString, QList<Mailbox>> childrenByParent(const QList<Mailbox>& mailboxes);

// For each mailbox, the index of its parent in the list as the tree shows it, or -1 at the top
// level. The server's links are not trusted: a parent missing from the list, and the first
// mailbox (in list order) of each cycle of parent links, stand at the top level, so every
// mailbox is reachable exactly once. Where ids repeat, a link goes to the first mailbox with
// that id. Linear in the number of mailboxes.
QList<qsizetype> parents(const QList<Mailbox>& mailboxes);

// Sibling order: the user's order first, then role, sortOrder and lower-cased name; stable.
QList<Mailbox> sorted(const QList<Mailbox>& mailboxes, const QStringList& order);

// The rows in display order with their depth, each mailbox at most once (see parents()). A
// folder in hidingEmpty is left out while it holds no mail, has no shown subfolder and is not
// the `keeping` folder; a collapsed folder keeps its row but not its subtree.
QList<MailboxNode> hierarchy(const QList<Mailbox>& mailboxes, const QSet<QString>& hidingEmpty,
                             const std::optional<QString>& keeping, const QSet<QString>& collapsed,
                             const QStringList& order);

// The order list after dropping `moving` before the shown row `destination`: only its siblings
// (the mailboxes under the same parent in hierarchy()) are reordered, and they end up fully listed
// at the end of the order.
QStringList order(const QStringList& current, const QString& moving, qsizetype destination,
                  const QList<MailboxNode>& rows, const QList<Mailbox>& mailboxes);

} // namespace MailboxTree
