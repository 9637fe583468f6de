#include "jmap/Identity.h"
#include "jmap/JMAPDecoding.h"
#include "jmap/Mailbox.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

class TestJMAPDecoding : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void dates_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("utc"); // empty: must not parse

        QTest::newRow("zulu") << "2026-11-21T09:30:00Z"
                              << "2026-11-21T09:30:00.000Z";
        QTest::newRow("fraction") << "2026-11-21T09:30:00.25Z"
                                  << "2026-11-21T09:30:00.250Z";
        QTest::newRow("long fraction") << "2026-11-21T09:30:00.123456Z"
                                       << "2026-11-21T09:30:00.123Z";
        QTest::newRow("offset with colon") << "2026-11-21T10:30:00+01:00"
                                           << "2026-11-21T09:30:00.000Z";
        QTest::newRow("offset without colon") << "2026-11-21T04:30:00-0500"
                                              << "2026-11-21T09:30:00.000Z";
        QTest::newRow("date only") << "2026-11-21"
                                   << "";
        QTest::newRow("no zone") << "2026-11-21T09:30:00"
                                 << "";
        QTest::newRow("bad month") << "2026-13-01T00:00:00Z"
                                   << "";
        QTest::newRow("garbage") << "yesterday"
                                 << "";
    }

    void dates()
    {
        QFETCH(QString, text);
        QFETCH(QString, utc);
        const auto parsed = JMAPDecoding::parseDate(text);
        if (utc.isEmpty()) {
            QVERIFY(!parsed);
            return;
        }
        QVERIFY(parsed);
        QCOMPARE(parsed->toUTC().toString(Qt::ISODateWithMs), utc);
    }

    void mailboxListIsStrict()
    {
        const auto list = QJsonDocument::fromJson(R"([
        {"id":"m1","name":"Inbox","role":"inbox","sortOrder":1,"totalEmails":3,
         "unreadEmails":1,"totalThreads":2,"unreadThreads":1},
        {"id":"m2","name":"Lists","parentId":"m1","totalEmails":0,"unreadEmails":0,
         "totalThreads":0,"unreadThreads":0}])")
                              .array();
        try {
            JMAPDecoding::decodeList<Mailbox>(list);
            QFAIL("a mailbox without sortOrder must fail the whole list");
        } catch (const JMAPError& error) {
            QCOMPARE(error.kind(), JMAPError::Kind::Malformed);
            QVERIFY(error.description().startsWith(
                "Unexpected response from Fastmail: Array<Mailbox>: "));
            QVERIFY(error.description().contains("sortOrder"));
        }
    }

    void missingOnlyForAbsentOrScalar_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("list");   // the detail decoding Array<Identity> gives
        QTest::addColumn<QString>("record"); // the detail decoding Identity gives
        QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << "missing Array<Identity>"
                                << "missing Identity";
        QTest::newRow("null") << QJsonValue() << "missing Array<Identity>"
                              << "missing Identity";
        QTest::newRow("a string") << QJsonValue("x") << "missing Array<Identity>"
                                  << "missing Identity";
        QTest::newRow("an object") << QJsonValue(QJsonObject{{"id", "i1"}})
                                   << "Array<Identity>: The value is not an array."
                                   << "Identity: No value for the required key \"name\".";
        QTest::newRow("an array")
            << QJsonValue(QJsonArray{7})
            << "Array<Identity>: Element 0 of \"Array<Identity>\" is not an object."
            << "Identity: The value is not an object.";
    }

    void missingOnlyForAbsentOrScalar()
    {
        QFETCH(QJsonValue, value);
        const auto detail = [](const auto& decode) {
            try {
                decode();
            } catch (const JMAPError& error) {
                return error.text();
            }
            return QStringLiteral("decoded");
        };
        QTEST(detail([&] { JMAPDecoding::decodeList<Identity>(value); }), "list");
        QTEST(detail([&] { JMAPDecoding::decode<Identity>(value); }), "record");
    }

    void optionalKeysTakeNull()
    {
        const auto object =
            QJsonDocument::fromJson(
                R"({"id":"i1","name":"","email":"me@example.com","textSignature":null,"extra":1})")
                .object();
        const Identity identity = JMAPDecoding::decode<Identity>(object);
        QCOMPARE(identity.email, QString("me@example.com"));
        QVERIFY(!identity.textSignature);

        const auto mailbox = Mailbox::fromJson(
            QJsonDocument::fromJson(
                R"({"id":"m1","name":"Inbox","parentId":null,"role":null,"sortOrder":0,"totalEmails":0,
            "unreadEmails":0,"totalThreads":0,"unreadThreads":0})")
                .object());
        QVERIFY(!mailbox.parentId && !mailbox.role);
        QCOMPARE(Mailbox::fromJson(mailbox.toJson()), mailbox);
    }

    void integersRejectFractionsAndOverflow()
    {
        QCOMPARE(Json::toInteger(QJsonValue(42.0)), std::optional<qint64>(42));
        QVERIFY(!Json::toInteger(QJsonValue(1.5)));
        QVERIFY(!Json::toInteger(QJsonValue(1e300)));
        QVERIFY(!Json::toInteger(QJsonValue(QStringLiteral("42"))));
    }
};

QTEST_GUILESS_MAIN(TestJMAPDecoding)
#include "tst_jmapdecoding.moc"
