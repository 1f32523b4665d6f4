#include "platform/UrlLoader.h"

#include "support/Answers.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
// From the kernel's list: remote address and port, then the state, of which 01 is an open connection.
bool isConnectedTo(quint16 port)
{
    QFile list(u"/proc/self/net/tcp"_s);
    const QByteArray open = ":" + QByteArray::number(port, 16).toUpper().rightJustified(4, '0') + " 01 ";
    return list.open(QIODevice::ReadOnly) && list.readAll().contains(open);
}
} // namespace

// A kept connection may end just when the next request goes out on it. It may have arrived, so it is not sent again.
class TestUrlSentOnce : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRequestOnADyingConnectionIsSentOnce_data();
    void aRequestOnADyingConnectionIsSentOnce();
    void aConnectionKnownToBeClosedIsReplaced();
    void aFormUsesTheKeptConnection();
    void eachHopOfARedirectIsSentOnce();
    void halfAHeadIsNoAnswer_data();
    void halfAHeadIsNoAnswer();
};

void TestUrlSentOnce::aRequestOnADyingConnectionIsSentOnce_data()
{
    QTest::addColumn<UrlRequest>("request");
    QTest::newRow("GET") << UrlRequest{.url = u"https://wayfar.example/next"_s};
    QTest::newRow("POST") << UrlRequest{.url = u"https://wayfar.example/next"_s, .method = "POST", .body = "a=b"};
}

void TestUrlSentOnce::aRequestOnADyingConnectionIsSentOnce()
{
    QFETCH(const UrlRequest, request);
    VendorServer vendor;
    vendor.setAnswer("/first", answerWith("first"));
    vendor.setAnswer("/next", brokenOff());
    UrlLoader loader(networkOf(vendor));
    QVERIFY(loader.sendSynchronousRequest({.url = u"https://wayfar.example/first"_s}).body);
    QVERIFY(!loader.sendSynchronousRequest(request).body);
    QCOMPARE(vendor.requests("/next").size(), 1);
    QVERIFY(loader.sendSynchronousRequest({.url = u"https://wayfar.example/first"_s}).body); // on a new connection
}

void TestUrlSentOnce::aConnectionKnownToBeClosedIsReplaced()
{
    VendorServer vendor;
    vendor.queueAnswer("/page", brokenAfter(5, "whole"));
    vendor.queueAnswer("/page", answerWith("again"));
    UrlLoader loader(networkOf(vendor));
    const UrlRequest request{.url = u"https://wayfar.example/page"_s};
    QCOMPARE(loader.sendSynchronousRequest(request).body, std::optional<QByteArray>("whole"));
    QTRY_VERIFY(!isConnectedTo(vendor.port())); // its end has come
    QCOMPARE(loader.sendSynchronousRequest(request).body, std::optional<QByteArray>("again"));
    QCOMPARE(vendor.requests().size(), 2);
}

void TestUrlSentOnce::aFormUsesTheKeptConnection()
{
    VendorServer vendor;
    vendor.setAnswer("/page", answerWith("page"));
    UrlLoader loader(networkOf(vendor));
    for (const QByteArray &method : {QByteArray("GET"), QByteArray("POST"), QByteArray("POST")}) {
        const UrlRequest request{.url = u"https://wayfar.example/page"_s, .method = method};
        QCOMPARE(loader.sendSynchronousRequest(request).body, std::optional<QByteArray>("page"));
    }
    QCOMPARE(vendor.connections(), 1);
}

void TestUrlSentOnce::eachHopOfARedirectIsSentOnce()
{
    VendorServer vendor;
    vendor.setAnswer("/start", redirectTo("/end"));
    vendor.queueAnswer("/end", answerWith("end"));
    vendor.queueAnswer("/end", brokenOff());
    UrlLoader loader(networkOf(vendor));
    const UrlRequest request{.url = u"https://wayfar.example/start"_s};
    QCOMPARE(loader.sendSynchronousRequest(request).body, std::optional<QByteArray>("end"));
    QVERIFY(!loader.sendSynchronousRequest(request).body);
    QCOMPARE(vendor.requests("/start").size(), 2);
    QCOMPARE(vendor.requests("/end").size(), 2);
}

void TestUrlSentOnce::halfAHeadIsNoAnswer_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::newRow("in the status line") << QByteArray("HTTP/1.1 20");
    QTest::newRow("after the status line") << QByteArray("HTTP/1.1 200 OK\r\n");
    QTest::newRow("in a header") << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: te");
    QTest::newRow("before the blank line") << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n");
}

void TestUrlSentOnce::halfAHeadIsNoAnswer()
{
    QFETCH(const QByteArray, head);
    VendorServer vendor;
    VendorAnswer answer = answerOf(VendorAnswer::Length::Absent, head);
    answer.status = 103; // of which the rest is read as the final answer
    vendor.setAnswer("/page", answer);
    UrlLoader loader(networkOf(vendor));
    const UrlAnswer got = loader.sendSynchronousRequest({.url = u"https://wayfar.example/page"_s});
    QVERIFY(!got.body);
    QVERIFY(!got.error.isEmpty());
}

QTEST_GUILESS_MAIN(TestUrlSentOnce)
#include "TestUrlSentOnce.moc"
