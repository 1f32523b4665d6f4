#include "support/Answers.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString page = u"https://wayfar.example/page"_s;

UrlRequest formTo(const QString &url)
{
    return {.url = url, .method = "POST", .headers = {{"Content-Length", "3"}}, .body = "a=b"};
}
} // namespace

class TestUrlLoaderFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_vendor = std::make_unique<VendorServer>(); }
    void cleanupTestCase() { m_vendor.reset(); }
    void init();

    void aRefusedConnectionIsAnError();
    void anUnknownNameIsAnError();
    void aBrokenConnectionIsAnError_data();
    void aBrokenConnectionIsAnError();
    void anAnswerShorterThanAnnouncedIsAnError();
    void aFormIsSentOnceAlsoWhenTheConnectionBreaks_data();
    void aFormIsSentOnceAlsoWhenTheConnectionBreaks();
    void aBadCertificateIsAnErrorBeforeAnythingIsSent_data();
    void aBadCertificateIsAnErrorBeforeAnythingIsSent();
    void aBodyTooLongForMemoryIsAnError_data();
    void aBodyTooLongForMemoryIsAnError();
    void anAddressThatIsNoneIsAnError_data();
    void anAddressThatIsNoneIsAnError();
    void theNextRequestWorksAfterAFailure();

private:
    UrlAnswer ask(const UrlRequest &request) const
    {
        UrlLoader loader(networkOf(*m_vendor));
        return loader.sendSynchronousRequest(request);
    }

    std::unique_ptr<VendorServer> m_vendor;
};

void TestUrlLoaderFailures::init()
{
    m_vendor->clearAnswers();
    m_vendor->clearRequests();
}

void TestUrlLoaderFailures::aRefusedConnectionIsAnError()
{
    UrlLoader loader({.caFile = m_vendor->caFile(), .connectTo = {"::127.0.0.1:1"}}); // nothing listens there
    const UrlAnswer got = loader.sendSynchronousRequest({.url = page});
    QVERIFY(!got.body);
    QVERIFY(!got.error.isEmpty());
}

// A label of more than 63 letters is refused by the resolver itself: nobody else is asked.
void TestUrlLoaderFailures::anUnknownNameIsAnError()
{
    const UrlAnswer got = ask({.url = u"https://"_s + QString(64, u'a') + u".example/"_s});
    QVERIFY(!got.body);
    QVERIFY(!got.error.isEmpty());
}

void TestUrlLoaderFailures::aBrokenConnectionIsAnError_data()
{
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::addColumn<qint64>("after");
    for (const qint64 after : {-1, 0, 1, 99999, 100000}) {
        QTest::addRow("announced, %lld", after) << VendorAnswer::Length::Exact << after;
        QTest::addRow("chunked, %lld", after) << VendorAnswer::Length::Chunked << after;
        QTest::addRow("no length, %lld", after) << VendorAnswer::Length::Absent << after;
    }
}

void TestUrlLoaderFailures::aBrokenConnectionIsAnError()
{
    QFETCH(const VendorAnswer::Length, length);
    QFETCH(const qint64, after);
    VendorAnswer answer;
    answer.length = length;
    answer.filler = 100000;
    answer.resetAfter = after;
    m_vendor->setAnswer("/page", answer);
    const UrlAnswer got = ask({.url = page});
    const bool whole = length == VendorAnswer::Length::Exact && after == answer.filler;
    QCOMPARE(got.body.has_value(), whole);
    QCOMPARE(got.error.isEmpty(), whole);
}

void TestUrlLoaderFailures::anAnswerShorterThanAnnouncedIsAnError()
{
    VendorAnswer answer = answerWith("abc");
    answer.announcedLength = 4;
    m_vendor->setAnswer("/page", answer);
    QVERIFY(!ask({.url = page}).body);
}

void TestUrlLoaderFailures::aFormIsSentOnceAlsoWhenTheConnectionBreaks_data()
{
    QTest::addColumn<bool>("warm");
    QTest::addColumn<qint64>("after");
    QTest::newRow("first request, before the answer") << false << qint64(-1);
    QTest::newRow("first request, in the body") << false << qint64(2);
    QTest::newRow("after others, before the answer") << true << qint64(-1);
    QTest::newRow("after others, in the body") << true << qint64(2);
}

void TestUrlLoaderFailures::aFormIsSentOnceAlsoWhenTheConnectionBreaks()
{
    QFETCH(const bool, warm);
    QFETCH(const qint64, after);
    UrlLoader loader(networkOf(*m_vendor));
    if (warm)
        QVERIFY(loader.sendSynchronousRequest({.url = u"https://wayfar.example/feed"_s}).body);
    VendorAnswer answer = answerWith("abcdef");
    answer.resetAfter = after;
    m_vendor->setAnswer("/page", answer);
    QVERIFY(!loader.sendSynchronousRequest(formTo(page)).body);
    // Had it been sent again, it would be in the list before this.
    QVERIFY(loader.sendSynchronousRequest({.url = u"https://wayfar.example/feed"_s}).body);
    QCOMPARE(m_vendor->requests("/page").size(), 1);
}

void TestUrlLoaderFailures::aBadCertificateIsAnErrorBeforeAnythingIsSent_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<bool>("expired");
    QTest::addColumn<bool>("trusted");
    const QStringList names = VendorServer::Options().names;
    QTest::newRow("expired") << names << true << true;
    QTest::newRow("of an unknown authority") << names << false << false;
    QTest::newRow("for another name") << QStringList{u"localhost"_s} << false << true;
}

void TestUrlLoaderFailures::aBadCertificateIsAnErrorBeforeAnythingIsSent()
{
    QFETCH(const QStringList, names);
    QFETCH(const bool, expired);
    QFETCH(const bool, trusted);
    const VendorServer vendor({names, expired, trusted});
    UrlLoader loader({.caFile = vendor.caFile(), .connectTo = {"::127.0.0.1:" + QByteArray::number(vendor.port())}});
    const UrlAnswer got = loader.sendSynchronousRequest(formTo(page));
    QVERIFY(!got.body);
    QVERIFY2(got.error.contains(u"certificate"_s), qPrintable(got.error));
    QVERIFY(vendor.requests().isEmpty());
}

void TestUrlLoaderFailures::aBodyTooLongForMemoryIsAnError_data()
{
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::addColumn<qint64>("size");
    QTest::newRow("one byte too long") << VendorAnswer::Length::Exact << UrlLoader::MostInMemory + 1;
    QTest::newRow("endless") << VendorAnswer::Length::Absent << (qint64(1) << 40);
}

void TestUrlLoaderFailures::aBodyTooLongForMemoryIsAnError()
{
    QFETCH(const VendorAnswer::Length, length);
    QFETCH(const qint64, size);
    VendorAnswer answer;
    answer.length = length;
    answer.filler = size;
    m_vendor->setAnswer("/page", answer);
    const UrlAnswer got = ask({.url = page});
    QVERIFY(!got.body);
    QVERIFY(!got.error.isEmpty());
}

void TestUrlLoaderFailures::anAddressThatIsNoneIsAnError_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("blank") << u"https://wayfar.example/a b"_s;
    QTest::newRow("line feed at the end") << u"https://wayfar.example/a\n"_s;
    QTest::newRow("line ends and a header") << u"https://wayfar.example/a\r\nX-Header: 1"_s;
    QTest::newRow("blank in the host") << u"https://way far.example/"_s;
    QTest::newRow("http") << u"http://wayfar.example/a"_s;
    QTest::newRow("a file") << u"file:///etc/hostname"_s;
    QTest::newRow("nothing") << QString();
}

void TestUrlLoaderFailures::anAddressThatIsNoneIsAnError()
{
    QFETCH(const QString, url);
    const UrlAnswer got = ask({.url = url});
    QVERIFY(!got.body);
    QVERIFY(!got.error.isEmpty());
    QVERIFY(m_vendor->requests().isEmpty());
}

void TestUrlLoaderFailures::theNextRequestWorksAfterAFailure()
{
    UrlLoader loader(networkOf(*m_vendor));
    VendorAnswer answer = answerWith("abcdef");
    answer.resetAfter = 3;
    m_vendor->queueAnswer("/page", answer);
    m_vendor->queueAnswer("/page", answerWith("whole"));
    QVERIFY(!loader.sendSynchronousRequest(formTo(page)).body);
    QVERIFY(!loader.sendSynchronousRequest({.url = u"https://wayfar.example/a b"_s}).body);
    QCOMPARE(loader.sendSynchronousRequest({.url = page}).body, std::optional<QByteArray>("whole"));
    const VendorRequest last = m_vendor->requests().constLast();
    QCOMPARE(last.method, "GET");
    QCOMPARE(last.headerCount("Content-Length"), 0);
}

QTEST_GUILESS_MAIN(TestUrlLoaderFailures)
#include "TestUrlLoaderFailures.moc"
