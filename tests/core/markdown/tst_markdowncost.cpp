#include "Fixtures.h"
#include "markdown/Document.h"
#include "markdown/HTMLFormatter.h"
#include "markdown/MarkdownRenderer.h"
#include "markdown/OutputRewriter.h"
#include "markdown/ParseCost.h"

#include <QTest>

namespace {

// A table whose header and delimiter rows are columns wide, followed by rows of one cell each.
QString paddedTable(int columns, int rows)
{
    return QStringLiteral("|a").repeated(columns) + QStringLiteral("|\n") +
           QStringLiteral("|-").repeated(columns) + QStringLiteral("|\n") +
           QStringLiteral("b\n").repeated(rows);
}

QString repeatedTo(const QString& unit, qsizetype size)
{
    return unit.repeated(size / unit.size());
}

// The fragment through both renderers, which must agree.
QString rendered(const QString& markdown, bool hardBreaks)
{
    const QString direct = MarkdownRenderer::html(markdown, hardBreaks);
    const OutputRewriter rewriter{.hardBreaks = hardBreaks};
    const QString tree =
        Markdown::HTMLFormatter::format(rewriter.visit(Markdown::parseDocument(markdown)));
    return direct == tree ? direct : QStringLiteral("renderers differ");
}

} // namespace

// Text that would make cmark-gfm pad tables into gigabytes or match delimiters for minutes is
// sent as plain text; ordinary mail, however long, is still Markdown. Nothing here is timed: a
// source that slipped through would hang or abort the test.
class TestMarkdownCost : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void costlySourceIsPlainText_data()
    {
        QTest::addColumn<QString>("markdown");
        QTest::addColumn<QString>("text");

        constexpr qsizetype kilobyte = 1024;
        QTest::newRow("6000 columns padded over 6000 rows")
            << paddedTable(6000, 6000) << QStringLiteral("|a|a|a|");
        QTest::newRow("padding in a block quote")
            << QStringLiteral("> x\n>\n") +
                   paddedTable(2000, 1000).replace(QStringLiteral("\n"), QStringLiteral("\n> "))
            << QStringLiteral("&gt; b");
        QTest::newRow("images of empty links")
            << repeatedTo(QStringLiteral("![[]()"), 480 * kilobyte)
            << QStringLiteral("![[]()![[]()");
        QTest::newRow("double quotes")
            << repeatedTo(QStringLiteral("\""), 1024 * kilobyte) << QStringLiteral("\"\"\"\"");
        QTest::newRow("apostrophes and ampersands")
            << repeatedTo(QStringLiteral("''&"), 200 * kilobyte) << QStringLiteral("''&amp;''");
        QTest::newRow("strikethrough among brackets")
            << repeatedTo(QStringLiteral("~]<a~"), 200 * kilobyte) << QStringLiteral("~]&lt;a~~]");
        QTest::newRow("strikethrough among emphasis")
            << repeatedTo(QStringLiteral("_a*~"), 240 * kilobyte) << QStringLiteral("_a*~_a*~");
        QTest::newRow("paragraph read again at every would-be delimiter row")
            << repeatedTo(QStringLiteral(":-\n|\n"), 200 * kilobyte) << QStringLiteral(":-\n|\n:-");
        QTest::newRow("lazy lines under 5000 nested list items")
            << QStringLiteral("+ ").repeated(5000) + QStringLiteral("a\n") +
                   QStringLiteral("x\n").repeated(100000)
            << QStringLiteral("+ + a\nx\nx");
        QTest::newRow("a megabyte of nested quotes")
            << repeatedTo(QStringLiteral(">"), 1024 * kilobyte)
            << QStringLiteral("<p>&gt;&gt;&gt;");
        QTest::newRow("quotes on lines of one paragraph, CR line ends")
            << repeatedTo(QStringLiteral("\"a\" 'b'\r"), 512 * kilobyte)
            << QStringLiteral("\"a\" 'b'");
    }

    void costlySourceIsPlainText()
    {
        QFETCH(QString, markdown);
        QFETCH(QString, text);
        QVERIFY(!Markdown::ParseCost::of(markdown.toUtf8()).isAffordable());
        const QString html = rendered(markdown, false);
        QVERIFY2(html.startsWith(QStringLiteral("<p>")), qPrintable(html.left(100)));
        QVERIFY(html.contains(text));
        // Nothing is read as markup: the only tags are the paragraphs', and the text is all there.
        QVERIFY(!html.contains(QStringLiteral("<t")) && !html.contains(QStringLiteral("<img")) &&
                !html.contains(QStringLiteral("<del")) && !html.contains(QStringLiteral("<em")));
        // An ampersand, five characters, is the longest escape.
        QVERIFY(html.size() < markdown.size() * 5 + 16);
        const QString document = MarkdownRenderer::emailDocument(markdown, false);
        QVERIFY(document.contains(text));
        QVERIFY(document.size() < markdown.size() * 6 + 1024);
    }

    void ordinarySourceStaysMarkdown_data()
    {
        QTest::addColumn<QString>("markdown");
        QTest::addColumn<QString>("markup");

        const QString mail = Fixtures::text(QStringLiteral("markdown/mail.md"));
        QTest::newRow("a megabyte of mail")
            << repeatedTo(mail + QStringLiteral("\n\n"), 1024 * 1024) << QStringLiteral("<td");
        QTest::newRow("table of 40 columns and 5000 rows")
            << QStringLiteral("| h ").repeated(40) + QStringLiteral("|\n") +
                   QStringLiteral("|:--").repeated(40) + QStringLiteral("|\n") +
                   (QStringLiteral("| cell ").repeated(40) + QStringLiteral("|\n")).repeated(5000)
            << QStringLiteral("<td align=\"left\">cell</td>");
        QTest::newRow("paragraph of long dialogue")
            << QStringLiteral("\"Yes,\" she said, 'it's *done*' [here](u) ~~or~~ not. ")
                   .repeated(300)
            << QStringLiteral("<em>done</em>");
        QTest::newRow("replies quoted five deep")
            << QStringLiteral("> > > > > On Monday, someone wrote:\n").repeated(30000)
            << QStringLiteral("<blockquote>\n<blockquote>");
        QTest::newRow("thousands of short paragraphs with emphasis")
            << QStringLiteral("*one* \"two\" **three** [four](x) ![five](y)\n\n").repeated(20000)
            << QStringLiteral("<img src=\"y\" />");
    }

    void ordinarySourceStaysMarkdown()
    {
        QFETCH(QString, markdown);
        QFETCH(QString, markup);
        QVERIFY(Markdown::ParseCost::of(markdown.toUtf8()).isAffordable());
        QVERIFY(MarkdownRenderer::html(markdown, false).contains(markup));
    }

    void plainTextKeepsParagraphsAndLines()
    {
        // Enough quotes to be costly, then text that would be markup.
        const QString quotes(20000, u'"');
        const QString markdown = QStringLiteral("  # a <b> & ") + quotes +
                                 QStringLiteral("  \r\n*b*\t\n \t\n\n| c | d |\n|---|---|\ne") +
                                 QChar(0) + QStringLiteral("\n");
        QCOMPARE(rendered(markdown, false),
                 QStringLiteral("<p># a &lt;b&gt; &amp; ") + quotes +
                     QStringLiteral("\n*b*</p>\n<p>| c | d |\n|---|---|\ne\uFFFD</p>\n"));
        QCOMPARE(rendered(markdown, true),
                 QStringLiteral("<p># a &lt;b&gt; &amp; ") + quotes +
                     QStringLiteral(
                         "<br />\n*b*</p>\n<p>| c | d |<br />\n|---|---|<br />\ne\uFFFD</p>\n"));
    }
};

QTEST_GUILESS_MAIN(TestMarkdownCost)
#include "tst_markdowncost.moc"
