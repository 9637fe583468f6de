#include "content/DateGroup.h"

#include <QTest>

namespace {

const QTimeZone berlin("Europe/Berlin");

QDateTime at(const char* iso)
{
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate);
}

Email email(const QString& id, const QDateTime& receivedAt)
{
    Email result;
    result.id = id;
    result.threadId = QStringLiteral("t-") + id;
    result.receivedAt = receivedAt;
    return result;
}

MailThread makeThread(const QString& id, const QList<QDateTime>& dates, const QString& anchorId)
{
    MailThread result;
    result.id = id;
    for (qsizetype index = 0; index < dates.size(); ++index)
        result.emails.append(email(id + QString::number(index), dates[index]));
    result.anchorId = anchorId;
    return result;
}

} // namespace

class TestDateGroup : public QObject
{
    Q_OBJECT

private slots:
    void groups_data()
    {
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QTimeZone>("zone");
        QTest::addColumn<DateGroup>("group");

        const QDateTime now = at("2026-10-14T00:01:00+02:00");
        QTest::newRow("two minutes old but yesterday")
            << at("2026-10-13T23:59:00+02:00") << now << berlin << DateGroup::Yesterday;
        QTest::newRow("start of today")
            << at("2026-10-14T00:00:00+02:00") << now << berlin << DateGroup::Today;
        QTest::newRow("future: a sender's wrong clock")
            << at("2026-10-20T12:00:00+02:00") << now << berlin << DateGroup::Today;
        QTest::newRow("seven calendar days")
            << at("2026-10-07T00:00:00+02:00") << now << berlin << DateGroup::LastWeek;
        QTest::newRow("eight calendar days")
            << at("2026-10-06T23:59:59+02:00") << now << berlin << DateGroup::Older;
        QTest::newRow("a day across the spring-forward change has 23 hours")
            << at("2026-03-29T00:30:00+01:00") << at("2026-03-30T00:10:00+02:00") << berlin
            << DateGroup::Yesterday;
        QTest::newRow("today in Berlin") << at("2026-10-13T23:30:00Z") << at("2026-10-14T06:00:00Z")
                                         << berlin << DateGroup::Today;
        QTest::newRow("yesterday in New York")
            << at("2026-10-13T23:30:00Z") << at("2026-10-14T06:00:00Z")
            << QTimeZone("America/New_York") << DateGroup::Yesterday;
        QTest::newRow("unreadable date") << QDateTime() << now << berlin << DateGroup::Today;
    }

    void groups()
    {
        QFETCH(QDateTime, date);
        QFETCH(QDateTime, now);
        QFETCH(QTimeZone, zone);
        QTEST(DateGroups::of(date, now, zone), "group");
    }

    void sections()
    {
        const QDateTime now = at("2026-10-14T12:00:00+02:00");
        const QDateTime today = at("2026-10-14T09:00:00+02:00");
        const QDateTime yesterday = at("2026-10-13T09:00:00+02:00");
        const QDateTime old = at("2026-01-01T09:00:00+01:00");
        // The list is sorted some other way; sections still come in their own order.
        const MailThread oldOne = makeThread("a", {old}, "a0");
        const MailThread todayOne = makeThread("b", {old, today}, "b1");
        const MailThread todayTwo = makeThread("c", {today}, "c0");
        // Anchored on its older message: it belongs where that message's date puts it.
        const MailThread anchoredOld = makeThread("d", {yesterday, today}, "d0");
        // Anchor gone (moved away): the last email decides.
        const MailThread anchorGone = makeThread("e", {old, yesterday}, "missing");

        const auto sections = DateGroups::sections(
            {oldOne, todayOne, anchoredOld, todayTwo, anchorGone}, now, berlin);
        QCOMPARE(sections, (QList<DateGroups::Section>{
                               {DateGroup::Today, {todayOne, todayTwo}},
                               {DateGroup::Yesterday, {anchoredOld, anchorGone}},
                               {DateGroup::Older, {oldOne}},
                           }));
        QVERIFY(DateGroups::sections({}, now, berlin).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestDateGroup)
#include "tst_dategroup.moc"
