#include "Fixtures.h"
#include "mail/SearchQuery.h"

#include <QJsonDocument>
#include <QTest>

using Fixtures::object;

namespace {

Mailbox mailbox(const char* id, const char* name, std::optional<QString> role = std::nullopt,
                std::optional<QString> parentId = std::nullopt)
{
    Mailbox result;
    result.id = QLatin1String(id);
    result.name = QString::fromUtf8(name);
    result.role = role;
    result.parentId = parentId;
    return result;
}

// A user folder named "Trash" below Projects beats the role mailbox "Deleted Items".
const QList<Mailbox> mailboxes = {
    mailbox("inbox", "Inbox", "inbox"),
    mailbox("archive", "Archive", "archive"),
    mailbox("deleted", "Deleted Items", "trash"),
    mailbox("junk", "Junk Mail", "junk"),
    mailbox("projects", "Projects"),
    mailbox("reports", "Reports", std::nullopt, "projects"),
    mailbox("ptrash", "Trash", std::nullopt, "projects"),
    mailbox("folder", "Folder Name"),
};

} // namespace

class TestSearchQuery : public QObject
{
    Q_OBJECT
private slots:
    void filter_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QJsonObject>("expected");

        QTest::newRow("empty") << "" << object(R"({"inMailbox":"inbox"})");
        QTest::newRow("words share one text")
            << "invoice march" << object(R"({"inMailbox":"inbox","text":"invoice march"})");
        QTest::newRow("quoted phrase")
            << "\"weekly report\"" << object(R"({"inMailbox":"inbox","text":"weekly report"})");
        QTest::newRow("word and operator")
            << "invoice from:anna"
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox","text":"invoice"},
                   {"from":"anna"}]})");
        QTest::newRow("negated word")
            << "-invoice"
            << object(
                   R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"operator":"NOT","conditions":[{"text":"invoice"}]}]})");
        QTest::newRow("negated operator")
            << "-from:noreply" << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"operator":"NOT","conditions":[{"from":"noreply"}]}]})");
        QTest::newRow("quoted operator is an operator")
            << "\"from:anna\""
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},{"from":"anna"}]})");
        QTest::newRow("lone dash is a word")
            << "-" << object(R"({"inMailbox":"inbox","text":"-"})");
        QTest::newRow("double dash negates a dash word")
            << "--x" << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"operator":"NOT","conditions":[{"text":"-x"}]}]})");

        QTest::newRow("in:all alone matches everything") << "in:all" << QJsonObject();
        QTest::newRow("in:anywhere with a word")
            << "in:anywhere invoice" << object(R"({"text":"invoice"})");
        QTest::newRow("negated in:all is dropped")
            << "-in:all" << object(R"({"inMailbox":"inbox"})");
        QTest::newRow("folder by name") << "in:archive" << object(R"({"inMailbox":"archive"})");
        QTest::newRow("quoted folder name")
            << "in:\"Folder Name\" x" << object(R"({"inMailbox":"folder","text":"x"})");
        QTest::newRow("last in: wins, everywhere") << "in:Trash in:all" << QJsonObject();
        QTest::newRow("last in: wins, folder")
            << "in:all in:Trash" << object(R"({"inMailbox":"ptrash"})");
        QTest::newRow("excluded folders stay separate")
            << "-in:Trash -in:Spam"
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"inMailboxOtherThan":["ptrash"]},{"inMailboxOtherThan":["junk"]}]})");
        QTest::newRow("unknown folder is a word")
            << "in:nosuchfolder" << object(R"({"inMailbox":"inbox","text":"in:nosuchfolder"})");

        QTest::newRow("keys in any case, values keep theirs")
            << "IN:Archive From:Anna IS:UNREAD HAS:Attachments"
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"archive"},{"from":"Anna"},
                   {"notKeyword":"$seen"},{"hasAttachment":true}]})");
        QTest::newRow("every is: value")
            << "is:read is:flagged is:starred is:unflagged is:unstarred is:answered is:replied"
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"hasKeyword":"$seen"},{"hasKeyword":"$flagged"},{"hasKeyword":"$flagged"},
                   {"notKeyword":"$flagged"},{"notKeyword":"$flagged"},
                   {"hasKeyword":"$answered"},{"hasKeyword":"$answered"}]})");
        QTest::newRow("address and text operators")
            << "to:a cc:b bcc:c body:d"
            << object(
                   R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},{"to":"a"},{"cc":"b"},
                   {"bcc":"c"},{"body":"d"}]})");
        QTest::newRow("colon inside the value")
            << "subject:re: hello"
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox","text":"hello"},
                   {"subject":"re:"}]})");
        QTest::newRow("unclosed quote runs to the end")
            << "subject:\"two words"
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"subject":"two words"}]})");
        QTest::newRow("unknown key is a word")
            << "note:tuesday" << object(R"({"inMailbox":"inbox","text":"note:tuesday"})");
        QTest::newRow("empty value is a word")
            << "from:" << object(R"({"inMailbox":"inbox","text":"from:"})");
        QTest::newRow("unknown is: and has: are words")
            << "is:bogus has:pdf" << object(R"({"inMailbox":"inbox","text":"is:bogus has:pdf"})");

        QTest::newRow("sizes")
            << "larger:2M smaller:500K"
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},{"minSize":2097152},
                   {"maxSize":512000}]})");
        QTest::newRow("negative size passes on")
            << "larger:-1k"
            << object(
                   R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},{"minSize":-1024}]})");
        QTest::newRow("overflowing size is a word, not a crash")
            << "larger:1e30k smaller:99999999999999999999"
            << object(
                   R"({"inMailbox":"inbox","text":"larger:1e30k smaller:99999999999999999999"})");
        QTest::newRow("impossible date is a word")
            << "after:2026-13-01 before:soon"
            << object(R"({"inMailbox":"inbox","text":"after:2026-13-01 before:soon"})");
    }

    void filter()
    {
        QFETCH(QString, search);
        QFETCH(QJsonObject, expected);
        const QJsonObject actual =
            SearchQuery::filter("inbox", search, mailboxes, QTimeZone("Europe/Berlin"));
        if (actual != expected)
            qWarning().noquote() << QJsonDocument(actual).toJson(QJsonDocument::Compact);
        QCOMPARE(actual, expected);
    }

    void dates_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QJsonObject>("expected");
        QTest::newRow("after is the local midnight")
            << "after:2026-10-01" << QByteArray("Europe/Berlin")
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"after":"2026-09-30T22:00:00Z"}]})");
        QTest::newRow("slashes read as dashes, winter offset")
            << "before:2026/12/24" << QByteArray("Europe/Berlin")
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"before":"2026-12-23T23:00:00Z"}]})");
        QTest::newRow("west of UTC")
            << "after:2026-10-01" << QByteArray("America/New_York")
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"after":"2026-10-01T04:00:00Z"}]})");
        QTest::newRow("midnight twice: the day starts at the first")
            << "after:2025-11-02" << QByteArray("America/Havana")
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"after":"2025-11-02T04:00:00Z"}]})");
        const auto word = [](const char* text) {
            return QJsonObject{{"inMailbox", "inbox"}, {"text", text}};
        };
        QTest::newRow("signed years are words")
            << "after:+2026-10-01 after:-2026-10-01" << QByteArray("UTC")
            << word("after:+2026-10-01 after:-2026-10-01");
        QTest::newRow("first day east of UTC falls before year 1")
            << "after:0001-01-01" << QByteArray("Europe/Berlin") << word("after:0001-01-01");
        QTest::newRow("the outermost days that stay in range")
            << "after:0001-01-01 before:9999-12-31" << QByteArray("UTC")
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"after":"0001-01-01T00:00:00Z"},{"before":"9999-12-31T00:00:00Z"}]})");
        QTest::newRow("midnight in a DST gap starts at the first valid time")
            << "after:2018-11-04" << QByteArray("America/Sao_Paulo")
            << object(R"({"operator":"AND","conditions":[{"inMailbox":"inbox"},
                   {"after":"2018-11-04T03:00:00Z"}]})");
    }

    void dates()
    {
        QFETCH(QString, search);
        QFETCH(QByteArray, zone);
        QFETCH(QJsonObject, expected);
        const QTimeZone timeZone(zone);
        QVERIFY(timeZone.isValid());
        QCOMPARE(SearchQuery::filter("inbox", search, mailboxes, timeZone), expected);
    }

    void tokens_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("quoted folder") << "in:\"Folder Name\"" << QStringList{"in:Folder Name"};
        QTest::newRow("quotes inside a token") << "ab\"c d\"e" << QStringList{"abc de"};
        QTest::newRow("empty quotes vanish") << "a \"\" b" << QStringList{"a", "b"};
        QTest::newRow("blanks inside quotes are kept")
            << "\"  two  spaces \"" << QStringList{"  two  spaces "};
        QTest::newRow("any whitespace separates")
            << "a\nb\u2003c\td\r\ne" << QStringList{"a", "b", "c", "d", "e"};
        QTest::newRow("combining marks stay with their letter")
            << "cafe\u0301 x" << QStringList{"cafe\u0301", "x"};
        QTest::newRow("a quote with a combining mark is a letter")
            << "a\"\u0301b c" << QStringList{"a\"\u0301b", "c"};
    }

    void tokens()
    {
        QFETCH(QString, text);
        QTEST(SearchQuery::tokens(text), "expected");
    }

    void sizes_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<std::optional<qint64>>("expected");
        using S = std::optional<qint64>;
        QTest::newRow("M") << "2M" << S(2097152);
        QTest::newRow("MB") << "2MB" << S(2097152);
        QTest::newRow("bytes unit") << "500b" << S(500);
        QTest::newRow("fraction with unit") << "1.5m" << S(1572864);
        QTest::newRow("fraction truncates") << "0.0001k" << S(0);
        QTest::newRow("largest integer") << "9223372036854775807" << S(9223372036854775807);
        QTest::newRow("integer overflow") << "9223372036854775808" << S();
        QTest::newRow("product overflow") << "1e30k" << S();
        QTest::newRow("infinite") << "infk" << S();
        QTest::newRow("fraction without unit") << "1.5" << S();
        QTest::newRow("only a unit") << "k" << S();
        QTest::newRow("digit grouping") << "1,000" << S();
        QTest::newRow("quoted line break after the number") << "5\n" << S();
        QTest::newRow("quoted blank before the number") << " 5" << S();
        QTest::newRow("fraction without leading digit") << ".5k" << S(512);
        QTest::newRow("no-break space before the unit") << "5\u00a0k" << S();
        QTest::newRow("thin space as digit grouping") << "1\u2009000k" << S();
        QTest::newRow("Unicode minus sign") << "\u22121k" << S();
        QTest::newRow("digits of another script") << "\u0665k" << S();
        QTest::newRow("exponent") << "1e3k" << S();
    }

    void sizes()
    {
        QFETCH(QString, value);
        QTEST(SearchQuery::size(value), "expected");
    }

    void folderTerms_data()
    {
        QTest::addColumn<QString>("token");
        QTest::addColumn<QString>("expected"); // "-" no folder term, "*" every folder, else an id
        QTest::newRow("path") << "in:projects/reports"
                              << "reports";
        QTest::newRow("role") << "in:junk"
                              << "junk";
        QTest::newRow("every folder") << "In:ALL"
                                      << "*";
        QTest::newRow("no such folder") << "in:nowhere"
                                        << "-";
    }

    void folderTerms()
    {
        QFETCH(QString, token);
        QFETCH(QString, expected);
        const auto term = SearchQuery::folder(token, mailboxes);
        const QString actual = !term    ? QStringLiteral("-")
                               : !*term ? QStringLiteral("*")
                                        : (*term)->id;
        QCOMPARE(actual, expected);
        // Without mailboxes only "in:all" still means something.
        const auto bare = SearchQuery::folder(token, {});
        QCOMPARE(bare.has_value(), expected == u"*");

        // A user folder literally named Spam wins over the junk role.
        const QList<Mailbox> withSpam = {mailbox("junk", "Junk Mail", "junk"),
                                         mailbox("s", "Spam")};
        QCOMPARE((*SearchQuery::folder("in:spam", withSpam))->id, QString("s"));
    }

    void folderPathsOnHostileTrees_data()
    {
        QTest::addColumn<QList<Mailbox>>("tree");
        QTest::addColumn<QString>("token");
        QTest::addColumn<QString>("expected"); // an id, or "-" for no folder term

        // Deep enough to overflow a call stack that follows the links, and a long cycle that a
        // depth-bounded walk would spell out a thousand names deep for every mailbox.
        const auto chain = [](int count, bool closed) {
            QList<Mailbox> result;
            for (int index = 0; index < count; ++index) {
                const QByteArray id = "m" + QByteArray::number(index);
                const QByteArray above =
                    "m" + QByteArray::number(index == 0 ? count - 1 : index - 1);
                result.append(
                    mailbox(id.constData(), id.constData(), std::nullopt,
                            index == 0 && !closed ? std::nullopt : std::optional<QString>(above)));
            }
            return result;
        };
        QTest::newRow("deep chain, no match") << chain(30000, false) << "in:m0/m1/m3"
                                              << "-";
        QTest::newRow("deep chain, a path from the top") << chain(30000, false) << "in:M0/m1/M2"
                                                         << "m2";
        QTest::newRow("long cycle, no match") << chain(1000, true) << "in:m1/m2"
                                              << "-";
        QTest::newRow("a cycle is cut at its first member, as in the sidebar")
            << chain(1000, true) << "in:m0/m1/m2"
            << "m2";
        QTest::newRow("repeated id: the path runs through the first")
            << QList<Mailbox>{mailbox("p", "Old"), mailbox("p", "New"),
                              mailbox("c", "Child", {}, "p")}
            << "in:old/child"
            << "c";
    }

    void folderPathsOnHostileTrees()
    {
        QFETCH(QList<Mailbox>, tree);
        QFETCH(QString, token);
        QFETCH(QString, expected);
        const auto term = SearchQuery::folder(token, tree);
        QCOMPARE(term && *term ? (*term)->id : QStringLiteral("-"), expected);
    }
};

QTEST_GUILESS_MAIN(TestSearchQuery)
#include "tst_searchquery.moc"
