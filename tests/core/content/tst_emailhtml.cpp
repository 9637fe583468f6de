#include "Fixtures.h"
#include "content/EmailHTML.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

// The display document of a message, its remote-content test and its plain text.
class TestEmailHTML : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void body_data();
    void body();
    void htmlEscaped_data();
    void htmlEscaped();
    void templateBytes_data();
    void templateBytes();
    void remoteContent_data();
    void remoteContent();
    void plainTextChoosesParts_data();
    void plainTextChoosesParts();
    void plainTextOfHTML_data();
    void plainTextOfHTML();
    void newsletterPlainText();
    void stripTagsAgreesWithTheRegularExpressions();
    void hostileSizesStayFast_data();
    void hostileSizesStayFast();
    void loneSurrogatesAreRepaired_data();
    void loneSurrogatesAreRepaired();
};

namespace {

BodyPart part(const char* id, const char* type)
{
    BodyPart result;
    if (id)
        result.partId = QString::fromUtf8(id);
    result.type = QString::fromUtf8(type);
    return result;
}

using Parts = std::optional<QList<BodyPart>>;
using Values = std::optional<QMap<QString, BodyValue>>;

Email email(Parts html, Parts text, Values values)
{
    Email result;
    result.id = QStringLiteral("M1");
    result.threadId = QStringLiteral("T1");
    result.htmlBody = std::move(html);
    result.textBody = std::move(text);
    result.bodyValues = std::move(values);
    return result;
}

Values values(std::initializer_list<std::pair<const char*, QString>> entries)
{
    QMap<QString, BodyValue> map;
    for (const auto& [id, value] : entries)
        map.insert(QString::fromUtf8(id), BodyValue{value});
    return map;
}

// A message whose only body is one HTML part.
Email htmlOnly(const QString& html)
{
    return email(QList{part("1", "text/html")}, std::nullopt, values({{"1", html}}));
}

const QString noContent = QStringLiteral("<p><em>(no content)</em></p>");

QString pre(const QString& escaped)
{
    return QStringLiteral("<pre class=\"veldrin-plain\">") + escaped + QStringLiteral("</pre>");
}

} // namespace

void TestEmailHTML::body_data()
{
    QTest::addColumn<Email>("message");
    QTest::addColumn<QString>("fragment");

    const auto html = part("h", "text/html");
    const auto plain = part("t", "text/plain");
    const auto both = values({{"h", "<b>Hi</b>"}, {"t", "a < b & c"}});

    QTest::newRow("html part as it stands")
        << email(QList{html}, std::nullopt, both) << "<b>Hi</b>";
    QTest::newRow("text part in the html body is escaped")
        << email(QList{plain}, QList{plain}, both) << pre("a &lt; b &amp; c");
    QTest::newRow("a tag in plain text shows as text")
        << email(QList{plain}, std::nullopt, values({{"t", "<b>x</b>"}}))
        << pre("&lt;b&gt;x&lt;/b&gt;");
    QTest::newRow("html, text, html in order joined by hr")
        << email(QList{html, plain, part("h2", "text/html")}, std::nullopt,
                 values({{"h", "<p>1</p>"}, {"t", "2"}, {"h2", "<p>3</p>"}}))
        << "<p>1</p><hr>" + pre("2") + "<hr><p>3</p>";
    QTest::newRow("absent html body falls back to text body")
        << email(std::nullopt, QList{plain}, both) << pre("a &lt; b &amp; c");
    QTest::newRow("present but empty html body shows no content")
        << email(QList<BodyPart>{}, QList{plain}, both) << noContent;
    QTest::newRow("no bodies at all") << email(std::nullopt, std::nullopt, both) << noContent;
    QTest::newRow("part without id is skipped")
        << email(QList{part(nullptr, "text/html"), html}, std::nullopt, both) << "<b>Hi</b>";
    QTest::newRow("empty body values") << email(QList{html}, std::nullopt, values({})) << noContent;
    QTest::newRow("empty value still contributes")
        << email(QList{html, plain}, std::nullopt, values({{"h", ""}, {"t", "x"}}))
        << "<hr>" + pre("x");
    QTest::newRow("type compared case-sensitively")
        << email(QList{part("h", "TEXT/HTML")}, std::nullopt, both) << pre("&lt;b&gt;Hi&lt;/b&gt;");
    QTest::newRow("calendar part shows as text")
        << email(QList{part("c", "text/calendar")}, std::nullopt,
                 values({{"c", "BEGIN:VCALENDAR"}}))
        << pre("BEGIN:VCALENDAR");
}

void TestEmailHTML::body()
{
    QFETCH(Email, message);
    QFETCH(QString, fragment);
    QCOMPARE(EmailHTML::body(message), fragment);
}

void TestEmailHTML::htmlEscaped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("escaped");

    QTest::newRow("existing entity is escaped") << "&lt;"
                                                << "&amp;lt;";
    QTest::newRow("double quote, not single") << "\"it's\""
                                              << "&quot;it's&quot;";
}

void TestEmailHTML::htmlEscaped()
{
    QFETCH(QString, text);
    QFETCH(QString, escaped);
    QCOMPARE(EmailHTML::htmlEscaped(text), escaped);
}

void TestEmailHTML::templateBytes_data()
{
    QTest::addColumn<bool>("allowRemoteContent");
    QTest::addColumn<QString>("policy");

    QTest::newRow("remote content blocked")
        << false
        << "default-src 'none'; img-src cid: data:; style-src 'unsafe-inline'; font-src data:";
    QTest::newRow("remote content allowed")
        << true
        << "default-src 'none'; img-src cid: data: https: http:; style-src 'unsafe-inline' "
           "https: http:; font-src data: https: http:";
}

void TestEmailHTML::templateBytes()
{
    QFETCH(bool, allowRemoteContent);
    QFETCH(QString, policy);

    const QString document =
        EmailHTML::wrap(QStringLiteral("<p>Hi &amp; bye</p>\n"), allowRemoteContent);
    QVERIFY(document.startsWith("<!doctype html>"));
    QVERIFY(document.contains("<meta http-equiv=\"Content-Security-Policy\" content=\"" + policy +
                              "\">"));
    QVERIFY(document.contains("<body><div id=\"veldrin-root\"><p>Hi &amp; bye</p>\n</div></body>"));
    QCOMPARE(EmailHTML::document(htmlOnly("<p>Hi &amp; bye</p>\n"), allowRemoteContent), document);
    // Only images, styles and fonts open up, each over both schemes.
    const qsizetype remote = allowRemoteContent ? 3 : 0;
    QCOMPARE(document.count(QStringLiteral("https:")), remote);
    QCOMPARE(document.count(QStringLiteral(" http:")), remote);
}

void TestEmailHTML::remoteContent_data()
{
    QTest::addColumn<Email>("message");
    QTest::addColumn<bool>("remote");

    const auto row = [](const char* name, const char* html, bool remote) {
        QTest::newRow(name) << htmlOnly(QString::fromUtf8(html)) << remote;
    };
    row("quoted https image", "<img src=\"https://t.example/p.gif\">", true);
    row("upper case, single quote, http", "<IMG SRC='HTTP://x'>", true);
    row("unquoted with blanks", "<img src = http://x>", true);
    row("background attribute", "<td background=https://x/bg.png>", true);
    row("css url with blank and quote", "<div style=\"background: url( 'https://x/a.png')\">",
        true);
    row("css url unquoted", "<style>p{background:url(http://x)}</style>", true);
    row("cid image", "<img src=\"cid:a\">", false);
    row("data image", "<img src=\"data:image/png;base64,AA\">", false);
    row("protocol-relative", "<img src=\"//cdn.example/x.png\">", false);
    row("other scheme", "<img src=\"ftp://x\">", false);
    row("plain link", "<a href=\"https://example.com\">x</a>", false);
    row("text mentioning src counts", "<p>write src=https://x in the page</p>", true);
    row("no body", "", false);

    const auto plain = part("t", "text/plain");
    QTest::newRow("plain part with bare attribute text")
        << email(QList{plain}, std::nullopt, values({{"t", "src=https://x"}})) << true;
    QTest::newRow("plain part with quoted attribute text")
        << email(QList{plain}, std::nullopt, values({{"t", "src=\"https://x\""}})) << false;
    QTest::newRow("text body not shown is not searched")
        << email(QList<BodyPart>{}, QList{plain}, values({{"t", "src=https://x"}})) << false;
}

void TestEmailHTML::remoteContent()
{
    QFETCH(Email, message);
    QFETCH(bool, remote);
    QCOMPARE(EmailHTML::hasRemoteContent(message), remote);
}

void TestEmailHTML::plainTextChoosesParts_data()
{
    QTest::addColumn<Email>("message");
    QTest::addColumn<QString>("text");

    const auto plain = part("t", "text/plain");
    const auto plain2 = part("t2", "text/plain");
    const auto html = part("h", "text/html");

    QTest::newRow("text parts joined by a line feed, not trimmed")
        << email(std::nullopt, QList{plain, plain2}, values({{"t", "  one "}, {"t2", "two\n"}}))
        << "  one \ntwo\n";
    QTest::newRow("only text/plain parts of the text body")
        << email(std::nullopt, QList{plain, html, part("c", "text/calendar")},
                 values({{"t", "a"}, {"h", "<b>b</b>"}, {"c", "BEGIN"}}))
        << "a";
    QTest::newRow("empty html body does not hide the text")
        << email(QList<BodyPart>{}, QList{plain}, values({{"t", "words"}})) << "words";
    QTest::newRow("html body stripped when there is no text part")
        << email(QList{html}, std::nullopt, values({{"h", "<p>a</p><p>b</p>"}})) << "a\nb";
    QTest::newRow("empty text value falls back to the html body")
        << email(QList{html}, QList{plain}, values({{"t", ""}, {"h", "<i>x</i>"}})) << "x";
    QTest::newRow("fallback takes every part of the html body")
        << email(QList{html, part("p", "text/plain")}, std::nullopt,
                 values({{"h", "<div>a</div>"}, {"p", "b &amp; c"}}))
        << "a\n\nb & c";
    QTest::newRow("fallback to a text body of other types")
        << email(std::nullopt, QList{html}, values({{"h", "<b>x</b>"}})) << "x";
    QTest::newRow("no values at all") << email(QList{html}, QList{plain}, std::nullopt) << "";
}

void TestEmailHTML::plainTextChoosesParts()
{
    QFETCH(Email, message);
    QFETCH(QString, text);
    QCOMPARE(EmailHTML::plainText(message), text);
}

void TestEmailHTML::plainTextOfHTML_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("text");

    // The newsletter fixture below holds the common cases (head, style and script, block
    // ends, nested tables, named entities); these are the edges.
    QTest::newRow("unclosed style keeps its text") << "<style>p { x }"
                                                   << "p { x }";
    QTest::newRow("lazy: text between two scripts stays")
        << "<script>1</script>keep<script>2</script>"
        << "keep";

    // Line structure.
    QTest::newRow("at most one empty line") << "a\n\n\n\nb<br><br><br><br>c"
                                            << "a\n\nb\n\nc";
    QTest::newRow("trimmed at both ends") << "\n  <p> x </p>\n\t"
                                          << "x";

    // Tags and comments.
    QTest::newRow("comment with a bracket leaks its tail") << "<!-- a > b -->x"
                                                           << "b -->x";
    QTest::newRow("brackets around words are taken for a tag") << "1 < 2 and 3 > 2"
                                                               << "1  2";
    QTest::newRow("huge attribute") << "<img alt=\"" + QString(1 << 20, 'x') + "\">tail"
                                    << "tail";

    // Entities.
    QTest::newRow("the six entities") << "&lt;b&gt; &quot;q&quot; &#39;s&#39; a&nbsp;b &amp;"
                                      << "<b> \"q\" 's' a b &";
    QTest::newRow("double-escaped nbsp") << "&amp;nbsp;"
                                         << "&nbsp;";
    QTest::newRow("empty") << ""
                           << "";
}

void TestEmailHTML::plainTextOfHTML()
{
    QFETCH(QString, html);
    QFETCH(QString, text);
    QCOMPARE(EmailHTML::plainText(htmlOnly(html)), text);
    QCOMPARE(EmailHTML::stripTags(html), text);
}

void TestEmailHTML::newsletterPlainText()
{
    const QString html = Fixtures::text("html/newsletter.html");
    const QString expected = Fixtures::text("html/newsletter.txt");
    QVERIFY(!html.isEmpty());
    QCOMPARE(EmailHTML::plainText(htmlOnly(html)), expected);
}

namespace {

// The rules of stripTags as plain regular-expression replacements: slow on hostile input, but
// the meaning that the fast version must keep.
QString referenceStripTags(QString text)
{
    const auto ci = QRegularExpression::CaseInsensitiveOption;
    text.replace(
        QRegularExpression(QStringLiteral("<(style|script|head)\\b[^>]*>[\\s\\S]*?</\\1>"), ci),
        QString());
    text.replace(QRegularExpression(QStringLiteral("<br\\s*/?>"), ci), QStringLiteral("\n"));
    text.replace(QRegularExpression(QStringLiteral("</(p|div|tr|li|h[1-6]|blockquote)>"), ci),
                 QStringLiteral("\n"));
    text.replace(QRegularExpression(QStringLiteral("<[^>]+>"), ci), QString());
    text.replace(QStringLiteral("&nbsp;"), QStringLiteral(" "));
    text.replace(QStringLiteral("&lt;"), QStringLiteral("<"));
    text.replace(QStringLiteral("&gt;"), QStringLiteral(">"));
    text.replace(QStringLiteral("&quot;"), QStringLiteral("\""));
    text.replace(QStringLiteral("&#39;"), QStringLiteral("'"));
    text.replace(QStringLiteral("&amp;"), QStringLiteral("&"));
    text.replace(QRegularExpression(QStringLiteral("[ \\t]+\\n")), QStringLiteral("\n"));
    text.replace(QRegularExpression(QStringLiteral("\\n{3,}")), QStringLiteral("\n\n"));
    return text.trimmed();
}

} // namespace

void TestEmailHTML::stripTagsAgreesWithTheRegularExpressions()
{
    // Random strings built from the pieces the rules react to, with a fixed seed.
    const QStringList pieces{"<",
                             ">",
                             "/",
                             "style",
                             "STYLE",
                             "Script",
                             "head",
                             "header",
                             "</style>",
                             "</SCRIPT>",
                             "</head>",
                             "<br",
                             "</p>",
                             "</Div>",
                             " ",
                             "\t",
                             "\n",
                             "x",
                             "&amp;",
                             "&lt;",
                             "&nbsp;",
                             "-",
                             "_",
                             "\u017F",
                             "\u00e9",
                             "<style>",
                             "<head x>",
                             "</h7>",
                             "<>",
                             "<\u017Ftyle>",
                             "</\u017Fcript>",
                             "tyle",
                             "<script>"};
    QRandomGenerator random(20261121);
    for (int round = 0; round < 3000; ++round) {
        QString html;
        const int length = random.bounded(1, 24);
        for (int k = 0; k < length; ++k)
            html += pieces.at(random.bounded(int(pieces.size())));
        QCOMPARE(EmailHTML::stripTags(html), referenceStripTags(html));
    }
}

void TestEmailHTML::hostileSizesStayFast_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("text");

    // Each would take minutes if every failed start rescanned the rest of the message.
    const int count = 200000;
    QTest::newRow("unclosed style elements")
        << QStringLiteral("<style>x").repeated(count) << QString(count, 'x');
    QTest::newRow("style tags without a bracket")
        << QStringLiteral("<style ").repeated(count)
        << QStringLiteral("<style ").repeated(count).trimmed();
    QTest::newRow("opening brackets only") << QString(count, '<') << QString(count, '<');
    QTest::newRow("blanks without a line feed") << QStringLiteral("a \t").repeated(count)
                                                << QStringLiteral("a \t").repeated(count).trimmed();
}

void TestEmailHTML::hostileSizesStayFast()
{
    QFETCH(QString, html);
    QFETCH(QString, text);
    QCOMPARE(EmailHTML::plainText(htmlOnly(html)), text);
}

void TestEmailHTML::loneSurrogatesAreRepaired_data()
{
    // The escape as the server's JSON carries it; the text the message then shows.
    QTest::addColumn<QByteArray>("escape");
    QTest::addColumn<QString>("shown");
    QTest::newRow("high surrogate alone") << QByteArray("\\ud800") << "\ufffd";
    QTest::newRow("low surrogate alone") << QByteArray("\\udc00") << "\ufffd";
    QTest::newRow("two high surrogates") << QByteArray("\\ud800\\ud800") << "\ufffd\ufffd";
    QTest::newRow("a pair stays") << QByteArray("\\ud83d\\ude00") << "\U0001F600";
}

void TestEmailHTML::loneSurrogatesAreRepaired()
{
    QFETCH(QByteArray, escape);
    QFETCH(QString, shown);
    const QByteArray json = R"({"id":"M1","threadId":"T1","mailboxIds":{"i":true},"keywords":{},
        "receivedAt":"2026-11-21T09:30:00Z","htmlBody":[{"partId":"1","type":"text/html"}],
        "bodyValues":{"1":{"value":"<p>a)" +
                            escape + R"(</p><img src=\"https://t.example/x.gif\"><br>b"}}})";
    const Email message = Email::fromJson(QJsonDocument::fromJson(json).object());
    // Every rule still runs over the whole text.
    QVERIFY(EmailHTML::hasRemoteContent(message));
    QCOMPARE(EmailHTML::plainText(message), "a" + shown + "\n\nb");
}

QTEST_GUILESS_MAIN(TestEmailHTML)
#include "tst_emailhtml.moc"
