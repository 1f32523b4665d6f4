#include "support/Answers.h"
#include "support/RecordingConnection.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString page = u"https://wayfar.example/page"_s;

UrlRequest form()
{
    return {.url = page, .method = "POST", .headers = {{"Content-Length", "3"}}, .body = "a=b"};
}
} // namespace

// Each ends with one "failed", from the event loop.
class TestUrlTransferFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_vendor = std::make_unique<VendorServer>(); }
    void cleanupTestCase() { m_vendor.reset(); }
    void init();

    void aRefusedConnectionFails();
    void aBrokenConnectionFailsWithWhatHadCome_data();
    void aBrokenConnectionFailsWithWhatHadCome();
    void aFormIsSentOnceAlsoWhenTheConnectionBreaks();
    void aBodyShorterThanAnnouncedFails();
    void aBadCertificateFailsBeforeAnythingIsSent_data();
    void aBadCertificateFailsBeforeAnythingIsSent();
    void anAddressThatIsNoneFailsFromTheEventLoop_data();
    void anAddressThatIsNoneFailsFromTheEventLoop();
    void aForbiddenRedirectFailsWithoutAResponse_data();
    void aForbiddenRedirectFailsWithoutAResponse();
    void tooManyRedirectsFail();
    void aVendorThatStopsFails();

private:
    // Checks as well that nothing is reported before the start has returned.
    static std::shared_ptr<RecordingConnection> ended(const UrlLoaderSettings &network, const UrlRequest &request)
    {
        UrlLoader loader(network);
        const auto connection = std::make_shared<RecordingConnection>();
        loader.start(request, connection);
        const bool early = !connection->events.isEmpty();
        const bool over = QTest::qWaitFor([&] { return connection->isOver(); }, 10000);
        if (early)
            connection->events.prepend(u"early"_s);
        if (!over || (connection->events.last() == u"failed" && connection->reason.isEmpty()))
            connection->events.append(u"no ending or no reason"_s);
        return connection;
    }

    std::unique_ptr<VendorServer> m_vendor;
};

void TestUrlTransferFailures::init()
{
    m_vendor->clearAnswers();
    m_vendor->clearRequests();
}

void TestUrlTransferFailures::aRefusedConnectionFails()
{
    const auto connection = ended({.connectTo = {"::127.0.0.1:1"}}, {.url = page}); // nothing listens there
    QCOMPARE(connection->events, QStringList{u"failed"_s});
}

void TestUrlTransferFailures::aBrokenConnectionFailsWithWhatHadCome_data()
{
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::addColumn<qint64>("after");
    QTest::addColumn<QStringList>("events");
    QTest::newRow("before the answer") << VendorAnswer::Length::Exact << qint64(-1) << QStringList{u"failed"_s};
    QTest::newRow("before the body") << VendorAnswer::Length::Exact << qint64(0)
                                     << QStringList{u"response 4"_s, u"failed"_s};
    QTest::newRow("in the body") << VendorAnswer::Length::Exact << qint64(3)
                                 << QStringList{u"response 4"_s, u"data abc"_s, u"failed"_s};
    QTest::newRow("in a body without a length")
        << VendorAnswer::Length::Absent << qint64(3) << QStringList{u"response -1"_s, u"data abc"_s, u"failed"_s};
    QTest::newRow("before the last chunk")
        << VendorAnswer::Length::Chunked << qint64(4) << QStringList{u"response -1"_s, u"data abcd"_s, u"failed"_s};
}

void TestUrlTransferFailures::aBrokenConnectionFailsWithWhatHadCome()
{
    QFETCH(const VendorAnswer::Length, length);
    QFETCH(const qint64, after);
    VendorAnswer answer = answerOf(length, "abcd");
    answer.resetAfter = after;
    m_vendor->setAnswer("/page", answer);
    QTEST(ended(networkOf(*m_vendor), {.url = page})->events, "events");
}

void TestUrlTransferFailures::aFormIsSentOnceAlsoWhenTheConnectionBreaks()
{
    VendorAnswer answer;
    answer.resetAfter = -1;
    m_vendor->setAnswer("/page", answer);
    QCOMPARE(ended(networkOf(*m_vendor), form())->events, QStringList{u"failed"_s});
    QCOMPARE(ended(networkOf(*m_vendor), {.url = u"https://wayfar.example/feed"_s})->events.last(), u"finished"_s);
    QCOMPARE(m_vendor->requests("/page").size(), 1);
}

void TestUrlTransferFailures::aBodyShorterThanAnnouncedFails()
{
    VendorAnswer answer = answerWith("abc");
    answer.announcedLength = 4;
    m_vendor->setAnswer("/page", answer);
    QCOMPARE(ended(networkOf(*m_vendor), {.url = page})->events,
             (QStringList{u"response 4"_s, u"data abc"_s, u"failed"_s}));
}

void TestUrlTransferFailures::aBadCertificateFailsBeforeAnythingIsSent_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<bool>("expired");
    QTest::addColumn<bool>("trusted");
    const QStringList names = VendorServer::Options().names;
    QTest::newRow("expired") << names << true << true;
    QTest::newRow("of an unknown authority") << names << false << false;
    QTest::newRow("for another name") << QStringList{u"localhost"_s} << false << true;
}

void TestUrlTransferFailures::aBadCertificateFailsBeforeAnythingIsSent()
{
    QFETCH(const QStringList, names);
    QFETCH(const bool, expired);
    QFETCH(const bool, trusted);
    const VendorServer vendor({names, expired, trusted});
    const auto connection =
        ended({.caFile = vendor.caFile(), .connectTo = {"::127.0.0.1:" + QByteArray::number(vendor.port())}}, form());
    QCOMPARE(connection->events, QStringList{u"failed"_s});
    QVERIFY2(connection->reason.contains(u"certificate"_s), qPrintable(connection->reason));
    QVERIFY(vendor.requests().isEmpty());
}

void TestUrlTransferFailures::anAddressThatIsNoneFailsFromTheEventLoop_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("blank") << u"https://wayfar.example/a b"_s;
    QTest::newRow("line feed at the end") << u"https://wayfar.example/a\n"_s;
    QTest::newRow("line ends and a header") << u"https://wayfar.example/a\r\nX-Header: 1"_s;
    QTest::newRow("http") << u"http://wayfar.example/a"_s;
    QTest::newRow("nothing") << QString();
}

void TestUrlTransferFailures::anAddressThatIsNoneFailsFromTheEventLoop()
{
    QFETCH(const QString, url);
    QCOMPARE(ended(networkOf(*m_vendor), {.url = url})->events, QStringList{u"failed"_s});
    QVERIFY(m_vendor->requests().isEmpty());
}

void TestUrlTransferFailures::aForbiddenRedirectFailsWithoutAResponse_data()
{
    QTest::addColumn<UrlRequest>("request");
    QTest::addColumn<VendorAnswer>("answer");
    QTest::newRow("to http") << UrlRequest{.url = page} << redirectTo("http://wayfar.example/end");
    QTest::newRow("a form, to http") << form() << redirectTo("http://wayfar.example/end", 307);
    QTest::newRow("a form turned into a GET, to http") << form() << redirectTo("http://wayfar.example/end", 303);
    QTest::newRow("a form to another host, 307") << form() << redirectTo("https://www.wayfar.example/end", 307);
    QTest::newRow("a form to another host, 308") << form() << redirectTo("https://www.wayfar.example/end", 308);
}

void TestUrlTransferFailures::aForbiddenRedirectFailsWithoutAResponse()
{
    QFETCH(const UrlRequest, request);
    QFETCH(const VendorAnswer, answer);
    m_vendor->setAnswer("/page", answer);
    QCOMPARE(ended(networkOf(*m_vendor), request)->events, QStringList{u"failed"_s});
    QCOMPARE(m_vendor->requests().size(), 1);
}

void TestUrlTransferFailures::tooManyRedirectsFail()
{
    m_vendor->setAnswer("/page", redirectTo("/page"));
    QCOMPARE(ended(networkOf(*m_vendor), {.url = page})->events, QStringList{u"failed"_s});
    QCOMPARE(m_vendor->requests().size(), 17);
}

void TestUrlTransferFailures::aVendorThatStopsFails()
{
    auto vendor = std::make_unique<VendorServer>();
    VendorAnswer answer = answerWith("abcd");
    answer.stallAfter = 2;
    vendor->setAnswer("/page", answer);
    UrlLoader loader(networkOf(*vendor));
    const auto connection = std::make_shared<RecordingConnection>();
    loader.start({.url = page}, connection);
    QTRY_COMPARE(connection->events, (QStringList{u"response 4"_s, u"data ab"_s}));
    vendor.reset();
    QTRY_COMPARE(connection->events, (QStringList{u"response 4"_s, u"data ab"_s, u"failed"_s}));
}

QTEST_GUILESS_MAIN(TestUrlTransferFailures)
#include "TestUrlTransferFailures.moc"
