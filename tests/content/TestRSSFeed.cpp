#include "FeedPages.h"

#include <QTest>

using namespace Qt::StringLiterals;

// The rules that pair titles, links and dates, driven by what a parser would report.
class TestRSSFeed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_feed = std::make_unique<RSSFeed>(m_loader, VendorSite()); }

    void textBeforeAnyElementIsIgnored();
    void theLastStartedElementIsTheCurrentOne();
    void piecesOfATitleAreJoined();
    void linksAndDatesAreAccepted_data();
    void linksAndDatesAreAccepted();
    void otherElementsChangeNothing_data();
    void otherElementsChangeNothing();
    void whiteSpaceBehindAnElementIsStillItsText();
    void aTitleNeedsLinkAndDate_data();
    void aTitleNeedsLinkAndDate();
    void aTitleThatFindsBothMakesOneLineAndForgetsAll();
    void aTitleWithoutTextReadsNull();
    void theEndOfAnyElementEndsATitleThatWasStartedLast();
    void aTitleThatHoldsAnElementMakesNoLine();
    void nothingIsEscapedAndNoPlaceholderFilledTwice();
    void thereIsNoLimitOnLines();

private:
    void start(const QString &name, const QString &text)
    {
        m_feed->parserDidStartElement(name);
        m_feed->parserFoundCharacters(text);
    }
    void element(const QString &name, const QString &text)
    {
        start(name, text);
        m_feed->parserDidEndElement();
    }
    void linkAndDate()
    {
        element(u"link"_s, u"http://a/1"_s);
        element(u"pubDate"_s, u"Mon, 03 Jun 2024"_s);
    }
    // The title, the link and the date that are kept, each "-" when there is none.
    QStringList kept() const
    {
        const QString none = u"-"_s;
        return {m_feed->currentTitle().value_or(none), m_feed->currentURL().value_or(none),
                m_feed->currentPubDate().value_or(none)};
    }
    QString lineOf(const QString &title) const
    {
        return FeedPages::line(u"http://a/1"_s, title, u"Mon, 03 Jun 2024"_s);
    }

    UrlLoader m_loader;
    std::unique_ptr<RSSFeed> m_feed;
};

void TestRSSFeed::textBeforeAnyElementIsIgnored()
{
    for (int time = 0; time < 2; ++time) {
        QCOMPARE(m_feed->currentElement(), std::nullopt);
        QCOMPARE(kept(), (QStringList{u"-"_s, u"-"_s, u"-"_s}));
        QVERIFY(m_feed->htmlString().isEmpty());
        m_feed->parserFoundCharacters(u"http://wayfar.example/1"_s);
        m_feed->parserDidEndElement();
    }
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

void TestRSSFeed::linksAndDatesAreAccepted_data()
{
    QTest::addColumn<QString>("element");
    QTest::addColumn<QStringList>("pieces");
    QTest::addColumn<QString>("accepted");
    const QString none = u"-"_s;
    const auto link = [](const char *name, const QStringList &pieces, const QString &accepted) {
        QTest::newRow(name) << u"link"_s << pieces << accepted;
    };
    link("http", {u"http://a/1"_s}, u"http://a/1"_s);
    link("https", {u"https://a/1"_s}, u"https://a/1"_s);
    link("whatever begins with http", {u"httpd is no address"_s}, u"httpd is no address"_s);
    link("the four letters alone", {u"http"_s}, u"http"_s);
    link("three letters", {u"htt"_s}, none);
    link("another scheme", {u"ftp://a/1"_s}, none);
    link("capital letters", {u"HTTP://a/1"_s}, none);
    link("a blank first", {u" http://a/1"_s}, none);
    link("a line break first", {u"\nhttp://a/1"_s}, none);
    link("the rest after an entity is lost", {u"http://a/?x=1"_s, u"&"_s, u"y=2"_s}, u"http://a/?x=1"_s);
    link("unless it is an address itself", {u"http://a/?to="_s, u"&"_s, u"http://b/"_s}, u"http://b/"_s);
    link("blanks behind it stay", {u"http://a/1 \n"_s}, u"http://a/1 \n"_s);

    const auto date = [](const char *name, const QStringList &pieces, const QString &accepted) {
        QTest::newRow(name) << u"pubDate"_s << pieces << accepted;
    };
    const QString monday = u"Mon, 03 Jun 2024"_s;
    const QString threePairs = u"\U0001F5FB\U0001F5FB\U0001F5FB"_s;
    date("a date", {monday}, monday);
    date("five characters", {u"12:30"_s}, none);
    date("six characters", {u"12:300"_s}, u"12:300"_s);
    date("five leave the one before", {monday, u"12:30"_s}, monday);
    date("a later date replaces", {monday, u"Tue, 04 Jun"_s}, u"Tue, 04 Jun"_s);
    date("five blanks leave it", {monday, u"\n    "_s}, monday);
    date("six blanks replace it", {monday, u"\n     "_s}, u"\n     "_s);
    date("five letters of two bytes", {u"ééééé"_s}, none);
    date("three pairs of surrogates are six characters", {threePairs}, threePairs);
}

void TestRSSFeed::linksAndDatesAreAccepted()
{
    QFETCH(const QString, element);
    QFETCH(const QStringList, pieces);
    QFETCH(const QString, accepted);
    m_feed->parserDidStartElement(element);
    for (const QString &piece : pieces)
        m_feed->parserFoundCharacters(piece);
    const bool isLink = element == u"link";
    QCOMPARE(kept(), (QStringList{u"-"_s, isLink ? accepted : u"-"_s, isLink ? u"-"_s : accepted}));
}

void TestRSSFeed::otherElementsChangeNothing_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"item", "description", "guid", "atom:link", "media:title", "dc:date", "Title", "LINK",
                             "pubdate", "titles", "link ", "url"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestRSSFeed::otherElementsChangeNothing()
{
    QFETCH(const QString, name);
    element(name, u"http://wayfar.example/1"_s);
    QCOMPARE(kept(), (QStringList{u"-"_s, u"-"_s, u"-"_s}));
    linkAndDate();
    element(name, u"http://wayfar.example/1"_s);
    QCOMPARE(m_feed->currentElement(), name);
    QCOMPARE(kept(), (QStringList{u"-"_s, u"http://a/1"_s, u"Mon, 03 Jun 2024"_s}));
    QVERIFY(m_feed->htmlString().isEmpty());
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
    linkAndDate();
    element(u"title"_s, u"Salt"_s);
    m_feed->parserFoundCharacters(u"\n          "_s); // belongs to nothing
    QCOMPARE(m_feed->currentElement(), std::nullopt);
    QCOMPARE(kept(), (QStringList{u"-"_s, u"-"_s, u"-"_s}));

    element(u"title"_s, u"Cedar"_s);
    QCOMPARE(m_feed->htmlString(),
             u"<font size=\"3\"><a   href=\"http://a/1\" onclick=\"return !window.open( this.href );\">Salt</a></font>"
             "<br><font size=\"2\">Mon, 03 Jun 2024</font><br>"_s);
}

void TestRSSFeed::aTitleWithoutTextReadsNull()
{
    linkAndDate();
    m_feed->parserDidStartElement(u"title"_s);
    m_feed->parserDidEndElement();
    QCOMPARE(m_feed->htmlString(), lineOf(u"(null)"_s));
}

void TestRSSFeed::theEndOfAnyElementEndsATitleThatWasStartedLast()
{
    linkAndDate();
    m_feed->parserDidStartElement(u"title"_s);
    start(u"title"_s, u"Salt"_s);
    m_feed->parserDidEndElement(); // the inner one's
    m_feed->parserDidEndElement(); // the outer one's finds nothing any more
    QCOMPARE(m_feed->htmlString(), lineOf(u"Salt"_s));
}

void TestRSSFeed::aTitleThatHoldsAnElementMakesNoLine()
{
    linkAndDate();
    start(u"title"_s, u"Salt "_s);
    element(u"i"_s, u"and"_s);
    m_feed->parserFoundCharacters(u" cedar"_s);
    m_feed->parserDidEndElement();
    QVERIFY(m_feed->htmlString().isEmpty());
    QCOMPARE(m_feed->currentTitle(), u"Salt "_s);

    element(u"title"_s, u"Rain"_s);
    QCOMPARE(m_feed->htmlString(), lineOf(u"Salt Rain"_s));
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
    for (int post = 0; post < 5000; ++post) {
        linkAndDate();
        element(u"title"_s, u"Salt"_s);
    }
    QCOMPARE(m_feed->htmlString(), lineOf(u"Salt"_s).repeated(5000));
}

QTEST_GUILESS_MAIN(TestRSSFeed)
#include "TestRSSFeed.moc"
