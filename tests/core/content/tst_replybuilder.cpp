#include "content/ReplyBuilder.h"

#include <QTest>

namespace {

using Addresses = QList<EmailAddress>;

const QLocale english(QLocale::English, QLocale::UnitedStates);
const QTimeZone berlin("Europe/Berlin");

EmailAddress named(const QString& name, const QString& email)
{
    return EmailAddress{name, email};
}

EmailAddress bare(const QString& email)
{
    return EmailAddress{std::nullopt, email};
}

std::optional<Addresses> listOrAbsent(const Addresses& addresses)
{
    return addresses.isEmpty() ? std::nullopt : std::optional(addresses);
}

Email message(const QString& text = QString())
{
    Email email;
    email.id = QStringLiteral("M1");
    email.threadId = QStringLiteral("T1");
    email.receivedAt = QDateTime::fromString(QStringLiteral("2026-10-01T07:30:00Z"), Qt::ISODate);
    if (!text.isNull()) {
        BodyPart part;
        part.partId = QStringLiteral("1");
        part.type = QStringLiteral("text/plain");
        email.textBody = QList<BodyPart>{part};
        email.bodyValues = QMap<QString, BodyValue>{{QStringLiteral("1"), BodyValue{text}}};
    }
    return email;
}

DraftSeed seed(ReplyKind kind, const Email& email, const QSet<QString>& own = {})
{
    return ReplyBuilder::seed(kind, email, own, english, berlin);
}

} // namespace

class TestReplyBuilder : public QObject
{
    Q_OBJECT

private slots:
    void recipients_data()
    {
        QTest::addColumn<ReplyKind>("kind");
        QTest::addColumn<Addresses>("from");
        QTest::addColumn<Addresses>("to");
        QTest::addColumn<Addresses>("cc");
        QTest::addColumn<Addresses>("replyTo");
        QTest::addColumn<Addresses>("expectedTo");
        QTest::addColumn<Addresses>("expectedCc");

        const EmailAddress me = named("Me", "me@home.example");
        const EmailAddress ann = named("Ann", "ann@x.example");
        const EmailAddress bo = bare("bo@y.example");
        const EmailAddress cy = named("Cy", "cy@z.example");
        const EmailAddress list = named("List", "list@lists.example");

        QTest::newRow("reply goes to the sender only")
            << ReplyKind::Reply << Addresses{ann} << Addresses{me, bo} << Addresses{cy}
            << Addresses{} << Addresses{ann} << Addresses{};
        QTest::newRow("reply all: me left out, sender not repeated in cc")
            << ReplyKind::ReplyAll << Addresses{ann} << Addresses{me, bo} << Addresses{ann}
            << Addresses{} << Addresses{ann} << Addresses{bo};
        QTest::newRow("reply all: to before cc, duplicates by case, first spelling kept")
            << ReplyKind::ReplyAll << Addresses{ann} << Addresses{bare("Bo@Y.example"), cy}
            << Addresses{bo, bare("ME@home.example")} << Addresses{} << Addresses{ann}
            << Addresses{bare("Bo@Y.example"), cy};
        QTest::newRow("reply-to wins over from")
            << ReplyKind::Reply << Addresses{ann} << Addresses{list} << Addresses{}
            << Addresses{list} << Addresses{list} << Addresses{};
        QTest::newRow("reply all with reply-to keeps from out of cc")
            << ReplyKind::ReplyAll << Addresses{ann} << Addresses{list, me} << Addresses{bo}
            << Addresses{list} << Addresses{list} << Addresses{bo};
        QTest::newRow("reply all with reply-to: from stays when listed in to")
            << ReplyKind::ReplyAll << Addresses{ann} << Addresses{ann, me} << Addresses{}
            << Addresses{list} << Addresses{list} << Addresses{ann};
        QTest::newRow("empty reply-to falls back to from")
            << ReplyKind::Reply << Addresses{ann} << Addresses{me} << Addresses{} << Addresses{}
            << Addresses{ann} << Addresses{};
        QTest::newRow("my own message continues to its recipients")
            << ReplyKind::Reply << Addresses{bare("Me@Home.example")} << Addresses{ann, bo}
            << Addresses{cy} << Addresses{} << Addresses{ann, bo} << Addresses{};
        QTest::newRow("reply all to my own message: cc from cc alone")
            << ReplyKind::ReplyAll << Addresses{me} << Addresses{ann} << Addresses{bo, ann, me}
            << Addresses{} << Addresses{ann} << Addresses{bo};
        QTest::newRow("my message to myself keeps me in to")
            << ReplyKind::Reply << Addresses{me} << Addresses{me} << Addresses{} << Addresses{}
            << Addresses{me} << Addresses{};
        QTest::newRow("several senders, one not mine: not from me")
            << ReplyKind::Reply << Addresses{me, ann} << Addresses{bo} << Addresses{} << Addresses{}
            << Addresses{me, ann} << Addresses{};
        QTest::newRow("reply-to naming me stands")
            << ReplyKind::Reply << Addresses{ann} << Addresses{bo} << Addresses{} << Addresses{me}
            << Addresses{me} << Addresses{};
        QTest::newRow("no sender: nobody to answer")
            << ReplyKind::ReplyAll << Addresses{} << Addresses{me, bo} << Addresses{} << Addresses{}
            << Addresses{} << Addresses{bo};
    }

    void recipients()
    {
        QFETCH(ReplyKind, kind);
        QFETCH(Addresses, from);
        QFETCH(Addresses, to);
        QFETCH(Addresses, cc);
        QFETCH(Addresses, replyTo);
        Email email = message("x");
        email.from = listOrAbsent(from);
        email.to = listOrAbsent(to);
        email.cc = listOrAbsent(cc);
        // An empty Reply-To list, as some servers send it, is not the same as none.
        email.replyTo = replyTo;
        const DraftSeed result = seed(kind, email, {QStringLiteral("me@home.example")});
        QTEST(result.to, "expectedTo");
        QTEST(result.cc, "expectedCc");
    }

    void subjects_data()
    {
        QTest::addColumn<ReplyKind>("kind");
        QTest::addColumn<QString>("subject");
        QTest::addColumn<QString>("expected");

        QTest::newRow("reply") << ReplyKind::Reply << "Plans"
                               << "Re: Plans";
        QTest::newRow("already a reply, in any case") << ReplyKind::Reply << "RE: Plans"
                                                      << "RE: Plans";
        QTest::newRow("no blank after the colon") << ReplyKind::Reply << "Re:Plans"
                                                  << "Re:Plans";
        QTest::newRow("reply to a forward") << ReplyKind::Reply << "Fwd: a"
                                            << "Re: Fwd: a";
        QTest::newRow("word starting with re") << ReplyKind::Reply << "Report"
                                               << "Re: Report";
        QTest::newRow("forward of a reply") << ReplyKind::Forward << "Re: a"
                                            << "Fwd: Re: a";
        QTest::newRow("forward keeps Fw:") << ReplyKind::Forward << "Fw: a"
                                           << "Fw: a";
        QTest::newRow("no subject: reply") << ReplyKind::Reply << QString() << "Re: ";
    }

    void subjects()
    {
        QFETCH(ReplyKind, kind);
        QFETCH(QString, subject);
        Email email = message("x");
        if (!subject.isNull())
            email.subject = subject;
        QTEST(seed(kind, email).subject, "expected");
    }

    void quotes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("quote");

        QTest::newRow("empty lines get a bare marker") << "Hello\n\nBye"
                                                       << "> Hello\n>\n> Bye";
        QTest::newRow("nested quotes") << "Sure.\n> Can you?\n>> Earlier\n> \n"
                                       << "> Sure.\n> > Can you?\n> >> Earlier\n> > \n>";
        QTest::newRow("trailing line feed gives a last marker") << "a\n"
                                                                << "> a\n>";
        QTest::newRow("blank lines are not empty") << " \nx"
                                                   << ">  \n> x";
        QTest::newRow("no readable text") << ""
                                          << ">";
    }

    void quotes()
    {
        QFETCH(QString, text);
        QFETCH(QString, quote);
        Email email = message(text);
        email.from = Addresses{named("Ann Lee", "ann@x.example")};
        const QString attribution =
            QStringLiteral("\n\nOn Oct 1, 2026 9:30 AM, Ann Lee wrote:\n\n");
        QCOMPARE(seed(ReplyKind::Reply, email).body, attribution + quote + u'\n');
    }

    void replyBody()
    {
        Email email = message("Hello\n\nBye");
        email.from = Addresses{bare("ann@x.example")};
        // Without a name the attribution names the address.
        QCOMPARE(seed(ReplyKind::ReplyAll, email).body,
                 QStringLiteral("\n\nOn Oct 1, 2026 9:30 AM, ann@x.example wrote:\n\n"
                                "> Hello\n>\n> Bye\n"));
    }

    void threadingHeaders()
    {
        Email email = message("x");
        email.messageId = QStringList{"<m1@x>"};
        email.references = QStringList{"<r0@x>", "<r1@x>"};
        DraftSeed result = seed(ReplyKind::Reply, email);
        QCOMPARE(result.inReplyTo, QStringList{"<m1@x>"});
        QCOMPARE(result.references, (QStringList{"<r0@x>", "<r1@x>", "<m1@x>"}));
        QCOMPARE(result.answeredEmailId, QStringLiteral("M1"));

        email.messageId.reset();
        result = seed(ReplyKind::ReplyAll, email);
        QVERIFY(!result.inReplyTo);
        QCOMPARE(result.references, (QStringList{"<r0@x>", "<r1@x>"}));

        email.references.reset();
        result = seed(ReplyKind::Reply, email);
        QCOMPARE(result.references, QStringList{});
    }

    void forward()
    {
        Email email = message("Hello\n> quoted\n");
        email.subject = QStringLiteral("Re: Plans");
        email.from = Addresses{named("Ann Lee", "ann@x.example"), bare("bo@y.example")};
        email.to = Addresses{named("", "me@home.example")};
        email.cc = Addresses{bare("cy@z.example")};
        email.messageId = QStringList{"<m1@x>"};
        email.references = QStringList{"<r0@x>"};

        DraftSeed expected;
        expected.subject = QStringLiteral("Fwd: Re: Plans");
        // No Cc line, the subject as the message has it, the text unquoted and unchanged.
        expected.body = QStringLiteral("\n\n---------- Forwarded message ----------\n"
                                       "From: Ann Lee <ann@x.example>, bo@y.example\n"
                                       "Date: Oct 1, 2026 9:30 AM\n"
                                       "Subject: Re: Plans\n"
                                       "To: me@home.example\n"
                                       "\n"
                                       "Hello\n> quoted\n");
        QCOMPARE(seed(ReplyKind::Forward, email, {QStringLiteral("me@home.example")}), expected);

        // Missing lists give empty lines after their labels.
        Email bareMessage = message("");
        const QString body = seed(ReplyKind::Forward, bareMessage).body;
        QVERIFY(body.contains(
            QStringLiteral("\nFrom: \nDate: Oct 1, 2026 9:30 AM\nSubject: \nTo: \n\n")));
    }

    void datesFollowLocaleAndZone()
    {
        Email email = message("x");
        email.from = Addresses{named("Ann", "ann@x.example")};
        const DraftSeed german = ReplyBuilder::seed(ReplyKind::Reply, email, {},
                                                    QLocale(QLocale::German, QLocale::Germany),
                                                    QTimeZone("America/New_York"));
        QVERIFY2(german.body.startsWith(QStringLiteral("\n\nOn 1. Okt. 2026 03:30, Ann wrote:")),
                 qPrintable(german.body));
    }

    void emptyMessageStillGivesASeed()
    {
        Email email;
        const DraftSeed result =
            ReplyBuilder::seed(ReplyKind::ReplyAll, email, {}, english, berlin);
        QCOMPARE(result.subject, QStringLiteral("Re: "));
        QVERIFY(result.to.isEmpty() && result.cc.isEmpty());
        QCOMPARE(result.body, QStringLiteral("\n\nOn , (unknown sender) wrote:\n\n>\n"));
        QCOMPARE(result.references, QStringList{});
    }
};

QTEST_GUILESS_MAIN(TestReplyBuilder)
#include "tst_replybuilder.moc"
