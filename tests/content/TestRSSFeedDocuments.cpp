#include "FeedPages.h"

#include <QStringEncoder>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
QString lineOf(const QString &link, const QString &title)
{
    return FeedPages::line(link, title, u"Mon, 03 Jun 2024"_s);
}

QByteArray channel(const QByteArray &content)
{
    return "<rss version=\"2.0\"><channel>" + content + "</channel></rss>";
}

// In the order that needs no pairing: this post's title meets this post's link and date.
QByteArray post(const QByteArray &link, const QByteArray &title)
{
    return "<item><pubDate>Mon, 03 Jun 2024</pubDate><link>" + link + "</link><title>" + title + "</title></item>";
}

const QByteArray first = post("http://a/1", "Salt");
const QString firstLine = lineOf(u"http://a/1"_s, u"Salt"_s);

QByteArray utf16(const QString &text, QStringConverter::Encoding encoding)
{
    QStringEncoder encode(encoding, QStringConverter::Flag::WriteBom);
    return encode(text);
}
} // namespace

// Whole documents through the parser, to the page's last character.
class TestRSSFeedDocuments : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void postsPairWithTheOneBefore_data();
    void postsPairWithTheOneBefore();
    void piecesOfText_data();
    void piecesOfText();
    void elementsAndNames_data();
    void elementsAndNames();
    void encodings_data();
    void encodings();
    void whatIsNoFeedMakesTheEmptyPage_data();
    void whatIsNoFeedMakesTheEmptyPage();
    void whatBreaksGivesTheLinesBefore_data();
    void whatBreaksGivesTheLinesBefore();
    void aFeedCutAtAnyByteGivesTheLinesBefore();
};

void TestRSSFeedDocuments::postsPairWithTheOneBefore_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("lines");

    QTest::newRow("the usual order in one line")
        << QByteArray("<?xml version=\"1.0\"?><rss version=\"2.0\"><channel><title>News</title><link>http://a/</link>"
                      "<item><title>P1</title><link>http://a/1</link><pubDate>Mon, 03 Jun 2024</pubDate></item>"
                      "<item><title>P2</title><link>http://a/2</link><pubDate>Tue, 04 Jun 2024</pubDate></item>"
                      "<item><title>P3</title><link>http://a/3</link><pubDate>Wed, 05 Jun 2024</pubDate></item>"
                      "</channel></rss>")
        << FeedPages::line(u"http://a/1"_s, u"P2"_s, u"Mon, 03 Jun 2024"_s)
            + FeedPages::line(u"http://a/2"_s, u"P3"_s, u"Tue, 04 Jun 2024"_s);

    // The blanks behind a title that made no line begin the next one that does.
    QTest::newRow("the usual order, a little indented")
        << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss>\n<channel>\n <title>News</title>\n"
                      " <link>http://a/</link>\n"
                      " <item>\n  <title>P1</title>\n  <link>http://a/1</link>\n"
                      "  <pubDate>Mon, 03 Jun 2024</pubDate>\n </item>\n"
                      " <item>\n  <title>P2</title>\n  <link>http://a/2</link>\n"
                      "  <pubDate>Tue, 04 Jun 2024</pubDate>\n </item>\n"
                      " <item>\n  <title>P3</title>\n  <link>http://a/3</link>\n"
                      "  <pubDate>Wed, 05 Jun 2024</pubDate>\n </item>\n"
                      "</channel>\n</rss>\n")
        << FeedPages::line(u"http://a/1"_s, u"\n  P2"_s, u"Mon, 03 Jun 2024"_s)
            + FeedPages::line(u"http://a/2"_s, u"P3"_s, u"Tue, 04 Jun 2024"_s);

    QTest::newRow("deep indentation takes the date's place")
        << QByteArray("<rss>\n  <channel>\n    <title>News</title>\n    <link>http://a/</link>\n"
                      "    <item>\n      <title>P1</title>\n      <link>http://a/1</link>\n"
                      "      <pubDate>Mon, 03 Jun 2024</pubDate>\n    </item>\n"
                      "    <item>\n      <link>http://a/2</link>\n      <title>P2</title>\n    </item>\n"
                      "    <item>\n      <pubDate>Wed, 05 Jun 2024</pubDate>\n      <link>http://a/3</link>\n"
                      "      <title>P3</title>\n    </item>\n"
                      "  </channel>\n</rss>\n")
        << FeedPages::line(u"http://a/2"_s, u"\n      P2"_s, u"Mon, 03 Jun 2024"_s)
            + FeedPages::line(u"http://a/3"_s, u"P3"_s, u"\n      "_s);

    QTest::newRow("dates before titles") << channel(first + post("http://a/2", "Rain"))
                                         << firstLine + lineOf(u"http://a/2"_s, u"Rain"_s);
    QTest::newRow("the last post's link and date are never used")
        << channel(first + "<item><link>http://a/2</link><pubDate>Tue, 04 Jun 2024</pubDate></item>") << firstLine;
    QTest::newRow("a short date leaves the one before")
        << channel("<pubDate>Mon, 03 Jun 2024</pubDate><pubDate>12:30</pubDate><link>http://a/1</link>"
                   "<title>Salt</title>")
        << firstLine;
    QTest::newRow("two titles in one post") << channel(first + "<title>Once more</title>") << firstLine;
    QTest::newRow("no posts") << channel("<title>News</title><link>http://a/</link>") << QString();
}

void TestRSSFeedDocuments::postsPairWithTheOneBefore()
{
    QFETCH(const QByteArray, document);
    QFETCH(const QString, lines);
    QCOMPARE(FeedPages::made(document), FeedPages::page(lines));
}

void TestRSSFeedDocuments::piecesOfText_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("lines");
    const auto link = [](const QByteArray &text) { return channel(post(text, "Salt")); };
    const auto title = [](const QByteArray &text) { return channel(post("http://a/1", text)); };
    const auto linked = [](const QString &text) { return lineOf(text, u"Salt"_s); };
    const auto titled = [](const QString &text) { return lineOf(u"http://a/1"_s, text); };

    QTest::newRow("an entity cuts a link") << link("http://a/?x=1&amp;y=2") << linked(u"http://a/?x=1"_s);
    QTest::newRow("a number does, too") << link("http://a/?x=1&#38;y=2&#x26;z=3") << linked(u"http://a/?x=1"_s);
    QTest::newRow("the last piece that begins with http wins")
        << link("http://a/?to=1&amp;http://b/") << linked(u"http://b/"_s);
    QTest::newRow("a letter outside ASCII cuts a link") << link("http://a/\u00e9t\u00e9") << linked(u"http://a/"_s);
    QTest::newRow("a comment cuts a link") << link("http://a/1<!-- old -->2") << linked(u"http://a/1"_s);
    QTest::newRow("an instruction cuts a link") << link("http://a/1<?old?>2") << linked(u"http://a/1"_s);
    QTest::newRow("CDATA in a link is never seen")
        << link("http://a/1<![CDATA[http://b/]]>") << linked(u"http://a/1"_s);
    QTest::newRow("a link of CDATA is none") << link("<![CDATA[http://a/1]]>") << QString();
    QTest::newRow("a long link") << link("http://a/" + QByteArray(70000, 'x'))
                                 << linked(u"http://a/"_s + QString(70000, u'x'));

    QTest::newRow("entities in a title are put in as they read")
        << title("Salt &amp; cedar &lt;b&gt; &quot;&apos; &#233;&#x1F5FB;")
        << titled(u"Salt & cedar <b> \"' \u00e9\U0001F5FB"_s);
    QTest::newRow("CDATA in a title is never seen") << title("Salt <![CDATA[& cedar]]>rain") << titled(u"Salt rain"_s);
    QTest::newRow("a title of CDATA reads null") << title("<![CDATA[Salt]]>") << titled(u"(null)"_s);
    QTest::newRow("an empty title reads null") << title("") << titled(u"(null)"_s);
    QTest::newRow("a comment in a title") << title("Salt<!-- & -->water") << titled(u"Saltwater"_s);
    QTest::newRow("line breaks of two characters") << title("Salt\r\nwater") << titled(u"Salt\nwater"_s);
    QTest::newRow("a placeholder in a title") << title("%@ and %@") << titled(u"%@ and %@"_s);
    const QString many = QString(1000, u'\u00e9');
    QTest::newRow("a title of a thousand letters outside ASCII")
        << title("abc" + many.toUtf8()) << titled(u"abc"_s + many);
    QTest::newRow("a title of a million letters") << title(QByteArray(1000000, 't')) << titled(QString(1000000, u't'));

    QTest::newRow("a date's last long piece wins")
        << channel("<pubDate>Mon, 03 Jun 2024 &lt; Tuesday</pubDate><link>http://a/1</link><title>Salt</title>")
        << FeedPages::line(u"http://a/1"_s, u"Salt"_s, u" Tuesday"_s);
    QTest::newRow("a date with a letter outside ASCII")
        << channel("<pubDate>1 ao\u00fbt 2024</pubDate><link>http://a/1</link><title>Salt</title>")
        << FeedPages::line(u"http://a/1"_s, u"Salt"_s, u"\u00fbt 2024"_s);
    QTest::newRow("a date of CDATA is none")
        << channel("<pubDate><![CDATA[Mon, 03 Jun 2024]]></pubDate><link>http://a/1</link><title>Salt</title>")
        << QString();
}

void TestRSSFeedDocuments::piecesOfText()
{
    postsPairWithTheOneBefore();
}

void TestRSSFeedDocuments::elementsAndNames_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("lines");

    QTest::newRow("namespaces")
        << QByteArray("<rss version=\"2.0\" xmlns:atom=\"http://www.w3.org/2005/Atom\" xmlns:dc=\"urn:dc\" "
                      "xmlns:media=\"urn:media\"><channel><atom:link href=\"http://a/feed\" rel=\"self\"/>")
            + "<atom:link>http://b/</atom:link><dc:title>Not this</dc:title><dc:pubDate>Not this</dc:pubDate>" + first
            + "</channel></rss>"
        << firstLine;
    QTest::newRow("prefixes that nobody declared")
        << channel("<atom:link>http://b/</atom:link>" + first + "<media:title>Not this</media:title>") << firstLine;
    QTest::newRow("a default namespace changes no name")
        << "<rss xmlns=\"http://backend.userland.com/rss2\">" + first + "</rss>" << firstLine;
    QTest::newRow("a prefixed title breaks nothing off")
        << channel("<pubDate>Mon, 03 Jun 2024</pubDate><link>http://a/1</link><title>Sa</title><media:title>x"
                   "</media:title>")
        << lineOf(u"http://a/1"_s, u"Sa"_s);
    QTest::newRow("attributes are ignored")
        << channel("<item><pubDate zone=\"http://b/\">Mon, 03 Jun 2024</pubDate><link href=\"http://b/\">http://a/1"
                   "</link><title lang=\"en\" title='b'>Salt</title></item>")
        << firstLine;
    QTest::newRow("a title that holds an element")
        << channel("<pubDate>Mon, 03 Jun 2024</pubDate><link>http://a/1</link><title>Sa<i>l</i>t</title>") << QString();
    QTest::newRow("a plain DOCTYPE") << "<!DOCTYPE rss PUBLIC \"-//Netscape Communications//DTD RSS 0.91//EN\" "
                                        "\"http://wayfar.example/rss-0.91.dtd\">\n"
            + channel(first) << firstLine;
    QTest::newRow("a DOCTYPE that declares elements")
        << "<!DOCTYPE rss [<!ELEMENT rss ANY><!ATTLIST rss version CDATA \"2.0\">]>" + channel(first) << firstLine;
    QTest::newRow("an unknown entity under a DOCTYPE is left out")
        << "<!DOCTYPE rss SYSTEM \"http://wayfar.example/rss.dtd\">" + channel(post("http://a/1", "Salt&nbsp;water"))
        << lineOf(u"http://a/1"_s, u"Saltwater"_s);
    QTest::newRow("comments and instructions around it") << "<?xml-stylesheet href=\"a.css\"?><!-- a -->"
            + channel(first) + "<!-- b -->\n" << firstLine;
    QTest::newRow("a title as the whole document") << QByteArray("<title>Salt</title>") << QString();
}

void TestRSSFeedDocuments::elementsAndNames()
{
    postsPairWithTheOneBefore();
}

void TestRSSFeedDocuments::encodings_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("title");
    const QString title = u"Caf\u00e9 "_s.repeated(200);
    const QString curly = u"\u201cCaf\u00e9\u201d \u2013 it\u2019s \u20ac5"_s;
    const auto text = [](const QString &encoding, const QString &heading) {
        const QString declaration =
            encoding.isEmpty() ? QString() : u"<?xml version=\"1.0\" encoding=\""_s + encoding + u"\"?>\n"_s;
        return QString(declaration + QString::fromUtf8(channel(post("http://a/1", heading.toUtf8()))));
    };
    QTest::newRow("UTF-8") << text(u"UTF-8"_s, title).toUtf8() << title;
    QTest::newRow("UTF-8 without a declaration") << text({}, curly).toUtf8() << curly;
    QTest::newRow("UTF-8 with a byte-order mark") << "\xEF\xBB\xBF" + text(u"utf-8"_s, curly).toUtf8() << curly;
    QTest::newRow("ISO-8859-1") << text(u"ISO-8859-1"_s, title).toLatin1() << title;
    QTest::newRow("windows-1252") << text(u"windows-1252"_s, u"#"_s)
                                         .toLatin1()
                                         .replace("#",
                                                  "\x93"
                                                  "Caf\xE9\x94 \x96 it\x92s \x80"
                                                  "5")
                                  << curly;
    QTest::newRow("UTF-16, little end first") << utf16(text(u"UTF-16"_s, title), QStringConverter::Utf16LE) << title;
    QTest::newRow("UTF-16, big end first") << utf16(text(u"UTF-16"_s, curly), QStringConverter::Utf16BE) << curly;
    QTest::newRow("UTF-16 without a declaration") << utf16(text({}, curly), QStringConverter::Utf16LE) << curly;
}

void TestRSSFeedDocuments::encodings()
{
    QFETCH(const QByteArray, document);
    QFETCH(const QString, title);
    QCOMPARE(FeedPages::made(document), FeedPages::page(lineOf(u"http://a/1"_s, title)));
}

void TestRSSFeedDocuments::whatIsNoFeedMakesTheEmptyPage_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("one byte") << QByteArray("<");
    QTest::newRow("blanks") << QByteArray(" \n\n ");
    QTest::newRow("a byte-order mark") << QByteArray("\xEF\xBB\xBF");
    QTest::newRow("zero bytes") << QByteArray(100, '\0');
    QTest::newRow("plain text") << QByteArray("http://a/1 Mon, 03 Jun 2024");
    QTest::newRow("JSON") << QByteArray("{\"title\": \"Salt\"}");
    QTest::newRow("a picture") << QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    QTest::newRow("an HTML page") << QByteArray("<!DOCTYPE html>\n<html><head><title>404 Not Found</title></head>"
                                                "<body><h1>Not Found</h1><br><p>http://a/</body></html>\n");
    QTest::newRow("an XHTML page") << QByteArray(
        "<html><head><link>http://a/</link><title>Error</title></head><body><p>x</p></body></html>");
    QTest::newRow("Atom") << QByteArray(
        "<feed xmlns=\"http://www.w3.org/2005/Atom\"><title>News</title><link href=\"http://a/\"/><entry>"
        "<title>Salt</title><link href=\"http://a/1\"/><updated>2024-06-03T12:00:00Z</updated></entry><entry>"
        "<title>Rain</title><link href=\"http://a/2\"/><updated>2024-06-04T12:00:00Z</updated></entry></feed>");
    QTest::newRow("an encoding that nobody knows")
        << "<?xml version=\"1.0\" encoding=\"x-unheard-of\"?>" + channel(first);
}

void TestRSSFeedDocuments::whatIsNoFeedMakesTheEmptyPage()
{
    QFETCH(const QByteArray, document);
    QCOMPARE(FeedPages::made(document), FeedPages::page());
}

void TestRSSFeedDocuments::whatBreaksGivesTheLinesBefore_data()
{
    QTest::addColumn<QByteArray>("document");
    const QByteArray second = post("http://a/2", "Rain");
    const auto broken = [&](const QByteArray &fault) { return channel(first + fault + second); };
    QTest::newRow("a bare ampersand") << broken("<description>Salt & cedar</description>");
    QTest::newRow("an unknown entity") << broken("<description>a&nbsp;b</description>");
    QTest::newRow("a bare less-than") << broken("<description>a < b</description>");
    QTest::newRow("a tag that another closes") << broken("<description><b><i></b></i></description>");
    QTest::newRow("an attribute without quotes") << broken("<guid isPermaLink=true>1</guid>");
    QTest::newRow("an attribute given twice") << broken("<guid a=\"1\" a=\"2\">1</guid>");
    QTest::newRow("a byte that is no UTF-8") << broken("<description>caf\xE9</description>");
    QTest::newRow("half a letter") << broken("<description>caf\xC3</description>");
    QTest::newRow("a zero byte") << broken(QByteArray("<description>a\0b</description>", 30));
    QTest::newRow("a forbidden character") << broken("<description>&#0;</description>");
    QTest::newRow("two hyphens in a comment") << broken("<!-- a -- b -->");
    QTest::newRow("a second document behind the first") << channel(first) + channel(second);
    QTest::newRow("the end in the middle") << channel(first + second).chopped(40);
    QTest::newRow("a title that breaks") << channel(
        first + "<link>http://a/2</link><pubDate>Mon, 03 Jun 2024</pubDate><title>a & b</title>");
}

void TestRSSFeedDocuments::whatBreaksGivesTheLinesBefore()
{
    QFETCH(const QByteArray, document);
    QCOMPARE(FeedPages::made(document), FeedPages::page(firstLine));
}

void TestRSSFeedDocuments::aFeedCutAtAnyByteGivesTheLinesBefore()
{
    const QByteArray before =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss>\n<channel>\n<description>Caf\u00e9</description>\n";
    const QByteArray document =
        before + first + "\n" + post("http://a/2", "Rain &amp; caf\u00e9") + "\n</channel>\n</rss>\n";
    const qsizetype firstEnd = document.indexOf("Salt</title>") + 12;
    const qsizetype secondEnd = document.lastIndexOf("</title>") + 8;
    const QString second = lineOf(u"http://a/2"_s, u"Rain & caf\u00e9"_s);
    for (qsizetype size = 0; size <= document.size(); ++size) {
        const QString lines = (size >= firstEnd ? firstLine : QString()) + (size >= secondEnd ? second : QString());
        QCOMPARE(FeedPages::made(document.first(size)), FeedPages::page(lines));
    }
}

QTEST_GUILESS_MAIN(TestRSSFeedDocuments)
#include "TestRSSFeedDocuments.moc"
