#include "EmailIds.h"
#include "Fixtures.h"
#include "jmap/JMAPDecoding.h"
#include "mail/Email.h"
#include "mail/MailThread.h"

#include <QJsonArray>
#include <QTest>

namespace {

QJsonObject minimalEmail(const QString& id = QStringLiteral("M1"))
{
    return QJsonObject{{"id", id},
                       {"threadId", "T1"},
                       {"mailboxIds", QJsonObject{{"inbox", true}}},
                       {"keywords", QJsonObject{}},
                       {"receivedAt", "2026-11-20T08:15:30Z"}};
}

Email email(const QString& id, const QString& fromEmail, const std::optional<QString>& fromName,
            const QJsonObject& keywords = {})
{
    QJsonObject object = minimalEmail(id);
    object["keywords"] = keywords;
    if (!fromEmail.isEmpty())
        object["from"] = QJsonArray{EmailAddress{fromName, fromEmail}.toJson()};
    return Email::fromJson(object);
}

Email copy(const QString& id, const QString& messageId, const QString& mailbox)
{
    QJsonObject object = minimalEmail(id);
    object["mailboxIds"] = QJsonObject{{mailbox, true}};
    if (!messageId.isNull())
        object["messageId"] = QJsonArray{messageId};
    return Email::fromJson(object);
}

} // namespace

class TestMailRecords : public QObject
{
    Q_OBJECT
private slots:
    void fullEmailDecodesAndRoundTrips()
    {
        const QJsonObject object = Fixtures::json("mail/email-detail.json");
        const auto list = JMAPDecoding::decodeList<Email>(QJsonArray{object});
        QCOMPARE(list.size(), 1);
        const Email& email = list.first();
        QCOMPARE(email.id, QString("M1"));
        QCOMPARE(email.receivedAt, QDateTime(QDate(2026, 11, 20), QTime(8, 15, 30, 250), Qt::UTC));
        QCOMPARE(email.to->first(), (EmailAddress{std::nullopt, "me@example.com"}));
        QCOMPARE(email.cc->first(), (EmailAddress{std::nullopt, "carl@example.com"}));
        QVERIFY(!email.bcc);
        QCOMPARE(email.replyTo, std::optional<QList<EmailAddress>>(QList<EmailAddress>{}));
        QVERIFY(!email.inReplyTo);
        QCOMPARE(email.references,
                 std::optional<QStringList>({"q2@example.com", "q1@example.com"}));
        QCOMPARE(email.bodyValues->value("2").value, QString("<p>Here are the numbers.</p>"));
        QCOMPARE(email.textBody->first().partId, std::optional<QString>("1"));
        QCOMPARE(email.listUnsubscribe->size(), 2);
        QCOMPARE(email.listUnsubscribePost, std::optional<QString>("List-Unsubscribe=One-Click"));
        QCOMPARE(Email::fromJson(email.toJson()), email);
    }

    void requiredKeysFailTheWholeList_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing id")
            << "id" << QJsonValue(QJsonValue::Undefined) << "No value for the required key \"id\".";
        QTest::newRow("null mailboxIds") << "mailboxIds" << QJsonValue(QJsonValue::Null)
                                         << "No value for the required key \"mailboxIds\".";
        QTest::newRow("keyword not a boolean")
            << "keywords" << QJsonValue(QJsonObject{{"$seen", "yes"}})
            << "The value of \"keywords\" is not a boolean.";
        QTest::newRow("unreadable date")
            << "receivedAt" << QJsonValue("20 Nov 2026") << "Invalid date 20 Nov 2026";
        QTest::newRow("subject a number")
            << "subject" << QJsonValue(5) << "The value of \"subject\" is not a string.";
        QTest::newRow("part without type")
            << "attachments" << QJsonValue(QJsonArray{QJsonObject{{"name", "a.pdf"}}})
            << "No value for the required key \"type\".";
    }

    void requiredKeysFailTheWholeList()
    {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QFETCH(QString, message);
        QJsonObject broken = minimalEmail("M2");
        if (value.isUndefined())
            broken.remove(key);
        else
            broken[key] = value;
        try {
            JMAPDecoding::decodeList<Email>(QJsonArray{minimalEmail(), broken});
            QFAIL("decoded a broken email");
        } catch (const JMAPError& error) {
            QCOMPARE(error, JMAPError::malformed("Array<Email>: " + message));
        }
    }

    void nullOptionalsAreAbsent()
    {
        QJsonObject object = minimalEmail();
        for (const QString& key : Email::detailProperties)
            if (!object.contains(key))
                object.insert(key, QJsonValue::Null);
        const Email email = Email::fromJson(object);
        QVERIFY(!email.listUnsubscribe);
        QVERIFY(!email.listUnsubscribePost);
        QVERIFY(!email.from);
        QVERIFY(!email.bodyValues);
        QVERIFY(!email.hasAttachment);
    }

    void senderName_data()
    {
        QTest::addColumn<QJsonValue>("from");
        QTest::addColumn<QString>("expected");
        QTest::newRow("name") << QJsonValue(
                                     QJsonArray{QJsonObject{{"name", "Anna"}, {"email", "a@x"}},
                                                QJsonObject{{"name", "Bo"}, {"email", "b@x"}}})
                              << "Anna";
        QTest::newRow("no name") << QJsonValue(QJsonArray{QJsonObject{{"email", "a@x"}}}) << "a@x";
        QTest::newRow("empty list") << QJsonValue(QJsonArray{}) << "(unknown sender)";
        QTest::newRow("absent") << QJsonValue(QJsonValue::Null) << "(unknown sender)";
    }

    void senderName()
    {
        QFETCH(QJsonValue, from);
        QJsonObject object = minimalEmail();
        object["from"] = from;
        QTEST(Email::fromJson(object).senderName(), "expected");
    }

    void attachmentViews()
    {
        const Email full = Email::fromJson(Fixtures::json("mail/email-detail.json"));
        // The inline logo with a content id is embedded; the gif without a disposition stays.
        QStringList listed;
        for (const BodyPart& part : full.listedAttachments())
            listed.append(*part.partId);
        QCOMPARE(listed, QStringList({"3", "5", "6"}));
        QCOMPARE(full.calendarPart()->partId, std::optional<QString>("5"));
        const auto inlineParts = full.inlineParts();
        QCOMPARE(inlineParts.keys(), QStringList({"logo@x"}));
        QCOMPARE(inlineParts.value("logo@x").partId, std::optional<QString>("6"));

        QJsonObject object = minimalEmail();
        object["attachments"] =
            QJsonArray{QJsonObject{{"type", "text/calendar; method=REQUEST"}},
                       QJsonObject{{"type", "image/png"}, {"disposition", "inline"}},
                       QJsonObject{{"type", "application/ics"}, {"partId", "9"}}};
        const Email other = Email::fromJson(object);
        QCOMPARE(other.calendarPart()->partId, std::optional<QString>("9"));
        QCOMPARE(other.listedAttachments().size(), 3);
        QVERIFY(Email::fromJson(minimalEmail()).listedAttachments().isEmpty());
        QVERIFY(!Email::fromJson(minimalEmail()).calendarPart());
    }

    void threadViews()
    {
        MailThread thread{"T1",
                          {email("M1", "a@x", "A", {{"$seen", true}}),
                           email("M2", "b@x", "B", {{"$draft", true}})},
                          "M1"};
        // An unread draft does not make the thread unread.
        QVERIFY(!thread.isUnread());
        QVERIFY(!thread.isFlagged());
        QVERIFY(!thread.hasAttachment());
        thread.emails[0].keywords["$flagged"] = true;
        thread.emails[1].hasAttachment = true;
        QVERIFY(thread.isFlagged());
        QVERIFY(thread.hasAttachment());
        thread.emails[0].keywords["$seen"] = false;
        QVERIFY(thread.isUnread());
        QCOMPARE(thread.subject(), QString("(no subject)"));
        thread.emails[0].subject = "Hello";
        QCOMPARE(thread.subject(), QString("Hello"));

        MailThread copies{
            "T2",
            {copy("M1", "x@id", "sent"), copy("M2", "x@id", "inbox"), copy("M3", "y@id", "inbox")},
            "M3"};
        QCOMPARE(copies.messageCount(), 2);
    }

    void anchorFallsBackToLastEmail()
    {
        MailThread thread{"T1", {email("M1", "a@x", "A"), email("M2", "b@x", "B")}, "M9"};
        thread.emails[1].subject = "Last one";
        QCOMPARE(thread.anchor().id, QString("M2"));
        QCOMPARE(thread.subject(), QString("Last one"));
        thread.anchorId = "M1";
        QCOMPARE(thread.anchor().id, QString("M1"));
        // Never built by the service, but must not bring the program down.
        const MailThread empty{"T0", {}, "M1"};
        QCOMPARE(empty.anchor().id, QString());
        QCOMPARE(empty.subject(), QString("(no subject)"));
    }

    void participants_data()
    {
        QTest::addColumn<QList<Email>>("emails");
        QTest::addColumn<QString>("expected");
        QTest::newRow("one sender per address, case-insensitive, written as first")
            << QList<Email>{email("1", "Anna@X.com", "Anna"), email("2", "anna@x.com", "anna b"),
                            email("3", "bo@x.com", std::nullopt)}
            << "Anna, bo@x.com";
        QTest::newRow("empty name uses the address")
            << QList<Email>{email("1", "a@x", QString("")), email("2", "b@x", "Bo")} << "a@x, Bo";
        QTest::newRow("emails without sender are skipped")
            << QList<Email>{email("1", "", std::nullopt), email("2", "b@x", "Bo")} << "Bo";
        QTest::newRow("no sender at all")
            << QList<Email>{email("1", "", std::nullopt)} << "(unknown sender)";
    }

    void participants()
    {
        QFETCH(QList<Email>, emails);
        QTEST((MailThread{"T", emails, "1"}).participants(), "expected");
    }

    void uniqueMessagesRule_data()
    {
        QTest::addColumn<QList<Email>>("emails");
        QTest::addColumn<std::optional<QString>>("preferring");
        QTest::addColumn<QStringList>("expected");
        const QList<Email> abc{copy("A", "m@id", "sent"), copy("B", "m@id", "inbox"),
                               copy("C", "m@id", "inbox"), copy("D", "n@id", "inbox")};
        QTest::newRow("no preference keeps the first copy")
            << abc << std::optional<QString>() << QStringList{"A", "D"};
        QTest::newRow("copy in the mailbox takes the first position")
            << abc << std::optional<QString>("inbox") << QStringList{"B", "D"};
        QTest::newRow("kept copy already in the mailbox stays")
            << abc << std::optional<QString>("sent") << QStringList{"A", "D"};
        QTest::newRow("without Message-IDs nothing merges")
            << QList<Email>{copy("A", QString(), "inbox"), copy("B", QString(), "inbox"),
                            copy("C", QString(""), "inbox"), copy("D", QString(""), "inbox")}
            << std::optional<QString>("inbox") << QStringList{"A", "B", "C", "D"};
    }

    void uniqueMessagesRule()
    {
        QFETCH(QList<Email>, emails);
        QFETCH(std::optional<QString>, preferring);
        QTEST(idsOf(uniqueMessages(emails, preferring)), "expected");
    }
};

QTEST_GUILESS_MAIN(TestMailRecords)
#include "tst_mailrecords.moc"
