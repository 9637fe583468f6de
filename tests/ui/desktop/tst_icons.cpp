#include "ui/desktop/Icons.h"

#include <QTest>

class TestIcons : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }

    void symbolsComeFromTheIconTheme_data()
    {
        QTest::addColumn<QString>("symbol");
        for (const QString& symbol : Icons::symbols())
            QTest::newRow(qPrintable(symbol)) << symbol;
    }

    void symbolsComeFromTheIconTheme()
    {
        // Every symbol resolves to a drawable icon of the theme, not to the style's stand-in.
        QFETCH(QString, symbol);
        const QIcon icon = Icons::icon(symbol);
        QVERIFY2(Icons::themeNames(symbol).contains(icon.name()), qPrintable(icon.name()));
        QVERIFY(!icon.pixmap(16, 16).isNull());
        if (symbol == "tray")
            QCOMPARE(icon.name(), QString("mail-folder-inbox"));
    }
};

QTEST_MAIN(TestIcons)
#include "tst_icons.moc"
