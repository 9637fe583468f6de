#include "content/AddressBook.h"

#include <QTest>

namespace {

EmailAddress named(const QString& name, const QString& email)
{
    return EmailAddress{name, email};
}

EmailAddress bare(const QString& email)
{
    return EmailAddress{std::nullopt, email};
}

QStringList emails(const QList<EmailAddress>& addresses)
{
    QStringList result;
    for (const EmailAddress& address : addresses)
        result.append(address.email);
    return result;
}

// A small book: two people written to, the rest only seen as senders.
AddressBook sampleBook()
{
    AddressBook book;
    book.add({named("Ann Lee", "ann@lee.example"), named("Ann Lee", "ann@lee.example"),
              named("Bo Berg", "bo@berg.example")},
             true);
    book.add({named("Annika Holm", "annika@holm.example"), bare("zed@lee.example"),
              named("Carla Anders", "carla@x.example"), bare("news@annual.example"),
              named(QStringLiteral("Jos\u00E9 Ruiz"), "jose@ruiz.example"),
              named("Mary-Ann Fox", "maf@fox.example"), named("Eva Lund Berg", "eva@lund.example")},
             false);
    return book;
}

} // namespace

class TestAddressBook : public QObject
{
    Q_OBJECT

private slots:
    void learning()
    {
        AddressBook book;
        book.add({bare("Ann@Lee.Example")}, false);
        QCOMPARE(book.entries.value("ann@lee.example"),
                 (AddressBook::Entry{bare("Ann@Lee.Example"), 0}));

        // A later sighting fills the missing name, counts, and keeps the first spelling.
        book.add({named("Ann Lee", "ann@lee.example")}, true);
        QCOMPARE(book.entries.value("ann@lee.example"),
                 (AddressBook::Entry{named("Ann Lee", "Ann@Lee.Example"), 1}));

        // A known name is never replaced, nor removed; an empty name counts as none.
        book.add({named("Someone Else", "ANN@lee.example"), bare("ann@lee.example")}, true);
        QCOMPARE(book.entries.value("ann@lee.example"),
                 (AddressBook::Entry{named("Ann Lee", "Ann@Lee.Example"), 3}));
        book.add({named("", "x@y")}, false);
        book.add({named("X", "x@y")}, false);
        QCOMPARE(book.entries.value("x@y").address, named("X", "x@y"));
        QCOMPARE(book.entries.size(), 2);
    }

    void suggestions_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("suggested");

        QTest::newRow("start of the email or the domain, most used first, then by email")
            << "ann"
            << QStringList{"ann@lee.example", "annika@holm.example", "news@annual.example"};
        QTest::newRow("start of the domain finds everyone there")
            << "lee" << QStringList{"ann@lee.example", "zed@lee.example"};
        QTest::newRow("a word of the name") << "anders" << QStringList{"carla@x.example"};
        QTest::newRow("start of the name, across words")
            << "ann l" << QStringList{"ann@lee.example"};
        QTest::newRow("a query with a blank only matches from the start of the name")
            << "lund berg" << QStringList{};
        QTest::newRow("no match in the middle of a word") << "nik" << QStringList{};
        QTest::newRow("hyphenated words are one word") << "ann f" << QStringList{};
        QTest::newRow("case ignored") << "BO" << QStringList{"bo@berg.example"};
        QTest::newRow("opening angle and quotes trimmed")
            << "\"<bo" << QStringList{"bo@berg.example"};
        QTest::newRow("decomposed query matches composed name")
            << QStringLiteral("jose\u0301") << QStringList{"jose@ruiz.example"};
        QTest::newRow("blank query") << " \t" << QStringList{};
        QTest::newRow("empty query") << "" << QStringList{};
    }

    void suggestions()
    {
        QFETCH(QString, query);
        QTEST(emails(sampleBook().suggestions(query, {}, 10)), "suggested");
    }

    void excludedAddressesAreNotSuggested()
    {
        const AddressBook book = sampleBook();
        // Already in one of the draft's fields, in whatever case.
        QCOMPARE(emails(book.suggestions(
                     "a", {bare("ANN@lee.example"), named("C", "carla@x.example")}, 10)),
                 (QStringList{"annika@holm.example", "news@annual.example"}));
    }

    void limits()
    {
        const AddressBook book = sampleBook();
        QCOMPARE(emails(book.suggestions("a", {}, 2)),
                 (QStringList{"ann@lee.example", "annika@holm.example"}));
        QVERIFY(book.suggestions("a", {}, 0).isEmpty());
        QVERIFY(book.suggestions("a", {}, -1).isEmpty());
        QVERIFY(AddressBook().suggestions("a", {}, 5).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestAddressBook)
#include "tst_addressbook.moc"
