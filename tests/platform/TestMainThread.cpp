#include "platform/MainThread.h"

#include "support/WindowSystem.h"

#include <QApplication>
#include <QPushButton>
#include <QShortcut>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>
#include <QWindow>

#include <thread>

using namespace std::chrono_literals;
using namespace WindowSystem;

namespace
{
bool showsWaitCursor()
{
    return QGuiApplication::overrideCursor() && QGuiApplication::overrideCursor()->shape() == Qt::WaitCursor;
}

class Canvas : public QWidget
{
public:
    int paints = 0;

protected:
    void paintEvent(QPaintEvent *) override { ++paints; }
};

// A button the player may press, and one above it.
struct Window : QWidget {
    Window()
    {
        auto *layout = new QVBoxLayout(this);
        layout->addWidget(&canvas);
        layout->addWidget(&button);
        layout->addWidget(&other);
        resize(200, 200);
        show();
    }

    Canvas canvas;
    QPushButton button;
    QPushButton other;
};
} // namespace

class TestMainThread : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void theMainThreadKnowsItself();

    void workIsDoneAtOnceOnTheMainThreadItself();
    void aWorkerWaitsUntilTheMainThreadHasDoneTheWork();

    void delayedWorkRunsOnceOnTheMainThread();
    void delayedWorkSurvivesTheThreadThatOrderedIt();
    void delayedWorkIsDroppedWithItsContext();

    void aWindowIsPaintedWhenItCountsAsShown();
    void aShownWindowIsPaintedAgain();
    void noInputIsTakenWhileAWindowComesUp();

    void aWaitPaintsTheWindowsFirst();
    void aWaitPaintsEveryVisibleWindow();
    void aWaitShowsTheWaitCursorUntilItsEnd();
    void aWaitInsideAnotherEndsNothing();
    void aWaitInAWorkerIsNothing();

    void aClickDuringAWaitIsDropped();
    void keysDuringAWaitAreDropped();
    void aShortcutDuringAWaitIsDropped();
    void aWheelTurnDuringAWaitIsDropped();
    void inputBeforeTheOutermostWaitEndsIsDropped();
    void aClickAfterAWaitCounts();
    void aReleaseDuringAWaitLeavesNoButtonDown_data();
    void aReleaseDuringAWaitLeavesNoButtonDown();
    void aKeyReleasedDuringAWaitLeavesNoButtonDown();
    void otherEventsOfAWaitStillCome();
    void aQuestionInsideAWaitGetsItsAnswer();
};

void TestMainThread::initTestCase()
{
    WindowSystem::queueEvents();
}

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

void TestMainThread::aWindowIsPaintedWhenItCountsAsShown()
{
    Canvas canvas;
    canvas.show();
    QCOMPARE(canvas.paints, 0);
    MainThread::waitUntilShown(canvas);
    QVERIFY(canvas.windowHandle()->isExposed());
    QVERIFY(canvas.paints > 0);
}

void TestMainThread::aShownWindowIsPaintedAgain()
{
    Canvas canvas;
    canvas.show();
    QVERIFY(QTest::qWaitForWindowExposed(&canvas));
    const int before = canvas.paints;
    MainThread::waitUntilShown(canvas);
    QCOMPARE(canvas.paints, before + 1);
}

void TestMainThread::noInputIsTakenWhileAWindowComesUp()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    Canvas next;
    next.show();
    sendClick(window.button);
    MainThread::waitUntilShown(next);
    QCOMPARE(clicked.count(), 0);
    QTRY_COMPARE(clicked.count(), 1); // it was no wait: the click is only late
}

void TestMainThread::aWaitPaintsTheWindowsFirst()
{
    Canvas canvas;
    canvas.show();
    QVERIFY(QTest::qWaitForWindowExposed(&canvas));
    const int before = canvas.paints;
    canvas.update(); // as a changed status line does
    const MainThread::Wait wait;
    QVERIFY(canvas.paints > before);
}

void TestMainThread::aWaitPaintsEveryVisibleWindow()
{
    Canvas first; // not exposed yet
    Canvas second;
    Canvas hidden;
    first.show();
    second.show();
    const MainThread::Wait wait;
    QVERIFY(first.paints > 0);
    QVERIFY(second.paints > 0);
    QCOMPARE(hidden.paints, 0);
}

void TestMainThread::aWaitShowsTheWaitCursorUntilItsEnd()
{
    QVERIFY(!QGuiApplication::overrideCursor());
    {
        const MainThread::Wait wait;
        QVERIFY(showsWaitCursor());
    }
    QVERIFY(!QGuiApplication::overrideCursor());
}

void TestMainThread::aWaitInsideAnotherEndsNothing()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    bool called = false;
    {
        const MainThread::Wait outer;
        QMetaObject::invokeMethod(
            &window, [&] { called = true; }, Qt::QueuedConnection);
        {
            const MainThread::Wait inner;
        }
        QVERIFY(showsWaitCursor());
        QVERIFY(!called); // nothing else runs in the middle of the work
    }
    QVERIFY(!QGuiApplication::overrideCursor());
}

void TestMainThread::aWaitInAWorkerIsNothing()
{
    bool cursorInside = true;
    std::jthread([&] {
        const MainThread::Wait wait;
        cursorInside = QGuiApplication::overrideCursor() != nullptr;
    }).join();
    QVERIFY(!cursorInside);
    const MainThread::Wait wait; // the worker's counted for nothing
    QVERIFY(showsWaitCursor());
}

void TestMainThread::aClickDuringAWaitIsDropped()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    const QSignalSpy pressed(&window.button, &QPushButton::pressed);
    {
        const MainThread::Wait wait;
        sendClick(window.button);
        sendClick(window.button);
    }
    QCoreApplication::processEvents();
    QCOMPARE(clicked.count(), 0);
    QCOMPARE(pressed.count(), 0);
}

void TestMainThread::keysDuringAWaitAreDropped()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.button.setFocus();
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    {
        const MainThread::Wait wait;
        sendKey(window, Qt::Key_Space);
    }
    QCoreApplication::processEvents();
    QCOMPARE(clicked.count(), 0);
    sendKey(window, Qt::Key_Space);
    QTRY_COMPARE(clicked.count(), 1);
}

void TestMainThread::aShortcutDuringAWaitIsDropped()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const QShortcut shortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), &window);
    const QSignalSpy activated(&shortcut, &QShortcut::activated);
    {
        const MainThread::Wait wait;
        sendKey(window, Qt::Key_Q, Qt::ControlModifier);
    }
    QCoreApplication::processEvents();
    QCOMPARE(activated.count(), 0);
    sendKey(window, Qt::Key_Q, Qt::ControlModifier);
    QTRY_COMPARE(activated.count(), 1);
}

void TestMainThread::aWheelTurnDuringAWaitIsDropped()
{
    class Wheel : public QWidget
    {
    public:
        int turns = 0;

    protected:
        void wheelEvent(QWheelEvent *) override { ++turns; }
    } window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const auto turn = [&] {
        QCoreApplication::postEvent(window.windowHandle(),
                                    new QWheelEvent({5, 5}, window.mapToGlobal(QPointF(5, 5)), {}, {0, 120},
                                                    Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false));
    };
    {
        const MainThread::Wait wait;
        turn();
    }
    QCoreApplication::processEvents();
    QCOMPARE(window.turns, 0);
    turn();
    QTRY_COMPARE(window.turns, 1);
}

void TestMainThread::inputBeforeTheOutermostWaitEndsIsDropped()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    {
        const MainThread::Wait outer;
        {
            const MainThread::Wait inner;
            sendClick(window.button);
        }
        sendClick(window.button);
    }
    QCoreApplication::processEvents();
    QCOMPARE(clicked.count(), 0);
}

void TestMainThread::aClickAfterAWaitCounts()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    {
        const MainThread::Wait wait;
        sendClick(window.button);
    }
    sendClick(window.button);
    QTRY_COMPARE(clicked.count(), 1);
}

void TestMainThread::aReleaseDuringAWaitLeavesNoButtonDown_data()
{
    QTest::addColumn<bool>("moves");

    QTest::newRow("held still") << false;
    QTest::newRow("moved meanwhile") << true;
}

// The player may press before a wait and let go during it. Nothing is clicked then, and the next click goes where it
// should.
void TestMainThread::aReleaseDuringAWaitLeavesNoButtonDown()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    const QSignalSpy otherClicked(&window.other, &QPushButton::clicked);
    QFETCH(const bool, moves);
    const QPoint at = window.button.geometry().center();
    sendMouse(window, at, QEvent::MouseButtonPress);
    QTRY_VERIFY(window.button.isDown());
    {
        const MainThread::Wait wait;
        if (moves)
            sendMouse(window, at + QPoint(2, 1), QEvent::MouseMove);
        sendMouse(window, at, QEvent::MouseButtonRelease);
    }
    QCoreApplication::processEvents();
    QCOMPARE(clicked.count(), 0);
    QVERIFY(!window.button.isDown());
    sendClick(window.other);
    QTRY_COMPARE(otherClicked.count(), 1);
    QCOMPARE(clicked.count(), 0);
}

void TestMainThread::aKeyReleasedDuringAWaitLeavesNoButtonDown()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.button.setFocus();
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    QTest::keyPress(&window.button, Qt::Key_Space);
    QVERIFY(window.button.isDown());
    {
        const MainThread::Wait wait;
        sendKey(window, Qt::Key_Space);
    }
    QVERIFY(!window.button.isDown());
    QCOMPARE(clicked.count(), 0);
    sendKey(window, Qt::Key_Space);
    QTRY_COMPARE(clicked.count(), 1);
}

void TestMainThread::otherEventsOfAWaitStillCome()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    bool called = false;
    {
        const MainThread::Wait wait;
        QMetaObject::invokeMethod(
            &window, [&] { called = true; }, Qt::QueuedConnection);
    }
    QTRY_VERIFY(called);
}

void TestMainThread::aQuestionInsideAWaitGetsItsAnswer()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    {
        const MainThread::Wait wait;
        QMetaObject::invokeMethod(
            &window,
            [&] {
                QEventLoop question;
                connect(&window.button, &QPushButton::clicked, &question, &QEventLoop::quit);
                sendClick(window.button);
                question.exec();
            },
            Qt::QueuedConnection);
    }
    QCOMPARE(clicked.count(), 1);
}

QTEST_MAIN(TestMainThread)
#include "TestMainThread.moc"
