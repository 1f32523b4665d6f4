#include "FeedPages.h"

#include <QTest>

using namespace Qt::StringLiterals;

// The rules that pair titles, links and dates, driven by what a parser would report.
class TestRSSFeed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aFreshFeedIsEmpty();
    void textBeforeAnyElementIsIgnored();
    void theLastStartedElementIsTheCurrentOne();
    void piecesOfATitleAreJoined();
    void linksAreAccepted_data();
    void linksAreAccepted();
    void datesAreAccepted_data();
    void datesAreAccepted();
    void textOfOtherElementsIsIgnored_data();
    void textOfOtherElementsIsIgnored();
    void whiteSpaceBehindAnElementIsStillItsText();
    void aTitleNeedsLinkAndDate_data();
    void aTitleNeedsLinkAndDate();
    void aTitleThatFindsBothMakesOneLineAndForgetsAll();
    void aTitleWithoutTextReadsNull();
    void theEndOfAnyElementEndsATitleThatWasStartedLast();
    void aTitleThatHoldsAnElementMakesNoLine();
    void theEndOfOtherElementsChangesNothing_data();
    void theEndOfOtherElementsChangesNothing();
    void nothingIsEscapedAndNoPlaceholderFilledTwice();
    void thereIsNoLimitOnLines();

private:
    void element(const QString &name, const QString &text);
    void start(const QString &name, const QString &text);

    std::unique_ptr<UrlLoader> m_loader;
    std::unique_ptr<RSSFeed> m_feed;
};

void TestRSSFeed::init()
{
    m_loader = std::make_unique<UrlLoader>();
    m_feed = std::make_unique<RSSFeed>(*m_loader, VendorSite());
}

void TestRSSFeed::cleanup()
{
    m_feed.reset();
}

void TestRSSFeed::start(const QString &name, const QString &text)
{
    m_feed->parserDidStartElement(name);
    m_feed->parserFoundCharacters(text);
}

void TestRSSFeed::element(const QString &name, const QString &text)
{
    start(name, text);
    m_feed->parserDidEndElement();
}

void TestRSSFeed::aFreshFeedIsEmpty()
{
    QCOMPARE(m_feed->currentElement(), std::nullopt);
    QCOMPARE(m_feed->currentTitle(), std::nullopt);
    QCOMPARE(m_feed->currentURL(), std::nullopt);
    QCOMPARE(m_feed->currentPubDate(), std::nullopt);
    QVERIFY(m_feed->htmlString().isEmpty());
}

void TestRSSFeed::textBeforeAnyElementIsIgnored()
{
    m_feed->parserFoundCharacters(u"http://wayfar.example/1"_s);
    m_feed->parserDidEndElement();
    aFreshFeedIsEmpty();
}

void TestRSSFeed::theLastStartedElementIsTheCurrentOne()
{
    for (const QString &name : {u"rss"_s, u"title"_s, u"atom:link"_s, u"pubDate"_s}) {
        m_feed->parserDidStartElement(name);
        QCOMPARE(m_feed->currentElement(), name);
    }
    m_feed->parserDidEndElement();
    m_feed->parserDidEndElement();
    QCOMPARE(m_feed->currentElement(), u"pubDate"_s);
}

void TestRSSFeed::piecesOfATitleAreJoined()
{
    for (const QString &piece : {u"Salt "_s, u"&"_s, u" cedar"_s, u"\n  "_s}) {
        m_feed->parserFoundCharacters(u"before"_s);
        start(u"title"_s, piece);
        m_feed->parserDidStartElement(u"item"_s);
    }
    QCOMPARE(m_feed->currentTitle(), u"Salt & cedar\n  "_s);
}

void TestRSSFeed::linksAreAccepted_data()
{
    QTest::addColumn<QStringList>("pieces");
    QTest::addColumn<QString>("link");
    const QString none;
    QTest::newRow("http") << QStringList{u"http://a/1"_s} << u"http://a/1"_s;
    QTest::newRow("https") << QStringList{u"https://a/1"_s} << u"https://a/1"_s;
    QTest::newRow("whatever begins with http") << QStringList{u"httpd is no address"_s} << u"httpd is no address"_s;
    QTest::newRow("the four letters alone") << QStringList{u"http"_s} << u"http"_s;
    QTest::newRow("three letters") << QStringList{u"htt"_s} << none;
    QTest::newRow("another scheme") << QStringList{u"ftp://a/1"_s} << none;
    QTest::newRow("capital letters") << QStringList{u"HTTP://a/1"_s} << none;
    QTest::newRow("a blank first") << QStringList{u" http://a/1"_s} << none;
    QTest::newRow("a line break first") << QStringList{u"\nhttp://a/1"_s} << none;
    QTest::newRow("a later link replaces") << QStringList{u"http://a/1"_s, u"http://a/2"_s} << u"http://a/2"_s;
    QTest::newRow("the rest after an entity is lost")
        << QStringList{u"http://a/?x=1"_s, u"&"_s, u"y=2"_s} << u"http://a/?x=1"_s;
    QTest::newRow("unless it is an address itself")
        << QStringList{u"http://a/?to="_s, u"&"_s, u"http://b/"_s} << u"http://b/"_s;
    QTest::newRow("what is refused leaves the last one") << QStringList{u"http://a/1"_s, u"/2"_s} << u"http://a/1"_s;
    QTest::newRow("blanks behind it stay") << QStringList{u"http://a/1 \n"_s} << u"http://a/1 \n"_s;
}

void TestRSSFeed::linksAreAccepted()
{
    QFETCH(const QStringList, pieces);
    QFETCH(const QString, link);
    m_feed->parserDidStartElement(u"link"_s);
    for (const QString &piece : pieces)
        m_feed->parserFoundCharacters(piece);
    QCOMPARE(m_feed->currentURL(), link.isNull() ? std::nullopt : std::optional(link));
    QCOMPARE(m_feed->currentTitle(), std::nullopt);
    QCOMPARE(m_feed->currentPubDate(), std::nullopt);
}

void TestRSSFeed::datesAreAccepted_data()
{
    QTest::addColumn<QStringList>("pieces");
    QTest::addColumn<QString>("date");
    const QString none;
    const QString date = u"Mon, 03 Jun 2024"_s;
    QTest::newRow("a date") << QStringList{date} << date;
    QTest::newRow("five characters") << QStringList{u"12:30"_s} << none;
    QTest::newRow("six characters") << QStringList{u"12:300"_s} << u"12:300"_s;
    QTest::newRow("five leave the one before") << QStringList{date, u"12:30"_s} << date;
    QTest::newRow("a later date replaces") << QStringList{date, u"Tue, 04 Jun"_s} << u"Tue, 04 Jun"_s;
    QTest::newRow("five blanks leave it") << QStringList{date, u"\n    "_s} << date;
    QTest::newRow("six blanks replace it") << QStringList{date, u"\n     "_s} << u"\n     "_s;
    QTest::newRow("five letters of two bytes") << QStringList{u"ééééé"_s} << none;
    QTest::newRow("three pairs of surrogates are six characters")
        << QStringList{u"\U0001F5FB\U0001F5FB\U0001F5FB"_s} << u"\U0001F5FB\U0001F5FB\U0001F5FB"_s;
}

void TestRSSFeed::datesAreAccepted()
{
    QFETCH(const QStringList, pieces);
    QFETCH(const QString, date);
    m_feed->parserDidStartElement(u"pubDate"_s);
    for (const QString &piece : pieces)
        m_feed->parserFoundCharacters(piece);
    QCOMPARE(m_feed->currentPubDate(), date.isNull() ? std::nullopt : std::optional(date));
    QCOMPARE(m_feed->currentTitle(), std::nullopt);
    QCOMPARE(m_feed->currentURL(), std::nullopt);
}

void TestRSSFeed::textOfOtherElementsIsIgnored_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"item", "description", "guid", "atom:link", "media:title", "dc:date", "Title", "LINK",
                             "pubdate", "titles", "link ", "url"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestRSSFeed::textOfOtherElementsIsIgnored()
{
    QFETCH(const QString, name);
    element(name, u"http://wayfar.example/1"_s);
    QCOMPARE(m_feed->currentTitle(), std::nullopt);
    QCOMPARE(m_feed->currentURL(), std::nullopt);
    QCOMPARE(m_feed->currentPubDate(), std::nullopt);
}

void TestRSSFeed::whiteSpaceBehindAnElementIsStillItsText()
{
    element(u"pubDate"_s, u"Mon, 03 Jun 2024"_s);
    m_feed->parserFoundCharacters(u"\n        "_s);
    QCOMPARE(m_feed->currentPubDate(), u"\n        "_s);
    m_feed->parserDidEndElement(); // the item's
    m_feed->parserFoundCharacters(u"\n          "_s);
    QCOMPARE(m_feed->currentPubDate(), u"\n          "_s);
}

void TestRSSFeed::aTitleNeedsLinkAndDate_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<bool>("emitted");
    QTest::newRow("neither") << QStringList() << false;
    QTest::newRow("a link alone") << QStringList{u"link"_s} << false;
    QTest::newRow("a date alone") << QStringList{u"pubDate"_s} << false;
    QTest::newRow("link and date") << QStringList{u"link"_s, u"pubDate"_s} << true;
    QTest::newRow("date and link") << QStringList{u"pubDate"_s, u"link"_s} << true;
}

void TestRSSFeed::aTitleNeedsLinkAndDate()
{
    QFETCH(const QStringList, before);
    QFETCH(const bool, emitted);
    for (const QString &name : before)
        element(name, u"http://a/1"_s);
    element(u"title"_s, u"Salt"_s);

    const QString line = FeedPages::line(u"http://a/1"_s, u"Salt"_s, u"http://a/1"_s);
    QCOMPARE(m_feed->htmlString(), emitted ? line : QString());
    QCOMPARE(m_feed->currentTitle(), std::nullopt);
    if (!emitted) {
        QCOMPARE(m_feed->currentElement(), u"title"_s);
        QCOMPARE(m_feed->currentURL().has_value(), before.contains(u"link"_s));
        QCOMPARE(m_feed->currentPubDate().has_value(), before.contains(u"pubDate"_s));
        m_feed->parserFoundCharacters(u"\n    "_s); // the indentation that follows begins the next title
        QCOMPARE(m_feed->currentTitle(), u"\n    "_s);
    }
}

void TestRSSFeed::aTitleThatFindsBothMakesOneLineAndForgetsAll()
{
    element(u"link"_s, u"http://a/1"_s);
    element(u"pubDate"_s, u"Mon, 03 Jun 2024"_s);
    element(u"title"_s, u"Salt"_s);
    m_feed->parserFoundCharacters(u"\n          "_s); // belongs to nothing
    QCOMPARE(m_feed->currentElement(), std::nullopt);
    QCOMPARE(m_feed->currentTitle(), std::nullopt);
    QCOMPARE(m_feed->currentURL(), std::nullopt);
    QCOMPARE(m_feed->currentPubDate(), std::nullopt);

    element(u"title"_s, u"Cedar"_s);
    QCOMPARE(m_feed->htmlString(),
             u"<font size=\"3\"><a   href=\"http://a/1\" onclick=\"return !window.open( this.href );\">Salt</a></font>"
             "<br><font size=\"2\">Mon, 03 Jun 2024</font><br>"_s);
}

void TestRSSFeed::aTitleWithoutTextReadsNull()
{
    element(u"link"_s, u"http://a/1"_s);
    element(u"pubDate"_s, u"Mon, 03 Jun 2024"_s);
    m_feed->parserDidStartElement(u"title"_s);
    m_feed->parserDidEndElement();
    QCOMPARE(m_feed->htmlString(), FeedPages::line(u"http://a/1"_s, u"(null)"_s, u"Mon, 03 Jun 2024"_s));
}

void TestRSSFeed::theEndOfAnyElementEndsATitleThatWasStartedLast()
{
    element(u"link"_s, u"http://a/1"_s);
    element(u"pubDate"_s, u"Mon, 03 Jun 2024"_s);
    m_feed->parserDidStartElement(u"title"_s);
    start(u"title"_s, u"Salt"_s);
    m_feed->parserDidEndElement(); // the inner one's
    m_feed->parserDidEndElement(); // the outer one's finds nothing any more
    QCOMPARE(m_feed->htmlString(), FeedPages::line(u"http://a/1"_s, u"Salt"_s, u"Mon, 03 Jun 2024"_s));
}

void TestRSSFeed::aTitleThatHoldsAnElementMakesNoLine()
{
    element(u"link"_s, u"http://a/1"_s);
    element(u"pubDate"_s, u"Mon, 03 Jun 2024"_s);
    start(u"title"_s, u"Salt "_s);
    element(u"i"_s, u"and"_s);
    m_feed->parserFoundCharacters(u" cedar"_s);
    m_feed->parserDidEndElement();
    QVERIFY(m_feed->htmlString().isEmpty());
    QCOMPARE(m_feed->currentTitle(), u"Salt "_s);

    element(u"title"_s, u"Rain"_s);
    QCOMPARE(m_feed->htmlString(), FeedPages::line(u"http://a/1"_s, u"Salt Rain"_s, u"Mon, 03 Jun 2024"_s));
}

void TestRSSFeed::theEndOfOtherElementsChangesNothing_data()
{
    textOfOtherElementsIsIgnored_data();
    QTest::newRow("link") << u"link"_s;
    QTest::newRow("pubDate") << u"pubDate"_s;
}

void TestRSSFeed::theEndOfOtherElementsChangesNothing()
{
    QFETCH(const QString, name);
    element(u"link"_s, u"http://a/1"_s);
    element(u"pubDate"_s, u"Mon, 03 Jun 2024"_s);
    m_feed->parserDidStartElement(name);
    m_feed->parserDidEndElement();
    QCOMPARE(m_feed->currentElement(), name);
    QCOMPARE(m_feed->currentURL(), u"http://a/1"_s);
    QCOMPARE(m_feed->currentPubDate(), u"Mon, 03 Jun 2024"_s);
    QVERIFY(m_feed->htmlString().isEmpty());
}

void TestRSSFeed::nothingIsEscapedAndNoPlaceholderFilledTwice()
{
    const QString link = u"http://a/%@?b=\"c\""_s;
    const QString title = u"<b>Salt & \"cedar\"</b> %@ %1"_s;
    const QString date = u"<i>%@ June</i>"_s;
    element(u"link"_s, link);
    element(u"pubDate"_s, date);
    element(u"title"_s, title);
    QCOMPARE(m_feed->htmlString(), FeedPages::line(link, title, date));
}

void TestRSSFeed::thereIsNoLimitOnLines()
{
    QString lines;
    for (int post = 0; post < 5000; ++post) {
        element(u"link"_s, u"http://a/"_s + QString::number(post));
        element(u"pubDate"_s, u"Mon, 03 Jun 2024"_s);
        element(u"title"_s, u"Salt"_s);
        lines += FeedPages::line(u"http://a/"_s + QString::number(post), u"Salt"_s, u"Mon, 03 Jun 2024"_s);
    }
    QCOMPARE(m_feed->htmlString(), lines);
}

QTEST_GUILESS_MAIN(TestRSSFeed)
#include "TestRSSFeed.moc"
