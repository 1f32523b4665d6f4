#include "FeedPages.h"
#include "support/TestWorld.h"

#include <QTcpServer>
#include <QTest>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray post = "<item><pubDate>Mon, 03 Jun 2024</pubDate><link>http://a/1</link><title>Salt</title></item>";
const QString postLine = FeedPages::line(u"http://a/1"_s, u"Salt"_s, u"Mon, 03 Jun 2024"_s);

QByteArray feedWith(const QByteArray &declarations, const QByteArray &reference)
{
    return "<?xml version=\"1.0\"?><!DOCTYPE rss [" + declarations
        + "]><rss><channel><pubDate>Mon, 03 Jun 2024</pubDate>" + "<link>http://a/1</link><title>" + reference
        + "</title></channel></rss>";
}

qint64 peakMegabytes()
{
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}
} // namespace

// Documents that are made to hurt: nothing outside of them is read, and a few bytes don't become many.
class TestRSSFeedBombs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void largeFeedsAreReadWhole_data();
    void largeFeedsAreReadWhole();
    void elementsInOneAnotherEndNothing();
    void aDeclarationChangesNothing_data();
    void aDeclarationChangesNothing();
    void aUseEndsTheDocument_data();
    void aUseEndsTheDocument();
    void entitiesDontGrow_data();
    void entitiesDontGrow();
    void filesAreNeverRead_data();
    void filesAreNeverRead();
    void theNetworkIsNeverAsked_data();
    void theNetworkIsNeverAsked();
};

void TestRSSFeedBombs::largeFeedsAreReadWhole_data()
{
    QTest::addColumn<QByteArray>("declaration");
    QTest::newRow("in UTF-8") << QByteArray();
    QTest::newRow("in another encoding") << QByteArray("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>");
}

void TestRSSFeedBombs::largeFeedsAreReadWhole()
{
    constexpr int posts = 135000; // 12 MB
    QFETCH(const QByteArray, declaration);
    const QByteArray document = declaration + "<rss>" + post.repeated(posts) + "</rss>";
    QVERIFY(FeedPages::made(document) == FeedPages::page(postLine.repeated(posts)));
}

void TestRSSFeedBombs::elementsInOneAnotherEndNothing()
{
    const int depth = 500000;
    const QByteArray deep = QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth);
    QVERIFY(FeedPages::made("<rss>" + post + deep + post + "</rss>") == FeedPages::page(postLine + postLine));
}

void TestRSSFeedBombs::aDeclarationChangesNothing_data()
{
    QTest::addColumn<QByteArray>("declarations");
    QTest::newRow("text") << QByteArray("<!ENTITY copy \"(c)\">");
    QTest::newRow("with others") << QByteArray("<!ELEMENT rss ANY><!ENTITY unused \"x\">");
    QTest::newRow("one without an end") << QByteArray("<!ENTITY a \"&a;\">");
    QTest::newRow("a file") << QByteArray("<!ENTITY file SYSTEM \"file:///etc/hostname\">");
}

void TestRSSFeedBombs::aDeclarationChangesNothing()
{
    QFETCH(const QByteArray, declarations);
    QCOMPARE(FeedPages::made(feedWith(declarations, "Salt")), FeedPages::page(postLine));
}

void TestRSSFeedBombs::aUseEndsTheDocument_data()
{
    QTest::addColumn<QByteArray>("type"); // of the document
    QTest::addColumn<QByteArray>("use");
    const QByteArray inText = "<title>&a; and more</title>";
    const QByteArray inAttribute = "<title x=\"&a;\">more</title>";
    for (const auto &[name, type] :
         {std::pair("alone", QByteArray("<!DOCTYPE rss [")),
          std::pair("beside a public one", QByteArray("<!DOCTYPE rss PUBLIC \"-//a\" \"x\" [")),
          std::pair("beside a system's", QByteArray("<!DOCTYPE rss SYSTEM \"x\" ["))}) {
        QTest::addRow("%s, in a text", name) << type << inText;
        QTest::addRow("%s, in an attribute", name) << type << inAttribute;
    }
}

void TestRSSFeedBombs::aUseEndsTheDocument()
{
    QFETCH(const QByteArray, type);
    QFETCH(const QByteArray, use);
    const QByteArray document =
        type + "<!ENTITY a \"x\">]><rss>" + post + "<a>&amp;&#38;&lt;</a>" + post + use + post + "</rss>";
    QCOMPARE(FeedPages::made(document), FeedPages::page(postLine + postLine));
}

void TestRSSFeedBombs::entitiesDontGrow_data()
{
    QTest::addColumn<QByteArray>("document");
    QByteArray laughs = "<!ENTITY lol0 \"lol\">";
    for (int level = 1; level < 10; ++level) {
        const QByteArray below = "&lol" + QByteArray::number(level - 1) + ';';
        laughs += "<!ENTITY lol" + QByteArray::number(level) + " \"" + below.repeated(10) + "\">";
    }
    QTest::newRow("a billion laughs") << feedWith(laughs, "&lol9;");
    QTest::newRow("one long entity used often")
        << feedWith("<!ENTITY a \"" + QByteArray(50000, 'a') + "\">", QByteArray("&a;").repeated(20000));
    QTest::newRow("one in an attribute") << feedWith("<!ENTITY a \"" + QByteArray(50000, 'a') + "\">",
                                                     "<title x=\"" + QByteArray("&a;").repeated(20000) + "\">");
    QByteArray parameters = "<!ENTITY % p0 \"lol\">";
    for (int level = 1; level < 10; ++level) {
        const QByteArray below = "&#37;p" + QByteArray::number(level - 1) + ';';
        parameters += "<!ENTITY % p" + QByteArray::number(level) + " \"" + below.repeated(10) + "\">";
    }
    QTest::newRow("parameter entities") << feedWith(parameters + "%p9;", "Salt");
}

void TestRSSFeedBombs::entitiesDontGrow()
{
    QFETCH(const QByteArray, document);
    const qint64 before = peakMegabytes();
    QCOMPARE(FeedPages::made(document), FeedPages::page());
    QCOMPARE_LE(peakMegabytes() - before, 50);
}

void TestRSSFeedBombs::filesAreNeverRead_data()
{
    QTest::addColumn<QByteArray>("declarations"); // # stands for the file's address
    QTest::addColumn<QByteArray>("reference");
    QTest::newRow("an entity in a title") << QByteArray("<!ENTITY secret SYSTEM \"#\">") << QByteArray("&secret;");
    QTest::newRow("a public one") << QByteArray("<!ENTITY secret PUBLIC \"-//a\" \"#\">") << QByteArray("&secret;");
    QTest::newRow("a parameter entity") << QByteArray("<!ENTITY % secret SYSTEM \"#\"> %secret;")
                                        << QByteArray("&inside;");
}

void TestRSSFeedBombs::filesAreNeverRead()
{
    QFETCH(QByteArray, declarations);
    QFETCH(const QByteArray, reference);
    const TestWorld world;
    const QString file = world.path(u"secret.txt"_s);
    world.write(file, "<!ENTITY inside \"a secret\">");
    declarations.replace('#', "file://" + file.toUtf8());
    QCOMPARE(FeedPages::made(feedWith(declarations, reference)), FeedPages::page());
}

void TestRSSFeedBombs::theNetworkIsNeverAsked_data()
{
    QTest::addColumn<QByteArray>("beginning"); // # stands for the server's address
    QTest::addColumn<QString>("lines");
    QTest::newRow("a document type") << QByteArray("<!DOCTYPE rss SYSTEM \"#\">") << postLine;
    QTest::newRow("a public one") << QByteArray("<!DOCTYPE rss PUBLIC \"-//a\" \"#\">") << postLine;
    QTest::newRow("an entity") << QByteArray("<!DOCTYPE rss [<!ENTITY e SYSTEM \"#\">]>") << postLine;
    QTest::newRow("a parameter entity") << QByteArray("<!DOCTYPE rss [<!ENTITY % e SYSTEM \"#\"> %e;]>") << QString();
    QTest::newRow("a style sheet") << QByteArray("<?xml-stylesheet type=\"text/xsl\" href=\"#\"?>") << postLine;
    QTest::newRow("an inclusion") << QByteArray() << postLine; // in every row's document
}

void TestRSSFeedBombs::theNetworkIsNeverAsked()
{
    QFETCH(QByteArray, beginning);
    QFETCH(const QString, lines);
    QTcpServer server; // its queue takes a connection while nobody looks
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QByteArray address = "http://127.0.0.1:" + QByteArray::number(server.serverPort()) + "/a.dtd";
    beginning.replace('#', address);
    const QByteArray inclusion = "<xi:include xmlns:xi=\"http://www.w3.org/2001/XInclude\" href=\"" + address + "\"/>";
    QCOMPARE(FeedPages::made(beginning + "<rss>" + inclusion + post + "</rss>"), FeedPages::page(lines));
    QVERIFY(!server.waitForNewConnection(0));
}

QTEST_GUILESS_MAIN(TestRSSFeedBombs)
#include "TestRSSFeedBombs.moc"
