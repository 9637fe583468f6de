#include "MailboxTree.h"

#include <algorithm>
#include <limits>

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

QList<Mailbox> sorted(const QList<Mailbox>& mailboxes, const QStringList& order)
{
    QHash<QString, qsizetype> positions;
    // Walking backwards leaves each id at its first index.
    for (qsizetype index = order.size() - 1; index >= 0; --index)
        positions.insert(order.at(index), index);

    struct Keyed
    {
        qsizetype position;
        int rank;
        qint64 sortOrder;
        QString name;
        Mailbox mailbox;
    };
    QList<Keyed> keyed;
    keyed.reserve(mailboxes.size());
    for (const Mailbox& mailbox : mailboxes)
        keyed.append({positions.value(mailbox.id, std::numeric_limits<qsizetype>::max()),
                      roleRank(mailbox), mailbox.sortOrder, mailbox.name.toLower(), mailbox});
    std::stable_sort(keyed.begin(), keyed.end(), [](const Keyed& a, const Keyed& b) {
        if (a.position != b.position)
            return a.position < b.position;
        if (a.rank != b.rank)
            return a.rank < b.rank;
        if (a.sortOrder != b.sortOrder)
            return a.sortOrder < b.sortOrder;
        return a.name < b.name;
    });
    QList<Mailbox> result;
    result.reserve(keyed.size());
    for (const Keyed& entry : keyed)
        result.append(entry.mailbox);
    return result;
}

namespace {

struct Flattening
{
    const QHash<QString, QList<Mailbox>>& groups;
    const QSet<QString>& hidingEmpty;
    const std::optional<QString>& keeping;
    const QSet<QString>& collapsed;
    const QStringList& order;

    QList<MailboxNode> nodes(const QString& parent, int depth) const
    {
        QList<MailboxNode> result;
        const auto group = groups.constFind(parent);
        if (group == groups.constEnd())
            return result;
        for (const Mailbox& mailbox : sorted(*group, order)) {
            const QList<MailboxNode> subtree = nodes(mailbox.id, depth + 1);
            const bool hidden = hidingEmpty.contains(mailbox.id) && mailbox.totalEmails == 0 &&
                                keeping != mailbox.id && subtree.isEmpty();
            if (hidden)
                continue;
            result.append(MailboxNode{mailbox, depth, !subtree.isEmpty()});
            if (!collapsed.contains(mailbox.id))
                result.append(subtree);
        }
        return result;
    }
};

} // namespace

QList<MailboxNode> hierarchy(const QList<Mailbox>& mailboxes, const QSet<QString>& hidingEmpty,
                             const std::optional<QString>& keeping, const QSet<QString>& collapsed,
                             const QStringList& order)
{
    const auto groups = childrenByParent(mailboxes);
    // Mailboxes in a cycle of parent links hang below no top-level one and are never reached.
    const Flattening flattening{groups, hidingEmpty, keeping, collapsed, order};
    return flattening.nodes(QString(), 0);
}

QStringList order(const QStringList& current, const QString& moving, qsizetype destination,
                  const QList<MailboxNode>& rows, const QList<Mailbox>& mailboxes)
{
    const auto groups = childrenByParent(mailboxes);
    const QList<Mailbox>* siblings = nullptr;
    for (auto it = groups.constBegin(); it != groups.constEnd() && !siblings; ++it)
        for (const Mailbox& mailbox : it.value())
            if (mailbox.id == moving) {
                siblings = &it.value();
                break;
            }
    if (!siblings)
        return current;

    QStringList others;
    for (const Mailbox& mailbox : sorted(*siblings, current))
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

    QStringList result;
    for (const QString& id : current)
        if (!others.contains(id))
            result.append(id);
    result.append(others);
    return result;
}

} // namespace MailboxTree
