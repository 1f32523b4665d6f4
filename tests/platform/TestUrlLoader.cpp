#include "platform/UrlLoader.h"

#include "support/Answers.h"
#include "support/RecordingConnection.h"

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
const QString page = addressOf(u"/page"_s);

VendorAnswer inPieces(VendorAnswer::Length length)
{
    VendorAnswer answer = answerOf(length, "begin");
    answer.pieces = {1, 3, 70000};
    answer.filler = 200000;
    return answer;
}

VendorAnswer compressed(const QByteArray &bytes)
{
    VendorAnswer answer = answerWith(bytes);
    answer.headers = {{"Content-Encoding", "gzip"}};
    return answer;
}

VendorAnswer withManyHeaders(int count)
{
    VendorAnswer answer = answerWith("body");
    for (int i = 0; i < count; ++i)
        answer.headers.emplaceBack("X-Field-" + QByteArray::number(i), QByteArray(200, 'x'));
    return answer;
}
} // namespace

// What is an answer, and what goes out.
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
    void everyBodyIsWhole_data();
    void everyBodyIsWhole();
    void aBodyOfTheMostHeldInMemoryIsWhole();

    void aRequestCarriesTheseHeadersAlone_data();
    void aRequestCarriesTheseHeadersAlone();
    void aCookieIsNotKept();
    void theHostIsTheOneNamedInTheAddress();
    void aFormGoesOutExactlyAsGiven_data();
    void aFormGoesOutExactlyAsGiven();
    void standardInputIsLeftAlone();

    void oneConnectionServesManyRequests();
    void aProxyOfTheEnvironmentIsAsked();

    void threadsThatAskAtOnceGetTheirOwnAnswers();
    void noEventIsDeliveredWhileTheCallerWaits();

private:
    UrlAnswer ask(const UrlRequest &request) { return m_loader->sendSynchronousRequest(request); }

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
    VendorAnswer answer = answerWith("the words of the answer", status);
    answer.headers = {{"WWW-Authenticate", "Basic realm=\"vendor\""}};
    m_vendor->setAnswer("/page", answer);
    for (const UrlAnswer &got : answersByBothRoads(*m_loader, {.url = page})) {
        QCOMPARE(got.body, std::optional<QByteArray>("the words of the answer"));
        QCOMPARE(got.error, QString());
    }
    QCOMPARE(m_vendor->requests().size(), 2); // one by each road
}

void TestUrlLoader::everyBodyIsWhole_data()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::addColumn<QByteArray>("body");
    const QByteArray long_ = "begin" + QByteArray(200000, '.');
    QByteArray bytes;
    for (int i = 0; i < 1024; ++i)
        bytes.append(static_cast<char>(i % 256));

    using Length = VendorAnswer::Length;
    QTest::newRow("up to its announced length") << inPieces(Length::Exact) << long_;
    QTest::newRow("up to the last chunk") << inPieces(Length::Chunked) << long_;
    QTest::newRow("up to the end of the connection") << inPieces(Length::Absent) << long_;
    QTest::newRow("empty, announced") << answerOf(Length::Exact, "") << QByteArray("");
    QTest::newRow("empty, chunked") << answerOf(Length::Chunked, "") << QByteArray("");
    QTest::newRow("empty, closed") << answerOf(Length::Absent, "") << QByteArray("");
    for (const int status : {204, 304, 500})
        QTest::addRow("empty, %d", status) << answerWith("", status) << QByteArray("");
    QTest::newRow("byte for byte, whatever encoding it claims") << compressed(bytes) << bytes;
    QTest::newRow("after an interim answer") << answerAfterAnInterimOne("final") << QByteArray("final");
    QTest::newRow("after two hundred header fields") << withManyHeaders(200) << QByteArray("body");
}

void TestUrlLoader::everyBodyIsWhole()
{
    QFETCH(const VendorAnswer, answer);
    QFETCH(const QByteArray, body);
    m_vendor->setAnswer("/page", answer);
    for (const UrlAnswer &got : answersByBothRoads(*m_loader, {.url = page})) {
        QVERIFY2(got.body.has_value(), qPrintable(got.error));
        QVERIFY(!got.body->isNull());
        QCOMPARE(*got.body, body);
    }
}

void TestUrlLoader::aBodyOfTheMostHeldInMemoryIsWhole()
{
    QCOMPARE(UrlLoader::MostInMemory, 64 * 1024 * 1024);
    VendorAnswer answer;
    answer.filler = UrlLoader::MostInMemory;
    m_vendor->setAnswer("/page", answer);
    const UrlAnswer got = ask({.url = page});
    QVERIFY2(got.body.has_value(), qPrintable(got.error));
    QCOMPARE(got.body->size(), UrlLoader::MostInMemory);
}

void TestUrlLoader::aRequestCarriesTheseHeadersAlone_data()
{
    QTest::addColumn<UrlRequest>("request");
    QTest::addColumn<VendorHeaders>("headers");
    const VendorHeaders own = {{"Host", "wayfar.example"}, {"User-Agent", "WayfarInstaller/1.2.6"}, {"Accept", "*/*"}};
    const UrlRequest get = {.url = page + u"?a=b%20c"_s};
    const UrlRequest form = formTo(get.url, "user=a%20b");
    QTest::newRow("GET") << get << own;
    QTest::newRow("POST") << form << own + form.headers;
}

// Of the user and of the machine nothing goes out: no cookie, no language, no encoding.
void TestUrlLoader::aRequestCarriesTheseHeadersAlone()
{
    QFETCH(const UrlRequest, request);
    QFETCH(const VendorHeaders, headers);
    QCoreApplication::setApplicationVersion(u"1.2.6"_s);
    m_vendor->setAnswer("/page", redirectTo("https://wayfar.example/moved", 307));
    answersByBothRoads(*m_loader, request);
    QCOMPARE(m_vendor->requests().size(), 4);
    for (const VendorRequest &asked : m_vendor->requests()) {
        QCOMPARE(asked.method, request.method);
        QCOMPARE(asked.headers, headers);
        QCOMPARE(asked.body, request.body);
    }
    QCOMPARE(m_vendor->requests("/page?a=b%20c").size(), 2);
}

void TestUrlLoader::aCookieIsNotKept()
{
    VendorAnswer answer = redirectTo("https://wayfar.example/page");
    answer.headers.emplaceBack("Set-Cookie", "session=1; Path=/; Secure");
    m_vendor->setAnswer("/first", answer);
    for (int i = 0; i < 2; ++i)
        QVERIFY(ask({.url = addressOf(u"/first"_s)}).body);
    QCOMPARE(m_vendor->requests().size(), 4);
    for (const VendorRequest &request : m_vendor->requests())
        QCOMPARE(request.headerCount("Cookie"), 0);
}

void TestUrlLoader::theHostIsTheOneNamedInTheAddress()
{
    for (const char *host : {"wayfar.example", "www.wayfar.example", "download.wayfar.example"}) {
        QVERIFY(ask({.url = u"https://%1/page"_s.arg(QLatin1StringView(host))}).body);
        QCOMPARE(m_vendor->requests().constLast().host, host);
    }
}

void TestUrlLoader::aFormGoesOutExactlyAsGiven_data()
{
    QTest::addColumn<QByteArray>("form");
    QTest::newRow("any byte") << QByteArray("user=a%20b&pass=x\0y", 19);
    QTest::newRow("long, without asking first") << QByteArray(3 * 1024 * 1024, 'x');
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("null") << QByteArray();
}

void TestUrlLoader::aFormGoesOutExactlyAsGiven()
{
    QFETCH(const QByteArray, form);
    for (const UrlAnswer &got : answersByBothRoads(*m_loader, formTo(page, form)))
        QVERIFY2(got.body, qPrintable(got.error));
    QCOMPARE(m_vendor->requests().size(), 2);
    for (const VendorRequest &request : m_vendor->requests()) {
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.body, form);
        QCOMPARE(request.header("Content-Length"), std::optional(QByteArray::number(form.size())));
        QCOMPARE(request.headerCount("Content-Length"), 1);
        QCOMPARE(request.header("Content-Type"), std::optional<QByteArray>("words no semicolon"));
        QCOMPARE(request.headerCount("Content-Type"), 1);
    }
}

// libcurl takes the body of a form from there when it is given none.
void TestUrlLoader::standardInputIsLeftAlone()
{
    QTemporaryFile input;
    QVERIFY(input.open());
    input.write("what somebody typed");
    QVERIFY(input.seek(0));
    const int kept = ::dup(STDIN_FILENO);
    ::dup2(input.handle(), STDIN_FILENO);
    std::clearerr(stdin);
    const UrlAnswer got = ask(formTo(page, QByteArray()));
    const off_t read = ::lseek(STDIN_FILENO, 0, SEEK_CUR);
    ::dup2(kept, STDIN_FILENO);
    ::close(kept);
    QVERIFY2(got.body, qPrintable(got.error));
    QCOMPARE(read, off_t(0));
}

void TestUrlLoader::oneConnectionServesManyRequests()
{
    const int before = m_vendor->connections();
    m_vendor->setAnswer("/moved", redirectTo("/page"));
    for (const QString &path : {u"/page"_s, u"/nowhere"_s, u"/moved"_s, u"/page"_s, u"/feed"_s})
        QVERIFY(ask({.url = addressOf(path)}).body);
    QCOMPARE(m_vendor->connections(), before + 1);
}

// Only on a kept connection does libcurl send a request twice.
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

void TestUrlLoader::threadsThatAskAtOnceGetTheirOwnAnswers()
{
    constexpr int each = 20;
    std::atomic<int> right = 0;
    const auto askOften = [&](const QByteArray &path) {
        m_vendor->setAnswer(path, answerWith("the answer of " + path));
        for (int i = 0; i < each; ++i) {
            const UrlAnswer got = ask({.url = addressOf(QString::fromLatin1(path))});
            right += got.body == "the answer of " + path ? 1 : 0;
        }
    };
    {
        std::jthread one(askOften, "/one");
        std::jthread two(askOften, "/two");
        askOften("/three");
    }
    QCOMPARE(right.load(), 3 * each);
}

void TestUrlLoader::noEventIsDeliveredWhileTheCallerWaits()
{
    m_vendor->setAnswer("/page", silentAfter(-1, "late"));
    bool delivered = false;
    QTimer::singleShot(0, this, [&delivered] { delivered = true; });
    std::jthread vendor([this] {
        m_vendor->waitForRequests("/page", 1);
        m_vendor->step();
    });
    QCOMPARE(ask({.url = page}).body, std::optional<QByteArray>("late"));
    QVERIFY(!delivered);
    QTRY_VERIFY(delivered);
}

QTEST_GUILESS_MAIN(TestUrlLoader)
#include "TestUrlLoader.moc"
