#include "FeedPages.h"
#include "support/Answers.h"
#include "support/FullDisk.h"
#include "support/TestWorld.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>
#include <QThread>

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
    void cleanup();

    void theFeedOfTheWwwHostIsFetchedOnce();
    void thePageIsUtf16WithItsByteOrderMark();
    void aPageOfNoPostsHoldsHeadAndTail();
    void anAnswersStatusIsNotLookedAt_data();
    void anAnswersStatusIsNotLookedAt();
    void aRedirectIsFollowed();
    void withoutAnAnswerThePageHoldsHeadAndTail_data();
    void withoutAnAnswerThePageHoldsHeadAndTail();
    void aFeedTooLargeForMemoryIsNoAnswer_data();
    void aFeedTooLargeForMemoryIsNoAnswer();
    void theOldPageIsReplaced_data();
    void theOldPageIsReplaced();
    void aLinkInTheOldPagesPlaceIsReplacedNotFollowed();
    void aMissingSupportFolderIsMade();
    void aRefusedWriteLeavesTheOldPage();
    void aFailedWriteLeavesNoPage();
    void withoutASupportFolderNothingIsWritten();
    void anyThreadWillDo();

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

void TestRSSFeedPage::cleanup()
{
    m_world.reset();
}

void TestRSSFeedPage::parse()
{
    RSSFeed(m_world->loader(), m_world->site()).parseRSSWithURL();
}

void TestRSSFeedPage::theFeedOfTheWwwHostIsFetchedOnce()
{
    parse();
    const QList<VendorRequest> requests = m_world->vendor().requests();
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.constFirst().method, "GET");
    QCOMPARE(requests.constFirst().host, "www.wayfar.example");
    QCOMPARE(requests.constFirst().path, "/feed");
    QCOMPARE(requests.constFirst().body, QByteArray());
}

void TestRSSFeedPage::thePageIsUtf16WithItsByteOrderMark()
{
    parse();
    QVERIFY(written().startsWith(QByteArray("\xFF\xFE<\0h\0t\0m\0l\0>\0", 14)));
    QCOMPARE(written(), bytesOf(feedPage));
    QCOMPARE(QDir(m_world->supportFolder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList(u"rssfeed.html"_s));
}

void TestRSSFeedPage::aPageOfNoPostsHoldsHeadAndTail()
{
    m_world->vendor().setFeed("<rss><channel><title>News</title></channel></rss>");
    parse();
    QCOMPARE(written(),
             bytesOf(u"<html><head><style>*{margin : 0.5px;padding :0.5px;}</style></head><body>"
                     "</body><html>"_s));
}

void TestRSSFeedPage::anAnswersStatusIsNotLookedAt_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {200, 203, 403, 404, 500, 503})
        QTest::addRow("%d", status) << status;
}

void TestRSSFeedPage::anAnswersStatusIsNotLookedAt()
{
    QFETCH(const int, status);
    VendorAnswer answer = answerWith(feed);
    answer.status = status;
    answer.contentType = "text/html";
    m_world->vendor().setAnswer("/feed", answer);
    parse();
    QCOMPARE(written(), bytesOf(feedPage));
}

void TestRSSFeedPage::aRedirectIsFollowed()
{
    VendorAnswer moved;
    moved.status = 301;
    moved.headers = {{"Location", "https://wayfar.example/news.xml"}};
    m_world->vendor().setAnswer("/feed", moved);
    m_world->vendor().setAnswer("/news.xml", answerWith(feed));
    parse();
    QCOMPARE(written(), bytesOf(feedPage));
}

void TestRSSFeedPage::withoutAnAnswerThePageHoldsHeadAndTail_data()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::addColumn<bool>("online");
    QTest::newRow("no network") << VendorAnswer() << false;
    VendorAnswer refused;
    refused.resetAfter = -1;
    QTest::newRow("a connection reset at once") << refused << true;
    VendorAnswer cut = answerWith(feed);
    cut.resetAfter = feed.size() - 5; // the post had come whole
    QTest::newRow("a connection reset in the feed") << cut << true;
    VendorAnswer shorter = answerWith(feed);
    shorter.announcedLength = feed.size() + 10;
    QTest::newRow("fewer bytes than announced") << shorter << true;
    VendorAnswer silent = answerWith(feed);
    silent.stallAfter = 0;
    QTest::newRow("a vendor that falls silent") << silent << true;
    VendorAnswer plain;
    plain.status = 302;
    plain.headers = {{"Location", "http://www.wayfar.example/feed"}};
    QTest::newRow("a redirect out of https") << plain << true;
    QTest::newRow("an empty body") << VendorAnswer() << true;
}

void TestRSSFeedPage::withoutAnAnswerThePageHoldsHeadAndTail()
{
    QFETCH(const VendorAnswer, answer);
    QFETCH(const bool, online);
    UrlLoaderSettings impatient = m_world->network();
    impatient.idleSeconds = 1;
    m_world->useVendor(impatient);
    if (!online)
        m_world->goOffline();
    m_world->vendor().setAnswer("/feed", answer);
    m_world->write(file(), "the page of another day");
    QCOMPARE(standardErrorOf([this] { parse(); }), QByteArray());
    QCOMPARE(written(), bytesOf(FeedPages::page()));
}

void TestRSSFeedPage::aFeedTooLargeForMemoryIsNoAnswer_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("page");
    QTest::newRow("the largest one") << UrlLoader::MostInMemory << feedPage; // what follows the document is an error
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

void TestRSSFeedPage::theOldPageIsReplaced_data()
{
    QTest::addColumn<QString>("old"); // in the support folder
    QTest::newRow("a file") << u"rssfeed.html"_s;
    QTest::newRow("a folder with files") << u"rssfeed.html/inside/page.html"_s;
}

void TestRSSFeedPage::theOldPageIsReplaced()
{
    QFETCH(const QString, old);
    m_world->write(m_world->supportFolder() + u'/' + old, QByteArray(100000, 'x'));
    m_world->write(m_world->supportFolder() + u"/account.html"_s, "another page");
    parse();
    QCOMPARE(written(), bytesOf(feedPage));
    QCOMPARE(m_world->read(m_world->supportFolder() + u"/account.html"_s), "another page");
}

void TestRSSFeedPage::aLinkInTheOldPagesPlaceIsReplacedNotFollowed()
{
    const QString target = m_world->path(u"diary.txt"_s);
    m_world->write(target, "dear diary");
    QVERIFY(QDir().mkpath(m_world->supportFolder()));
    QVERIFY(QFile::link(target, file()));
    parse();
    QVERIFY(!QFileInfo(file()).isSymLink());
    QCOMPARE(written(), bytesOf(feedPage));
    QCOMPARE(m_world->read(target), "dear diary");
}

void TestRSSFeedPage::aMissingSupportFolderIsMade()
{
    QVERIFY(!QFileInfo::exists(m_world->path(u"data"_s)));
    parse();
    QCOMPARE(written(), bytesOf(feedPage));
}

void TestRSSFeedPage::aRefusedWriteLeavesTheOldPage()
{
    m_world->write(file(), "the page of another day");
    QVERIFY(QFile::setPermissions(m_world->supportFolder(),
                                  QFile::ReadUser | QFile::ExeUser | QFile::ReadGroup | QFile::ExeGroup
                                      | QFile::ReadOther | QFile::ExeOther));
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

void TestRSSFeedPage::anyThreadWillDo()
{
    const std::unique_ptr<QThread> worker(QThread::create([this] { parse(); }));
    worker->start();
    QVERIFY(worker->wait(10000));
    QCOMPARE(written(), bytesOf(feedPage));
}

QTEST_GUILESS_MAIN(TestRSSFeedPage)
#include "TestRSSFeedPage.moc"
