#include "demo/VendorServer.h"

#include "support/Answers.h"

#include <QElapsedTimer>
#include <QTest>

#include <curl/curl.h>

#include <thread>

using namespace Qt::StringLiterals;

namespace
{
using Length = VendorAnswer::Length;

struct Fetched {
    CURLcode code = CURLE_OK;
    long status = 0;
    QByteArray head; // with every header
    QByteArray body;
    QList<qint64> writes; // sizes of the body's parts as they came, one TLS record or chunk at most in each
    QByteArray error;
};

struct Extras {
    std::optional<QByteArray> form = {}; // a POST of it
    QList<QByteArray> headers = {};
    bool anyName = false; // whatever names the certificate has
    bool ignoresLength = false; // reads up to the end of the connection
};

size_t takeHead(const char *bytes, size_t, size_t size, void *fetched)
{
    static_cast<Fetched *>(fetched)->head.append(bytes, qsizetype(size));
    return size;
}

size_t takeBody(const char *bytes, size_t, size_t size, void *fetched)
{
    static_cast<Fetched *>(fetched)->body.append(bytes, qsizetype(size));
    static_cast<Fetched *>(fetched)->writes.append(qint64(size));
    return size;
}

// By a verifying client that has nothing of the product.
Fetched fetch(const VendorServer &server, const QByteArray &url, const Extras &extras = {})
{
    Fetched fetched;
    char error[CURL_ERROR_SIZE] = {};
    curl_slist *connectTo = nullptr;
    for (const QByteArray &entry : server.connectTo())
        connectTo = curl_slist_append(connectTo, entry.constData());
    if (extras.anyName)
        connectTo = curl_slist_append(connectTo, ("::127.0.0.1:" + QByteArray::number(server.port())).constData());
    curl_slist *headers = nullptr;
    for (const QByteArray &header : extras.headers)
        headers = curl_slist_append(headers, header.constData());

    CURL *const curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.constData());
    curl_easy_setopt(curl, CURLOPT_CAINFO, server.caFile().toLocal8Bit().constData());
    curl_easy_setopt(curl, CURLOPT_CONNECT_TO, connectTo);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 20L);
    curl_easy_setopt(curl, CURLOPT_IGNORE_CONTENT_LENGTH, extras.ignoresLength ? 1L : 0L);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, takeHead);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &fetched);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &fetched);
    if (extras.form) {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(extras.form->size()));
        curl_easy_setopt(curl, CURLOPT_COPYPOSTFIELDS, extras.form->constData());
    }
    fetched.code = curl_easy_perform(curl);
    fetched.error = error;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &fetched.status);
    curl_easy_cleanup(curl);
    curl_slist_free_all(headers);
    curl_slist_free_all(connectTo);
    return fetched;
}

const QByteArray site = "https://wayfar.example";
const QByteArray refusal = "Error|The user name or the password is not correct.";
} // namespace

// What a wrong stand-in would hide: other tests would pass and prove nothing. Where they would fail, as for an answer
// that does not stall or is not cut, they hold the stand-in well enough.
class TestVendorServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { m_server.reset(); }
    void init();

    void onlyTheRightRequestsAreAnswered_data();
    void onlyTheRightRequestsAreAnswered();
    void onlyTheRightAccountsAreKnown_data();
    void onlyTheRightAccountsAreKnown();

    void everyPartOfARequestIsLogged();
    void waitsForAsManyRequests();

    void aBodyComesInPiecesAndWithTheOrderedLength_data();
    void aBodyComesInPiecesAndWithTheOrderedLength();
    void moreIsSentThanWasAnnounced();
    void pausesBetweenPieces();

    void aCertificateIsRefusedForItsOwnReason_data();
    void aCertificateIsRefusedForItsOwnReason();

private:
    std::unique_ptr<VendorServer> m_server;
};

void TestVendorServer::initTestCase()
{
    m_server = std::make_unique<VendorServer>();
    m_server->setFeed("<rss/>");
    m_server->setPack("the pack");
    m_server->setInstallerArchive("1.2.7", "the archive");
    m_server->addAccount(u"ann"_s, u"secret"_s, "Ann's page");
    m_server->addAccount(u"bo+b@x y"_s, u"p&=%ü"_s, "Bob's page");
}

void TestVendorServer::init()
{
    m_server->clearAnswers();
    m_server->clearRequests();
}

void TestVendorServer::onlyTheRightRequestsAreAnswered_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<std::optional<QByteArray>>("form"); // none for a GET
    QTest::addColumn<int>("status");

    const auto row = [](const char *rule, const QByteArray &path, const std::optional<QByteArray> &form, int status) {
        QTest::newRow(rule) << path << form << status;
    };
    row("a page", "/feed", {}, 200);
    row("a page with a query", "/feed?from=1.0", {}, 200);
    row("an installer that was set", "/WayfarRoutes_1.2.7.zip", {}, 200);
    row("an installer that was not", "/WayfarRoutes_1.2.8.zip", {}, 404);
    row("a banner that was not set", "/installer/banners/small.png", {}, 404);
    row("the beginning of a path", "/api", {}, 404);
    row("more than a path", "/feed/more", {}, 404);
    row("a form to a page", "/feed", "x=y", 405);
    row("an account to the pack", "/api/dlGuide", "user=ann&pass=secret", 200);
    row("an account in the address", "/api/dlGuide?user=ann&pass=secret", {}, 405);
    row("the account check without an account", "/api/dlCheckUser", {}, 405);
}

void TestVendorServer::onlyTheRightRequestsAreAnswered()
{
    QFETCH(const QByteArray, path);
    QFETCH(const std::optional<QByteArray>, form);
    QTEST(int(fetch(*m_server, site + path, {.form = form}).status), "status");
}

void TestVendorServer::onlyTheRightAccountsAreKnown_data()
{
    QTest::addColumn<QByteArray>("form");
    QTest::addColumn<QByteArray>("page");

    const auto row = [](const char *name, const char *form, const QByteArray &page) {
        QTest::newRow(name) << QByteArray(form) << page;
    };
    row("right", "user=ann&pass=secret", "Ann's page");
    row("right, other order", "pass=secret&more=1&user=ann", "Ann's page");
    row("right, encoded", "user=bo%2Bb%40x+y&pass=p%26%3D%25%C3%BC", "Bob's page");
    row("right, space as %20", "user=bo%2bb%40x%20y&pass=p%26%3d%25%c3%bc", "Bob's page");
    row("plus unencoded", "user=bo+b%40x+y&pass=p%26%3D%25%C3%BC", refusal);
    row("the other's password", "user=bo%2Bb%40x+y&pass=secret", refusal);
    row("other letter case", "user=Ann&pass=secret", refusal);
    row("no password", "user=ann", refusal);
    row("unknown", "user=eve&pass=", refusal);
    row("nothing", "", refusal);
}

void TestVendorServer::onlyTheRightAccountsAreKnown()
{
    QFETCH(const QByteArray, form);
    QFETCH(const QByteArray, page);
    QCOMPARE(fetch(*m_server, site + "/api/dlCheckUser", {.form = form}).body, page);
    QCOMPARE(fetch(*m_server, site + "/api/dlGuide", {.form = form}).body, page == refusal ? refusal : "the pack");
}

void TestVendorServer::everyPartOfARequestIsLogged()
{
    fetch(*m_server, "https://www.wayfar.example/a/b?c=d",
          {.form = "b\r\n\r", .headers = {"X-Twice: one", "x-tWICE:two ", "Empty;"}});
    fetch(*m_server, site + "/feed");
    QCOMPARE(m_server->requests().size(), 2);
    QCOMPARE(m_server->requests("/feed").size(), 1);
    QCOMPARE(m_server->requests("/a/b?c=d").size(), 1);
    const VendorRequest request = m_server->requests("/a/b").value(0);
    QCOMPARE(request.method, "POST");
    QCOMPARE(request.path, "/a/b?c=d");
    QCOMPARE(request.host, "www.wayfar.example");
    QCOMPARE(request.body, "b\r\n\r");
    QCOMPARE(request.header("x-twice"), std::optional<QByteArray>("one"));
    QCOMPARE(request.headerCount("X-TWICE"), 2);
    QCOMPARE(request.header("Empty"), std::optional<QByteArray>(""));
    QCOMPARE(request.header("Missing"), std::nullopt);
    QCOMPARE(request.headerCount("Missing"), 0);
    m_server->clearRequests();
    QVERIFY(m_server->requests().isEmpty());
}

void TestVendorServer::waitsForAsManyRequests()
{
    QVERIFY(m_server->waitForRequests("/feed", 0));
    std::jthread asking([this] {
        for (const char *path : {"/feed", "/other", "/feed?again"})
            fetch(*m_server, site + path);
    });
    QVERIFY(m_server->waitForRequests("/feed", 2));
    QCOMPARE(m_server->requests().size(), 3);
}

void TestVendorServer::aBodyComesInPiecesAndWithTheOrderedLength_data()
{
    QTest::addColumn<Length>("length");
    QTest::addColumn<QByteArray>("header"); // the one of the two that tell of a length
    QTest::newRow("exact") << Length::Exact << QByteArray("Content-Length: 10007\r\n");
    QTest::newRow("absent") << Length::Absent << QByteArray();
    QTest::newRow("chunked") << Length::Chunked << QByteArray("Transfer-Encoding: chunked\r\n");
}

void TestVendorServer::aBodyComesInPiecesAndWithTheOrderedLength()
{
    QFETCH(const Length, length);
    QFETCH(const QByteArray, header);
    VendorAnswer answer = answerOf(length, QByteArray(10000, 'x'));
    answer.pieces = {1, 0, 2, 4000, 1};
    answer.filler = 7;
    m_server->setAnswer("/pieces", answer);
    const Fetched fetched = fetch(*m_server, site + "/pieces");
    QCOMPARE(fetched.body, answer.body + ".......");
    QCOMPARE(fetched.writes, (QList<qint64>{1, 2, 4000, 1, 6003}));
    QVERIFY(fetched.head.contains(header));
    QCOMPARE(fetched.head.count("Content-Length") + fetched.head.count("Transfer-Encoding"), header.isEmpty() ? 0 : 1);
}

void TestVendorServer::moreIsSentThanWasAnnounced()
{
    VendorAnswer answer = answerWith("abcdef");
    answer.announcedLength = 4;
    m_server->setAnswer("/short", answer);
    const Fetched fetched =
        fetch(*m_server, site + "/short", {.headers = {"Connection: close"}, .ignoresLength = true});
    QVERIFY(fetched.head.contains("Content-Length: 4\r\n"));
    QCOMPARE(fetched.body, "abcdef");
}

void TestVendorServer::pausesBetweenPieces()
{
    VendorAnswer answer = answerWith("abc");
    answer.pieces = {1, 1};
    answer.pauseMs = 30;
    m_server->setAnswer("/slow", answer);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(fetch(*m_server, site + "/slow").body, "abc");
    QVERIFY2(timer.elapsed() >= 58, QByteArray::number(timer.elapsed()).constData());
}

void TestVendorServer::aCertificateIsRefusedForItsOwnReason_data()
{
    QTest::addColumn<VendorServer::Options>("options");
    QTest::addColumn<QByteArray>("reason");
    using Options = VendorServer::Options;
    QTest::newRow("none: it is right") << Options() << QByteArray();
    QTest::newRow("expired") << Options{.expired = true} << QByteArray("certificate has expired");
    QTest::newRow("untrusted") << Options{.trusted = false} << QByteArray("unable to get local issuer certificate");
    QTest::newRow("wrong name") << Options{.names = {u"localhost"_s}} << QByteArray("no alternative certificate");
}

void TestVendorServer::aCertificateIsRefusedForItsOwnReason()
{
    QFETCH(const VendorServer::Options, options);
    QFETCH(const QByteArray, reason);
    const VendorServer server(options);
    const Fetched fetched = fetch(server, site + "/feed", {.anyName = true});
    QCOMPARE(fetched.code, reason.isEmpty() ? CURLE_OK : CURLE_PEER_FAILED_VERIFICATION);
    QVERIFY2(fetched.error.contains(reason), fetched.error.constData());
    QCOMPARE(server.requests().size(), reason.isEmpty() ? 1 : 0);
}

QTEST_GUILESS_MAIN(TestVendorServer)
#include "TestVendorServer.moc"
