#include "platform/UrlLoader.h"

#include "support/Answers.h"
#include "support/RecordingConnection.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTest>

#include <thread>

using namespace Qt::StringLiterals;

// How long a request waits for one more byte; there is no limit on the whole.
class TestUrlIdleTime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isAMinuteUnlessSet();
    void onlyASilentVendorIsGivenUp();
};

void TestUrlIdleTime::isAMinuteUnlessSet()
{
    QCOMPARE(UrlLoaderSettings().idleSeconds, 60);
}

// All at once, since each takes its time. Silence ends a request when its time is over, connecting included: not
// earlier, and within about a second.
void TestUrlIdleTime::onlyASilentVendorIsGivenUp()
{
    VendorServer vendor;
    vendor.setAnswer("/silent/answer", silentAfter(-1, "abc"));
    vendor.setAnswer("/silent/form", silentAfter(-1, "abc"));
    vendor.setAnswer("/silent/body", silentAfter(0, "abc"));
    vendor.setAnswer("/silent/rest", silentAfter(1, "abc"));
    VendorAnswer slow = answerWith("abcdef");
    slow.pieces = {1, 1, 1, 1, 1};
    slow.pauseMs = 400; // two seconds in all
    vendor.setAnswer("/slow", slow);
    QTcpServer mute; // the system takes its connections, and nobody ever shakes hands
    QVERIFY(mute.listen(QHostAddress::LocalHost));

    const UrlLoaderSettings network = networkOf(vendor, 1);
    UrlLoaderSettings toMute = network;
    toMute.connectTo = {"::127.0.0.1:" + QByteArray::number(mute.serverPort())};
    struct Attempt {
        QString path;
        UrlLoaderSettings network;
        QStringList events; // of the transfer
        std::optional<QByteArray> body = {};
        UrlAnswer answer = {};
        qint64 waited = 0; // milliseconds
        qint64 transferred = 0;
        std::shared_ptr<RecordingConnection> transfer = std::make_shared<RecordingConnection>();
    };
    Attempt attempts[] = {
        {u"/silent/answer"_s, network, {u"failed"_s}},
        {u"/silent/form"_s, network, {u"failed"_s}},
        {u"/silent/body"_s, network, {u"response 3"_s, u"failed"_s}},
        {u"/silent/rest"_s, network, {u"response 3"_s, u"data a"_s, u"failed"_s}},
        {u"/mute"_s, toMute, {u"failed"_s}},
        {u"/slow"_s,
         network,
         {u"response 6"_s, u"data a"_s, u"data b"_s, u"data c"_s, u"data d"_s, u"data e"_s, u"data f"_s, u"finished"_s},
         "abcdef"},
    };
    QElapsedTimer clock;
    clock.start();
    std::vector<std::unique_ptr<UrlLoader>> loaders; // of the transfers
    {
        std::vector<std::jthread> waiting;
        for (Attempt &attempt : attempts) {
            const UrlRequest request = attempt.path.endsWith(u"form"_s) ? formTo(addressOf(attempt.path))
                                                                        : UrlRequest{.url = addressOf(attempt.path)};
            loaders.push_back(std::make_unique<UrlLoader>(attempt.network));
            loaders.back()->start(request, attempt.transfer);
            attempt.transfer->atTheEnd = [&attempt, &clock] { attempt.transferred = clock.elapsed(); };
            waiting.emplace_back([request, &attempt, &clock] {
                attempt.answer = UrlLoader(attempt.network).sendSynchronousRequest(request);
                attempt.waited = clock.elapsed();
            });
        }
        for (const Attempt &attempt : attempts)
            QVERIFY2(attempt.transfer->waitForEnd(), qPrintable(attempt.path));
    }
    for (const Attempt &attempt : attempts) {
        QCOMPARE(attempt.answer.body, attempt.body);
        QCOMPARE(attempt.transfer->events, attempt.events);
        for (const QString &reason : {attempt.answer.error, attempt.transfer->reason})
            QCOMPARE(reason, attempt.body ? QString() : u"Timeout was reached"_s);
        for (const qint64 time : {attempt.waited, attempt.transferred})
            QVERIFY2(attempt.body || (time >= 1000 && time < 3500), qPrintable(QString::number(time)));
    }
}

QTEST_GUILESS_MAIN(TestUrlIdleTime)
#include "TestUrlIdleTime.moc"
