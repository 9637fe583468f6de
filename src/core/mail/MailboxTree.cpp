#include "MailboxTree.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

size_t qHash(const MailboxNode& node, size_t seed)
{
    return qHashMulti(seed, node.mailbox, node.depth, node.hasChildren);
}

namespace MailboxTree {

int roleRank(const Mailbox& mailbox)
{
    static const QStringList ranked = {QStringLiteral("inbox"), QStringLiteral("drafts"),
                                       QStringLiteral("sent"),  QStringLiteral("archive"),
                                       QStringLiteral("junk"),  QStringLiteral("trash")};
    if (!mailbox.role)
        return 6;
    const qsizetype index = ranked.indexOf(*mailbox.role);
    return index < 0 ? 6 : static_cast<int>(index);
}

QHash<QString, QList<Mailbox>> childrenByParent(const QList<Mailbox>& mailboxes)
{
    QSet<QString> ids;
    for (const Mailbox& mailbox : mailboxes)
        ids.insert(mailbox.id);
    QHash<QString, QList<Mailbox>> groups;
    for (const Mailbox& mailbox : mailboxes) {
        const bool hasParent = mailbox.parentId && ids.contains(*mailbox.parentId);
        groups[hasParent ? *mailbox.parentId : QString()].append(mailbox);
    }
    return groups;
}

namespace {

// The sibling sort keys of one mailbox.
struct SortKey
{
    qsizetype position;
    int rank;
    qint64 sortOrder;
    QString name;
};

QHash<QString, qsizetype> positions(const QStringList& order)
{
    QHash<QString, qsizetype> result;
    // Walking backwards leaves each id at its first index.
    for (qsizetype index = order.size() - 1; index >= 0; --index)
        result.insert(order.at(index), index);
    return result;
}

QList<SortKey> sortKeys(const QList<Mailbox>& mailboxes, const QStringList& order)
{
    const QHash<QString, qsizetype> byId = positions(order);
    QList<SortKey> keys;
    keys.reserve(mailboxes.size());
    for (const Mailbox& mailbox : mailboxes)
        keys.append({byId.value(mailbox.id, std::numeric_limits<qsizetype>::max()),
                     roleRank(mailbox), mailbox.sortOrder, mailbox.name.toLower()});
    return keys;
}

// Sorts indices into `keys` in sibling order; equal keys keep their order.
void sortIndices(QList<qsizetype>& indices, const QList<SortKey>& keys)
{
    std::stable_sort(indices.begin(), indices.end(), [&keys](qsizetype left, qsizetype right) {
        const SortKey& a = keys.at(left);
        const SortKey& b = keys.at(right);
        if (a.position != b.position)
            return a.position < b.position;
        if (a.rank != b.rank)
            return a.rank < b.rank;
        if (a.sortOrder != b.sortOrder)
            return a.sortOrder < b.sortOrder;
        return a.name < b.name;
    });
}

} // namespace

QList<Mailbox> sorted(const QList<Mailbox>& mailboxes, const QStringList& order)
{
    QList<qsizetype> indices(mailboxes.size());
    std::iota(indices.begin(), indices.end(), qsizetype(0));
    sortIndices(indices, sortKeys(mailboxes, order));
    QList<Mailbox> result;
    result.reserve(indices.size());
    for (const qsizetype index : indices)
        result.append(mailboxes.at(index));
    return result;
}

QList<qsizetype> parents(const QList<Mailbox>& mailboxes)
{
    const qsizetype count = mailboxes.size();
    QHash<QString, qsizetype> firstIndex;
    firstIndex.reserve(count);
    for (qsizetype index = 0; index < count; ++index)
        if (!firstIndex.contains(mailboxes.at(index).id))
            firstIndex.insert(mailboxes.at(index).id, index);
    QList<qsizetype> parent(count, -1);
    for (qsizetype index = 0; index < count; ++index)
        if (const auto& id = mailboxes.at(index).parentId)
            parent[index] = firstIndex.value(*id, -1);

    // Follow each chain of links upward until it reaches the top level, a mailbox already known
    // to reach it, or a mailbox met earlier on the same walk: that closes a cycle, which is cut
    // at its first member. Every mailbox is walked once.
    enum : char
    {
        unknown,
        onWalk,
        reachesTop
    };
    QList<char> state(count, unknown);
    QList<qsizetype> walk;
    for (qsizetype index = 0; index < count; ++index) {
        if (state.at(index) != unknown)
            continue;
        walk.clear();
        qsizetype current = index;
        while (current >= 0 && state.at(current) == unknown) {
            state[current] = onWalk;
            walk.append(current);
            current = parent.at(current);
        }
        if (current >= 0 && state.at(current) == onWalk) {
            qsizetype first = current;
            for (qsizetype member = parent.at(current); member != current;
                 member = parent.at(member))
                first = std::min(first, member);
            parent[first] = -1;
        }
        for (const qsizetype member : std::as_const(walk))
            state[member] = reachesTop;
    }
    return parent;
}

QList<MailboxNode> hierarchy(const QList<Mailbox>& mailboxes, const QSet<QString>& hidingEmpty,
                             const std::optional<QString>& keeping, const QSet<QString>& collapsed,
                             const QStringList& order)
{
    const qsizetype count = mailboxes.size();
    const QList<qsizetype> parent = parents(mailboxes);
    const QList<SortKey> keys = sortKeys(mailboxes, order);
    QList<QList<qsizetype>> children(count);
    QList<qsizetype> roots;
    for (qsizetype index = 0; index < count; ++index)
        (parent.at(index) < 0 ? roots : children[parent.at(index)]).append(index);
    sortIndices(roots, keys);
    for (QList<qsizetype>& group : children)
        sortIndices(group, keys);

    // Parents before children, level by level; walked backwards, children before parents.
    QList<qsizetype> levelOrder = roots;
    levelOrder.reserve(count);
    for (qsizetype next = 0; next < levelOrder.size(); ++next)
        levelOrder.append(children.at(levelOrder.at(next)));

    // Whether a folder is shown depends on its subfolders, so it is settled bottom up.
    QList<bool> shown(count, false);
    QList<bool> hasShownChild(count, false);
    for (auto it = levelOrder.crbegin(); it != levelOrder.crend(); ++it) {
        const qsizetype index = *it;
        const Mailbox& mailbox = mailboxes.at(index);
        shown[index] = !(hidingEmpty.contains(mailbox.id) && mailbox.totalEmails == 0 &&
                         keeping != mailbox.id && !hasShownChild.at(index));
        if (shown.at(index) && parent.at(index) >= 0)
            hasShownChild[parent.at(index)] = true;
    }

    // The rows, depth first with a stack of its own rather than the call stack: the depth of
    // the tree is the server's to choose.
    QList<MailboxNode> rows;
    QList<std::pair<qsizetype, int>> stack;
    for (auto it = roots.crbegin(); it != roots.crend(); ++it)
        stack.append({*it, 0});
    while (!stack.isEmpty()) {
        const auto [index, depth] = stack.takeLast();
        if (!shown.at(index))
            continue;
        const Mailbox& mailbox = mailboxes.at(index);
        rows.append(MailboxNode{mailbox, depth, hasShownChild.at(index)});
        if (collapsed.contains(mailbox.id))
            continue;
        const QList<qsizetype>& below = children.at(index);
        for (auto it = below.crbegin(); it != below.crend(); ++it)
            stack.append({*it, depth + 1});
    }
    return rows;
}

QStringList order(const QStringList& current, const QString& moving, qsizetype destination,
                  const QList<MailboxNode>& rows, const QList<Mailbox>& mailboxes)
{
    qsizetype movingIndex = -1;
    for (qsizetype index = 0; index < mailboxes.size() && movingIndex < 0; ++index)
        if (mailboxes.at(index).id == moving)
            movingIndex = index;
    if (movingIndex < 0)
        return current;
    const QList<qsizetype> parent = parents(mailboxes);
    QList<Mailbox> siblings;
    for (qsizetype index = 0; index < mailboxes.size(); ++index)
        if (parent.at(index) == parent.at(movingIndex))
            siblings.append(mailboxes.at(index));

    QStringList others;
    for (const Mailbox& mailbox : sorted(siblings, current))
        if (mailbox.id != moving)
            others.append(mailbox.id);

    qsizetype insertion = others.size();
    for (qsizetype row = std::clamp<qsizetype>(destination, 0, rows.size()); row < rows.size();
         ++row) {
        const qsizetype index = others.indexOf(rows.at(row).mailbox.id);
        if (index >= 0) {
            insertion = index;
            break;
        }
    }
    others.insert(insertion, moving);

    const QSet<QString> regrouped(others.cbegin(), others.cend());
    QStringList result;
    for (const QString& id : current)
        if (!regrouped.contains(id))
            result.append(id);
    result.append(others);
    return result;
}

} // namespace MailboxTree
