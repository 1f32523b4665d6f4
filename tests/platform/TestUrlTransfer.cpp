#include "platform/UrlLoader.h"

#include "support/Answers.h"
#include "support/RecordingConnection.h"

#include <QDir>
#include <QEventLoop>
#include <QRegularExpression>
#include <QTest>

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace
{
const QString page = addressOf(u"/page"_s);
const QStringList abc = {u"response 3"_s, u"data abc"_s, u"finished"_s}; // the events of that body

// This process's own ends of connections to the port.
QList<int> socketsTo(quint16 port)
{
    QList<int> sockets;
    for (const QString &name : QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::System)) {
        sockaddr_in peer = {};
        socklen_t size = sizeof peer;
        bool isNumber = false;
        const int number = name.toInt(&isNumber);
        if (isNumber && ::getpeername(number, reinterpret_cast<sockaddr *>(&peer), &size) == 0
            && peer.sin_family == AF_INET && ntohs(peer.sin_port) == port)
            sockets.append(number);
    }
    return sockets;
}
} // namespace

// What a transfer reports, when, and on which thread. TestUrlLoader, TestUrlFailures and TestUrlRedirects tell what it
// has in common with a request that is waited for.
class TestUrlTransfer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_vendor = std::make_unique<VendorServer>(); }
    void cleanupTestCase() { m_vendor.reset(); }
    void init();
    void cleanup() { m_loader.reset(); }

    void theAnswerIsReportedInOrder_data();
    void theAnswerIsReportedInOrder();
    void everyPieceIsReportedAsItComes();
    void theResponseIsReportedWhileNoDataCome();
    void anInterimAnswerIsNoResponse();

    void anotherThreadWithAnEventLoopMayStart();
    void transfersRunSideBySide();
    void aSlowReceiverHoldsTheSenderBack();
    void noChildProcessInheritsTheConnection();

    void theDelegateIsKeptUntilItsEnding();
    void aTransferOfADestroyedLoaderIsSilent_data();
    void aTransferOfADestroyedLoaderIsSilent();
    void anotherThreadsTransferOutlivesTheLoader();
    void anEndingMayRunAnEventLoop_data();
    void anEndingMayRunAnEventLoop();
    void anEndingMayDestroyTheLoader_data();
    void anEndingMayDestroyTheLoader();

private:
    std::shared_ptr<RecordingConnection> started(const UrlRequest &request)
    {
        const auto connection = std::make_shared<RecordingConnection>();
        m_loader->start(request, connection);
        return connection;
    }
    static void addEndings();

    std::unique_ptr<VendorServer> m_vendor;
    std::unique_ptr<UrlLoader> m_loader;
};

void TestUrlTransfer::init()
{
    QTest::failOnWarning(QRegularExpression(u"."_s)); // Qt's, of objects used from the wrong thread
    m_vendor->clearAnswers();
    m_vendor->clearRequests();
    m_loader = std::make_unique<UrlLoader>(networkOf(*m_vendor));
}

void TestUrlTransfer::theAnswerIsReportedInOrder_data()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::addColumn<QStringList>("events");
    using Length = VendorAnswer::Length;
    QTest::newRow("announced") << answerWith("abc") << abc;
    QTest::newRow("chunked") << answerOf(Length::Chunked, "abc")
                             << QStringList{u"response -1"_s, u"data abc"_s, u"finished"_s};
    QTest::newRow("up to the end of the connection")
        << answerOf(Length::Absent, "abc") << QStringList{u"response -1"_s, u"data abc"_s, u"finished"_s};
    QTest::newRow("empty") << answerWith("") << QStringList{u"response 0"_s, u"finished"_s};
    QTest::newRow("empty, chunked") << answerOf(Length::Chunked, "") << QStringList{u"response -1"_s, u"finished"_s};
    QTest::newRow("empty, up to the end of the connection")
        << answerOf(Length::Absent, "") << QStringList{u"response -1"_s, u"finished"_s};
    QTest::newRow("of any status") << answerWith("abc", 503) << abc;
    QTest::newRow("a redirect without a target") << answerWith("abc", 302) << abc;

    // Of a redirect that is followed, nothing.
    const QStringList end = {u"response 7"_s, u"data the end"_s, u"finished"_s};
    QTest::newRow("redirect") << redirectTo("/end") << end;
    QTest::newRow("redirect to another host") << redirectTo("https://download.wayfar.example/end", 301) << end;
    VendorAnswer inPieces = redirectTo("/end", 308);
    inPieces.pieces = {1, 1, 1};
    inPieces.length = Length::Chunked;
    QTest::newRow("redirect with a body in pieces") << inPieces << end;
}

void TestUrlTransfer::theAnswerIsReportedInOrder()
{
    QFETCH(const VendorAnswer, answer);
    QFETCH(const QStringList, events);
    m_vendor->setAnswer("/page", answer);
    m_vendor->setAnswer("/end", answerWith("the end"));
    const auto connection = started({.url = page});
    QVERIFY(connection->events.isEmpty()); // not before the start has returned
    QVERIFY(connection->waitForEnd());
    QCOMPARE(connection->events, events);
    QCOMPARE(connection->threads, QList<QThread *>(events.size(), QThread::currentThread()));
}

void TestUrlTransfer::everyPieceIsReportedAsItComes()
{
    VendorAnswer answer = answerWith("abcdef");
    answer.pieces = {1, 2, 3};
    answer.stepped = true;
    m_vendor->setAnswer("/page", answer);
    const auto connection = started({.url = page});
    QStringList expected = {u"response 6"_s, u"data a"_s};
    QTRY_COMPARE(connection->events, expected);
    for (const QString &piece : {u"data bc"_s, u"data def"_s}) {
        m_vendor->step();
        QTRY_VERIFY(connection->events.contains(piece));
        expected.append(piece);
        QCOMPARE(connection->events.first(expected.size()), expected);
    }
    expected.append(u"finished"_s);
    QTRY_COMPARE(connection->events, expected);
}

void TestUrlTransfer::theResponseIsReportedWhileNoDataCome()
{
    m_vendor->setAnswer("/page", silentAfter(0, "abcdef"));
    const auto connection = started({.url = page});
    QTRY_COMPARE(connection->events, QStringList{u"response 6"_s});
    m_vendor->step();
    QTRY_COMPARE(connection->events, (QStringList{u"response 6"_s, u"data abcdef"_s, u"finished"_s}));
}

void TestUrlTransfer::anInterimAnswerIsNoResponse()
{
    VendorAnswer answer = answerAfterAnInterimOne("abc");
    answer.stallAfter = 0; // after the interim answer
    m_vendor->setAnswer("/page", answer);
    const auto connection = started({.url = page});
    QTRY_VERIFY(!m_vendor->requests("/page").isEmpty());
    const auto other = started({.url = addressOf(u"/feed"_s)});
    QTRY_VERIFY(other->isOver()); // by now the interim answer has come too
    m_vendor->step();
    QVERIFY(connection->waitForEnd());
    QCOMPARE(connection->events, abc);
}

void TestUrlTransfer::anotherThreadWithAnEventLoopMayStart()
{
    m_vendor->setAnswer("/page", answerWith("abc"));
    const auto connection = std::make_shared<RecordingConnection>();
    QThread thread;
    connection->atTheEnd = [&thread] { thread.quit(); };
    QObject starter;
    starter.moveToThread(&thread);
    QMetaObject::invokeMethod(
        &starter, [&] { m_loader->start({.url = page}, connection); }, Qt::QueuedConnection);
    thread.start();
    QVERIFY(thread.wait(10000));
    QCOMPARE(connection->events, abc);
    QCOMPARE(connection->threads, QList<QThread *>(3, &thread));
}

void TestUrlTransfer::transfersRunSideBySide()
{
    m_vendor->setAnswer("/stalled", silentAfter(0, "late"));
    m_vendor->setAnswer("/page", answerWith("abc"));
    const auto late = started({.url = addressOf(u"/stalled"_s)});
    const auto first = started({.url = page});
    const auto second = started({.url = page});
    QTRY_VERIFY(first->isOver() && second->isOver());
    QTRY_COMPARE(late->events, QStringList{u"response 4"_s});
    QVERIFY(m_loader->sendSynchronousRequest({.url = page}).body); // the synchronous road is free meanwhile
    m_vendor->step();
    QTRY_VERIFY(late->isOver());
}

// Nothing reads ahead while the receiver's thread is busy elsewhere: what is not asked for stays with the vendor.
void TestUrlTransfer::aSlowReceiverHoldsTheSenderBack()
{
    VendorAnswer answer;
    answer.filler = 16 * 1024 * 1024;
    m_vendor->setAnswer("/page", answer);
    const auto connection = started({.url = page});
    QTRY_VERIFY(connection->events.size() > 1);
    const qsizetype before = connection->events.size();
    QVERIFY(m_loader->sendSynchronousRequest({.url = addressOf(u"/feed"_s)}).body);
    QCOMPARE(connection->events.size(), before);
    QTRY_VERIFY_WITH_TIMEOUT(connection->isOver(), 20000);
    QCOMPARE(connection->events.last(), u"finished"_s);
    for (const QString &event : connection->events)
        QVERIFY(event.size() < 1024 * 1024);
}

void TestUrlTransfer::noChildProcessInheritsTheConnection()
{
    m_vendor->setAnswer("/page", silentAfter(2, "abcd"));
    const auto connection = started({.url = page});
    QTRY_VERIFY(connection->events.contains(u"data ab"_s));
    const QList<int> sockets = socketsTo(m_vendor->port());
    QCOMPARE(sockets.size(), 1);
    QVERIFY(::fcntl(sockets.constFirst(), F_GETFD) & FD_CLOEXEC);
    m_vendor->step();
    QVERIFY(connection->waitForEnd());
}

void TestUrlTransfer::theDelegateIsKeptUntilItsEnding()
{
    m_vendor->setAnswer("/page", answerWith("abc"));
    std::weak_ptr<RecordingConnection> watched;
    QStringList events;
    {
        const auto connection = started({.url = page});
        connection->atTheEnd = [&events, plain = connection.get()] { events = plain->events; };
        watched = connection;
    }
    QVERIFY(!watched.expired());
    QTRY_COMPARE(events, abc);
    QTRY_VERIFY(watched.expired());
}

void TestUrlTransfer::aTransferOfADestroyedLoaderIsSilent_data()
{
    QTest::addColumn<qint64>("after");
    QTest::addColumn<QStringList>("events");
    QTest::newRow("before the answer") << qint64(-1) << QStringList();
    QTest::newRow("before the body") << qint64(0) << QStringList{u"response 4"_s};
    QTest::newRow("in the body") << qint64(2) << QStringList{u"response 4"_s, u"data ab"_s};
}

void TestUrlTransfer::aTransferOfADestroyedLoaderIsSilent()
{
    QFETCH(const qint64, after);
    QFETCH(const QStringList, events);
    m_vendor->setAnswer("/page", silentAfter(after, "abcd"));
    const auto connection = started({.url = page});
    QTRY_VERIFY(!m_vendor->requests("/page").isEmpty());
    QTRY_COMPARE(connection->events, events);
    m_loader = std::make_unique<UrlLoader>(networkOf(*m_vendor));
    QCOMPARE(connection.use_count(), 1);
    m_vendor->step();
    const auto next = started({.url = addressOf(u"/feed"_s)});
    QTRY_VERIFY(next->isOver());
    QCOMPARE(connection->events, events);
}

void TestUrlTransfer::anotherThreadsTransferOutlivesTheLoader()
{
    m_vendor->setAnswer("/page", silentAfter(-1, "abc"));
    const auto connection = std::make_shared<RecordingConnection>();
    QThread thread;
    connection->atTheEnd = [&thread] { thread.quit(); };
    QObject starter;
    starter.moveToThread(&thread);
    thread.start();
    QMetaObject::invokeMethod(
        &starter, [&] { m_loader->start({.url = page}, connection); }, Qt::BlockingQueuedConnection);
    QVERIFY(m_vendor->waitForRequests("/page", 1));
    m_loader.reset();
    m_vendor->step();
    QVERIFY(thread.wait(10000));
    QCOMPARE(connection->events, abc);
}

void TestUrlTransfer::addEndings()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::addColumn<QString>("ending");
    QTest::newRow("good") << answerWith("abc") << u"finished"_s;
    QTest::newRow("bad") << brokenAfter(1, "abc") << u"failed"_s;
    QTest::newRow("bad at once") << brokenOff() << u"failed"_s;
}

void TestUrlTransfer::anEndingMayRunAnEventLoop_data()
{
    addEndings();
}

// As an alert does. A whole other transfer fits into it.
void TestUrlTransfer::anEndingMayRunAnEventLoop()
{
    QFETCH(const VendorAnswer, answer);
    QFETCH(const QString, ending);
    m_vendor->setAnswer("/page", answer);
    m_vendor->setAnswer("/inner", answerWith("inner"));
    const auto inner = std::make_shared<RecordingConnection>();
    QEventLoop loop;
    inner->atTheEnd = [&loop] { loop.quit(); };
    const auto connection = started({.url = page});
    connection->atTheEnd = [&] {
        m_loader->start({.url = addressOf(u"/inner"_s)}, inner);
        loop.exec();
    };
    QTRY_VERIFY(connection->isOver() && inner->isOver());
    QCOMPARE(connection->events.last(), ending);
    QCOMPARE(connection->events.filter(QRegularExpression(u"^fi|^fa"_s)).size(), 1);
    QCOMPARE(inner->events, (QStringList{u"response 5"_s, u"data inner"_s, u"finished"_s}));
    connection->atTheEnd = nullptr;
    QTRY_COMPARE(connection.use_count(), 1);
}

void TestUrlTransfer::anEndingMayDestroyTheLoader_data()
{
    addEndings();
}

void TestUrlTransfer::anEndingMayDestroyTheLoader()
{
    QFETCH(const VendorAnswer, answer);
    QFETCH(const QString, ending);
    m_vendor->setAnswer("/page", answer);
    const auto connection = started({.url = page});
    connection->atTheEnd = [this] { m_loader.reset(); };
    QVERIFY(connection->waitForEnd());
    QCOMPARE(connection->events.last(), ending);
    QTRY_COMPARE(connection.use_count(), 1);
}

QTEST_GUILESS_MAIN(TestUrlTransfer)
#include "TestUrlTransfer.moc"
