#include "content/DateFormat.h"

#include <QTest>

class TestDateFormat : public QObject
{
    Q_OBJECT

private slots:
    void styles_data();
    void styles();
    void unreadableDateGivesNoText();
};

void TestDateFormat::styles_data()
{
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("zone");
    QTest::addColumn<QString>("date");
    QTest::addColumn<QString>("time");
    QTest::addColumn<QString>("both");

    QTest::newRow("US English") << QLocale(QLocale::English, QLocale::UnitedStates)
                                << "Europe/Berlin"
                                << "Oct 1, 2026"
                                << "9:30 AM"
                                << "Oct 1, 2026 9:30 AM";
    QTest::newRow("British English")
        << QLocale(QLocale::English, QLocale::UnitedKingdom) << "Europe/London"
        << "1 Oct 2026"
        << "08:30"
        << "1 Oct 2026 08:30";
    QTest::newRow("German") << QLocale(QLocale::German, QLocale::Germany) << "Europe/Berlin"
                            << "1. Okt. 2026"
                            << "09:30"
                            << "1. Okt. 2026 09:30";
    QTest::newRow("Japanese, weekday at the end dropped")
        << QLocale(QLocale::Japanese, QLocale::Japan) << "Asia/Tokyo"
        << "2026年10月1日"
        << "16:30"
        << "2026年10月1日 16:30";
    // A session without a language setting: no seconds in a short time.
    QTest::newRow("C locale") << QLocale::c() << "Europe/London"
                              << "1 Oct 2026"
                              << "08:30"
                              << "1 Oct 2026 08:30";
    // The zone decides the day as well as the hour.
    QTest::newRow("zone moves the day")
        << QLocale(QLocale::English, QLocale::UnitedStates) << "Pacific/Honolulu"
        << "Sep 30, 2026"
        << "9:30 PM"
        << "Sep 30, 2026 9:30 PM";
}

void TestDateFormat::styles()
{
    QFETCH(QLocale, locale);
    QFETCH(QString, zone);
    const QDateTime instant = QDateTime::fromString("2026-10-01T07:30:00Z", Qt::ISODate);
    const QTimeZone timeZone(zone.toUtf8());
    QTEST(DateFormat::abbreviatedDate(instant, locale, timeZone), "date");
    QTEST(DateFormat::shortTime(instant, locale, timeZone), "time");
    QTEST(DateFormat::abbreviatedDateShortTime(instant, locale, timeZone), "both");
}

void TestDateFormat::unreadableDateGivesNoText()
{
    const QLocale locale(QLocale::English, QLocale::UnitedStates);
    QVERIFY(DateFormat::abbreviatedDateShortTime(QDateTime(), locale, QTimeZone::utc()).isEmpty());
}

QTEST_GUILESS_MAIN(TestDateFormat)
#include "tst_dateformat.moc"
