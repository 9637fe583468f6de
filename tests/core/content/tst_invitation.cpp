#include "Fixtures.h"
#include "content/Invitation.h"

#include <QRandomGenerator>
#include <QTest>

using Property = Invitation::Property;

namespace {

const QTimeZone newYork("America/New_York");

QString fixture(const QString& name)
{
    return Fixtures::text(QStringLiteral("content/") + name);
}

QDateTime utc(const QString& iso)
{
    return QDateTime::fromString(iso, Qt::ISODate).toUTC();
}

// Lines joined as a file would hold them.
QString calendar(const QStringList& lines)
{
    return lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n");
}

EmailAddress address(const QString& name, const QString& email)
{
    return EmailAddress{name, email};
}

} // namespace

class TestInvitation : public QObject
{
    Q_OBJECT

private slots:
    void realWorldInvitations_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("uid");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<QString>("location");
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<QDateTime>("end");
        QTest::addColumn<bool>("isAllDay");
        QTest::addColumn<EmailAddress>("organizer");
        QTest::addColumn<QList<Invitation::Attendee>>("attendees");
        QTest::addColumn<QStringList>("replyLineNames");
        QTest::addColumn<int>("timeZoneLineCount");

        using S = ParticipationStatus;
        QTest::newRow("Google: TZID zone, folded attendees, alarm")
            << "google.ics"
            << "7kq3l2m9v1c0h5d8e4f6g2a1b3@google.com"
            << "Quarterly planning; budget review"
            << "Room 4, Second Floor" << utc("2026-10-15T08:00:00Z") << utc("2026-10-15T09:30:00Z")
            << false << address("Maren Holt", "maren.holt@example.com")
            << QList<Invitation::Attendee>{{address("Maren Holt", "maren.holt@example.com"),
                                            S::Accepted},
                                           {address("dana@example.org", "Dana@Example.org"),
                                            S::NeedsAction},
                                           {address("Piet Kroon", "piet@example.net"),
                                            S::Tentative}}
            << QStringList{"DTSTART", "DTEND", "ORGANIZER", "UID", "SEQUENCE", "SUMMARY"} << 18;
        // The Windows zone name is not an IANA id: its times read in the system's zone.
        QTest::newRow("Outlook: Windows zone, quoted names, no PARTSTAT")
            << "outlook.ics"
            << "040000008200E00074C5B7101A82E00800000000B0B5E1F4A2D4DA0100000000000000001000000"
               "09A1D0E4C6F3B2A4E8F7C6D5B4A392817"
            << "Design review"
            << "Microsoft Teams Meeting" << utc("2026-11-03T19:00:00Z")
            << utc("2026-11-03T20:00:00Z") << false
            << address("Doe, John", "John.Doe@contoso.example")
            << QList<Invitation::Attendee>{{address("Smith; Anna", "anna.smith@contoso.example"),
                                            S::NeedsAction},
                                           {address("Room 12", "room12@contoso.example"),
                                            S::NeedsAction}}
            << QStringList{"ORGANIZER", "UID", "SUMMARY", "DTSTART", "DTEND", "SEQUENCE"} << 15;
        QTest::newRow("Apple: all-day, LF endings, second event, resource by urn")
            << "apple.ics"
            << "5F1A7C2E-9B3D-4E8A-A1C6-2D7E9F0B3C41"
            << "Family dinner"
            << "Grandma's\nOld Mill Road 3" << utc("2026-12-24T05:00:00Z")
            << utc("2026-12-25T05:00:00Z") << true << address("Ann Lee", "ann@icloud.example")
            << QList<Invitation::Attendee>{{address("Ann Lee", "ann@icloud.example"), S::Accepted},
                                           {address("Bo Lind", "bo@example.org"), S::Declined},
                                           {address("Cy", "cy@example.org"), S::NeedsAction}}
            << QStringList{"DTEND", "UID", "SUMMARY", "SEQUENCE", "DTSTART", "ORGANIZER"} << 0;
    }

    void realWorldInvitations()
    {
        QFETCH(QString, file);
        const auto invitation = Invitation::parse(fixture(file), newYork);
        QVERIFY(invitation);
        QFETCH(QString, uid);
        QCOMPARE(invitation->method, QStringLiteral("REQUEST"));
        QVERIFY(!invitation->isCanceled());
        QCOMPARE(invitation->uid, uid);
        QTEST(invitation->summary.value_or(QString()), "summary");
        QTEST(invitation->location.value_or(QString()), "location");
        QTEST(invitation->start.value_or(QDateTime()), "start");
        QTEST(invitation->end.value_or(QDateTime()), "end");
        QTEST(invitation->isAllDay, "isAllDay");
        QTEST(invitation->organizer.value_or(EmailAddress()), "organizer");
        QTEST(invitation->attendees, "attendees");

        QStringList names;
        for (const QString& line : invitation->replyLines)
            names.append(Property::parse(line).name);
        QTEST(names, "replyLineNames");
        QTEST(int(invitation->timeZoneLines.size()), "timeZoneLineCount");
        if (!invitation->timeZoneLines.isEmpty()) {
            QCOMPARE(invitation->timeZoneLines.first(), QStringLiteral("BEGIN:VTIMEZONE"));
            QCOMPARE(invitation->timeZoneLines.last(), QStringLiteral("END:VTIMEZONE"));
        }
    }

    void replyToOutlookRefoldsTheLongUid()
    {
        const auto invitation = Invitation::parse(fixture(QStringLiteral("outlook.ics")), newYork);
        QVERIFY(invitation);
        const QString reply = invitation->reply(
            ParticipationStatus::Accepted, address("Smith; Anna", "anna.smith@contoso.example"),
            utc("2026-10-21T07:05:09Z"));
        const QString expected = calendar({
            "BEGIN:VCALENDAR",
            "VERSION:2.0",
            "PRODID:-//Veldrin//EN",
            "METHOD:REPLY",
            "BEGIN:VTIMEZONE",
            "TZID:W. Europe Standard Time",
            "BEGIN:STANDARD",
            "DTSTART:16010101T030000",
            "TZOFFSETFROM:+0200",
            "TZOFFSETTO:+0100",
            "RRULE:FREQ=YEARLY;INTERVAL=1;BYDAY=-1SU;BYMONTH=10",
            "END:STANDARD",
            "BEGIN:DAYLIGHT",
            "DTSTART:16010101T020000",
            "TZOFFSETFROM:+0100",
            "TZOFFSETTO:+0200",
            "RRULE:FREQ=YEARLY;INTERVAL=1;BYDAY=-1SU;BYMONTH=3",
            "END:DAYLIGHT",
            "END:VTIMEZONE",
            "BEGIN:VEVENT",
            "ORGANIZER;CN=\"Doe, John\":mailto:John.Doe@contoso.example",
            "UID:040000008200E00074C5B7101A82E00800000000B0B5E1F4A2D4DA01000000000000000",
            " 0100000009A1D0E4C6F3B2A4E8F7C6D5B4A392817",
            "SUMMARY;LANGUAGE=en-US:Design review",
            "DTSTART;TZID=W. Europe Standard Time:20261103T140000",
            "DTEND;TZID=W. Europe Standard Time:20261103T150000",
            "SEQUENCE:2",
            "DTSTAMP:20261021T070509Z",
            "ATTENDEE;PARTSTAT=ACCEPTED;CN=\"Smith; Anna\":mailto:anna.smith@contoso.examp",
            " le",
            "END:VEVENT",
            "END:VCALENDAR",
        });
        QCOMPARE(reply, expected);
    }

    // What the three real invitations above hold (an alarm with its own summary, a second event,
    // a TZID zone, a Windows zone name, an all-day date) is not repeated in the tables below.
    void structure_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("parses");
        QTest::addColumn<QString>("method");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<QStringList>("replyLines");
        QTest::addColumn<QStringList>("timeZoneLines");

        const QStringList zone{"BEGIN:VTIMEZONE", "TZID:X", "END:VTIMEZONE"};
        QTest::newRow("zone after the event is still kept")
            << calendar(QStringList{"BEGIN:VCALENDAR", "BEGIN:VEVENT", "UID:1", "END:VEVENT"} +
                        zone + QStringList{"END:VCALENDAR"})
            << true << ""
            << "" << QStringList{"UID:1"} << zone;
        QTest::newRow("zone lines last until the zone itself is closed, whatever the END names")
            << calendar({"BEGIN:VCALENDAR", "BEGIN:vtimezone", "BEGIN:STANDARD", "END:VTIMEZONE",
                         "TZID:Y", "END:X", "METHOD:REQUEST", "BEGIN:VEVENT", "UID:1", "END:VEVENT",
                         "END:VCALENDAR"})
            << true << "REQUEST"
            << "" << QStringList{"UID:1"}
            << QStringList{"BEGIN:vtimezone", "BEGIN:STANDARD", "END:VTIMEZONE", "TZID:Y", "END:X"};
        QTest::newRow("method upper-cased, method inside the event ignored")
            << calendar({"BEGIN:VCALENDAR", "METHOD:request", "BEGIN:VEVENT", "METHOD:CANCEL",
                         "UID:1", "END:VEVENT", "END:VCALENDAR"})
            << true << "REQUEST"
            << "" << QStringList{"UID:1"} << QStringList{};
        QTest::newRow("cancel") << calendar({"BEGIN:VCALENDAR", "METHOD:CANCEL", "BEGIN:VEVENT",
                                             "UID:1", "END:VEVENT", "END:VCALENDAR"})
                                << true << "CANCEL"
                                << "" << QStringList{"UID:1"} << QStringList{};
        QTest::newRow("no UID") << calendar({"BEGIN:VCALENDAR", "BEGIN:VEVENT", "SUMMARY:x",
                                             "END:VEVENT", "END:VCALENDAR"})
                                << false << ""
                                << "" << QStringList{} << QStringList{};
        QTest::newRow("UID only in a second event")
            << calendar({"BEGIN:VCALENDAR", "BEGIN:VEVENT", "SUMMARY:x", "END:VEVENT",
                         "BEGIN:VEVENT", "UID:2", "END:VEVENT", "END:VCALENDAR"})
            << false << ""
            << "" << QStringList{} << QStringList{};
        QTest::newRow("event outside a calendar")
            << calendar({"BEGIN:VEVENT", "UID:1", "END:VEVENT"}) << false << ""
            << "" << QStringList{} << QStringList{};
        QTest::newRow("unbalanced ends")
            << calendar({"END:VCALENDAR", "END:VEVENT", "BEGIN:VCALENDAR", "BEGIN:VEVENT", "UID:1",
                         "END:VEVENT", "END:VEVENT", "END:VCALENDAR", "END:VCALENDAR"})
            << true << ""
            << "" << QStringList{"UID:1"} << QStringList{};
    }

    void structure()
    {
        QFETCH(QString, text);
        QFETCH(bool, parses);
        const auto invitation = Invitation::parse(text, newYork);
        QCOMPARE(invitation.has_value(), parses);
        if (!invitation)
            return;
        QFETCH(QString, method);
        QCOMPARE(invitation->method.value_or(QString()), method);
        QCOMPARE(invitation->isCanceled(), method == QLatin1String("CANCEL"));
        QTEST(invitation->summary.value_or(QString()), "summary");
        QTEST(invitation->replyLines, "replyLines");
        QTEST(invitation->timeZoneLines, "timeZoneLines");
    }

    void unfold_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("lines");

        QTest::newRow("CRLF, CR and LF endings")
            << "A:1\r\nB:2\rC:3\nD:4" << QStringList{"A:1", "B:2", "C:3", "D:4"};
        QTest::newRow("space and tab continue the line")
            << "DESCRIPTION:ab\r\n cd\r\n\tef" << QStringList{"DESCRIPTION:abcdef"};
        QTest::newRow("only the first blank is dropped")
            << "SUMMARY:a\r\n  b" << QStringList{"SUMMARY:a b"};
        QTest::newRow("empty lines dropped, even between continuations")
            << "A:1\r\n\r\n\r\n x\r\nB:2\r\n"
            << QStringList{"A:1x", "B:2"};
        QTest::newRow("continuation with nothing before stays")
            << " lonely\r\nA:1" << QStringList{" lonely", "A:1"};
        QTest::newRow("multi-byte characters split across a fold")
            << QStringLiteral("SUMMARY:Caf\r\n é\r\n 🎉")
            << QStringList{QStringLiteral("SUMMARY:Café🎉")};
    }

    void unfold()
    {
        QFETCH(QString, text);
        QTEST(Invitation::unfold(text), "lines");
    }

    void propertyLines_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariantMap>("parameters");
        QTest::addColumn<QString>("value");

        QTest::newRow("plain") << "summary:Lunch"
                               << "SUMMARY" << QVariantMap{} << "Lunch";
        QTest::newRow("value keeps its colons and semicolons")
            << "DESCRIPTION:a:b;c"
            << "DESCRIPTION" << QVariantMap{} << "a:b;c";
        QTest::newRow("quoted name keeps comma, semicolon and colon")
            << "ATTENDEE;CN=\"Doe, John; Jr: III\";partstat=accepted:mailto:x@y"
            << "ATTENDEE" << QVariantMap{{"CN", "Doe, John; Jr: III"}, {"PARTSTAT", "accepted"}}
            << "mailto:x@y";
        QTest::newRow("last parameter wins") << "X;A=1;a=2:v"
                                             << "X" << QVariantMap{{"A", "2"}} << "v";
        QTest::newRow("empty or bare parameters ignored")
            << "X;A=;=b;FLAG;B=c=d:v"
            << "X" << QVariantMap{{"B", "c=d"}} << "v";
        QTest::newRow("no colon: empty value") << "END"
                                               << "END" << QVariantMap{} << "";
        QTest::newRow("unclosed quote hides the colon")
            << "X;CN=\"open:value"
            << "X" << QVariantMap{{"CN", "open:value"}} << "";
        QTest::newRow("empty line") << ""
                                    << "" << QVariantMap{} << "";
    }

    void propertyLines()
    {
        QFETCH(QString, line);
        QFETCH(QVariantMap, parameters);
        const Property property = Property::parse(line);
        QTEST(property.name, "name");
        QTEST(property.value, "value");
        QMap<QString, QString> expected;
        for (auto it = parameters.cbegin(); it != parameters.cend(); ++it)
            expected.insert(it.key(), it.value().toString());
        QCOMPARE(property.parameters, expected);
    }

    void dates_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QDateTime>("date");

        QTest::newRow("UTC") << "DTSTART:20261015T083000Z" << utc("2026-10-15T08:30:00Z");
        QTest::newRow("quoted TZID")
            << "DTSTART;TZID=\"Asia/Tokyo\":20260701T100000" << utc("2026-07-01T01:00:00Z");
        QTest::newRow("floating time reads in the system zone")
            << "DTSTART:20260115T100000" << utc("2026-01-15T15:00:00Z");
        QTest::newRow("eight characters without VALUE=DATE")
            << "DTSTART:20261001" << utc("2026-10-01T04:00:00Z");
        QTest::newRow("time in the spring-forward gap moves on")
            << "DTSTART;TZID=America/New_York:20260308T023000" << utc("2026-03-08T07:00:00Z");
        QTest::newRow("VALUE=DATE with a time")
            << "DTSTART;VALUE=DATE:20261001T100000" << QDateTime();
        QTest::newRow("impossible day") << "DTSTART:20260230" << QDateTime();
        QTest::newRow("ISO with dashes") << "DTSTART:2026-10-01T10:00:00Z" << QDateTime();
    }

    void dates()
    {
        QFETCH(QString, line);
        const auto date = Invitation::date(Property::parse(line), newYork);
        QTEST(date.value_or(QDateTime()).toUTC(), "date");
    }

    void unescape_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("unescaped");

        QTest::newRow("comma and semicolon") << "a\\, b\\; c"
                                             << "a, b; c";
        QTest::newRow("line breaks") << "a\\nb\\Nc"
                                     << "a\nb\nc";
        QTest::newRow("backslash") << "C:\\\\temp"
                                   << "C:\\temp";
        QTest::newRow("other character taken literally") << "\\x\\\""
                                                         << "x\"";
        QTest::newRow("trailing backslash dropped") << "end\\"
                                                    << "end";
    }

    void unescape()
    {
        QFETCH(QString, text);
        QTEST(Invitation::unescape(text), "unescaped");
    }

    void fold_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("pieces");

        const QString a75(75, u'a');
        const QString b74(74, u'b');
        QTest::newRow("75 bytes stay") << a75 << QStringList{a75};
        QTest::newRow("76 bytes: 75 and 1") << a75 + "x" << QStringList{a75, " x"};
        QTest::newRow("later pieces hold 74")
            << a75 + b74 + "c" << QStringList{a75, " " + b74, " c"};
        QTest::newRow("two-byte character not split")
            << QString(74, u'a') + QStringLiteral("é")
            << QStringList{QString(74, u'a'), QStringLiteral(" é")};
        QTest::newRow("two-byte character that fits")
            << QString(73, u'a') + QStringLiteral("é")
            << QStringList{QString(73, u'a') + QStringLiteral("é")};
        QTest::newRow("emoji with modifier is one character")
            << QString(72, u'a') + QStringLiteral("👍🏽")
            << QStringList{QString(72, u'a'), QStringLiteral(" 👍🏽")};
        QTest::newRow("empty") << "" << QStringList{""};
    }

    void fold()
    {
        QFETCH(QString, line);
        QFETCH(QStringList, pieces);
        const QString folded = Invitation::fold(line);
        QCOMPARE(folded.split(QStringLiteral("\r\n")), pieces);
        QCOMPARE(Invitation::unfold(folded).value(0), line);
    }

    void replyAttendeeLine_data()
    {
        QTest::addColumn<EmailAddress>("as");
        QTest::addColumn<ParticipationStatus>("status");
        QTest::addColumn<QString>("line");

        QTest::newRow("no name") << EmailAddress{std::nullopt, "me@x.org"}
                                 << ParticipationStatus::Declined
                                 << "ATTENDEE;PARTSTAT=DECLINED:mailto:me@x.org";
        QTest::newRow("name") << address("Me Myself", "me@x.org") << ParticipationStatus::Tentative
                              << "ATTENDEE;PARTSTAT=TENTATIVE;CN=\"Me Myself\":mailto:me@x.org";
        QTest::newRow("double quote in the name is lost")
            << address("The \"Boss\"", "me@x.org") << ParticipationStatus::Accepted
            << "ATTENDEE;PARTSTAT=ACCEPTED;CN=\"The Boss\":mailto:me@x.org";
        QTest::newRow("long name with multi-byte letters is folded")
            << address(QStringLiteral("Zoë Ångström-Øvergård Łukasiewicz"), "zoe@example.org")
            << ParticipationStatus::Accepted
            << QStringLiteral("ATTENDEE;PARTSTAT=ACCEPTED;CN=\"Zoë Ångström-Øvergård Łukasiewicz\":"
                              "mailto:zoe@example.org");
        QTest::newRow("line breaks and tabs in the name become blanks")
            << address(QStringLiteral("A\r\nB\nC\rD\tE\u2028F"), "me@x.org")
            << ParticipationStatus::Accepted
            << "ATTENDEE;PARTSTAT=ACCEPTED;CN=\"A  B C D E F\":mailto:me@x.org";
        QTest::newRow("other controls in the name go")
            << address(QStringLiteral("A\u0000\u000b\u001f\u007f\u0085B"), "me@x.org")
            << ParticipationStatus::Accepted
            << "ATTENDEE;PARTSTAT=ACCEPTED;CN=\"AB\":mailto:me@x.org";
        QTest::newRow("name of controls only")
            << address(QStringLiteral("\"\u0001\""), "me@x.org") << ParticipationStatus::Accepted
            << "ATTENDEE;PARTSTAT=ACCEPTED:mailto:me@x.org";
        QTest::newRow("blanks, quotes and controls in the address are percent-encoded")
            << address("Me", QStringLiteral("me\r\nX:@x \"\t.org")) << ParticipationStatus::Declined
            << "ATTENDEE;PARTSTAT=DECLINED;CN=\"Me\":mailto:me%0D%0AX:@x%20%22%09.org";
    }

    void replyAttendeeLine()
    {
        QFETCH(EmailAddress, as);
        QFETCH(ParticipationStatus, status);
        QFETCH(QString, line);
        const auto invitation = Invitation::parse(
            calendar({"BEGIN:VCALENDAR", "BEGIN:VEVENT", "UID:u", "LOCATION:Hidden",
                      "ATTENDEE;PARTSTAT=NEEDS-ACTION:mailto:other@x.org", "END:VEVENT",
                      "END:VCALENDAR"}),
            newYork);
        QVERIFY(invitation);
        const QString reply = invitation->reply(status, as, utc("2026-01-02T03:04:05Z"));
        QVERIFY(reply.endsWith(QStringLiteral("END:VCALENDAR\r\n")));
        for (const QString& physical : reply.split(QStringLiteral("\r\n")))
            QVERIFY2(physical.toUtf8().size() <= 75, qPrintable(physical));
        const QStringList lines = Invitation::unfold(reply);
        QCOMPARE(lines.filter(QRegularExpression("^ATTENDEE")), QStringList{line});
        QVERIFY(lines.filter(QRegularExpression("^LOCATION")).isEmpty());
        QCOMPARE(lines.mid(lines.size() - 6),
                 (QStringList{"BEGIN:VEVENT", "UID:u", "DTSTAMP:20260102T030405Z", line,
                              "END:VEVENT", "END:VCALENDAR"}));
    }

    void hostileInvitationCannotWriteTheReply_data()
    {
        QTest::addColumn<QStringList>("attendeeLines");
        QTest::addColumn<QString>("summaryLine");
        QTest::addColumn<QString>("replyAttendee");
        QTest::addColumn<QString>("replySummary");

        QTest::newRow("escaped line breaks in the user's own CN")
            << QStringList{"ATTENDEE;CN=\"Me\\nATTENDEE;PARTSTAT=ACCEPTED:mailto:other@example.com"
                           "\\nX\":mailto:me@example.com"}
            << "SUMMARY:Plan"
            << "ATTENDEE;PARTSTAT=DECLINED;CN=\"Me "
               "ATTENDEE;PARTSTAT=ACCEPTED:mailto:other@example.com"
               " X\":mailto:me@example.com"
            << "SUMMARY:Plan";
        QTest::newRow("escaped line breaks that would end the event")
            << QStringList{"ATTENDEE;CN=\"Me\\NEND:VEVENT\\n\\nBEGIN:VEVENT\";PARTSTAT=NEEDS-"
                           "ACTION:"
                           "mailto:me@example.com"}
            << "SUMMARY:Plan"
            << "ATTENDEE;PARTSTAT=DECLINED;CN=\"Me END:VEVENT  BEGIN:VEVENT\":mailto:me@example.com"
            << "SUMMARY:Plan";
        QTest::newRow("separators in a repeated line")
            << QStringList{"ATTENDEE:mailto:me@example.com"}
            << QStringLiteral(
                   "SUMMARY:Plan\u2028ATTENDEE;PARTSTAT=ACCEPTED:mailto:o@x\u000bX\u0085Y")
            << "ATTENDEE;PARTSTAT=DECLINED:mailto:me@example.com"
            << "SUMMARY:PlanATTENDEE;PARTSTAT=ACCEPTED:mailto:o@xXY";
    }

    void hostileInvitationCannotWriteTheReply()
    {
        // The name to answer under may be the one the organizer wrote for the user: whatever it
        // holds, the reply has exactly its own lines, and only the user's attendee line.
        QFETCH(QStringList, attendeeLines);
        QFETCH(QString, summaryLine);
        QFETCH(QString, replyAttendee);
        QFETCH(QString, replySummary);
        const auto invitation = Invitation::parse(
            calendar(QStringList{"BEGIN:VCALENDAR", "BEGIN:VEVENT", "UID:1", summaryLine} +
                     attendeeLines + QStringList{"END:VEVENT", "END:VCALENDAR"}),
            newYork);
        QVERIFY(invitation);
        const auto me = invitation->attendee({QStringLiteral("me@example.com")});
        QVERIFY(me);
        const QString reply = invitation->reply(ParticipationStatus::Declined, me->address,
                                                utc("2026-01-02T03:04:05Z"));

        QVERIFY(reply.endsWith(QStringLiteral("\r\n")));
        const QStringList physical = reply.chopped(2).split(QStringLiteral("\r\n"));
        for (const QString& line : physical) {
            for (const QChar c : line)
                QVERIFY2(c >= u' ' && (c < u'\u007f' || c >= u'\u00a0') &&
                             c != QChar::LineSeparator,
                         qPrintable(line));
        }
        const QStringList expected{"BEGIN:VCALENDAR",
                                   "VERSION:2.0",
                                   "PRODID:-//Veldrin//EN",
                                   "METHOD:REPLY",
                                   "BEGIN:VEVENT",
                                   "UID:1",
                                   replySummary,
                                   "DTSTAMP:20260102T030405Z",
                                   replyAttendee,
                                   "END:VEVENT",
                                   "END:VCALENDAR"};
        QCOMPARE(Invitation::unfold(reply), expected);
        // Read back, the reply names one attendee: the user, with the answer given.
        const auto answer = Invitation::parse(reply, newYork);
        QVERIFY(answer);
        QCOMPARE(answer->attendees.size(), 1);
        QCOMPARE(answer->attendees[0].address.email, QStringLiteral("me@example.com"));
        QCOMPARE(answer->attendees[0].status, ParticipationStatus::Declined);
    }

    void attendeeAmongOwnAddresses()
    {
        const auto invitation = Invitation::parse(fixture(QStringLiteral("google.ics")), newYork);
        QVERIFY(invitation);
        const auto dana = invitation->attendee({QStringLiteral("dana@example.org")});
        QVERIFY(dana);
        QCOMPARE(dana->address.email, QStringLiteral("Dana@Example.org"));
        // The first listed wins when the user has several of the attendees' addresses.
        const auto first = invitation->attendee(
            {QStringLiteral("piet@example.net"), QStringLiteral("dana@example.org")});
        QCOMPARE(first->address.email, QStringLiteral("Dana@Example.org"));
        QVERIFY(!invitation->attendee({QStringLiteral("nobody@example.org")}));
        QVERIFY(!invitation->attendee({}));
    }

    void participationStatuses()
    {
        // Values from other programs come in any case; ones Veldrin does not know are no answer.
        QVERIFY(ParticipationStatuses::fromValue(QStringLiteral("accepted")) ==
                ParticipationStatus::Accepted);
        QVERIFY(!ParticipationStatuses::fromValue(QStringLiteral("DELEGATED")));
    }

    void oddInputNeverCrashes()
    {
        // Truncations and random bytes of a real invitation: parsing and replying must not fail.
        const QString text = fixture(QStringLiteral("google.ics"));
        for (qsizetype length = 0; length <= text.size(); length += 7) {
            const auto invitation = Invitation::parse(text.left(length), newYork);
            if (invitation)
                QVERIFY(
                    !invitation
                         ->reply(ParticipationStatus::Accepted, address("Me", "me@x"), QDateTime())
                         .isEmpty());
        }
        QRandomGenerator random(42);
        const QString alphabet = QStringLiteral("BEGIN:VCALENDAREVTUID;=\"\\\r\n \tZ0123456789é😀");
        for (int round = 0; round < 500; ++round) {
            QString noise;
            const int length = random.bounded(200);
            for (int index = 0; index < length; ++index)
                noise.append(alphabet.at(random.bounded(int(alphabet.size()))));
            Invitation::parse(QStringLiteral("BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:1\n") + noise,
                              newYork);
            Invitation::fold(noise);
        }
    }

    void deepNestingStaysFast()
    {
        // A hostile part of endless BEGIN lines: looking through the open components on every line
        // would take minutes here.
        const QString text = calendar({"BEGIN:VCALENDAR", "BEGIN:VEVENT", "UID:1", "END:VEVENT"}) +
                             QStringLiteral("BEGIN:X\r\n").repeated(400000) +
                             QStringLiteral("BEGIN:VTIMEZONE\r\nTZID:Z\r\n");
        const auto invitation = Invitation::parse(text, newYork);
        QVERIFY(invitation);
        QCOMPARE(invitation->replyLines, QStringList{"UID:1"});
        QCOMPARE(invitation->timeZoneLines, (QStringList{"BEGIN:VTIMEZONE", "TZID:Z"}));
    }
};

QTEST_GUILESS_MAIN(TestInvitation)
#include "tst_invitation.moc"
