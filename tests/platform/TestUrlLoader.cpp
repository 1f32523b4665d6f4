#include "support/Answers.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryFile>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <thread>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
const QString page = u"https://wayfar.example/page"_s;

UrlRequest formTo(const QString &url, const QByteArray &form)
{
    return {.url = url,
            .method = "POST",
            .headers = {{"Content-Length", QByteArray::number(form.size())}, {"Content-Type", "words no semicolon"}},
            .body = form};
}
} // namespace

class TestUrlLoader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_vendor = std::make_unique<VendorServer>(); }
    void cleanupTestCase() { m_vendor.reset(); }
    void init();
    void cleanup() { m_loader.reset(); }

    void everyStatusIsAnAnswer_data();
    void everyStatusIsAnAnswer();
    void anEmptyBodyIsAValue_data();
    void anEmptyBodyIsAValue();
    void aBodyIsWholeHoweverItsEndIsMarked_data();
    void aBodyIsWholeHoweverItsEndIsMarked();
    void aBodyArrivesByteForByteWhateverEncodingItClaims();
    void anInterimAnswerIsSkipped();
    void twoHundredHeaderFieldsAreNoObstacle();
    void aBodyOfTheMostHeldInMemoryIsWhole();

    void aGetCarriesNothingOfTheUser();
    void aCookieIsNotKept();
    void theHostIsTheOneNamedInTheAddress();
    void aFormGoesOutExactlyAsGiven();
    void aLongFormIsSentWithoutAskingFirst();
    void anEmptyFormIsSentEmptyAndStandardInputLeftAlone_data();
    void anEmptyFormIsSentEmptyAndStandardInputLeftAlone();

    void oneConnectionServesManyRequests();
    void aFormGetsAConnectionOfItsOwn();
    void aKeptConnectionThatTheVendorClosedIsReplaced();
    void aProxyOfTheEnvironmentIsAsked();

    void aWorkerThreadMayAsk();
    void threadsThatAskAtOnceGetTheirOwnAnswers();
    void noEventIsDeliveredWhileTheCallerWaits();

private:
    std::unique_ptr<VendorServer> m_vendor;
    std::unique_ptr<UrlLoader> m_loader;
};

void TestUrlLoader::init()
{
    m_vendor->clearAnswers();
    m_vendor->clearRequests();
    m_loader = std::make_unique<UrlLoader>(networkOf(*m_vendor));
}

void TestUrlLoader::everyStatusIsAnAnswer_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {200, 201, 206, 300, 400, 401, 403, 404, 407, 410, 416, 429, 500, 502, 503, 599})
        QTest::addRow("%d", status) << status;
}

void TestUrlLoader::everyStatusIsAnAnswer()
{
    QFETCH(const int, status);
    VendorAnswer answer = answerWith("the words of the answer");
    answer.status = status;
    answer.headers = {{"WWW-Authenticate", "Basic realm=\"vendor\""}};
    m_vendor->setAnswer("/page", answer);
    const UrlAnswer got = m_loader->sendSynchronousRequest({.url = page});
    QCOMPARE(got.body, std::optional<QByteArray>("the words of the answer"));
    QVERIFY(got.error.isEmpty());
    QCOMPARE(m_vendor->requests().size(), 1);
}

void TestUrlLoader::anEmptyBodyIsAValue_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::newRow("announced") << 200 << VendorAnswer::Length::Exact;
    QTest::newRow("chunked") << 200 << VendorAnswer::Length::Chunked;
    QTest::newRow("closed") << 200 << VendorAnswer::Length::Absent;
    QTest::newRow("no content") << 204 << VendorAnswer::Length::Exact;
    QTest::newRow("not modified") << 304 << VendorAnswer::Length::Exact;
    QTest::newRow("error") << 500 << VendorAnswer::Length::Exact;
}

void TestUrlLoader::anEmptyBodyIsAValue()
{
    QFETCH(const int, status);
    QFETCH(const VendorAnswer::Length, length);
    VendorAnswer answer = answerOf(length, {});
    answer.status = status;
    m_vendor->setAnswer("/page", answer);
    const UrlAnswer got = m_loader->sendSynchronousRequest({.url = page});
    QVERIFY2(got.body.has_value(), qPrintable(got.error));
    QVERIFY(!got.body->isNull());
    QVERIFY(got.body->isEmpty());
}

void TestUrlLoader::aBodyIsWholeHoweverItsEndIsMarked_data()
{
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::newRow("by its announced length") << VendorAnswer::Length::Exact;
    QTest::newRow("by the last chunk") << VendorAnswer::Length::Chunked;
    QTest::newRow("by the end of the connection") << VendorAnswer::Length::Absent;
}

void TestUrlLoader::aBodyIsWholeHoweverItsEndIsMarked()
{
    QFETCH(const VendorAnswer::Length, length);
    VendorAnswer answer = answerOf(length, "begin");
    answer.pieces = {1, 3, 70000};
    answer.filler = 200000;
    m_vendor->setAnswer("/page", answer);
    const UrlAnswer got = m_loader->sendSynchronousRequest({.url = page});
    QCOMPARE(got.body, std::optional("begin" + QByteArray(200000, '.')));
}

void TestUrlLoader::aBodyArrivesByteForByteWhateverEncodingItClaims()
{
    QByteArray bytes;
    for (int i = 0; i < 1024; ++i)
        bytes.append(static_cast<char>(i % 256));
    VendorAnswer answer = answerWith(bytes);
    answer.headers = {{"Content-Encoding", "gzip"}};
    m_vendor->setAnswer("/page", answer);
    QCOMPARE(m_loader->sendSynchronousRequest({.url = page}).body, std::optional(bytes));
}

void TestUrlLoader::anInterimAnswerIsSkipped()
{
    m_vendor->setAnswer("/page", answerAfterAnInterimOne("final"));
    QCOMPARE(m_loader->sendSynchronousRequest({.url = page}).body, std::optional<QByteArray>("final"));
}

void TestUrlLoader::twoHundredHeaderFieldsAreNoObstacle()
{
    VendorAnswer answer = answerWith("body");
    for (int i = 0; i < 200; ++i)
        answer.headers.emplaceBack("X-Field-" + QByteArray::number(i), QByteArray(200, 'x'));
    m_vendor->setAnswer("/page", answer);
    QCOMPARE(m_loader->sendSynchronousRequest({.url = page}).body, std::optional<QByteArray>("body"));
}

void TestUrlLoader::aBodyOfTheMostHeldInMemoryIsWhole()
{
    QCOMPARE(UrlLoader::MostInMemory, 64 * 1024 * 1024);
    VendorAnswer answer;
    answer.filler = UrlLoader::MostInMemory;
    m_vendor->setAnswer("/page", answer);
    const UrlAnswer got = m_loader->sendSynchronousRequest({.url = page});
    QVERIFY2(got.body.has_value(), qPrintable(got.error));
    QCOMPARE(got.body->size(), UrlLoader::MostInMemory);
}

void TestUrlLoader::aGetCarriesNothingOfTheUser()
{
    QVERIFY(m_loader->sendSynchronousRequest({.url = page + u"?a=b%20c"_s}).body);
    const VendorRequest request = m_vendor->requests().value(0);
    QCOMPARE(request.method, "GET");
    QCOMPARE(request.path, "/page?a=b%20c");
    QCOMPARE(request.body, "");
    for (const char *name : {"Cookie", "Authorization", "Proxy-Authorization", "Accept-Encoding", "Content-Length",
                             "Content-Type", "Transfer-Encoding", "Referer", "Expect"})
        QVERIFY2(request.headerCount(name) == 0, name);
}

void TestUrlLoader::aCookieIsNotKept()
{
    VendorAnswer answer = redirectTo("https://wayfar.example/page");
    answer.headers.emplaceBack("Set-Cookie", "session=1; Path=/; Secure");
    m_vendor->setAnswer("/first", answer);
    for (int i = 0; i < 2; ++i)
        QVERIFY(m_loader->sendSynchronousRequest({.url = u"https://wayfar.example/first"_s}).body);
    QCOMPARE(m_vendor->requests().size(), 4);
    for (const VendorRequest &request : m_vendor->requests())
        QCOMPARE(request.headerCount("Cookie"), 0);
}

void TestUrlLoader::theHostIsTheOneNamedInTheAddress()
{
    for (const char *host : {"wayfar.example", "www.wayfar.example", "download.wayfar.example"}) {
        QVERIFY(m_loader->sendSynchronousRequest({.url = u"https://%1/page"_s.arg(QLatin1StringView(host))}).body);
        QCOMPARE(m_vendor->requests().constLast().host, host);
    }
}

void TestUrlLoader::aFormGoesOutExactlyAsGiven()
{
    const QByteArray form("user=a%20b&pass=x\0y", 19);
    QVERIFY(m_loader->sendSynchronousRequest(formTo(page, form)).body);
    const VendorRequest request = m_vendor->requests().value(0);
    QCOMPARE(request.method, "POST");
    QCOMPARE(request.body, form);
    QCOMPARE(request.header("Content-Length"), std::optional<QByteArray>("19"));
    QCOMPARE(request.headerCount("Content-Length"), 1);
    QCOMPARE(request.header("Content-Type"), std::optional<QByteArray>("words no semicolon"));
    QCOMPARE(request.headerCount("Content-Type"), 1);
    for (const char *name : {"Cookie", "Authorization", "Accept-Encoding", "Transfer-Encoding", "Expect"})
        QVERIFY2(request.headerCount(name) == 0, name);
}

void TestUrlLoader::aLongFormIsSentWithoutAskingFirst()
{
    const QByteArray form(3 * 1024 * 1024, 'x');
    QVERIFY(m_loader->sendSynchronousRequest(formTo(page, form)).body);
    QCOMPARE(m_vendor->requests().value(0).body, form);
    QCOMPARE(m_vendor->requests().value(0).headerCount("Expect"), 0);
}

void TestUrlLoader::anEmptyFormIsSentEmptyAndStandardInputLeftAlone_data()
{
    QTest::addColumn<QByteArray>("form");
    QTest::newRow("null") << QByteArray();
    QTest::newRow("empty") << QByteArray("");
}

void TestUrlLoader::anEmptyFormIsSentEmptyAndStandardInputLeftAlone()
{
    QFETCH(const QByteArray, form);
    QTemporaryFile input;
    QVERIFY(input.open());
    input.write("what somebody typed");
    input.close();
    const int kept = ::dup(STDIN_FILENO);
    QVERIFY(input.open());
    ::dup2(input.handle(), STDIN_FILENO);
    std::clearerr(stdin);

    const UrlAnswer got = m_loader->sendSynchronousRequest(formTo(page, form));
    const off_t read = ::lseek(STDIN_FILENO, 0, SEEK_CUR);
    ::dup2(kept, STDIN_FILENO);
    ::close(kept);

    QVERIFY2(got.body.has_value(), qPrintable(got.error));
    QCOMPARE(read, off_t(0));
    const VendorRequest request = m_vendor->requests().value(0);
    QCOMPARE(request.method, "POST");
    QCOMPARE(request.body, "");
    QCOMPARE(request.header("Content-Length"), std::optional<QByteArray>("0"));
    QCOMPARE(request.headerCount("Content-Length"), 1);
    QCOMPARE(request.headerCount("Transfer-Encoding"), 0);
}

void TestUrlLoader::oneConnectionServesManyRequests()
{
    const int before = m_vendor->connections();
    m_vendor->setAnswer("/moved", redirectTo("/page"));
    for (const char *path : {"page", "nowhere", "moved", "page", "feed"})
        QVERIFY(m_loader->sendSynchronousRequest({.url = u"https://wayfar.example/"_s + QLatin1StringView(path)}).body);
    QCOMPARE(m_vendor->connections(), before + 1);
}

// Only on a kept connection does libcurl send a request twice.
void TestUrlLoader::aFormGetsAConnectionOfItsOwn()
{
    const int before = m_vendor->connections();
    QVERIFY(m_loader->sendSynchronousRequest({.url = page}).body);
    QVERIFY(m_loader->sendSynchronousRequest(formTo(page, "a=b")).body);
    QCOMPARE(m_vendor->connections(), before + 2);
    QVERIFY(m_loader->sendSynchronousRequest({.url = page}).body);
    QCOMPARE(m_vendor->connections(), before + 2);
}

void TestUrlLoader::aKeptConnectionThatTheVendorClosedIsReplaced()
{
    VendorAnswer answer = answerWith("whole");
    answer.resetAfter = answer.body.size();
    m_vendor->queueAnswer("/page", answer);
    m_vendor->queueAnswer("/page", answerWith("again"));
    QCOMPARE(m_loader->sendSynchronousRequest({.url = page}).body, std::optional<QByteArray>("whole"));
    QCOMPARE(m_loader->sendSynchronousRequest({.url = page}).body, std::optional<QByteArray>("again"));
    QCOMPARE(m_vendor->requests().size(), 2);
}

void TestUrlLoader::aWorkerThreadMayAsk()
{
    UrlAnswer got;
    std::jthread([&] {
        got = m_loader->sendSynchronousRequest({.url = u"https://wayfar.example/api/macVersion"_s});
    }).join();
    QCOMPARE(got.body, std::optional<QByteArray>("1.2.6"));
}

void TestUrlLoader::threadsThatAskAtOnceGetTheirOwnAnswers()
{
    constexpr int each = 20;
    std::atomic<int> right = 0;
    const auto ask = [&](const QByteArray &path) {
        m_vendor->setAnswer(path, answerWith("the answer of " + path));
        for (int i = 0; i < each; ++i) {
            const UrlAnswer got =
                m_loader->sendSynchronousRequest({.url = u"https://wayfar.example"_s + QString::fromLatin1(path)});
            right += got.body == "the answer of " + path ? 1 : 0;
        }
    };
    {
        std::jthread one(ask, "/one");
        std::jthread two(ask, "/two");
        ask("/three");
    }
    QCOMPARE(right.load(), 3 * each);
}

void TestUrlLoader::noEventIsDeliveredWhileTheCallerWaits()
{
    VendorAnswer answer = answerWith("late");
    answer.stallAfter = -1;
    m_vendor->setAnswer("/page", answer);
    bool delivered = false;
    QTimer::singleShot(0, this, [&delivered] { delivered = true; });
    std::jthread vendor([this] {
        m_vendor->waitForRequests("/page", 1);
        m_vendor->step();
    });
    QCOMPARE(m_loader->sendSynchronousRequest({.url = page}).body, std::optional<QByteArray>("late"));
    QVERIFY(!delivered);
    QTRY_VERIFY(delivered);
}

// It is asked to lead to the vendor, and refuses. A program started without a proxy has none.
void TestUrlLoader::aProxyOfTheEnvironmentIsAsked()
{
    QTcpServer proxy;
    QVERIFY(proxy.listen(QHostAddress::LocalHost));
    qputenv("https_proxy", "http://127.0.0.1:" + QByteArray::number(proxy.serverPort()));
    UrlLoader loader({.caFile = m_vendor->caFile()});
    UrlAnswer got;
    std::jthread asking([&] { got = loader.sendSynchronousRequest({.url = page}); });
    QVERIFY(proxy.waitForNewConnection(5000));
    const std::unique_ptr<QTcpSocket> client(proxy.nextPendingConnection());
    QVERIFY(client->waitForReadyRead(5000));
    const QByteArray asked = client->readAll();
    client->write("HTTP/1.1 403 No\r\nContent-Length: 0\r\n\r\n");
    client->waitForBytesWritten(5000);
    asking.join();
    qunsetenv("https_proxy");
    QVERIFY2(asked.startsWith("CONNECT wayfar.example:443 HTTP/1.1\r\n"), asked.constData());
    QVERIFY(!got.body);
}

QTEST_GUILESS_MAIN(TestUrlLoader)
#include "TestUrlLoader.moc"
