#include "mail/MailboxTree.h"

#include <QTest>

namespace {

Mailbox box(const char* id, std::optional<QString> parentId = std::nullopt,
            std::optional<QString> role = std::nullopt, qint64 sortOrder = 0, qint64 total = 1,
            const char* name = nullptr)
{
    Mailbox mailbox;
    mailbox.id = QLatin1String(id);
    mailbox.name = QLatin1String(name ? name : id);
    mailbox.parentId = parentId;
    mailbox.role = role;
    mailbox.sortOrder = sortOrder;
    mailbox.totalEmails = total;
    return mailbox;
}

// Rows written as "id/depth", with "+" when the row has children.
QStringList describe(const QList<MailboxNode>& rows)
{
    QStringList result;
    for (const MailboxNode& row : rows)
        result.append(QStringLiteral("%1/%2%3")
                          .arg(row.mailbox.id)
                          .arg(row.depth)
                          .arg(row.hasChildren ? QStringLiteral("+") : QString()));
    return result;
}

QStringList ids(const QList<Mailbox>& mailboxes)
{
    QStringList result;
    for (const Mailbox& mailbox : mailboxes)
        result.append(mailbox.id);
    return result;
}

using Set = QSet<QString>;
using Keep = std::optional<QString>;

} // namespace

class TestMailboxTree : public QObject
{
    Q_OBJECT
private slots:
    void hierarchy_data()
    {
        QTest::addColumn<QList<Mailbox>>("mailboxes");
        QTest::addColumn<Set>("hidingEmpty");
        QTest::addColumn<Keep>("keeping");
        QTest::addColumn<Set>("collapsed");
        QTest::addColumn<QStringList>("expected");

        const QList<Mailbox> tree = {box("work"), box("inbox", {}, "inbox"),
                                     box("b", "work", {}, 0, 1), box("a", "work", {}, 0, 0),
                                     box("a1", "a", {}, 0, 3)};
        QTest::newRow("empty list")
            << QList<Mailbox>{} << Set{} << Keep{} << Set{} << QStringList{};
        QTest::newRow("roles first, children below their parent")
            << tree << Set{} << Keep{} << Set{}
            << QStringList{"inbox/0", "work/0+", "a/1+", "a1/2", "b/1"};
        QTest::newRow("orphan sits at the top level")
            << QList<Mailbox>{box("z"), box("orphan", "gone")} << Set{} << Keep{} << Set{}
            << QStringList{"orphan/0", "z/0"};
        QTest::newRow("a cycle is cut at its first member, with what hangs below it")
            << QList<Mailbox>{box("top"), box("y", "x"), box("x", "y"), box("c", "x")} << Set{}
            << Keep{} << Set{} << QStringList{"top/0", "y/0+", "x/1+", "c/2"};
        QTest::newRow("a mailbox that is its own parent stands at the top")
            << QList<Mailbox>{box("me", "me"), box("top")} << Set{} << Keep{} << Set{}
            << QStringList{"me/0", "top/0"};
        QTest::newRow("a repeated id naming its twin hangs below the first")
            << QList<Mailbox>{box("d"), box("d", "d")} << Set{} << Keep{} << Set{}
            << QStringList{"d/0+", "d/1"};
        QTest::newRow("a repeated id whose first is its own parent")
            << QList<Mailbox>{box("d", "d"), box("d"), box("k", "d")} << Set{} << Keep{} << Set{}
            << QStringList{"d/0+", "k/1", "d/0"};
        QTest::newRow("empty hidden folder shows for a subfolder with mail")
            << tree << Set{"a"} << Keep{} << Set{}
            << QStringList{"inbox/0", "work/0+", "a/1+", "a1/2", "b/1"};
        QTest::newRow("chain of empty hidden folders disappears bottom up")
            << QList<Mailbox>{box("p", {}, {}, 0, 0), box("c", "p", {}, 0, 0), box("q")}
            << Set{"p", "c"} << Keep{} << Set{} << QStringList{"q/0"};
        QTest::newRow("hidden only when empty: one read mail is mail")
            << QList<Mailbox>{box("p", {}, {}, 0, 1)} << Set{"p"} << Keep{} << Set{}
            << QStringList{"p/0"};
        QTest::newRow("the kept folder stays")
            << QList<Mailbox>{box("p", {}, {}, 0, 0), box("q", {}, {}, 0, 0)} << Set{"p", "q"}
            << Keep{"q"} << Set{} << QStringList{"q/0"};
        QTest::newRow("collapsed and hidden with a subfolder with mail")
            << tree << Set{"a"} << Keep{} << Set{"a"}
            << QStringList{"inbox/0", "work/0+", "a/1+", "b/1"};
        QTest::newRow("collapsing the top hides the whole subtree")
            << tree << Set{} << Keep{} << Set{"work"} << QStringList{"inbox/0", "work/0+"};
    }

    void hierarchy()
    {
        QFETCH(QList<Mailbox>, mailboxes);
        QFETCH(Set, hidingEmpty);
        QFETCH(Keep, keeping);
        QFETCH(Set, collapsed);
        QTEST(describe(MailboxTree::hierarchy(mailboxes, hidingEmpty, keeping, collapsed, {})),
              "expected");
    }

    void hostileTreesShowEveryMailboxOnce_data()
    {
        QTest::addColumn<QList<Mailbox>>("mailboxes");
        QTest::addColumn<Set>("hidingEmpty");
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("deepest");

        // Deep enough to overflow a call stack that follows the links.
        const int count = 30000;
        const auto id = [](int index) { return QStringLiteral("m%1").arg(index); };
        QList<Mailbox> chain;
        QList<Mailbox> ring;
        QList<Mailbox> emptyChain;
        Set all;
        for (int index = 0; index < count; ++index) {
            const std::optional<QString> above =
                index == 0 ? std::nullopt : std::optional<QString>(id(index - 1));
            Mailbox link = box("", above, {}, 0, index == count - 1 ? 1 : 0);
            link.id = link.name = id(index);
            chain.append(link);
            link.parentId = id(index == 0 ? count - 1 : index - 1);
            ring.append(link);
            link.parentId = above;
            link.totalEmails = 0;
            emptyChain.append(link);
            all.insert(id(index));
        }
        QList<Mailbox> bottomUp(chain.crbegin(), chain.crend());
        QTest::newRow("deep chain") << chain << Set{} << count << count - 1;
        QTest::newRow("deep chain listed bottom up") << bottomUp << Set{} << count << count - 1;
        QTest::newRow("one long cycle") << ring << Set{} << count << count - 1;
        QTest::newRow("deep chain hidden but for mail at the bottom")
            << chain << all << count << count - 1;
        QTest::newRow("deep chain of empty hidden folders") << emptyChain << all << 0 << -1;
    }

    void hostileTreesShowEveryMailboxOnce()
    {
        QFETCH(QList<Mailbox>, mailboxes);
        QFETCH(Set, hidingEmpty);
        const auto rows = MailboxTree::hierarchy(mailboxes, hidingEmpty, {}, {}, {});
        QTEST(int(rows.size()), "rows");
        QSet<QString> seen;
        int deepest = -1;
        for (const MailboxNode& row : rows) {
            seen.insert(row.mailbox.id);
            deepest = std::max(deepest, row.depth);
        }
        QCOMPARE(seen.size(), rows.size());
        QTEST(deepest, "deepest");
        // Collapsing the top of the tree leaves one row.
        if (!rows.isEmpty())
            QCOMPARE(
                MailboxTree::hierarchy(mailboxes, hidingEmpty, {}, {rows.first().mailbox.id}, {})
                    .size(),
                1);
    }

    void sorted_data()
    {
        QTest::addColumn<QList<Mailbox>>("mailboxes");
        QTest::addColumn<QStringList>("order");
        QTest::addColumn<QStringList>("expected");
        const QList<Mailbox> roles = {box("x", {}, "important"),
                                      box("trash", {}, "trash"),
                                      box("junk", {}, "junk"),
                                      box("archive", {}, "archive"),
                                      box("sent", {}, "sent"),
                                      box("drafts", {}, "drafts"),
                                      box("inbox", {}, "inbox"),
                                      box("sub", {}, "subscribed"),
                                      box("plain")};
        QTest::newRow("role ranks, then names; other roles rank like folders")
            << roles << QStringList{} << QStringList{"inbox", "drafts", "sent", "archive", "junk",
                                                     "trash", "plain",  "sub",  "x"};
        QTest::newRow("the user's order beats the role")
            << roles << QStringList{"plain", "x", "trash", "plain"}
            << QStringList{"plain", "x",       "trash", "inbox", "drafts",
                           "sent",  "archive", "junk",  "sub"};
        QTest::newRow("sortOrder before the name")
            << QList<Mailbox>{box("a", {}, {}, 5), box("b", {}, {}, 1)} << QStringList{}
            << QStringList{"b", "a"};
        QTest::newRow("names compare lower-cased")
            << QList<Mailbox>{box("1", {}, {}, 0, 1, "beta"), box("2", {}, {}, 0, 1, "Alpha")}
            << QStringList{} << QStringList{"2", "1"};
        QTest::newRow("names equal but for case keep input order")
            << QList<Mailbox>{box("1", {}, {}, 0, 1, "news"), box("2", {}, {}, 0, 1, "News"),
                              box("3", {}, {}, 0, 1, "NEWS")}
            << QStringList{} << QStringList{"1", "2", "3"};
    }

    void sorted()
    {
        QFETCH(QList<Mailbox>, mailboxes);
        QFETCH(QStringList, order);
        QTEST(ids(MailboxTree::sorted(mailboxes, order)), "expected");
    }

    void order_data()
    {
        QTest::addColumn<QStringList>("current");
        QTest::addColumn<QString>("moving");
        QTest::addColumn<int>("destination");
        QTest::addColumn<QStringList>("expected");
        // Rows: inbox/0, work/0+, a/1+, a1/2, b/1, c/1, z/0
        QTest::newRow("drop before a sibling")
            << QStringList{} << "c" << 2 << QStringList{"c", "a", "b"};
        QTest::newRow("drop on a deeper row lands before the next sibling below")
            << QStringList{} << "c" << 3 << QStringList{"a", "c", "b"};
        QTest::newRow("no sibling below goes to the end")
            << QStringList{} << "a" << 6 << QStringList{"b", "c", "a"};
        QTest::newRow("top level among top level")
            << QStringList{} << "z" << 0 << QStringList{"z", "inbox", "work"};
        QTest::newRow("back to its own place still lists all siblings")
            << QStringList{} << "a" << 2 << QStringList{"a", "b", "c"};
        QTest::newRow("other groups keep their place in front")
            << QStringList{"z", "inbox", "work", "gone"} << "b" << 2
            << QStringList{"z", "inbox", "work", "gone", "b", "a", "c"};
        QTest::newRow("unknown id leaves the order as it was")
            << QStringList{"b", "a"} << "nope" << 0 << QStringList{"b", "a"};
    }

    void order()
    {
        QFETCH(QStringList, current);
        QFETCH(QString, moving);
        QFETCH(int, destination);
        const QList<Mailbox> mailboxes = {
            box("inbox", {}, "inbox"), box("work"),      box("z"),      box("a", "work"),
            box("b", "work"),          box("c", "work"), box("a1", "a")};
        const auto rows = MailboxTree::hierarchy(mailboxes, {}, {}, {}, current);
        QTEST(MailboxTree::order(current, moving, destination, rows, mailboxes), "expected");
    }
};

QTEST_GUILESS_MAIN(TestMailboxTree)
#include "tst_mailboxtree.moc"
