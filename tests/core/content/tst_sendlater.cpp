#include "content/SendLater.h"

#include <QTest>

namespace {

const QTimeZone berlin("Europe/Berlin");

QDateTime utc(const char* iso)
{
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate).toUTC();
}

} // namespace

class TestSendLater : public QObject
{
    Q_OBJECT

private slots:
    void offers_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<int>("morningHour");
        QTest::addColumn<QStringList>("titles");
        QTest::addColumn<QList<QDateTime>>("dates");

        // Berlin is UTC+2 in summer time and UTC+1 in winter time.
        QTest::newRow("Wednesday morning")
            << utc("2026-10-14T10:00:00+02:00") << 8
            << QStringList{"In 1 Hour", "Tomorrow at 8:00 AM", "Monday at 8:00 AM"}
            << QList<QDateTime>{utc("2026-10-14T09:00:00Z"), utc("2026-10-15T06:00:00Z"),
                                utc("2026-10-19T06:00:00Z")};
        QTest::newRow("Sunday: tomorrow is Monday, two offers")
            << utc("2026-10-18T10:00:00+02:00") << 8
            << QStringList{"In 1 Hour", "Tomorrow at 8:00 AM"}
            << QList<QDateTime>{utc("2026-10-18T09:00:00Z"), utc("2026-10-19T06:00:00Z")};
        QTest::newRow("Monday before the morning hour: today's Monday, Tuesday as tomorrow")
            << utc("2026-10-19T07:00:00+02:00") << 8
            << QStringList{"In 1 Hour", "Tomorrow at 8:00 AM", "Monday at 8:00 AM"}
            << QList<QDateTime>{utc("2026-10-19T06:00:00Z"), utc("2026-10-20T06:00:00Z"),
                                utc("2026-10-19T06:00:00Z")};
        QTest::newRow("Monday at the morning hour: next week's")
            << utc("2026-10-19T08:00:00+02:00") << 8
            << QStringList{"In 1 Hour", "Tomorrow at 8:00 AM", "Monday at 8:00 AM"}
            << QList<QDateTime>{utc("2026-10-19T07:00:00Z"), utc("2026-10-20T06:00:00Z"),
                                utc("2026-10-26T07:00:00Z")};
        QTest::newRow("23:30: in one hour is tomorrow and still first")
            << utc("2026-10-14T23:30:00+02:00") << 8
            << QStringList{"In 1 Hour", "Tomorrow at 8:00 AM", "Monday at 8:00 AM"}
            << QList<QDateTime>{utc("2026-10-14T22:30:00Z"), utc("2026-10-15T06:00:00Z"),
                                utc("2026-10-19T06:00:00Z")};
        QTest::newRow("spring forward at the morning hour: next valid time")
            << utc("2026-03-28T12:00:00+01:00") << 2
            << QStringList{"In 1 Hour", "Tomorrow at 3:00 AM", "Monday at 2:00 AM"}
            << QList<QDateTime>{utc("2026-03-28T12:00:00Z"), utc("2026-03-29T01:00:00Z"),
                                utc("2026-03-30T00:00:00Z")};
        QTest::newRow("fall back at the morning hour: the first of the two")
            << utc("2026-10-24T12:00:00+02:00") << 2
            << QStringList{"In 1 Hour", "Tomorrow at 2:00 AM", "Monday at 2:00 AM"}
            << QList<QDateTime>{utc("2026-10-24T11:00:00Z"), utc("2026-10-25T00:00:00Z"),
                                utc("2026-10-26T01:00:00Z")};
        QTest::newRow("one hour across the spring-forward gap is an hour of real time")
            << utc("2026-03-29T01:30:00+01:00") << 8
            << QStringList{"In 1 Hour", "Tomorrow at 8:00 AM"}
            << QList<QDateTime>{utc("2026-03-29T01:30:00Z"), utc("2026-03-30T06:00:00Z")};
    }

    void offers()
    {
        QFETCH(QDateTime, now);
        QFETCH(int, morningHour);
        QFETCH(QStringList, titles);
        QFETCH(QList<QDateTime>, dates);
        const auto options = SendLater::options(
            now, berlin, QLocale(QLocale::English, QLocale::UnitedStates), morningHour);
        QStringList actualTitles;
        QList<QDateTime> actualDates;
        for (const SendLater::Option& option : options) {
            actualTitles.append(option.title);
            actualDates.append(option.date.toUTC());
        }
        QCOMPARE(actualTitles, titles);
        QCOMPARE(actualDates, dates);
    }

    void titlesFollowTheLocale()
    {
        const auto options = SendLater::options(utc("2026-10-14T10:00:00+02:00"), berlin,
                                                QLocale(QLocale::German, QLocale::Germany), 8);
        QCOMPARE(options.value(1).title, QStringLiteral("Tomorrow at 08:00"));
        // The title shows the time in the given zone, not the machine's.
        const auto tokyo = SendLater::options(utc("2026-10-14T10:00:00Z"), QTimeZone("Asia/Tokyo"),
                                              QLocale(QLocale::German, QLocale::Germany), 9);
        QCOMPARE(tokyo.value(1).title, QStringLiteral("Tomorrow at 09:00"));
        QCOMPARE(tokyo.value(1).date.toUTC(), utc("2026-10-15T00:00:00Z"));
    }

    void impossibleMorningHourKeepsTheFirstOffer()
    {
        const QDateTime now = utc("2026-10-14T10:00:00Z");
        const auto options = SendLater::options(now, berlin, QLocale::c(), 24);
        QCOMPARE(options, (QList<SendLater::Option>{{"In 1 Hour", now.addSecs(3600)}}));
        QVERIFY(SendLater::options(QDateTime(), berlin, QLocale::c(), 8).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSendLater)
#include "tst_sendlater.moc"
