#include "content/AddressBook.h"

#include <QRandomGenerator>
#include <QTest>

// Suggestions run on every key press in a recipient field, over the whole book.
class BenchSuggestions : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void suggestions_data();
    void suggestions();

private:
    AddressBook m_book;
};

void BenchSuggestions::initTestCase()
{
    static const char* const first[] = {"Ann",   "Bo",  "Carla", "Dana",  "Erik", "Frida", "Gustav",
                                        "Hanna", "Ivo", "José",  "Karin", "Lars", "Maja",  "Nils"};
    static const char* const last[] = {"Lee",  "Berg",     "Holm", "Andersson", "Öberg",
                                       "Ruiz", "Nakamura", "Fox",  "Kroon",     "Weiß"};
    static const char* const domains[] = {"example.com", "mail.example", "lists.example.org",
                                          "bank.example", "shop.example"};
    QRandomGenerator random(1);
    QList<EmailAddress> addresses;
    for (int index = 0; index < 5000; ++index) {
        const QString given = QString::fromUtf8(first[random.bounded(14)]);
        const QString family = QString::fromUtf8(last[random.bounded(10)]);
        const QString email = QStringLiteral("%1.%2%3@%4")
                                  .arg(given.toLower(), family.toLower())
                                  .arg(index)
                                  .arg(QString::fromLatin1(domains[random.bounded(5)]));
        addresses.append({given + u' ' + family, email});
    }
    m_book.add(addresses.mid(0, 500), true);
    m_book.add(addresses, false);
    QCOMPARE(m_book.entries.size(), 5000);
}

void BenchSuggestions::suggestions_data()
{
    QTest::addColumn<QString>("query");
    QTest::newRow("one letter") << "a";
    QTest::newRow("a name") << "lars";
    QTest::newRow("a domain") << "bank";
    QTest::newRow("no match") << "xyz";
}

void BenchSuggestions::suggestions()
{
    QFETCH(QString, query);
    QList<EmailAddress> result;
    QBENCHMARK
    {
        result = m_book.suggestions(query, {}, 8);
    }
    QVERIFY(result.size() <= 8);
}

QTEST_GUILESS_MAIN(BenchSuggestions)
#include "bench_suggestions.moc"
