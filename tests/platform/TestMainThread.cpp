#include "platform/MainThread.h"

#include <QTest>

#include <atomic>
#include <thread>

using namespace std::chrono_literals;

class TestMainThread : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theMainThreadKnowsItself();

    void workIsDoneAtOnceOnTheMainThreadItself();
    void aWorkerWaitsUntilTheMainThreadHasDoneTheWork();

    void delayedWorkRunsOnceOnTheMainThread();
    void delayedWorkSurvivesTheThreadThatOrderedIt();
    void delayedWorkIsDroppedWithItsContext();
};

void TestMainThread::theMainThreadKnowsItself()
{
    QVERIFY(MainThread::isCurrent());
    bool isMain = true;
    std::jthread([&] { isMain = MainThread::isCurrent(); }).join();
    QVERIFY(!isMain);
}

void TestMainThread::workIsDoneAtOnceOnTheMainThreadItself()
{
    bool done = false;
    MainThread::performAndWait([&] { done = true; });
    QVERIFY(done);
}

void TestMainThread::aWorkerWaitsUntilTheMainThreadHasDoneTheWork()
{
    bool onMain = false;
    std::atomic<bool> doneBeforeReturn = false;
    std::atomic<bool> returned = false;
    std::jthread worker([&] {
        bool done = false;
        MainThread::performAndWait([&] {
            onMain = MainThread::isCurrent();
            done = true;
        });
        doneBeforeReturn = done;
        returned = true;
    });
    QTRY_VERIFY(returned);
    QVERIFY(onMain);
    QVERIFY(doneBeforeReturn);
}

void TestMainThread::delayedWorkRunsOnceOnTheMainThread()
{
    QObject context;
    int runs = 0;
    bool onMain = false;
    MainThread::performAfter(1ms, &context, [&] {
        ++runs;
        onMain = MainThread::isCurrent();
    });
    QCOMPARE(runs, 0);
    QTRY_COMPARE(runs, 1);
    QVERIFY(onMain);
}

void TestMainThread::delayedWorkSurvivesTheThreadThatOrderedIt()
{
    QObject context;
    bool onMain = false;
    std::jthread([&] { MainThread::performAfter(1ms, &context, [&] { onMain = MainThread::isCurrent(); }); }).join();
    QTRY_VERIFY(onMain);
}

void TestMainThread::delayedWorkIsDroppedWithItsContext()
{
    QObject later;
    bool ran = false;
    bool laterRan = false;
    auto context = std::make_unique<QObject>();
    MainThread::performAfter(1ms, context.get(), [&] { ran = true; });
    context.reset();
    MainThread::performAfter(20ms, &later, [&] { laterRan = true; });
    QTRY_VERIFY(laterRan);
    QVERIFY(!ran);
}

QTEST_GUILESS_MAIN(TestMainThread)
#include "TestMainThread.moc"
