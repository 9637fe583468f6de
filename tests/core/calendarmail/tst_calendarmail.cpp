// The whole-message form of an invitation answer: text from a hostile invitation stays inside
// its header line, and the calendar part carries its METHOD.

#include "mail/CalendarMail.h"

#include <QTest>
#include <QTimeZone>

class TestCalendarMail : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void headersHoldWhateverTheTextHolds()
    {
        OutgoingMessage message;
        message.identity = Identity{"id", "Zoë \"Z\" Ng", "zoe@example.com", std::nullopt};
        message.to = {
            EmailAddress{QString("Evil\r\nBcc: all@example.net"), "o@example.org>\r\nX: y"}};
        message.subject = "Accepted: Plan\r\nBcc: victim@example.net";
        message.textBody = "Zoë has accepted the invitation to Plan.";
        message.inReplyTo = QStringList{"a@b>\r\nBcc: c@d"};
        message.calendar =
            OutgoingMessage::Calendar{"BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n", "reply"};
        const QByteArray mime = CalendarMail::mime(
            message, QDateTime(QDate(2026, 3, 2), QTime(9, 5), QTimeZone::utc()), "m1@example.com");

        const QByteArray head = mime.left(mime.indexOf("\r\n\r\n") + 2);
        // Every header line is a header or the continuation of one, and none is a Bcc.
        for (const QByteArray& line : head.chopped(1).split('\n')) {
            QVERIFY2(line.endsWith('\r'), line.constData());
            QVERIFY2(line.startsWith(' ') || line.contains(": "), line.constData());
            QVERIFY2(!line.startsWith("Bcc") && !line.startsWith("X:"), line.constData());
        }
        QVERIFY(head.contains("From: =?UTF-8?B?"));
        QVERIFY(head.contains("To: \"Evil  Bcc: all@example.net\" <o@example.orgX:y>"));
        QVERIFY(head.contains("Subject: Accepted: Plan  Bcc: victim@example.net"));
        QVERIFY(head.contains("In-Reply-To: <a@bBcc:c@d>"));
        QVERIFY(head.contains("Date: Mon, 2 Mar 2026 09:05:00 +0000"));
        QVERIFY(mime.contains("Content-Type: text/calendar; method=REPLY; charset=utf-8"));
        QVERIFY(mime.contains(QByteArray("BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n").toBase64()));
        QVERIFY(mime.contains(message.textBody.toUtf8().toBase64()));
    }
};

QTEST_GUILESS_MAIN(TestCalendarMail)
#include "tst_calendarmail.moc"
