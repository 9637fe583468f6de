#include "Fixtures.h"
#include "markdown/Document.h"
#include "markdown/HTMLFormatter.h"
#include "markdown/MarkdownRenderer.h"
#include "markdown/OutputRewriter.h"

#include <QRegularExpression>
#include <QTest>

namespace {

// Every line of text inside the given number of block quotes.
QString quoted(int depth, const QString& text)
{
    const QString prefix = QStringLiteral("> ").repeated(depth);
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString& line : lines)
        line.prepend(prefix);
    return lines.join(QLatin1Char('\n'));
}

} // namespace

// The renderer writes HTML straight from cmark-gfm's nodes; the tree, rewritten and formatted,
// must give the same text for every input, including the odd and the pathological. The mail
// document styles its tags in one pass, which must equal the five replacements in turn.
class TestMarkdownPaths : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void directMatchesTree_data()
    {
        QTest::addColumn<QString>("markdown");

        QTest::newRow("empty") << QString();
        QTest::newRow("mail fixture") << Fixtures::text("markdown/mail.md");
        QTest::newRow("escapes everywhere") << QStringLiteral(
            "a < b & c > d\n\n`<x> & y`\n\n```c<\nif (a<b && c>d)\n```\n\n"
            "    indented <code>\n\n<div>&amp; <b>raw</b></div>\n\ninline <i>x</i> "
            "&copy; &#35; \\<");
        QTest::newRow("headings keep only plain text")
            << QStringLiteral("# *em* **strong** `co<de>` ~~del~~ [link](u) ![alt *x*](i.png) "
                              "<b>raw</b> a&b\n\n## soft\nline  \nhard\n\nSetext & <b>\n===");
        QTest::newRow("links and images")
            << QStringLiteral("[a](</my url> \"t\") [b]() ![](x) ![c](y \"\") ![d](z \"T&<\") "
                              "[ref]\n\n[ref]: http://r?a=1&b=2 \"Ref\"\n\n<http://auto.link>");
        QTest::newRow("lists and tasks") << QStringLiteral(
            "3. three\n4. four\n\n0. zero\n\n- [x] done\n- [ ] open\n  - [X] nested\n"
            "\n* loose\n\n* list\n\n1) [ ] ordered task");
        QTest::newRow("tables") << QStringLiteral(
            "| a | b | c |\n|:--|:-:|--:|\n| 1 | 2 | 3 | 4 |\n| 5 |\n\n"
            "| only | head |\n|---|---|\n\nx | y\n-|-\n`|` | **z**");
        QTest::newRow("smart punctuation and unicode") << QStringLiteral(
            "\"Quote\" -- 'single' --- dots... caf\u00e9 \U0001F600 \u05E9\u05DC\u05D5\u05DD");
        QTest::newRow("NUL and lone surrogate")
            << QStringLiteral("a") + QChar(0) + QStringLiteral("b ") + QChar(0xD800);
        QTest::newRow("unbalanced emphasis")
            << QStringLiteral("*a **b ").repeated(500) + QStringLiteral("z");
        QTest::newRow("deep quotes") << QString(2000, '>') + QStringLiteral(" *bottom* `x`\nmore");
        QTest::newRow("deep lists")
            << QStringLiteral("- ").repeated(2000) + QStringLiteral("**b**");

        // The depth at which a subtree keeps only its text falls inside a table, a heading and a
        // list at one of these depths.
        const QString table = QStringLiteral("| a | *b* |\n|:-|-:|\n| 1 | `2` |\n| 3 | 4 |");
        const QString heading = QStringLiteral("# *a* `b` ~~c~~ [d](e)");
        const QString list = QStringLiteral("- [x] *task*\n- item\n\n  para");
        for (int depth = 250; depth <= 258; ++depth) {
            QTest::addRow("table at depth %d", depth) << quoted(depth, table);
            QTest::addRow("heading at depth %d", depth) << quoted(depth, heading);
            QTest::addRow("list at depth %d", depth) << quoted(depth, list);
        }
    }

    void directMatchesTree()
    {
        QFETCH(QString, markdown);
        for (const bool hardBreaks : {false, true}) {
            const OutputRewriter rewriter{.hardBreaks = hardBreaks};
            const QString tree =
                Markdown::HTMLFormatter::format(rewriter.visit(Markdown::parseDocument(markdown)));
            QCOMPARE(MarkdownRenderer::html(markdown, hardBreaks), tree);
        }
    }

    void emailStylesMatchReplacements_data()
    {
        QTest::addColumn<QString>("markdown");

        QTest::newRow("mail fixture") << Fixtures::text("markdown/mail.md");
        QTest::newRow("every styled element")
            << QStringLiteral("> q\n\n```sh\nx\n```\n\n`c`\n\n| a | b |\n|:-|--|\n| 1 | 2 |");
        QTest::newRow("raw tags and near misses")
            << QStringLiteral("<th>a</th><td x>b</td><thead><tbody><tdx><t <pre\tx><pre>"
                              "<code><code\n><table><TABLE> <blockquote <blockquotes> <td");
        QTest::newRow("raw html block")
            << QStringLiteral("<table>\n<tr><th>h</th><td>d</td></tr>\n</table>\n\nafter <pre");
        QTest::newRow("escaped text never matches") << QStringLiteral("a <td> b `<pre>` \\<code>");
        QTest::newRow("tag at the very end") << QStringLiteral("x <code");
    }

    void emailStylesMatchReplacements()
    {
        QFETCH(QString, markdown);
        const QString cell = QStringLiteral(" style=\"border:1px solid #d0d0d5;padding:4px 8px\"");
        const QList<std::pair<QRegularExpression, QString>> replacements{
            {QRegularExpression(QStringLiteral("<blockquote(?=[ >])")),
             QStringLiteral(
                 "<blockquote style=\"margin:0 0 0 4px;padding-left:12px;border-left:3px "
                 "solid #d0d0d5;color:#555\"")},
            {QRegularExpression(QStringLiteral("<pre(?=[ >])")),
             QStringLiteral(
                 "<pre "
                 "style=\"background:#f4f4f6;padding:10px;border-radius:6px;overflow-x:auto\"")},
            {QRegularExpression(QStringLiteral("<code(?=[ >])")),
             QStringLiteral(
                 "<code "
                 "style=\"font-family:ui-monospace,Menlo,Consolas,monospace;font-size:13px\"")},
            {QRegularExpression(QStringLiteral("<table(?=[ >])")),
             QStringLiteral("<table style=\"border-collapse:collapse\"")},
            {QRegularExpression(QStringLiteral("<(th|td)(?=[ >])")), QStringLiteral("<\\1") + cell},
        };
        for (const bool hardBreaks : {false, true}) {
            QString fragment = MarkdownRenderer::html(markdown, hardBreaks);
            for (const auto& [pattern, replacement] : replacements)
                fragment.replace(pattern, replacement);
            // The frame of the document is that of an empty message.
            QString expected = MarkdownRenderer::emailDocument(QString(), hardBreaks);
            expected.insert(expected.lastIndexOf(QStringLiteral("\n</body>")), fragment);
            QCOMPARE(MarkdownRenderer::emailDocument(markdown, hardBreaks), expected);
        }
    }
};

QTEST_GUILESS_MAIN(TestMarkdownPaths)
#include "tst_markdownpaths.moc"
