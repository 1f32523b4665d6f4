#include "platform/UrlLoader.h"

#include "support/Answers.h"
#include "support/RecordingConnection.h"

#include <QTest>

#include <curl/curl.h>

using namespace Qt::StringLiterals;

namespace
{
const QString page = addressOf(u"/page"_s);

// What libcurl calls a failure; the words differ from one version to the next.
QString wordsFor(CURLcode failure)
{
    return QString::fromUtf8(curl_easy_strerror(failure));
}

// Of any name, whatever names the certificate has.
UrlLoaderSettings networkOfAnyName(const VendorServer &vendor)
{
    return {.caFile = vendor.caFile(), .connectTo = {"::127.0.0.1:" + QByteArray::number(vendor.port())}};
}
} // namespace

// Each request is made by both roads: a request that is waited for gets a reason and no body, and a transfer ends with
// one "failed", from the event loop.
class TestUrlFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_vendor = std::make_unique<VendorServer>(); }
    void cleanupTestCase() { m_vendor.reset(); }
    void init();

    void anAddressThatIsNoneFailsBeforeAnythingIsSent_data();
    void anAddressThatIsNoneFailsBeforeAnythingIsSent();
    void aRefusedConnectionFails();
    void aBadCertificateFailsBeforeAnythingIsSent_data();
    void aBadCertificateFailsBeforeAnythingIsSent();
    void aBrokenAnswerFails_data();
    void aBrokenAnswerFails();
    void aFormIsSentOnceAlsoWhenTheConnectionBreaks_data();
    void aFormIsSentOnceAlsoWhenTheConnectionBreaks();
    void aBodyTooLongForMemoryFails();
    void aVendorThatStopsFails();
    void theNextRequestWorksAfterAFailure();

private:
    static QString failureOf(const UrlLoaderSettings &network, const UrlRequest &request,
                             const QStringList &events = {u"failed"_s});

    std::unique_ptr<VendorServer> m_vendor;
};

void TestUrlFailures::init()
{
    m_vendor->clearAnswers();
    m_vendor->clearRequests();
}

// The reason, which must be the same by both roads; the events are the transfer's.
QString TestUrlFailures::failureOf(const UrlLoaderSettings &network, const UrlRequest &request,
                                   const QStringList &events)
{
    UrlLoader loader(network);
    const UrlAnswer answer = loader.sendSynchronousRequest(request);
    const auto transfer = std::make_shared<RecordingConnection>();
    loader.start(request, transfer);
    const bool silentAtFirst = transfer->events.isEmpty();
    if (!transfer->waitForEnd() || transfer->events != events || !silentAtFirst)
        return u"the transfer: "_s + transfer->events.join(u", ");
    if (answer.body || answer.error.isEmpty() || answer.error != transfer->reason)
        return u"the reasons: "_s + answer.error + u", "_s + transfer->reason;
    return answer.error;
}

void TestUrlFailures::anAddressThatIsNoneFailsBeforeAnythingIsSent_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<CURLcode>("failure");
    QTest::newRow("blank") << u"https://wayfar.example/a b"_s << CURLE_URL_MALFORMAT;
    QTest::newRow("line feed at the end") << u"https://wayfar.example/a\n"_s << CURLE_URL_MALFORMAT;
    QTest::newRow("line ends and a header") << u"https://wayfar.example/a\r\nX-Header: 1"_s << CURLE_URL_MALFORMAT;
    QTest::newRow("blank in the host") << u"https://way far.example/"_s << CURLE_URL_MALFORMAT;
    QTest::newRow("nothing") << QString() << CURLE_URL_MALFORMAT;
    QTest::newRow("http") << u"http://wayfar.example/a"_s << CURLE_UNSUPPORTED_PROTOCOL;
    QTest::newRow("a file") << u"file:///etc/hostname"_s << CURLE_UNSUPPORTED_PROTOCOL;
    // A label of more than 63 letters is refused by the resolver itself: nobody else is asked.
    QTest::newRow("unknown name") << u"https://"_s + QString(64, u'a') + u".example/"_s << CURLE_COULDNT_RESOLVE_HOST;
}

void TestUrlFailures::anAddressThatIsNoneFailsBeforeAnythingIsSent()
{
    QFETCH(const QString, url);
    QFETCH(const CURLcode, failure);
    QCOMPARE(failureOf(networkOf(*m_vendor), {.url = url}), wordsFor(failure));
    QVERIFY(m_vendor->requests().isEmpty());
}

void TestUrlFailures::aRefusedConnectionFails()
{
    QCOMPARE(failureOf({.connectTo = {"::127.0.0.1:1"}}, {.url = page}), wordsFor(CURLE_COULDNT_CONNECT));
}

void TestUrlFailures::aBadCertificateFailsBeforeAnythingIsSent_data()
{
    QTest::addColumn<VendorServer::Options>("options");
    QTest::newRow("expired") << VendorServer::Options{.expired = true};
    QTest::newRow("of an unknown authority") << VendorServer::Options{.trusted = false};
    QTest::newRow("for another name") << VendorServer::Options{.names = {u"localhost"_s}};
}

void TestUrlFailures::aBadCertificateFailsBeforeAnythingIsSent()
{
    QFETCH(const VendorServer::Options, options);
    const VendorServer vendor(options);
    QCOMPARE(failureOf(networkOfAnyName(vendor), formTo(page)), wordsFor(CURLE_PEER_FAILED_VERIFICATION));
    QVERIFY(vendor.requests().isEmpty());
}

void TestUrlFailures::aBrokenAnswerFails_data()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::addColumn<QStringList>("events"); // of the transfer: what had come is handed over
    using Length = VendorAnswer::Length;
    const auto row = [](const char *name, Length length, const QString &response) {
        QTest::addRow("%s, before the answer", name) << brokenAfter(-1, "abcd", length) << QStringList{u"failed"_s};
        QTest::addRow("%s, before the body", name)
            << brokenAfter(0, "abcd", length) << QStringList{response, u"failed"_s};
        QTest::addRow("%s, in the body", name)
            << brokenAfter(3, "abcd", length) << QStringList{response, u"data abc"_s, u"failed"_s};
    };
    row("announced", Length::Exact, u"response 4"_s);
    row("chunked", Length::Chunked, u"response -1"_s);
    row("no length", Length::Absent, u"response -1"_s);
    const QStringList whole = {u"response -1"_s, u"data abcd"_s, u"failed"_s};
    QTest::newRow("chunked, before the last chunk") << brokenAfter(4, "abcd", Length::Chunked) << whole;
    QTest::newRow("no length, before the end") << brokenAfter(4, "abcd", Length::Absent) << whole;
    QTest::newRow("shorter than announced")
        << announcing(4, "abc") << QStringList{u"response 4"_s, u"data abc"_s, u"failed"_s};
}

void TestUrlFailures::aBrokenAnswerFails()
{
    QFETCH(const VendorAnswer, answer);
    QFETCH(const QStringList, events);
    m_vendor->setAnswer("/page", answer);
    QCOMPARE(failureOf(networkOf(*m_vendor), {.url = page}, events),
             wordsFor(answer.resetAfter ? CURLE_RECV_ERROR : CURLE_PARTIAL_FILE));
}

void TestUrlFailures::aFormIsSentOnceAlsoWhenTheConnectionBreaks_data()
{
    QTest::addColumn<bool>("warm");
    QTest::addColumn<qint64>("after");
    QTest::newRow("first request, before the answer") << false << qint64(-1);
    QTest::newRow("first request, in the body") << false << qint64(2);
    QTest::newRow("after others, before the answer") << true << qint64(-1);
    QTest::newRow("after others, in the body") << true << qint64(2);
}

void TestUrlFailures::aFormIsSentOnceAlsoWhenTheConnectionBreaks()
{
    QFETCH(const bool, warm);
    QFETCH(const qint64, after);
    UrlLoader loader(networkOf(*m_vendor));
    const UrlRequest other = {.url = addressOf(u"/feed"_s)};
    if (warm)
        QVERIFY(loader.sendSynchronousRequest(other).body);
    m_vendor->setAnswer("/page", brokenAfter(after, "abcdef"));
    for (const UrlAnswer &got : answersByBothRoads(loader, formTo(page)))
        QVERIFY(!got.body);
    // Had one been sent again, it would be in the list before this.
    QVERIFY(loader.sendSynchronousRequest(other).body);
    QCOMPARE(m_vendor->requests("/page").size(), 2); // one by each road
}

void TestUrlFailures::aBodyTooLongForMemoryFails()
{
    VendorAnswer answer = answerOf(VendorAnswer::Length::Absent, {});
    answer.filler = UrlLoader::MostInMemory + 1;
    m_vendor->setAnswer("/page", answer);
    const UrlAnswer got = UrlLoader(networkOf(*m_vendor)).sendSynchronousRequest({.url = page});
    QVERIFY(!got.body);
    QVERIFY(!got.error.isEmpty());
}

void TestUrlFailures::aVendorThatStopsFails()
{
    auto vendor = std::make_unique<VendorServer>();
    vendor->setAnswer("/page", silentAfter(2, "abcd"));
    UrlLoader loader(networkOf(*vendor));
    const auto connection = std::make_shared<RecordingConnection>();
    loader.start({.url = page}, connection);
    QTRY_COMPARE(connection->events, (QStringList{u"response 4"_s, u"data ab"_s}));
    vendor.reset();
    QTRY_COMPARE(connection->events, (QStringList{u"response 4"_s, u"data ab"_s, u"failed"_s}));
}

void TestUrlFailures::theNextRequestWorksAfterAFailure()
{
    UrlLoader loader(networkOf(*m_vendor));
    m_vendor->queueAnswer("/page", brokenAfter(3, "abcdef"));
    m_vendor->queueAnswer("/page", answerWith("whole"));
    QVERIFY(!loader.sendSynchronousRequest(formTo(page)).body);
    QVERIFY(!loader.sendSynchronousRequest({.url = addressOf(u"/a b"_s)}).body);
    QCOMPARE(loader.sendSynchronousRequest({.url = page}).body, std::optional<QByteArray>("whole"));
    const VendorRequest last = m_vendor->requests().constLast();
    QCOMPARE(last.method, "GET");
    QCOMPARE(last.headerCount("Content-Length"), 0);
}

QTEST_GUILESS_MAIN(TestUrlFailures)
#include "TestUrlFailures.moc"
