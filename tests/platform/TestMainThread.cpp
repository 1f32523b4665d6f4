#include "platform/MainThread.h"

#include <QTest>

#include <atomic>
#include <thread>

using namespace std::chrono_literals;

class TestMainThread : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void workIsDoneAtOnceOnTheMainThreadItself();
    void aWorkerWaitsUntilTheMainThreadHasDoneTheWork();
    void delayedWorkRunsOnceOnTheMainThread();
    void delayedWorkIsDroppedWithItsContext();
};

void TestMainThread::workIsDoneAtOnceOnTheMainThreadItself()
{
    QVERIFY(MainThread::isCurrent());
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
        doneBeforeReturn = done && !MainThread::isCurrent();
        returned = true;
    });
    QTRY_VERIFY(returned);
    QVERIFY(onMain);
    QVERIFY(doneBeforeReturn);
}

// Also when the thread that ordered it has ended.
void TestMainThread::delayedWorkRunsOnceOnTheMainThread()
{
    QObject context;
    int runs = 0;
    int runsOnMain = 0;
    const auto order = [&] {
        MainThread::performAfter(1ms, &context, [&] {
            ++runs;
            runsOnMain += MainThread::isCurrent() ? 1 : 0;
        });
    };
    order();
    QCOMPARE(runs, 0);
    std::jthread(order).join();
    QTRY_COMPARE(runs, 2);
    QCOMPARE(runsOnMain, 2);
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
