#include "content/EmailAddresses.h"

#include <QRandomGenerator>
#include <QTest>

using namespace EmailAddresses;

namespace {

EmailAddress named(const QString& name, const QString& email)
{
    return EmailAddress{name, email};
}

EmailAddress bare(const QString& email)
{
    return EmailAddress{std::nullopt, email};
}

} // namespace

class TestEmailAddresses : public QObject
{
    Q_OBJECT

private slots:
    void parseList_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QList<EmailAddress>>("addresses");

        QTest::newRow("quoted name with a comma")
            << "\"Last, First\" <a@b>, c@d"
            << QList<EmailAddress>{named("Last, First", "a@b"), bare("c@d")};
        QTest::newRow("semicolon separates")
            << "a@b; c@d" << QList<EmailAddress>{bare("a@b"), bare("c@d")};
        QTest::newRow("CRLF separates, the carriage return is trimmed")
            << "a@b\r\nc@d" << QList<EmailAddress>{bare("a@b"), bare("c@d")};
        QTest::newRow("blank between two addresses: none") << "a@b c@d" << QList<EmailAddress>{};
        QTest::newRow("unclosed angle swallows the rest")
            << "First <a@b, c@d" << QList<EmailAddress>{};
        QTest::newRow("text behind the angle ignored")
            << "First <a@b> trailing" << QList<EmailAddress>{named("First", "a@b")};
        QTest::newRow("blanks inside the angles trimmed")
            << "Bo < bo@x.org\t>" << QList<EmailAddress>{named("Bo", "bo@x.org")};
        QTest::newRow("unclosed quote: no comma behind it separates")
            << "a@b, \"Open <c@d>, e@f" << QList<EmailAddress>{bare("a@b"), named("Open", "c@d")};
        QTest::newRow("inner double quotes stay, outer ones go")
            << "\"Jo \"JJ\" Doe\" <j@d>" << QList<EmailAddress>{named("Jo \"JJ\" Doe", "j@d")};
        QTest::newRow("comma inside angles does not split")
            << "Odd <a,b@c>" << QList<EmailAddress>{named("Odd", "a,b@c")};
        QTest::newRow("the last angles count")
            << "A <x> <a@b>" << QList<EmailAddress>{named("A <x>", "a@b")};
        QTest::newRow("no at sign, even with a name")
            << "Someone <someone>" << QList<EmailAddress>{};
        QTest::newRow("a lone at sign and a double at pass")
            << "@, a@b@c" << QList<EmailAddress>{bare("@"), bare("a@b@c")};
        QTest::newRow("empty pieces dropped, duplicates kept")
            << ",,a@b,, a@b ," << QList<EmailAddress>{bare("a@b"), bare("a@b")};
        QTest::newRow("empty name between quotes is absent")
            << "\"\" <a@b>" << QList<EmailAddress>{bare("a@b")};
        QTest::newRow("non-ASCII name")
            << "Jürgen Groß <jg@example.de>; Zoë <z@x>"
            << QList<EmailAddress>{named("Jürgen Groß", "jg@example.de"), named("Zoë", "z@x")};
    }

    void parseList()
    {
        QFETCH(QString, text);
        QTEST(EmailAddresses::parseList(text), "addresses");
    }

    void unfinishedEntry_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("entry");

        QTest::newRow("first entry") << "  jo"
                                     << "jo";
        QTest::newRow("after a comma") << "a@b, Jo Do"
                                       << "Jo Do";
        QTest::newRow("right after a completion") << "a@b, "
                                                  << "";
        QTest::newRow("inside an open quote the comma does not count") << "a@b, \"Doe, J"
                                                                       << "\"Doe, J";
        QTest::newRow("after a line feed") << "a@b\n bo"
                                           << "bo";
    }

    void unfinishedEntry()
    {
        QFETCH(QString, text);
        QTEST(EmailAddresses::unfinishedEntry(text), "entry");
    }

    void completing_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<EmailAddress>("address");
        QTest::addColumn<QString>("completed");

        QTest::newRow("earlier entry keeps its spelling")
            << "a@b,bo" << named("Bo", "bo@b") << "a@b, Bo <bo@b>, ";
        QTest::newRow("empty field: no leading blank") << "" << bare("x@y") << "x@y, ";
        QTest::newRow("first entry replaced") << "jo" << named("Jo", "jo@x") << "Jo <jo@x>, ";
        QTest::newRow("blank already there") << "a@b, jo" << bare("jo@x") << "a@b, jo@x, ";
        QTest::newRow("name with a comma is quoted")
            << "a@b; do" << named("Doe, Jo", "jo@x") << "a@b; \"Doe, Jo\" <jo@x>, ";
        QTest::newRow("after a line feed") << "a@b\nbo" << bare("bo@b") << "a@b\n bo@b, ";
    }

    void completing()
    {
        QFETCH(QString, text);
        QFETCH(EmailAddress, address);
        QTEST(EmailAddresses::completing(text, address), "completed");
    }

    void listEntryRoundTrip_data()
    {
        QTest::addColumn<EmailAddress>("address");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<EmailAddress>("readBack");

        QTest::newRow("plain name")
            << named("Ann Lee", "a@l") << "Ann Lee <a@l>" << named("Ann Lee", "a@l");
        QTest::newRow("comma") << named("Lee, Ann", "a@l") << "\"Lee, Ann\" <a@l>"
                               << named("Lee, Ann", "a@l");
        QTest::newRow("semicolon")
            << named("A; B", "a@l") << "\"A; B\" <a@l>" << named("A; B", "a@l");
        QTest::newRow("angles") << named("<Team>", "t@l") << "\"<Team>\" <t@l>"
                                << named("<Team>", "t@l");
        QTest::newRow("comma and double quotes: the quotes are lost")
            << named("\"Big\", Boss", "b@l") << "\"Big, Boss\" <b@l>" << named("Big, Boss", "b@l");
        QTest::newRow("no name") << bare("a@l") << "a@l" << bare("a@l");
        QTest::newRow("empty name") << named("", "a@l") << "a@l" << bare("a@l");
    }

    void listEntryRoundTrip()
    {
        QFETCH(EmailAddress, address);
        QFETCH(QString, entry);
        QCOMPARE(listEntry(address), entry);
        QFETCH(EmailAddress, readBack);
        // Two entries in one field: each survives the other's separators.
        QCOMPARE(EmailAddresses::parseList(entry + ", " + entry),
                 (QList<EmailAddress>{readBack, readBack}));
    }

    void displayForms_data()
    {
        QTest::addColumn<EmailAddress>("address");
        QTest::addColumn<QString>("formatted");
        QTest::addColumn<QString>("displayName");

        QTest::newRow("name") << named("Lee, Ann", "a@l") << "Lee, Ann <a@l>"
                              << "Lee, Ann";
        QTest::newRow("empty name") << named("", "a@l") << "a@l"
                                    << "a@l";
    }

    void displayForms()
    {
        QFETCH(EmailAddress, address);
        QTEST(formatted(address), "formatted");
        QTEST(displayName(address), "displayName");
    }

    void initials_data()
    {
        QTest::addColumn<EmailAddress>("address");
        QTest::addColumn<QString>("initials");

        QTest::newRow("first and last word") << named("ann marie lee", "a@l") << "AL";
        QTest::newRow("one word") << named("Madonna", "m@l") << "M";
        QTest::newRow("no name: one initial however the address looks")
            << bare("john.doe@example.com") << "J";
        QTest::newRow("leading punctuation dropped") << named("(Dr.) 'Eve' Ng", "e@n") << "DN";
        QTest::newRow("numbers count") << named("3M Support", "s@3m") << "3S";
        QTest::newRow("nothing usable") << named("-- ++", "x@y") << "?";
        QTest::newRow("non-Latin letters") << named("Σωκράτης Παππάς", "s@p") << "ΣΠ";
        QTest::newRow("a whole character, not half of it") << named("𝔸lpha 𝔹eta", "a@b") << "𝔸𝔹";
        QTest::newRow("accent kept with its letter")
            << named(QStringLiteral("e\u0301mile zola"), "e@z") << QStringLiteral("E\u0301Z");
    }

    void initials()
    {
        QFETCH(EmailAddress, address);
        QTEST(EmailAddresses::initials(address), "initials");
    }

    void avatarHue_data()
    {
        QTest::addColumn<QString>("email");
        QTest::addColumn<double>("hue");

        // djb2 over the lower-cased UTF-8 bytes, modulo 360.
        QTest::newRow("a@b") << "a@b" << 320.0 / 360.0;
        QTest::newRow("case does not matter") << "A@B" << 320.0 / 360.0;
        QTest::newRow("wraps at 32 bits")
            << "someone.with.a.long.address@example.com" << 111.0 / 360.0;
        QTest::newRow("UTF-8 bytes") << "jürgen@example.de" << 349.0 / 360.0;
    }

    void avatarHue()
    {
        QFETCH(QString, email);
        QFETCH(double, hue);
        const double actual = EmailAddresses::avatarHue(bare(email));
        QCOMPARE(actual, hue);
        QVERIFY(actual >= 0 && actual < 1);
    }

    void oddInputNeverCrashes()
    {
        QRandomGenerator random(7);
        const QString alphabet = QStringLiteral("\"<>,;\n\r\t @ab😀é");
        for (int round = 0; round < 2000; ++round) {
            QString text;
            const int length = random.bounded(40);
            for (int index = 0; index < length; ++index)
                text.append(alphabet.at(random.bounded(int(alphabet.size()))));
            for (const EmailAddress& address : EmailAddresses::parseList(text)) {
                QVERIFY(address.email.contains(u'@'));
                EmailAddresses::initials(address);
            }
            const QString completed = EmailAddresses::completing(text, bare("x@y"));
            QVERIFY(completed.endsWith(QStringLiteral("x@y, ")));
            EmailAddresses::unfinishedEntry(text);
            EmailAddresses::initials(named(text, text));
        }
    }
};

QTEST_GUILESS_MAIN(TestEmailAddresses)
#include "tst_emailaddresses.moc"
