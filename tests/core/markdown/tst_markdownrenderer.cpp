#include "Fixtures.h"
#include "markdown/MarkdownRenderer.h"

#include <QTest>

namespace {

void addRow(const char* name, const char* markdown, const char* html)
{
    QTest::newRow(name) << QString::fromUtf8(markdown) << false << QString::fromUtf8(html);
}

} // namespace

// What a recipient's mail program receives for what the user typed.
class TestMarkdownRenderer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void html_data()
    {
        QTest::addColumn<QString>("markdown");
        QTest::addColumn<bool>("hardBreaks");
        QTest::addColumn<QString>("html");

        addRow("empty source", "", "");
        addRow("heading levels", "# One\n### Three\n###### Six",
               "<h1>One</h1>\n<h3>Three</h3>\n<h6>Six</h6>\n");
        addRow("indented code", "    x = 1\n", "<pre><code>x = 1\n</code></pre>\n");
        // Items are written with their paragraphs, tight or loose.
        addRow("bullet list", "- a\n- b",
               "<ul>\n<li><p>a</p>\n</li>\n<li><p>b</p>\n</li>\n</ul>\n");
        addRow("ordered list from 3", "3. a\n4. b",
               "<ol start=\"3\">\n<li><p>a</p>\n</li>\n<li><p>b</p>\n</li>\n</ol>\n");
        addRow("ordered list from 0", "0. a", "<ol start=\"0\">\n<li><p>a</p>\n</li>\n</ol>\n");
        addRow("html block", "<div class=\"x\">\nraw *not md*\n</div>",
               "<div class=\"x\">\nraw *not md*\n</div>\n");
        addRow("script block goes out unfiltered", "<script>alert(1)</script>",
               "<script>alert(1)</script>\n");

        addRow("emphasis and strong", "*a* **b** _c_",
               "<p><em>a</em> <strong>b</strong> <em>c</em></p>\n");
        addRow("link with empty destination", "[a]()", "<p><a href=\"\">a</a></p>\n");
        addRow("image with title and no alt", "![a cat](cat.png \"Tom\")",
               "<p><img src=\"cat.png\" title=\"Tom\" /></p>\n");
        addRow("autolink in brackets", "<https://e.com>",
               "<p><a href=\"https://e.com\">https://e.com</a></p>\n");
        addRow("inline html", "a <b>bold</b> move", "<p>a <b>bold</b> move</p>\n");
        addRow("smart quotes and dashes", "\"Hi\" it's -- well --- so...",
               "<p>\u201cHi\u201d it\u2019s \u2013 well \u2014 so\u2026</p>\n");
        addRow("entity is decoded then escaped again", "&amp; &copy;", "<p>&amp; \u00a9</p>\n");

        addRow("text", "a < b & c > d", "<p>a &lt; b &amp; c &gt; d</p>\n");
        addRow("double quotes stay in text", "say \\\"x\\\"", "<p>say \"x\"</p>\n");
        addRow("code span escaped", "`<b> & co`", "<p><code>&lt;b&gt; &amp; co</code></p>\n");
        addRow("code block escaped", "```\n<p>&amp;</p>\n```",
               "<pre><code>&lt;p&gt;&amp;amp;&lt;/p&gt;\n</code></pre>\n");
        addRow("escaped angle bracket", "\\<b>", "<p>&lt;b&gt;</p>\n");
        addRow("text in heading", "# 1 < 2", "<h1>1 &lt; 2</h1>\n");
        addRow("text in table", "| a<b |\n|---|\n| & |",
               "<table>\n<thead>\n<tr>\n<th>a&lt;b</th>\n</tr>\n</thead>\n<tbody>\n<tr>\n"
               "<td>&amp;</td>\n</tr>\n</tbody>\n</table>\n");
        // Attribute values are escaped with their quotes, so that none can end its attribute
        // and carry markup or an event handler into the mail.
        addRow("quoted destination", "[link](\"title\")",
               "<p><a href=\"&quot;title&quot;\">link</a></p>\n");
        addRow("event handler in a destination", "[x](<a\" onmouseover=\"alert(1)>)",
               "<p><a href=\"a&quot; onmouseover=&quot;alert(1)\">x</a></p>\n");
        addRow("image source and title", "![i](<x\" onerror=\"y> \"t&<\\\"q>\")",
               "<p><img src=\"x&quot; onerror=&quot;y\" title=\"t&amp;&lt;&quot;q&gt;\" /></p>\n");
        addRow("code info string", "```c\"><script>\nx\n```",
               "<pre><code class=\"language-c&quot;&gt;&lt;script&gt;\">x\n</code></pre>\n");

        addRow("mixed with a plain item", "- [x] a\n- b",
               "<ul>\n<li><input type=\"checkbox\" disabled=\"\" checked=\"\" /> <p>a</p>\n</li>\n"
               "<li><p>b</p>\n</li>\n</ul>\n");
        addRow("brackets in a paragraph are text", "[x] not a task", "<p>[x] not a task</p>\n");

        addRow(
            "aligned columns", "| l | c | r | n |\n|:--|:-:|--:|---|\n| 1 | 2 | 3 | 4 |",
            "<table>\n<thead>\n<tr>\n<th align=\"left\">l</th>\n<th align=\"center\">c</th>\n"
            "<th align=\"right\">r</th>\n<th>n</th>\n</tr>\n</thead>\n<tbody>\n<tr>\n"
            "<td align=\"left\">1</td>\n<td align=\"center\">2</td>\n<td align=\"right\">3</td>\n"
            "<td>4</td>\n</tr>\n</tbody>\n</table>\n");
        addRow("head without rows has no body", "| a |\n|:-:|",
               "<table>\n<thead>\n<tr>\n<th align=\"center\">a</th>\n</tr>\n</thead>\n</table>\n");
        addRow("short row is filled", "| a | b |\n|---|--:|\n| 1 |",
               "<table>\n<thead>\n<tr>\n<th>a</th>\n<th align=\"right\">b</th>\n</tr>\n</thead>\n"
               "<tbody>\n<tr>\n<td>1</td>\n<td align=\"right\"></td>\n</tr>\n</tbody>\n</table>\n");
        addRow("long row is cut", "| a |\n|---|\n| 1 | 2 | 3 |",
               "<table>\n<thead>\n<tr>\n<th>a</th>\n</tr>\n</thead>\n<tbody>\n<tr>\n<td>1</td>\n"
               "</tr>\n</tbody>\n</table>\n");
        addRow("second table has its own alignments", "| a |\n|--:|\n\nx\n\n| b |\n|---|\n| 1 |",
               "<table>\n<thead>\n<tr>\n<th align=\"right\">a</th>\n</tr>\n</thead>\n</table>\n"
               "<p>x</p>\n<table>\n<thead>\n<tr>\n<th>b</th>\n</tr>\n</thead>\n<tbody>\n<tr>\n"
               "<td>1</td>\n</tr>\n</tbody>\n</table>\n");

        addRow("code span keeps its backticks", "## Run `make`", "<h2>Run `make`</h2>\n");
        addRow("code span is still escaped", "## `a<b`", "<h2>`a&lt;b`</h2>\n");
        addRow("strikethrough keeps tildes", "# ~~old~~ new", "<h1>~old~ new</h1>\n");
        addRow("link keeps its text only", "# See [here](http://x)", "<h1>See here</h1>\n");
        addRow("image gives its alt text", "# ![logo](l.png) Co", "<h1>logo Co</h1>\n");
        addRow("setext soft break is a blank", "one\ntwo\n---", "<h2>one two</h2>\n");
        addRow("setext hard break is a line feed", "one\\\ntwo\n---", "<h2>one\ntwo</h2>\n");

        // Line breaks, soft or made hard.
        QTest::newRow("soft break kept") << "one\ntwo" << false << "<p>one\ntwo</p>\n";
        QTest::newRow("soft break made hard") << "one\ntwo" << true << "<p>one<br />\ntwo</p>\n";
        QTest::newRow("backslash break") << "one\\\ntwo" << false << "<p>one<br />\ntwo</p>\n";
        QTest::newRow("hard breaks inside a quote")
            << "> a\n> b" << true << "<blockquote>\n<p>a<br />\nb</p>\n</blockquote>\n";
        QTest::newRow("code block keeps its lines")
            << "```\na\nb\n```" << true << "<pre><code>a\nb\n</code></pre>\n";
    }

    void html()
    {
        QFETCH(QString, markdown);
        QFETCH(bool, hardBreaks);
        QFETCH(QString, html);
        QCOMPARE(MarkdownRenderer::html(markdown, hardBreaks), html);
    }

    // A whole message, with hard breaks: the rows above leave out what it already holds
    // (paragraphs, quotes, fenced code, rules, strikethrough, links, task items, aligned tables).
    void newsletterMatchesFixture()
    {
        const QString markdown = Fixtures::text("markdown/mail.md");
        const QString expected = Fixtures::text("markdown/mail.html");
        QVERIFY(!markdown.isEmpty());
        QVERIFY(!expected.isEmpty());
        QCOMPARE(MarkdownRenderer::emailDocument(markdown, true), expected);
    }
};

QTEST_GUILESS_MAIN(TestMarkdownRenderer)
#include "tst_markdownrenderer.moc"
