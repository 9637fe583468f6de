#include "markdown/Document.h"
#include "markdown/HTMLFormatter.h"
#include "markdown/MarkdownRenderer.h"
#include "markdown/OutputRewriter.h"

#include <QTest>

using Markdown::Node;
using Kind = Markdown::Node::Kind;

namespace {

// A tree as a test column: the metatype of a recursive record with operator== does not
// instantiate, so rows carry it in a wrapper without one.
struct Tree
{
    Node node;
};

Node node(Kind kind, QList<Node> children = {})
{
    Node result(kind);
    result.children = std::move(children);
    return result;
}

Node text(const QString& string)
{
    Node result(Kind::Text);
    result.literal = string;
    return result;
}

Node cell(const QString& string, unsigned rowspan = 1, unsigned colspan = 1)
{
    Node result = node(Kind::TableCell, {text(string)});
    result.rowspan = rowspan;
    result.colspan = colspan;
    return result;
}

} // namespace

// The formatter on trees the parser cannot produce, and input that must not bring the renderer
// down. The tree of parsed input is checked against the direct output in tst_markdownpaths.
class TestMarkdownTree : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void rewriterEscapesOnlyText()
    {
        Node link = node(Kind::Link, {text(QStringLiteral("a&b"))});
        link.destination = QStringLiteral("x?a=1&b=<2>");
        Node html(Kind::InlineHTML);
        html.literal = QStringLiteral("<b>&amp;</b>");
        Node code(Kind::InlineCode);
        code.literal = QStringLiteral("<>&");
        Node block(Kind::CodeBlock);
        block.literal = QStringLiteral("if a<b\n");
        block.language = QStringLiteral("c<");
        const Node paragraph =
            node(Kind::Paragraph, {link, node(Kind::SoftBreak), html, node(Kind::SoftBreak), code});
        const Node document = node(Kind::Document, {paragraph, block});

        const Node soft = OutputRewriter{.hardBreaks = false}.visit(document);
        const Node& p = soft.children.at(0);
        QCOMPARE(p.children.at(0).children.first().literal, QStringLiteral("a&amp;b"));
        QCOMPARE(p.children.at(0).destination, QStringLiteral("x?a=1&b=<2>"));
        QCOMPARE(p.children.at(1).kind, Kind::SoftBreak);
        QCOMPARE(p.children.at(2).literal, QStringLiteral("<b>&amp;</b>"));
        QCOMPARE(p.children.at(4).literal, QStringLiteral("&lt;&gt;&amp;"));
        QCOMPARE(soft.children.at(1).literal, QStringLiteral("if a&lt;b\n"));
        QCOMPARE(soft.children.at(1).language, QStringLiteral("c<"));

        const Node hard = OutputRewriter{.hardBreaks = true}.visit(document);
        QCOMPARE(hard.children.at(0).children.at(1).kind, Kind::LineBreak);
        QCOMPARE(hard.children.at(0).children.at(3).kind, Kind::LineBreak);
    }

    void formatterCells_data()
    {
        QTest::addColumn<Tree>("table");
        QTest::addColumn<QString>("html");

        using A = Node::Alignment;
        Node table(Kind::Table);
        table.columnAlignments = {A::Right, std::nullopt};

        Node extraCells = table;
        extraCells.children = {
            node(Kind::TableHead, {cell("a"), cell("b"), cell("c")}),
            node(Kind::TableBody, {node(Kind::TableRow, {cell("1"), cell("2"), cell("3")})})};
        QTest::newRow("cells beyond the columns are dropped")
            << Tree{extraCells}
            << "<table>\n<thead>\n<tr>\n<th align=\"right\">a</th>\n<th>b</th>\n</tr>\n</thead>\n"
               "<tbody>\n<tr>\n<td align=\"right\">1</td>\n<td>2</td>\n</tr>\n</tbody>\n</table>\n";

        Node spans = table;
        spans.children = {node(Kind::TableHead, {cell("a", 1, 2), cell("", 1, 0)}),
                          node(Kind::TableBody, {node(Kind::TableRow, {cell("1", 2), cell("2")}),
                                                 node(Kind::TableRow, {cell("", 0), cell("3")})})};
        QTest::newRow("spans and covered cells")
            << Tree{spans}
            << "<table>\n<thead>\n<tr>\n<th align=\"right\" colspan=\"2\">a</th>\n</tr>\n</thead>\n"
               "<tbody>\n<tr>\n<td align=\"right\" rowspan=\"2\">1</td>\n<td>2</td>\n</tr>\n"
               "<tr>\n<td align=\"right\">3</td>\n</tr>\n</tbody>\n</table>\n";

        Node noColumns(Kind::Table);
        noColumns.children = {node(Kind::TableHead, {cell("a")}), node(Kind::TableBody)};
        QTest::newRow("table without columns writes no cells")
            << Tree{noColumns} << "<table>\n<thead>\n<tr>\n</tr>\n</thead>\n</table>\n";
    }

    void formatterCells()
    {
        QFETCH(Tree, table);
        QFETCH(QString, html);
        QCOMPARE(Markdown::HTMLFormatter::format(node(Kind::Document, {table.node})), html);
    }

    void formatterOptionalAttributes_data()
    {
        QTest::addColumn<Tree>("element");
        QTest::addColumn<QString>("html");

        QTest::newRow("link without destination")
            << Tree{node(Kind::Link, {text("a")})} << "<a>a</a>";
        Node image(Kind::Image);
        image.destination = QString();
        image.title = QString();
        QTest::newRow("image with empty source and title") << Tree{image} << "<img />";
        image.title = QStringLiteral("t");
        QTest::newRow("image with title only") << Tree{image} << "<img title=\"t\" />";
    }

    void formatterOptionalAttributes()
    {
        QFETCH(Tree, element);
        QFETCH(QString, html);
        QCOMPARE(Markdown::HTMLFormatter::format(node(Kind::Document, {element.node})), html);
    }

    void hostileInputDoesNotCrash_data()
    {
        QTest::addColumn<QString>("markdown");
        QTest::addColumn<QString>("mustContain");

        QTest::newRow("NUL character")
            << QStringLiteral("a") + QChar(0) + QStringLiteral("b") << QStringLiteral("a\uFFFDb");
        QTest::newRow("lone surrogate")
            << QStringLiteral("x") + QChar(0xD800) << QStringLiteral("x");
        QTest::newRow("ten thousand open brackets")
            << QString(10000, '[') + QStringLiteral("z") << QStringLiteral("[[[z");
        QTest::newRow("unbalanced emphasis")
            << QStringLiteral("*a **b ").repeated(3000) + QStringLiteral("z")
            << QStringLiteral("z");
        QTest::newRow("nested emphasis")
            << QString(3000, '*') + QStringLiteral("w") + QString(3000, '*') << QStringLiteral("w");
        QTest::newRow("wide table")
            << QStringLiteral("|a").repeated(2000) + QStringLiteral("|\n") +
                   QStringLiteral("|-").repeated(2000) + QStringLiteral("|\n") +
                   QStringLiteral("|1").repeated(2000) + QStringLiteral("|")
            << QStringLiteral("1</td>");
        QTest::newRow("unclosed fence")
            << QStringLiteral("```\n<x>") << QStringLiteral("&lt;x&gt;");
        QTest::newRow("unclosed html block")
            << QStringLiteral("<div>\n*x*") << QStringLiteral("*x*");
    }

    void hostileInputDoesNotCrash()
    {
        QFETCH(QString, markdown);
        QFETCH(QString, mustContain);
        QVERIFY(MarkdownRenderer::html(markdown, true).contains(mustContain));
        QVERIFY(MarkdownRenderer::emailDocument(markdown, false).contains(mustContain));
    }

    void deepNestingKeepsText()
    {
        // Each pass over the tree recurses; a deep document must neither overflow the stack nor
        // lose the words at its bottom.
        const QList<QString> sources{
            QString(20000, '>') + QStringLiteral(" bottom"),
            QStringLiteral("- ").repeated(20000) + QStringLiteral("bottom"),
            QStringLiteral("> - ").repeated(10000) + QStringLiteral("bottom"),
        };
        for (const QString& source : sources) {
            const QString html = MarkdownRenderer::html(source, false);
            QVERIFY(html.contains(QStringLiteral("bottom")));
            QVERIFY(html.startsWith(QStringLiteral("<")));
        }

        // Past the depth that keeps structure, code and raw HTML keep their text (escaped, since
        // it is text now), and blocks and cells stay apart.
        const QString deep = QStringLiteral("> ").repeated(300);
        const QString source = deep + QStringLiteral("```\n") + deep +
                               QStringLiteral("if (a < b) {}\n") + deep + QStringLiteral("```\n") +
                               deep + QStringLiteral("\n") + deep +
                               QStringLiteral("<div>raw</div>\n") + deep + QStringLiteral("\n") +
                               deep + QStringLiteral("one\n") + deep + QStringLiteral("\n") + deep +
                               QStringLiteral("| x | y |\n") + deep +
                               QStringLiteral("|---|---|\n") + deep + QStringLiteral("| 1 | `2` |");
        QVERIFY(MarkdownRenderer::html(source, false)
                    .contains(QStringLiteral("if (a &lt; b) {}\n&lt;div&gt;raw&lt;/div&gt;\none\n"
                                             "x y\n1 2</blockquote>")));
    }
};

QTEST_GUILESS_MAIN(TestMarkdownTree)
#include "tst_markdowntree.moc"
