#include "Fixtures.h"
#include "content/EmailHTML.h"
#include "markdown/Document.h"
#include "markdown/HTMLFormatter.h"
#include "markdown/MarkdownRenderer.h"
#include "markdown/OutputRewriter.h"
#include "markdown/ParseCost.h"

#include <cmark-gfm-core-extensions.h>
#include <cmark-gfm.h>

#include <QFile>
#include <QTest>

#include <cstdlib>

// Markdown of a large message against cmark-gfm's own HTML renderer on the same text (the
// renderer should stay within 1.5 times cmark's time), the same through the document tree,
// sources that cmark-gfm would take seconds or gigabytes over (sent as plain text) and the
// costliest that still go to cmark, and the plain text of a large HTML newsletter. Figures
// only; nothing here fails on time.
class BenchMarkdown : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void markdown_data();
    void markdown();
    void costlyMarkdown_data();
    void costlyMarkdown();
    void newsletterPlainText();

private:
    QString markdownText;
    QString newsletterHTML;
};

namespace {

constexpr qsizetype megabyte = 1024 * 1024;

QString fixture(const QString& path)
{
    return Fixtures::text(path);
}

// The same parser the renderer uses, with cmark's renderer behind it.
QByteArray cmarkHTML(const QByteArray& source)
{
    cmark_gfm_core_extensions_ensure_registered();
    cmark_parser* parser = cmark_parser_new(CMARK_OPT_SOURCEPOS | CMARK_OPT_SMART);
    for (const char* name : {"table", "strikethrough", "tasklist"})
        cmark_parser_attach_syntax_extension(parser, cmark_find_syntax_extension(name));
    cmark_parser_feed(parser, source.constData(), size_t(source.size()));
    cmark_node* document = cmark_parser_finish(parser);
    char* html =
        cmark_render_html(document, CMARK_OPT_UNSAFE, cmark_parser_get_syntax_extensions(parser));
    QByteArray result(html);
    std::free(html);
    cmark_node_free(document);
    cmark_parser_free(parser);
    return result;
}

} // namespace

void BenchMarkdown::initTestCase()
{
    const QString mail = fixture(QStringLiteral("markdown/mail.md"));
    const QString newsletter = fixture(QStringLiteral("html/newsletter.html"));
    QVERIFY(!mail.isEmpty());
    QVERIFY(!newsletter.isEmpty());
    // Blank lines between the copies keep each copy's blocks apart.
    while (markdownText.size() < megabyte)
        markdownText += mail + QStringLiteral("\n\n");
    while (newsletterHTML.size() < megabyte)
        newsletterHTML += newsletter;
}

void BenchMarkdown::markdown_data()
{
    QTest::addColumn<int>("renderer");
    QTest::newRow("cmark_render_html") << 0;
    QTest::newRow("MarkdownRenderer::html") << 1;
    QTest::newRow("MarkdownRenderer::emailDocument") << 2;
    QTest::newRow("parseDocument, OutputRewriter, HTMLFormatter") << 3;
}

void BenchMarkdown::markdown()
{
    QFETCH(int, renderer);
    qsizetype size = 0;
    if (renderer == 0) {
        const QByteArray source = markdownText.toUtf8();
        QBENCHMARK
        {
            size = cmarkHTML(source).size();
        }
    } else if (renderer == 1) {
        QBENCHMARK
        {
            size = MarkdownRenderer::html(markdownText, false).size();
        }
    } else if (renderer == 2) {
        QBENCHMARK
        {
            size = MarkdownRenderer::emailDocument(markdownText, true).size();
        }
    } else {
        const OutputRewriter rewriter{.hardBreaks = false};
        QBENCHMARK
        {
            size = Markdown::HTMLFormatter::format(
                       rewriter.visit(Markdown::parseDocument(markdownText)))
                       .size();
        }
    }
    QVERIFY(size > markdownText.size() / 2);
}

namespace {

// The unit repeated as often as the source stays affordable: the costliest of its kind that is
// still parsed as Markdown.
QString atTheLimit(const QString& unit)
{
    qsizetype low = 1;
    qsizetype high = 1 << 20;
    while (low < high) {
        const qsizetype middle = (low + high + 1) / 2;
        if (Markdown::ParseCost::of(unit.repeated(middle).toUtf8()).isAffordable())
            low = middle;
        else
            high = middle - 1;
    }
    return unit.repeated(low);
}

QString repeatedTo(const QString& unit, qsizetype size)
{
    return unit.repeated(size / unit.size());
}

} // namespace

void BenchMarkdown::costlyMarkdown_data()
{
    QTest::addColumn<QString>("source");

    constexpr qsizetype kilobyte = 1024;
    QTest::newRow("plain: table 6000 x 6000, 36 KB")
        << QStringLiteral("|a").repeated(6000) + QStringLiteral("|\n") +
               QStringLiteral("|-").repeated(6000) + QStringLiteral("|\n") +
               QStringLiteral("b\n").repeated(6000);
    QTest::newRow("plain: ![[]() 480 KB") << repeatedTo(QStringLiteral("![[]()"), 480 * kilobyte);
    QTest::newRow("plain: quotes 1 MB") << repeatedTo(QStringLiteral("\"a"), 1024 * kilobyte);
    QTest::newRow("plain: ~]<a~ 1 MB") << repeatedTo(QStringLiteral("~]<a~"), 1024 * kilobyte);
    QTest::newRow("plain: :- and | lines 1 MB")
        << repeatedTo(QStringLiteral(":-\n|\n"), 1024 * kilobyte);
    QTest::newRow("plain: > 1 MB") << repeatedTo(QStringLiteral(">"), 1024 * kilobyte);
    QTest::newRow("plain: 5000 nested items, 100,000 lazy lines")
        << QStringLiteral("+ ").repeated(5000) + QStringLiteral("a\n") +
               QStringLiteral("x\n").repeated(100000);
    QTest::newRow("limit: padded table")
        << QStringLiteral("|a").repeated(700) + QStringLiteral("|\n") +
               QStringLiteral("|-").repeated(700) + QStringLiteral("|\n") +
               QStringLiteral("b\n").repeated(700);
    QTest::newRow("limit: '|'") << atTheLimit(QStringLiteral("'|'"));
    QTest::newRow("limit: 'a") << atTheLimit(QStringLiteral("'a"));
    QTest::newRow("limit: :- and | lines") << atTheLimit(QStringLiteral(":-\n|\n"));
    QTest::newRow("limit: :- and ten pipes") << atTheLimit(QStringLiteral(":-\n||||||||||\n"));
    QTest::newRow("limit: 2500 nested items, 1990 lazy lines")
        << QStringLiteral("+ ").repeated(2500) + QStringLiteral("a\n") +
               QStringLiteral("x\n").repeated(1990);
    QTest::newRow("limit: nested list items") << atTheLimit(QStringLiteral("+ "));
    QTest::newRow("limit: nested quotes") << atTheLimit(QStringLiteral(">"));
}

void BenchMarkdown::costlyMarkdown()
{
    QFETCH(QString, source);
    qsizetype size = 0;
    QBENCHMARK
    {
        size = MarkdownRenderer::emailDocument(source, true).size();
    }
    QVERIFY(size > 0);
}

void BenchMarkdown::newsletterPlainText()
{
    Email email;
    email.htmlBody = QList<BodyPart>{BodyPart{.partId = QStringLiteral("1"),
                                              .blobId = {},
                                              .size = {},
                                              .name = {},
                                              .type = QStringLiteral("text/html"),
                                              .cid = {},
                                              .disposition = {}}};
    email.bodyValues = QMap<QString, BodyValue>{{QStringLiteral("1"), BodyValue{newsletterHTML}}};
    qsizetype size = 0;
    QBENCHMARK
    {
        size = EmailHTML::plainText(email).size();
    }
    QVERIFY(size > 0);
}

QTEST_GUILESS_MAIN(BenchMarkdown)
#include "bench_markdown.moc"
