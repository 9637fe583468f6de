#include "config/Keychain.h"
#include "config/SystemSecretStore.h"

#include <QTest>

using Token = std::optional<QString>;

// Runs against a real Secret Service, which only a private keyring may provide: the test
// writes and deletes the program's own item.
class TestKeychainReal : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariable("VELDRIN_REAL_KEYCHAIN") != QLatin1String("1"))
            QSKIP(
                "Set VELDRIN_REAL_KEYCHAIN=1 and run inside with-keyring.sh to test the keychain.");
    }

    void cleanup() { Keychain::saveToken(""); }

    void roundTrip()
    {
        QVERIFY(Keychain::saveToken("fmu1-first-token"));
        QCOMPARE(Keychain::readToken(), Token("fmu1-first-token"));

        QVERIFY(Keychain::saveToken(""));
        QCOMPARE(Keychain::readToken(), Token());
        // Removing what is not there still succeeds.
        QVERIFY(Keychain::saveToken(""));

        QVERIFY(Keychain::saveToken(QStringLiteral("fmu1-tök€n")));
        QVERIFY(Keychain::saveToken("fmu1-second-token"));
        QVERIFY(Keychain::saveToken("fmu1-second-token"));
        QCOMPARE(Keychain::readToken(), Token("fmu1-second-token"));
        // One delete is enough to leave nothing: the saves did not pile up items.
        QVERIFY(Keychain::systemStore().remove());
        QCOMPARE(Keychain::systemStore().read(), std::optional<QByteArray>());
        QCOMPARE(Keychain::readToken(), Token());
    }

    void bytesThatAreNotUtf8ReadAsAbsent()
    {
        SystemSecretStore store(Keychain::service, Keychain::account);
        QVERIFY(store.remove());
        const QByteArray raw("fmu1-\xff\xfe-token");
        QVERIFY(store.add(raw));
        QCOMPARE(store.read(), std::optional<QByteArray>(raw));
        QCOMPARE(Keychain::readToken(), Token());
    }
};

QTEST_GUILESS_MAIN(TestKeychainReal)
#include "tst_keychain_real.moc"
