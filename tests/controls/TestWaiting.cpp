#include "controls/Waiting.h"

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

class TestWaiting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

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

void TestWaiting::initTestCase()
{
    WindowSystem::queueEvents();
}

void TestWaiting::aWindowIsPaintedWhenItCountsAsShown()
{
    Canvas canvas;
    canvas.show();
    QCOMPARE(canvas.paints, 0);
    Waiting::untilShown(canvas);
    QVERIFY(canvas.windowHandle()->isExposed());
    QVERIFY(canvas.paints > 0);
}

void TestWaiting::aShownWindowIsPaintedAgain()
{
    Canvas canvas;
    canvas.show();
    QVERIFY(QTest::qWaitForWindowExposed(&canvas));
    const int before = canvas.paints;
    Waiting::untilShown(canvas);
    QCOMPARE(canvas.paints, before + 1);
}

void TestWaiting::noInputIsTakenWhileAWindowComesUp()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    Canvas next;
    next.show();
    sendClick(window.button);
    Waiting::untilShown(next);
    QCOMPARE(clicked.count(), 0);
    QTRY_COMPARE(clicked.count(), 1); // it was no wait: the click is only late
}

void TestWaiting::aWaitPaintsTheWindowsFirst()
{
    Canvas canvas;
    canvas.show();
    QVERIFY(QTest::qWaitForWindowExposed(&canvas));
    const int before = canvas.paints;
    canvas.update(); // as a changed status line does
    Waiting::blockFor([&] { QVERIFY(canvas.paints > before); });
}

void TestWaiting::aWaitPaintsEveryVisibleWindow()
{
    Canvas first; // not exposed yet
    Canvas second;
    Canvas hidden;
    first.show();
    second.show();
    Waiting::blockFor([&] {
        QVERIFY(first.paints > 0);
        QVERIFY(second.paints > 0);
        QCOMPARE(hidden.paints, 0);
    });
}

void TestWaiting::aWaitShowsTheWaitCursorUntilItsEnd()
{
    QVERIFY(!QGuiApplication::overrideCursor());
    Waiting::blockFor([&] { QVERIFY(showsWaitCursor()); });
    QVERIFY(!QGuiApplication::overrideCursor());
}

void TestWaiting::aWaitInsideAnotherEndsNothing()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    bool called = false;
    Waiting::blockFor([&] {
        QMetaObject::invokeMethod(
            &window, [&] { called = true; }, Qt::QueuedConnection);
        Waiting::blockFor([] {});
        QVERIFY(showsWaitCursor());
        QVERIFY(!called); // nothing else runs in the middle of the work
    });
    QVERIFY(!QGuiApplication::overrideCursor());
}

void TestWaiting::aWaitInAWorkerIsNothing()
{
    bool cursorInside = true;
    std::jthread([&] {
        Waiting::blockFor([&] { cursorInside = QGuiApplication::overrideCursor() != nullptr; });
    }).join();
    QVERIFY(!cursorInside);
    Waiting::blockFor([] { QVERIFY(showsWaitCursor()); }); // the worker's counted for nothing
}

void TestWaiting::aClickDuringAWaitIsDropped()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    const QSignalSpy pressed(&window.button, &QPushButton::pressed);
    Waiting::blockFor([&] {
        sendClick(window.button);
        sendClick(window.button);
    });
    QCoreApplication::processEvents();
    QCOMPARE(clicked.count(), 0);
    QCOMPARE(pressed.count(), 0);
}

void TestWaiting::keysDuringAWaitAreDropped()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.button.setFocus();
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    Waiting::blockFor([&] { sendKey(window, Qt::Key_Space); });
    QCoreApplication::processEvents();
    QCOMPARE(clicked.count(), 0);
    sendKey(window, Qt::Key_Space);
    QTRY_COMPARE(clicked.count(), 1);
}

void TestWaiting::aShortcutDuringAWaitIsDropped()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const QShortcut shortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), &window);
    const QSignalSpy activated(&shortcut, &QShortcut::activated);
    Waiting::blockFor([&] { sendKey(window, Qt::Key_Q, Qt::ControlModifier); });
    QCoreApplication::processEvents();
    QCOMPARE(activated.count(), 0);
    sendKey(window, Qt::Key_Q, Qt::ControlModifier);
    QTRY_COMPARE(activated.count(), 1);
}

void TestWaiting::aWheelTurnDuringAWaitIsDropped()
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
    Waiting::blockFor([&] { turn(); });
    QCoreApplication::processEvents();
    QCOMPARE(window.turns, 0);
    turn();
    QTRY_COMPARE(window.turns, 1);
}

void TestWaiting::inputBeforeTheOutermostWaitEndsIsDropped()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    Waiting::blockFor([&] {
        Waiting::blockFor([&] { sendClick(window.button); });
        sendClick(window.button);
    });
    QCoreApplication::processEvents();
    QCOMPARE(clicked.count(), 0);
}

void TestWaiting::aClickAfterAWaitCounts()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    Waiting::blockFor([&] { sendClick(window.button); });
    sendClick(window.button);
    QTRY_COMPARE(clicked.count(), 1);
}

void TestWaiting::aReleaseDuringAWaitLeavesNoButtonDown_data()
{
    QTest::addColumn<bool>("moves");

    QTest::newRow("held still") << false;
    QTest::newRow("moved meanwhile") << true;
}

// The player may press before a wait and let go during it. Nothing is clicked then, and the next click goes where it
// should.
void TestWaiting::aReleaseDuringAWaitLeavesNoButtonDown()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    const QSignalSpy otherClicked(&window.other, &QPushButton::clicked);
    QFETCH(const bool, moves);
    const QPoint at = window.button.geometry().center();
    sendMouse(window, at, QEvent::MouseButtonPress);
    QTRY_VERIFY(window.button.isDown());
    Waiting::blockFor([&] {
        if (moves)
            sendMouse(window, at + QPoint(2, 1), QEvent::MouseMove);
        sendMouse(window, at, QEvent::MouseButtonRelease);
    });
    QCoreApplication::processEvents();
    QCOMPARE(clicked.count(), 0);
    QVERIFY(!window.button.isDown());
    sendClick(window.other);
    QTRY_COMPARE(otherClicked.count(), 1);
    QCOMPARE(clicked.count(), 0);
}

void TestWaiting::aKeyReleasedDuringAWaitLeavesNoButtonDown()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.button.setFocus();
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    QTest::keyPress(&window.button, Qt::Key_Space);
    QVERIFY(window.button.isDown());
    Waiting::blockFor([&] { sendKey(window, Qt::Key_Space); });
    QVERIFY(!window.button.isDown());
    QCOMPARE(clicked.count(), 0);
    sendKey(window, Qt::Key_Space);
    QTRY_COMPARE(clicked.count(), 1);
}

void TestWaiting::otherEventsOfAWaitStillCome()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    bool called = false;
    Waiting::blockFor([&] {
        QMetaObject::invokeMethod(
            &window, [&] { called = true; }, Qt::QueuedConnection);
    });
    QTRY_VERIFY(called);
}

void TestWaiting::aQuestionInsideAWaitGetsItsAnswer()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSignalSpy clicked(&window.button, &QPushButton::clicked);
    Waiting::blockFor([&] {
        QMetaObject::invokeMethod(
            &window,
            [&] {
                QEventLoop question;
                connect(&window.button, &QPushButton::clicked, &question, &QEventLoop::quit);
                sendClick(window.button);
                question.exec();
            },
            Qt::QueuedConnection);
    });
    QCOMPARE(clicked.count(), 1);
}

QTEST_MAIN(TestWaiting)
#include "TestWaiting.moc"
