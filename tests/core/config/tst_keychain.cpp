#include "config/Keychain.h"

#include "MemorySecretStore.h"

#include <QTest>

using Bytes = std::optional<QByteArray>;
using Token = std::optional<QString>;
Q_DECLARE_METATYPE(Bytes)
Q_DECLARE_METATYPE(Token)

class TestKeychain : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void readToken_data()
    {
        QTest::addColumn<Bytes>("stored");
        QTest::addColumn<bool>("readFails");
        QTest::addColumn<Token>("expected");

        QTest::newRow("no item") << Bytes() << false << Token();
        QTest::newRow("ascii token") << Bytes("fmu1-abc") << false << Token("fmu1-abc");
        QTest::newRow("utf-8 token")
            << Bytes("t\xc3\xb6k\xe2\x82\xac") << false << Token(QStringLiteral("tök€"));
        QTest::newRow("byte order mark is kept")
            << Bytes("\xef\xbb\xbftok") << false << Token(QStringLiteral("\ufefftok"));
        QTest::newRow("invalid byte") << Bytes("tok\xff") << false << Token();
        QTest::newRow("truncated sequence") << Bytes("tok\xc3") << false << Token();
        QTest::newRow("overlong encoding") << Bytes("\xc0\xaf") << false << Token();
        QTest::newRow("encoded surrogate") << Bytes("\xed\xa0\x80") << false << Token();
        QTest::newRow("denied or locked") << Bytes("fmu1-abc") << true << Token();
    }

    void readToken()
    {
        QFETCH(Bytes, stored);
        QFETCH(bool, readFails);
        QFETCH(Token, expected);
        MemorySecretStore store;
        store.data = stored;
        store.failReads = readFails;
        QCOMPARE(Keychain::readToken(store), expected);
    }

    void saveToken_data()
    {
        QTest::addColumn<Bytes>("before");
        QTest::addColumn<bool>("addFails");
        QTest::addColumn<QString>("token");
        QTest::addColumn<bool>("result");
        QTest::addColumn<Bytes>("after");
        QTest::addColumn<QStringList>("calls");

        const QStringList removeOnly{"remove"};
        const QStringList removeThenAdd{"remove", "add"};
        QTest::newRow("empty token removes the item")
            << Bytes("old") << false << "" << true << Bytes() << removeOnly;
        QTest::newRow("first token")
            << Bytes() << false << "new" << true << Bytes("new") << removeThenAdd;
        // A keychain refuses a second item under the same key: the old one goes first.
        QTest::newRow("new token replaces the old")
            << Bytes("old") << false << "new" << true << Bytes("new") << removeThenAdd;
        QTest::newRow("stored as utf-8") << Bytes() << false << QStringLiteral("tök") << true
                                         << Bytes("t\xc3\xb6k") << removeThenAdd;
        QTest::newRow("failed add leaves no token")
            << Bytes("old") << true << "new" << false << Bytes() << removeThenAdd;
    }

    void saveToken()
    {
        QFETCH(Bytes, before);
        QFETCH(bool, addFails);
        QFETCH(QString, token);
        QFETCH(bool, result);
        QFETCH(Bytes, after);
        QFETCH(QStringList, calls);
        MemorySecretStore store;
        store.data = before;
        store.failAdds = addFails;
        QCOMPARE(Keychain::saveToken(store, token), result);
        QCOMPARE(store.data, after);
        QCOMPARE(store.calls, calls);
    }
};

QTEST_GUILESS_MAIN(TestKeychain)
#include "tst_keychain.moc"
