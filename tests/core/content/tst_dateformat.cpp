#include "content/DateFormat.h"

#include <QTest>

class TestDateFormat : public QObject
{
    Q_OBJECT

private slots:
    void styles_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("date");
        QTest::addColumn<QString>("time");
        QTest::addColumn<QString>("both");

        QTest::newRow("US English")
            << QLocale(QLocale::English, QLocale::UnitedStates) << "Europe/Berlin"
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

    void styles()
    {
        QFETCH(QLocale, locale);
        QFETCH(QString, zone);
        const QDateTime instant = QDateTime::fromString("2026-10-01T07:30:00Z", Qt::ISODate);
        const QTimeZone timeZone(zone.toUtf8());
        QTEST(DateFormat::abbreviatedDate(instant, locale, timeZone), "date");
        QTEST(DateFormat::shortTime(instant, locale, timeZone), "time");
        QTEST(DateFormat::abbreviatedDateShortTime(instant, locale, timeZone), "both");
    }

    void unreadableDateGivesNoText()
    {
        const QLocale locale(QLocale::English, QLocale::UnitedStates);
        QVERIFY(
            DateFormat::abbreviatedDateShortTime(QDateTime(), locale, QTimeZone::utc()).isEmpty());
    }

    void durations_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("text");
        const QLocale english(QLocale::English, QLocale::UnitedStates);
        QTest::newRow("two days") << qint64(172800) << english << "2 days";
        QTest::newRow("one unit only, rounded down") << qint64(86400 + 7200) << english << "1 day";
        QTest::newRow("hours") << qint64(3600 * 5 + 59) << english << "5 hours";
        QTest::newRow("minutes") << qint64(90) << english << "1 minute";
        QTest::newRow("seconds") << qint64(1) << english << "1 second";
        QTest::newRow("nothing") << qint64(0) << english << "0 seconds";
        QTest::newRow("digits of the locale")
            << qint64(86400 * 1200) << QLocale(QLocale::German, QLocale::Germany) << "1.200 days";
    }

    void durations()
    {
        QFETCH(qint64, seconds);
        QFETCH(QLocale, locale);
        QTEST(DateFormat::fullDuration(seconds, locale), "text");
    }
};

QTEST_GUILESS_MAIN(TestDateFormat)
#include "tst_dateformat.moc"
