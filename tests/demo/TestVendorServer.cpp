#include "demo/VendorServer.h"
#include "support/Answers.h"

#include <QElapsedTimer>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTest>

#include <curl/curl.h>

#include <thread>

using namespace Qt::StringLiterals;

namespace
{

constexpr int Patience = 5000; // milliseconds
const QByteArray Site = "https://wayfar.example";
const QByteArray Refusal = "Error|The user name or the password is not correct.";

struct Fetched {
    CURLcode code = CURLE_OK;
    long status = 0;
    QByteArray contentType;
    QByteArray location;
    QByteArray body;
    QByteArray error;
    QList<qint64> writes; // sizes of the body's parts as they came, one TLS record or chunk at most in each
    qint64 size = 0;
};

// A verifying client; its connection is kept from one request to the next.
class Fetcher
{
public:
    explicit Fetcher(const VendorServer &server) : m_curl(curl_easy_init()), m_caFile(server.caFile().toLocal8Bit())
    {
        for (const QByteArray &entry : server.connectTo()) {
            connectTo(entry);
        }
        curl_easy_setopt(m_curl, CURLOPT_CAINFO, m_caFile.constData());
        curl_easy_setopt(m_curl, CURLOPT_WRITEFUNCTION, &Fetcher::take);
        curl_easy_setopt(m_curl, CURLOPT_ERRORBUFFER, m_error);
        curl_easy_setopt(m_curl, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(m_curl, CURLOPT_TIMEOUT_MS, 3L * Patience);
    }
    ~Fetcher()
    {
        curl_easy_cleanup(m_curl);
        curl_slist_free_all(m_connectTo);
    }
    Q_DISABLE_COPY_MOVE(Fetcher)

    void connectTo(const QByteArray &entry)
    {
        m_connectTo = curl_slist_append(m_connectTo, entry.constData());
        curl_easy_setopt(m_curl, CURLOPT_CONNECT_TO, m_connectTo);
    }

    void discardBodies() { m_isBodyKept = false; }

    Fetched get(const QByteArray &url)
    {
        curl_easy_setopt(m_curl, CURLOPT_HTTPGET, 1L);
        return fetch(url);
    }

    Fetched post(const QByteArray &url, const QByteArray &form)
    {
        curl_easy_setopt(m_curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(form.size()));
        curl_easy_setopt(m_curl, CURLOPT_COPYPOSTFIELDS, form.constData());
        return fetch(url);
    }

private:
    Fetched fetch(const QByteArray &url)
    {
        m_fetched = {};
        m_error[0] = '\0';
        char *contentType = nullptr;
        char *location = nullptr;
        curl_easy_setopt(m_curl, CURLOPT_URL, url.constData());
        curl_easy_setopt(m_curl, CURLOPT_WRITEDATA, this);
        m_fetched.code = curl_easy_perform(m_curl);
        curl_easy_getinfo(m_curl, CURLINFO_RESPONSE_CODE, &m_fetched.status);
        curl_easy_getinfo(m_curl, CURLINFO_CONTENT_TYPE, &contentType);
        curl_easy_getinfo(m_curl, CURLINFO_REDIRECT_URL, &location);
        m_fetched.contentType = contentType;
        m_fetched.location = location;
        m_fetched.error = m_error;
        return m_fetched;
    }

    static size_t take(const char *bytes, size_t, size_t size, void *fetcher)
    {
        auto &self = *static_cast<Fetcher *>(fetcher);
        const auto count = static_cast<qsizetype>(size);
        self.m_fetched.size += count;
        if (self.m_isBodyKept) {
            self.m_fetched.body.append(bytes, count);
            self.m_fetched.writes.append(count);
        }
        return size;
    }

    CURL *const m_curl;
    const QByteArray m_caFile;
    curl_slist *m_connectTo = nullptr;
    char m_error[CURL_ERROR_SIZE] = {};
    bool m_isBodyKept = true;
    Fetched m_fetched;
};

// A client that shows each byte as it comes.
class RawClient
{
public:
    explicit RawClient(const VendorServer &server)
    {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates(QSslCertificate::fromPath(server.caFile()));
        socket.setSslConfiguration(configuration);
        socket.connectToHostEncrypted(u"127.0.0.1"_s, server.port(), u"wayfar.example"_s);
        socket.waitForEncrypted(Patience);
    }

    void send(const QByteArray &request)
    {
        socket.write(request);
        socket.flush();
    }
    void get(const QByteArray &path) { send("GET " + path + " HTTP/1.1\r\nHost: wayfar.example\r\n\r\n"); }

    // What has come since the last call, at least up to the end given.
    QByteArray readTo(const QByteArray &end)
    {
        QByteArray received = socket.readAll();
        while (!received.endsWith(end) && socket.waitForReadyRead(Patience)) {
            received += socket.readAll();
        }
        return received;
    }

    QByteArray readAllToTheEnd()
    {
        while (socket.state() == QAbstractSocket::ConnectedState && socket.waitForReadyRead(Patience)) { }
        return socket.readAll();
    }

    QSslSocket socket;
};

QByteArray manyBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>('a' + i % 23);
    }
    return bytes;
}

} // namespace

class TestVendorServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void answersTheRoutes_data();
    void answersTheRoutes();
    void answersWhatWasSet();
    void answersNoOtherPath();
    void refusesAnotherMethod();
    void knowsTheAccounts_data();
    void knowsTheAccounts();

    void keepsConnections();
    void closesWhenAsked();
    void answersRequestsSentTogether();
    void joinsRequestsSentInParts();
    void refusesWhatIsNoRequest();

    void logsRequests();
    void waitsForRequests();

    void putsOrderedAnswersFirst();
    void sendsStatusAndHeaders();
    void endsAbsentLengthByClosing();
    void sendsPieces_data();
    void sendsPieces();
    void pausesBetweenPieces();
    void stepsThroughPieces();
    void remembersSteps();
    void stallsUntilStep_data();
    void stallsUntilStep();
    void survivesClientLeavingStall();
    void resets_data();
    void resets();
    void announcesTooMuch();
    void announcesTooLittle();
    void streamsFiller_data();
    void streamsFiller();
    void doesNotWaitForSlowReaders();

    void isTrustedUnderEachName();
    void refusedForItsCertificate_data();
    void refusedForItsCertificate();
    void stopsWithOpenConnections();

private:
    bool isSilent(RawClient &client) const;

    std::unique_ptr<VendorServer> m_server;
};

void TestVendorServer::initTestCase()
{
    curl_global_init(CURL_GLOBAL_DEFAULT);
    m_server = std::make_unique<VendorServer>();
    m_server->setChangeLog("1.2.6: faster");
    m_server->setFeed("<rss/>");
    m_server->setBanners("small banner", "large banner");
    m_server->setPack("the pack");
    m_server->setInstallerArchive("1.2.7", "the archive");
    m_server->addAccount(u"ann"_s, u"secret"_s, "Ann's page");
    m_server->addAccount(u"bo+b@x y"_s, u"p&=%ü"_s, "Bob's page");
}

void TestVendorServer::cleanupTestCase()
{
    m_server.reset();
    curl_global_cleanup();
}

void TestVendorServer::init()
{
    m_server->clearAnswers();
    m_server->clearRequests();
}

// The server works in one thread: what it had to send before it answered somebody else has arrived by then.
bool TestVendorServer::isSilent(RawClient &client) const
{
    Fetcher(*m_server).get(Site + "/feed");
    client.socket.waitForReadyRead(1);
    return client.socket.bytesAvailable() == 0 && client.socket.state() == QAbstractSocket::ConnectedState;
}

void TestVendorServer::answersTheRoutes_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("body");

    const auto row = [](const char *path, const char *contentType, const char *body) {
        QTest::newRow(path) << QByteArray(path) << QByteArray(contentType) << QByteArray(body);
    };
    row("/api/wayfarVersion", "text/plain", "1.2.6");
    row("/api/macVersion?from=1.0", "text/plain", "1.2.6");
    row("/api/changelog", "text/plain; charset=utf-8", "1.2.6: faster");
    row("/feed", "application/rss+xml; charset=utf-8", "<rss/>");
    row("/installer/banners/small.png", "image/png", "small banner");
    row("/installer/banners/large.png", "image/png", "large banner");
    row("/WayfarRoutes_1.2.7.zip", "application/zip", "the archive");
}

void TestVendorServer::answersTheRoutes()
{
    QFETCH(const QByteArray, path);
    const Fetched fetched = Fetcher(*m_server).get(Site + path);
    QCOMPARE(fetched.code, CURLE_OK);
    QCOMPARE(fetched.status, 200);
    QTEST(fetched.contentType, "contentType");
    QTEST(fetched.body, "body");
}

void TestVendorServer::answersWhatWasSet()
{
    VendorServer server;
    Fetcher fetcher(server);
    QCOMPARE(fetcher.get(Site + "/installer/banners/small.png").status, 404);
    QCOMPARE(fetcher.get(Site + "/api/changelog").status, 200);
    QVERIFY(fetcher.get(Site + "/feed").body.contains("<rss"));
    server.setPackVersion("1.3");
    server.setInstallerVersion("1.4");
    QCOMPARE(fetcher.get(Site + "/api/wayfarVersion").body, "1.3");
    QCOMPARE(fetcher.get(Site + "/api/macVersion").body, "1.4");
}

void TestVendorServer::answersNoOtherPath()
{
    Fetcher fetcher(*m_server);
    const Fetched missing = fetcher.get(Site + "/api");
    QCOMPARE(missing.status, 404);
    QVERIFY(missing.body.contains("<html>"));
    const Fetched landing = fetcher.get(Site + "/installer/redirect.php?to=forum");
    QCOMPARE(landing.status, 200);
    QVERIFY(landing.body.contains("<html>"));
}

void TestVendorServer::refusesAnotherMethod()
{
    Fetcher fetcher(*m_server);
    QCOMPARE(fetcher.post(Site + "/feed", "x=y").status, 405);
    QCOMPARE(fetcher.get(Site + "/api/dlGuide?user=ann&pass=secret").status, 405);
}

void TestVendorServer::knowsTheAccounts_data()
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
    row("plus unencoded", "user=bo+b%40x+y&pass=p%26%3D%25%C3%BC", Refusal);
    row("the other's password", "user=bo%2Bb%40x+y&pass=secret", Refusal);
    row("other letter case", "user=Ann&pass=secret", Refusal);
    row("no password", "user=ann", Refusal);
    row("unknown", "user=eve&pass=", Refusal);
    row("nothing", "", Refusal);
}

void TestVendorServer::knowsTheAccounts()
{
    QFETCH(const QByteArray, form);
    QFETCH(const QByteArray, page);
    Fetcher fetcher(*m_server);
    const Fetched checked = fetcher.post(Site + "/api/dlCheckUser", form);
    QCOMPARE(checked.status, 200);
    QCOMPARE(checked.body, page);
    const Fetched guide = fetcher.post("https://download.wayfar.example/api/dlGuide", form);
    QCOMPARE(guide.status, 200);
    QCOMPARE(guide.body, page == Refusal ? Refusal : "the pack");
    QCOMPARE(guide.contentType == "application/zip", page != Refusal);
}

void TestVendorServer::keepsConnections()
{
    const int before = m_server->connections();
    Fetcher fetcher(*m_server);
    VendorAnswer chunked = answerWith(manyBytes(50000));
    chunked.length = VendorAnswer::Length::Chunked;
    m_server->queueAnswer("/chunked", chunked);
    for (const char *path : {"/feed", "/chunked", "/nowhere", "/api/changelog"}) {
        QCOMPARE(fetcher.get(Site + path).code, CURLE_OK);
    }
    QCOMPARE(m_server->connections(), before + 1);
}

void TestVendorServer::closesWhenAsked()
{
    RawClient client(*m_server);
    client.send("GET /feed HTTP/1.1\r\nHost: wayfar.example\r\nconnection: Close\r\n\r\n");
    const QByteArray received = client.readAllToTheEnd();
    QVERIFY(received.endsWith("\r\n\r\n<rss/>"));
    QVERIFY(received.contains("\r\nConnection: close\r\n"));
    QCOMPARE(client.socket.state(), QAbstractSocket::UnconnectedState);
}

void TestVendorServer::answersRequestsSentTogether()
{
    RawClient client(*m_server);
    const QByteArray request = "GET /feed HTTP/1.1\r\nHost: a\r\n\r\n";
    client.send(request + request + "GET /api/macVersion HTTP/1.1\r\nHost: a\r\n\r\n");
    QCOMPARE(client.readTo("1.2.6").count("<rss/>"), 2);
}

void TestVendorServer::joinsRequestsSentInParts()
{
    RawClient client(*m_server);
    for (const char *part :
         {"POST /api/dlChe", "ckUser HTTP/1.1\r\nHost: a\r\nContent-Length: 20\r\n\r", "\nuser=an", "n&pass=secret"}) {
        QVERIFY(isSilent(client));
        client.send(part);
    }
    QVERIFY(client.readTo("page").endsWith("\r\n\r\nAnn's page"));
    QCOMPARE(m_server->requests("/api/dlCheckUser").value(0).body, "user=ann&pass=secret");
}

void TestVendorServer::refusesWhatIsNoRequest()
{
    RawClient client(*m_server);
    client.send("HELO there\r\n\r\n");
    QVERIFY(client.readAllToTheEnd().startsWith("HTTP/1.1 400 "));
    QVERIFY(m_server->requests().isEmpty());
}

void TestVendorServer::logsRequests()
{
    RawClient client(*m_server);
    client.send("POST /a/b?c=d HTTP/1.1\r\nHost: Wayfar.example\r\nX-Twice: one\r\nx-tWICE:two \r\nEmpty:\r\n"
                "Content-Length: 4\r\n\r\nb\r\n\r");
    QVERIFY(client.readTo("</html>\n").startsWith("HTTP/1.1 404 "));
    client.get("/feed");
    client.readTo("<rss/>");

    QCOMPARE(m_server->requests().size(), 2);
    QCOMPARE(m_server->requests("/feed").size(), 1);
    QCOMPARE(m_server->requests("/a/b?c=d").size(), 1);
    const VendorRequest request = m_server->requests("/a/b").value(0);
    QCOMPARE(request.method, "POST");
    QCOMPARE(request.path, "/a/b?c=d");
    QCOMPARE(request.host, "Wayfar.example");
    QCOMPARE(request.body, "b\r\n\r");
    QCOMPARE(request.headers.size(), 5);
    QCOMPARE(request.header("x-twice"), std::optional<QByteArray>("one"));
    QCOMPARE(request.headerCount("X-TWICE"), 2);
    QCOMPARE(request.header("Empty"), std::optional<QByteArray>(""));
    QCOMPARE(request.header("Missing"), std::nullopt);
    QCOMPARE(request.headerCount("Missing"), 0);
    m_server->clearRequests();
    QVERIFY(m_server->requests().isEmpty());
}

void TestVendorServer::waitsForRequests()
{
    QVERIFY(m_server->waitForRequests("/feed", 0));
    std::jthread asking([this] {
        Fetcher fetcher(*m_server);
        fetcher.get(Site + "/feed");
        fetcher.get(Site + "/other");
        fetcher.get(Site + "/feed?again");
    });
    QVERIFY(m_server->waitForRequests("/feed", 2));
    QCOMPARE(m_server->requests().size(), 3);
}

void TestVendorServer::putsOrderedAnswersFirst()
{
    m_server->setAnswer("/feed", answerWith("standing"));
    m_server->queueAnswer("/feed", answerWith("first"));
    m_server->queueAnswer("/feed", answerWith("second"));
    m_server->queueAnswer("/feed", answerWith("never"));
    Fetcher fetcher(*m_server);
    QCOMPARE(fetcher.get(Site + "/api/macVersion").body, "1.2.6");
    QCOMPARE(fetcher.get(Site + "/feed?x=1").body, "first");
    QCOMPARE(fetcher.post(Site + "/feed", "x").body, "second");
    m_server->clearAnswers();
    QCOMPARE(fetcher.get(Site + "/feed").body, "<rss/>");
    m_server->setAnswer("/feed", answerWith("standing"));
    QCOMPARE(fetcher.get(Site + "/feed").body, "standing");
    QCOMPARE(fetcher.get(Site + "/feed").body, "standing");
}

void TestVendorServer::sendsStatusAndHeaders()
{
    VendorAnswer answer;
    answer.status = 302;
    answer.contentType.clear();
    answer.headers = {{"Location", "https://www.wayfar.example/feed"}, {"X-Other", "1"}};
    m_server->queueAnswer("/moved", answer);
    const Fetched fetched = Fetcher(*m_server).get(Site + "/moved");
    QCOMPARE(fetched.status, 302);
    QCOMPARE(fetched.location, "https://www.wayfar.example/feed");
    QVERIFY(fetched.contentType.isEmpty());
    QVERIFY(fetched.body.isEmpty());
}

void TestVendorServer::endsAbsentLengthByClosing()
{
    VendorAnswer answer = answerWith(manyBytes(200000));
    answer.length = VendorAnswer::Length::Absent;
    m_server->setAnswer("/open", answer);
    const Fetched fetched = Fetcher(*m_server).get(Site + "/open");
    QCOMPARE(fetched.code, CURLE_OK);
    QCOMPARE(fetched.body, answer.body);

    RawClient client(*m_server);
    client.get("/open");
    const QByteArray received = client.readAllToTheEnd();
    QVERIFY(received.endsWith(answer.body));
    QVERIFY(!received.contains("Content-Length") && !received.contains("Transfer-Encoding"));
}

void TestVendorServer::sendsPieces_data()
{
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::newRow("exact") << VendorAnswer::Length::Exact;
    QTest::newRow("absent") << VendorAnswer::Length::Absent;
    QTest::newRow("chunked") << VendorAnswer::Length::Chunked;
}

void TestVendorServer::sendsPieces()
{
    QFETCH(const VendorAnswer::Length, length);
    VendorAnswer answer = answerWith(manyBytes(10000));
    answer.length = length;
    answer.pieces = {1, 0, 2, 4000, 1};
    answer.filler = 7;
    m_server->setAnswer("/pieces", answer);
    const Fetched fetched = Fetcher(*m_server).get(Site + "/pieces");
    QCOMPARE(fetched.code, CURLE_OK);
    QCOMPARE(fetched.body, answer.body + ".......");
    QCOMPARE(fetched.writes, (QList<qint64>{1, 2, 4000, 1, 6003}));
}

void TestVendorServer::pausesBetweenPieces()
{
    VendorAnswer answer = answerWith("abc");
    answer.pieces = {1, 1};
    answer.pauseMs = 30;
    m_server->setAnswer("/slow", answer);
    Fetcher fetcher(*m_server);
    fetcher.get(Site + "/feed");
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(fetcher.get(Site + "/slow").body, "abc");
    QVERIFY2(timer.elapsed() >= 58, QByteArray::number(timer.elapsed()).constData());
}

void TestVendorServer::stepsThroughPieces()
{
    VendorAnswer answer = answerWith("abcdef");
    answer.pieces = {1, 2};
    answer.stepped = true;
    m_server->setAnswer("/stepped", answer);
    RawClient client(*m_server);
    RawClient other(*m_server);
    client.get("/stepped");
    other.get("/stepped");
    QVERIFY(client.readTo("a").endsWith("\r\n\r\na"));
    QVERIFY(other.readTo("a").endsWith("\r\n\r\na"));
    QVERIFY(isSilent(client));
    m_server->step();
    QCOMPARE(client.readTo("bc"), "bc");
    QCOMPARE(other.readTo("bc"), "bc");
    QVERIFY(isSilent(client));
    m_server->step();
    QCOMPARE(client.readTo("def"), "def");
    QCOMPARE(other.readTo("def"), "def");
    client.get("/feed");
    QVERIFY(client.readTo("<rss/>").endsWith("<rss/>"));
}

void TestVendorServer::remembersSteps()
{
    VendorAnswer answer = answerWith("abcd");
    answer.pieces = {1, 1, 1};
    answer.stepped = true;
    m_server->setAnswer("/stepped", answer);
    m_server->step();
    m_server->clearAnswers(); // forgets it
    m_server->setAnswer("/stepped", answer);
    m_server->step();
    m_server->step();
    RawClient client(*m_server);
    client.get("/stepped");
    QVERIFY(client.readTo("abc").endsWith("\r\n\r\nabc"));
    QVERIFY(isSilent(client));
    m_server->step();
    QCOMPARE(client.readTo("d"), "d");
}

void TestVendorServer::stallsUntilStep_data()
{
    QTest::addColumn<qint64>("stallAfter");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::newRow("before the answer") << qint64(-1) << QByteArray() << QByteArray("\r\n\r\nabcdef");
    QTest::newRow("before the body") << qint64(0) << QByteArray("\r\n\r\n") << QByteArray("abcdef");
    QTest::newRow("in the body") << qint64(4) << QByteArray("\r\n\r\nabcd") << QByteArray("ef");
}

void TestVendorServer::stallsUntilStep()
{
    QFETCH(const qint64, stallAfter);
    QFETCH(const QByteArray, before);
    QFETCH(const QByteArray, after);
    VendorAnswer answer = answerWith("abcdef");
    answer.stallAfter = stallAfter;
    m_server->queueAnswer("/stalled", answer);
    RawClient client(*m_server);
    client.get("/stalled");
    QVERIFY(m_server->waitForRequests("/stalled", 1));
    if (!before.isEmpty()) {
        QVERIFY(client.readTo(before).endsWith(before));
    }
    QVERIFY(isSilent(client));
    m_server->step();
    QVERIFY(client.readTo(after).endsWith(after));
}

void TestVendorServer::survivesClientLeavingStall()
{
    VendorAnswer answer = answerWith("abcdef");
    answer.stallAfter = 3;
    m_server->setAnswer("/stalled", answer);
    {
        RawClient client(*m_server);
        client.get("/stalled");
        client.readTo("abc");
        client.socket.abort();
    }
    RawClient client(*m_server);
    client.get("/stalled");
    client.readTo("abc");
    m_server->step();
    QCOMPARE(client.readTo("def"), "def");
}

void TestVendorServer::resets_data()
{
    QTest::addColumn<qint64>("resetAfter");
    QTest::addColumn<VendorAnswer::Length>("length");
    for (const qint64 after : {-1, 0, 1, 300000, 400000}) {
        QTest::addRow("exact %lld", after) << after << VendorAnswer::Length::Exact;
        QTest::addRow("chunked %lld", after) << after << VendorAnswer::Length::Chunked;
    }
}

void TestVendorServer::resets()
{
    QFETCH(const qint64, resetAfter);
    QFETCH(const VendorAnswer::Length, length);
    VendorAnswer answer = answerWith(manyBytes(400000));
    answer.length = length;
    answer.resetAfter = resetAfter;
    answer.pieces = {1, 1000};
    m_server->setAnswer("/reset", answer);

    RawClient client(*m_server);
    client.send("POST /reset HTTP/1.1\r\nHost: a\r\nContent-Length: 5\r\n\r\nwhole");
    client.readAllToTheEnd();
    QCOMPARE(client.socket.state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(m_server->requests("/reset").value(0).body, "whole");

    const bool isWhole = length == VendorAnswer::Length::Exact && resetAfter == answer.body.size();
    const Fetched fetched = Fetcher(*m_server).get(Site + "/reset");
    QCOMPARE(fetched.code, isWhole ? CURLE_OK : CURLE_RECV_ERROR);
    QVERIFY2(isWhole || fetched.error.contains("reset by peer"), fetched.error.constData());
    QCOMPARE(fetched.status, resetAfter < 0 ? 0 : 200);
    QCOMPARE(fetched.body, answer.body.left(std::max<qint64>(0, resetAfter)));
}

void TestVendorServer::announcesTooMuch()
{
    VendorAnswer answer = answerWith("abcdef");
    answer.announcedLength = 10;
    m_server->setAnswer("/long", answer);
    const Fetched fetched = Fetcher(*m_server).get(Site + "/long");
    QCOMPARE(fetched.code, CURLE_PARTIAL_FILE);
    QCOMPARE(fetched.body, "abcdef");
}

void TestVendorServer::announcesTooLittle()
{
    VendorAnswer answer = answerWith("abcdef");
    answer.announcedLength = 4;
    m_server->setAnswer("/short", answer);
    const Fetched fetched = Fetcher(*m_server).get(Site + "/short");
    QCOMPARE(fetched.code, CURLE_OK);
    QCOMPARE(fetched.body, "abcd");
    RawClient client(*m_server);
    client.get("/short");
    QVERIFY(client.readTo("ef").endsWith("Content-Length: 4\r\n\r\nabcdef"));
}

void TestVendorServer::streamsFiller_data()
{
    sendsPieces_data();
}

void TestVendorServer::streamsFiller()
{
    QFETCH(const VendorAnswer::Length, length);
    VendorAnswer answer = answerWith("start");
    answer.length = length;
    answer.filler = qint64(length == VendorAnswer::Length::Exact ? 256 : 16) * 1024 * 1024 + 3;
    m_server->setAnswer("/filler", answer);
    Fetcher fetcher(*m_server);
    fetcher.discardBodies();
    const Fetched fetched = fetcher.get(Site + "/filler");
    QCOMPARE(fetched.code, CURLE_OK);
    QCOMPARE(fetched.size, answer.filler + 5);
}

void TestVendorServer::doesNotWaitForSlowReaders()
{
    VendorAnswer answer;
    answer.filler = qint64(1) << 40;
    m_server->setAnswer("/endless", answer);
    RawClient client(*m_server);
    client.socket.setReadBufferSize(1000);
    client.get("/endless");
    QVERIFY(m_server->waitForRequests("/endless", 1));
    QCOMPARE(Fetcher(*m_server).get(Site + "/feed").body, "<rss/>");
    QVERIFY(client.socket.waitForReadyRead(Patience));
}

void TestVendorServer::isTrustedUnderEachName()
{
    Fetcher fetcher(*m_server);
    for (const char *name : {"wayfar.example", "www.wayfar.example", "download.wayfar.example", "localhost"}) {
        QCOMPARE(fetcher.get("https://" + QByteArray(name) + "/feed").body, "<rss/>");
        QCOMPARE(m_server->requests().constLast().host, name);
    }
    QCOMPARE(fetcher.get("https://127.0.0.1:" + QByteArray::number(m_server->port()) + "/feed").body, "<rss/>");
}

void TestVendorServer::refusedForItsCertificate_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<bool>("expired");
    QTest::addColumn<bool>("trusted");
    QTest::addColumn<QByteArray>("reason");
    const QStringList names = VendorServer::Options().names;
    QTest::newRow("expired") << names << true << true << QByteArray("certificate has expired");
    QTest::newRow("untrusted") << names << false << false << QByteArray("unable to get local issuer certificate");
    QTest::newRow("wrong name") << QStringList{u"localhost"_s} << false << true << QByteArray("no alternative");
}

void TestVendorServer::refusedForItsCertificate()
{
    QFETCH(const QStringList, names);
    QFETCH(const bool, expired);
    QFETCH(const bool, trusted);
    QFETCH(const QByteArray, reason);
    const VendorServer server({names, expired, trusted});
    Fetcher fetcher(server);
    fetcher.connectTo("::127.0.0.1:" + QByteArray::number(server.port())); // any name
    const Fetched fetched = fetcher.get(Site + "/feed");
    QCOMPARE(fetched.code, CURLE_PEER_FAILED_VERIFICATION);
    QVERIFY2(fetched.error.contains(reason), fetched.error.constData());
    QVERIFY(server.requests().isEmpty());
}

void TestVendorServer::stopsWithOpenConnections()
{
    auto server = std::make_unique<VendorServer>();
    VendorAnswer answer = answerWith("abc");
    answer.stallAfter = 1;
    server->setAnswer("/stalled", answer);
    answer.stallAfter.reset();
    answer.filler = qint64(1) << 40;
    server->setAnswer("/endless", answer);
    const RawClient idle(*server);
    RawClient stalled(*server);
    stalled.get("/stalled");
    stalled.readTo("a");
    Fetcher fetcher(*server);
    fetcher.discardBodies();
    std::jthread asking([&fetcher] { fetcher.get(Site + "/endless"); });
    QVERIFY(server->waitForRequests("/endless", 1));
    server.reset();
    asking.join();
    stalled.readAllToTheEnd();
    QCOMPARE(stalled.socket.state(), QAbstractSocket::UnconnectedState);
}

QTEST_GUILESS_MAIN(TestVendorServer)
#include "TestVendorServer.moc"
