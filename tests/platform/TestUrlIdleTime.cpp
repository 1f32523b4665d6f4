#include "support/Answers.h"
#include "support/RecordingConnection.h"

#include <QTcpServer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString page = u"https://wayfar.example/page"_s;
constexpr int Patience = 20000; // libcurl takes some seconds more to call a body silent that had begun well
} // namespace

// How long a transfer waits for one more byte; there is no limit on the whole.
class TestUrlIdleTime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_vendor = std::make_unique<VendorServer>(); }
    void cleanup() { m_vendor.reset(); }

    void isAMinuteUnlessSet();
    void aSilentVendorIsGivenUp_data();
    void aSilentVendorIsGivenUp();
    void aTransferFromASilentVendorFails_data();
    void aTransferFromASilentVendorFails();
    void aServerThatNeverShakesHandsIsGivenUp();
    void aSlowVendorIsNotGivenUp();

private:
    std::unique_ptr<VendorServer> m_vendor;
};

void TestUrlIdleTime::isAMinuteUnlessSet()
{
    QCOMPARE(UrlLoaderSettings().idleSeconds, 60);
}

void TestUrlIdleTime::aSilentVendorIsGivenUp_data()
{
    QTest::addColumn<qint64>("after");
    QTest::newRow("before the answer") << qint64(-1);
    QTest::newRow("before the body") << qint64(0);
    QTest::newRow("in the body") << qint64(1);
}

void TestUrlIdleTime::aSilentVendorIsGivenUp()
{
    QFETCH(const qint64, after);
    VendorAnswer answer = answerWith("abc");
    answer.stallAfter = after;
    m_vendor->setAnswer("/page", answer);
    UrlLoader loader(networkOf(*m_vendor, 1));
    const UrlAnswer got = loader.sendSynchronousRequest({.url = page});
    QVERIFY(!got.body);
    QVERIFY2(got.error.contains(u"imeout"_s), qPrintable(got.error));
}

void TestUrlIdleTime::aTransferFromASilentVendorFails_data()
{
    QTest::addColumn<qint64>("after");
    QTest::addColumn<QStringList>("events");
    QTest::newRow("before the answer") << qint64(-1) << QStringList{u"failed"_s};
    QTest::newRow("before the body") << qint64(0) << QStringList{u"response 3"_s, u"failed"_s};
}

void TestUrlIdleTime::aTransferFromASilentVendorFails()
{
    QFETCH(const qint64, after);
    VendorAnswer answer = answerWith("abc");
    answer.stallAfter = after;
    m_vendor->setAnswer("/page", answer);
    UrlLoader loader(networkOf(*m_vendor, 1));
    const auto connection = std::make_shared<RecordingConnection>();
    loader.start({.url = page}, connection);
    QTRY_VERIFY_WITH_TIMEOUT(connection->isOver(), Patience);
    QTEST(connection->events, "events");
    QVERIFY2(connection->reason.contains(u"imeout"_s), qPrintable(connection->reason));
}

void TestUrlIdleTime::aServerThatNeverShakesHandsIsGivenUp()
{
    QTcpServer mute; // the system takes its connections, and nobody ever speaks
    QVERIFY(mute.listen(QHostAddress::LocalHost));
    UrlLoader loader({.connectTo = {"::127.0.0.1:" + QByteArray::number(mute.serverPort())}, .idleSeconds = 1});
    const UrlAnswer got = loader.sendSynchronousRequest({.url = page});
    QVERIFY(!got.body);
    QVERIFY2(got.error.contains(u"imeout"_s), qPrintable(got.error));
}

void TestUrlIdleTime::aSlowVendorIsNotGivenUp()
{
    VendorAnswer answer = answerWith("abcdef");
    answer.pieces = {1, 1, 1, 1, 1};
    answer.pauseMs = 400; // two seconds in all
    m_vendor->setAnswer("/page", answer);
    UrlLoader loader(networkOf(*m_vendor, 1));
    QCOMPARE(loader.sendSynchronousRequest({.url = page}).body, std::optional<QByteArray>("abcdef"));
}

QTEST_GUILESS_MAIN(TestUrlIdleTime)
#include "TestUrlIdleTime.moc"
