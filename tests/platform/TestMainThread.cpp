#include "platform/MainThread.h"

#include <QElapsedTimer>
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
    void delayedWorkIsNeverEarly();
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
// A coarse timer of two seconds may be a tenth of a second early.
void TestMainThread::delayedWorkIsNeverEarly()
{
    QObject context;
    QElapsedTimer clock;
    QList<qint64> early;
    int runs = 0;
    clock.start();
    for (int number = 0; number < 40; ++number) {
        const auto delay = std::chrono::milliseconds(2000 + number);
        const qint64 due = clock.elapsed() + delay.count();
        MainThread::performAfter(delay, &context, [&, due] {
            ++runs;
            if (clock.elapsed() < due)
                early.append(due - clock.elapsed());
        });
    }
    QTRY_COMPARE(runs, 40);
    QCOMPARE(early, QList<qint64>());
}

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
