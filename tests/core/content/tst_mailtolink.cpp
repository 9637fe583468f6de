#include "content/MailtoLink.h"

#include <QTest>

class TestMailtoLink : public QObject
{
    Q_OBJECT

private slots:
    void links_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QStringList>("to");
        QTest::addColumn<QStringList>("cc");
        QTest::addColumn<QStringList>("bcc");
        QTest::addColumn<QString>("subject");
        QTest::addColumn<QString>("body");

        QTest::newRow("two recipients, cc and an encoded subject")
            << "mailto:a@b,c@d?cc=e@f&subject=Hi%20there" << QStringList{"a@b", "c@d"}
            << QStringList{"e@f"} << QStringList{} << "Hi there"
            << "";
        QTest::newRow("scheme in capitals")
            << "MAILTO:a@b" << QStringList{"a@b"} << QStringList{} << QStringList{} << ""
            << "";
        QTest::newRow("recipients only in the query")
            << "mailto:?to=a@b" << QStringList{"a@b"} << QStringList{} << QStringList{} << ""
            << "";
        QTest::newRow("path first, then query") << "mailto:a@b?to=c@d" << QStringList{"a@b", "c@d"}
                                                << QStringList{} << QStringList{} << ""
                                                << "";
        QTest::newRow("CRLF in the body becomes one line feed, a lone LF stays")
            << "mailto:a@b?body=a%0D%0Ab%0Ac" << QStringList{"a@b"} << QStringList{}
            << QStringList{} << ""
            << "a\nb\nc";
        QTest::newRow("blanks and an empty place between addresses")
            << "mailto:?cc=%20a@b%20,%20,%09c@d%20" << QStringList{} << QStringList{"a@b", "c@d"}
            << QStringList{} << ""
            << "";
        QTest::newRow("the last subject and body win")
            << "mailto:a@b?subject=one&body=x&subject=two&body=y" << QStringList{"a@b"}
            << QStringList{} << QStringList{} << "two"
            << "y";
        QTest::newRow("names compared in lower case")
            << "mailto:a@b?Subject=Hello&CC=c@d&Bcc=e@f&BODY=Text" << QStringList{"a@b"}
            << QStringList{"c@d"} << QStringList{"e@f"} << "Hello"
            << "Text";
        QTest::newRow("items without a value and unknown items")
            << "mailto:a@b?subject&in-reply-to=%3Cx@y%3E&body=" << QStringList{"a@b"}
            << QStringList{} << QStringList{} << ""
            << "";
        QTest::newRow("encoded ampersand, plus and equals stay in the value")
            << "mailto:a@b?subject=Q%26A%20%2B%20x%3D1+2" << QStringList{"a@b"} << QStringList{}
            << QStringList{} << "Q&A + x=1+2"
            << "";
        QTest::newRow("percent-encoded path and UTF-8")
            << "mailto:J%C3%BCrgen%40example.de?subject=%C3%84rger"
            << QStringList{"Jürgen@example.de"} << QStringList{} << QStringList{} << "Ärger"
            << "";
        QTest::newRow("a comma splits even inside quotes")
            << "mailto:%22Doe%2C%20J%22%20%3Cj@d%3E" << QStringList{"\"Doe", "J\" <j@d>"}
            << QStringList{} << QStringList{} << ""
            << "";
        QTest::newRow("empty mailto")
            << "mailto:" << QStringList{} << QStringList{} << QStringList{} << ""
            << "";
    }

    void links()
    {
        QFETCH(QString, url);
        const auto link = MailtoLink::fromUrl(QUrl(url));
        QVERIFY(link);
        QTEST(link->to, "to");
        QTEST(link->cc, "cc");
        QTEST(link->bcc, "bcc");
        QTEST(link->subject, "subject");
        QTEST(link->body, "body");
    }

    void notMailto_data()
    {
        QTest::addColumn<QString>("url");
        QTest::newRow("https") << "https://example.com/?to=a@b";
        QTest::newRow("longer scheme") << "mailtocheck:a@b";
        QTest::newRow("no scheme") << "a@b";
        QTest::newRow("empty") << "";
    }

    void notMailto()
    {
        QFETCH(QString, url);
        QVERIFY(!MailtoLink::fromUrl(QUrl(url)));
    }
};

QTEST_GUILESS_MAIN(TestMailtoLink)
#include "tst_mailtolink.moc"
