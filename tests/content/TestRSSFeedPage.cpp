#include "FeedPages.h"
#include "support/FullDisk.h"
#include "support/Outages.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray feed = "<rss><channel><item><pubDate>Mon, 03 Jun 2024</pubDate><link>http://a/1</link>"
                        "<title>Caf\u00e9</title></item></channel></rss>";
const QString feedPage = FeedPages::page(FeedPages::line(u"http://a/1"_s, u"Caf\u00e9"_s, u"Mon, 03 Jun 2024"_s));

// Little-endian, the byte-order mark first; spelled out rather than encoded.
QByteArray bytesOf(const QString &page)
{
    QByteArray bytes = "\xFF\xFE";
    for (const QChar letter : page) {
        bytes += static_cast<char>(letter.unicode() & 0xFF);
        bytes += static_cast<char>(letter.unicode() >> 8);
    }
    return bytes;
}

} // namespace

// From the vendor to the file.
class TestRSSFeedPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_world.reset(); }

    void theFeedOfTheWwwHostIsFetchedOnce();
    void thePageIsUtf16WithItsByteOrderMark();
    void anAnswersStatusIsNotLookedAt();
    void aRedirectIsFollowed();
    void withoutAnAnswerThePageHoldsHeadAndTail_data();
    void withoutAnAnswerThePageHoldsHeadAndTail();
    void aFeedTooLargeForMemoryIsNoAnswer_data();
    void aFeedTooLargeForMemoryIsNoAnswer();
    void whateverIsInTheOldPagesPlaceIsReplaced();
    void aRefusedWriteLeavesTheOldPage();
    void aFailedWriteLeavesNoPage();
    void withoutASupportFolderNothingIsWritten();

private:
    void parse();
    QString file() const { return m_world->supportFolder() + u"/rssfeed.html"_s; }
    QByteArray written() const { return m_world->read(file()); }

    std::unique_ptr<TestWorld> m_world;
};

void TestRSSFeedPage::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().setFeed(feed);
}

void TestRSSFeedPage::parse()
{
    RSSFeed(m_world->loader(), m_world->site()).parseRSSWithURL();
}

void TestRSSFeedPage::theFeedOfTheWwwHostIsFetchedOnce()
{
    parse();
    QCOMPARE(askedOf(m_world->vendor()), QList<QByteArray>{"GET www.wayfar.example/feed"});
}

void TestRSSFeedPage::thePageIsUtf16WithItsByteOrderMark()
{
    QVERIFY(!QFileInfo::exists(m_world->supportFolder()));
    parse();
    QVERIFY(written().startsWith(QByteArray("\xFF\xFE<\0h\0t\0m\0l\0>\0", 14)));
    QCOMPARE(written(), bytesOf(feedPage));
    QCOMPARE(QDir(m_world->supportFolder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList(u"rssfeed.html"_s));
}

void TestRSSFeedPage::anAnswersStatusIsNotLookedAt()
{
    for (const int status : {203, 403, 404, 500}) {
        m_world->vendor().setAnswer("/feed", answerWith(feed, status));
        parse();
        QCOMPARE(written(), bytesOf(feedPage));
        QVERIFY(QFile::remove(file()));
    }
}

void TestRSSFeedPage::aRedirectIsFollowed()
{
    m_world->vendor().setAnswer("/feed", redirectTo("https://wayfar.example/news.xml", 301));
    m_world->vendor().setAnswer("/news.xml", answerWith(feed));
    parse();
    QCOMPARE(written(), bytesOf(feedPage));
}

void TestRSSFeedPage::withoutAnAnswerThePageHoldsHeadAndTail_data()
{
    addOutages(feed); // which holds a whole post before its last byte
    const auto answering = [](const char *name, const VendorAnswer &answer) {
        QTest::newRow(name) << Outage{
            [answer](TestWorld &world, const QByteArray &path) { world.vendor().setAnswer(path, answer); }, {}};
    };
    answering("a redirect out of https", redirectTo("http://www.wayfar.example/feed"));
    answering("an empty body", answerWith({}));
}

void TestRSSFeedPage::withoutAnAnswerThePageHoldsHeadAndTail()
{
    QFETCH(const Outage, outage);
    outage.strike(*m_world, "/feed");
    m_world->write(file(), "the page of another day");
    QCOMPARE(standardErrorOf([this] { parse(); }), QByteArray());
    QCOMPARE(written(), bytesOf(FeedPages::page()));
}

void TestRSSFeedPage::aFeedTooLargeForMemoryIsNoAnswer_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("page");
    // The dots behind the document are an error, which ends it.
    QTest::newRow("the largest one") << UrlLoader::MostInMemory << feedPage;
    QTest::newRow("one byte more") << UrlLoader::MostInMemory + 1 << FeedPages::page();
}

void TestRSSFeedPage::aFeedTooLargeForMemoryIsNoAnswer()
{
    QFETCH(const qint64, size);
    QFETCH(const QString, page);
    VendorAnswer answer = answerWith(feed);
    answer.filler = size - feed.size();
    m_world->vendor().setAnswer("/feed", answer);
    parse();
    QCOMPARE(written(), bytesOf(page));
}

void TestRSSFeedPage::whateverIsInTheOldPagesPlaceIsReplaced()
{
    const QString other = m_world->supportFolder() + u"/account.html"_s;
    const QString diary = m_world->path(u"diary.txt"_s);
    m_world->write(other, "another page");
    m_world->write(diary, "dear diary");
    const QList<std::function<void()>> places = {
        [this] { m_world->write(file(), QByteArray(100000, 'x')); },
        [this] { m_world->write(file() + u"/inside/page.html"_s, "in a folder"); },
        [&] { QVERIFY(QFile::link(diary, file())); },
    };
    for (const auto &put : places) {
        put();
        parse();
        QVERIFY(!QFileInfo(file()).isSymLink());
        QCOMPARE(written(), bytesOf(feedPage));
        QVERIFY(QFile::remove(file()));
    }
    QCOMPARE(m_world->read(other), "another page");
    QCOMPARE(m_world->read(diary), "dear diary");
}

void TestRSSFeedPage::aRefusedWriteLeavesTheOldPage()
{
    m_world->write(file(), "the page of another day");
    QVERIFY(QFile::setPermissions(m_world->supportFolder(), QFile::Permissions(0x5555)));
    {
        const OrdinaryUser ordinary;
        QVERIFY(!QFile::remove(file()));
        QVERIFY(!QFile(m_world->supportFolder() + u"/new"_s).open(QIODevice::WriteOnly));
        QCOMPARE(standardErrorOf([this] { parse(); }), QByteArray());
    }
    QCOMPARE(written(), "the page of another day");
}

void TestRSSFeedPage::aFailedWriteLeavesNoPage()
{
    m_world->write(file(), "the page of another day");
    {
        const FullDisk full(16);
        parse();
    }
    QVERIFY(!QFileInfo::exists(file())); // no half page either
    QVERIFY(QDir(m_world->supportFolder()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    parse();
    QCOMPARE(written(), bytesOf(feedPage));
}

void TestRSSFeedPage::withoutASupportFolderNothingIsWritten()
{
    m_world->write(m_world->path(u"data"_s), "a file where a folder should be");
    const QByteArray log = standardErrorOf([this] { parse(); });
    QVERIFY2(log.contains("Unable to find or create application support directory:\n"), log.constData());
    QCOMPARE(m_world->read(m_world->path(u"data"_s)), "a file where a folder should be");
    QVERIFY(!QFileInfo::exists(u"/rssfeed.html"_s));
    QCOMPARE(m_world->vendor().requests("/feed").size(), 1);
}

QTEST_GUILESS_MAIN(TestRSSFeedPage)
#include "TestRSSFeedPage.moc"
