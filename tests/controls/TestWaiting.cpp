#include "controls/Waiting.h"

#include "support/WindowSystem.h"

#include <QApplication>
#include <QPushButton>
#include <QShortcut>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>
#include <QWindow>

#include <functional>
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

// A button the player may press, and another one below it.
struct Window : QWidget {
    Window()
    {
        auto *layout = new QVBoxLayout(this);
        layout->addWidget(&button);
        layout->addWidget(&other);
        resize(200, 200);
        connect(&button, &QPushButton::clicked, this, [this] { ++deeds; });
        connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this), &QShortcut::activated, this,
                [this] { ++deeds; });
        show();
        button.setFocus();
        QVERIFY(QTest::qWaitForWindowActive(this));
    }

    QPushButton button;
    QPushButton other;
    int deeds = 0; // clicks on the button, shortcuts, and turns of the wheel

protected:
    void wheelEvent(QWheelEvent *) override { ++deeds; }
};

using Input = std::function<void(const Window &)>;
} // namespace

class TestWaiting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aWindowIsPaintedWhenItCountsAsShown();
    void aShownWindowIsPaintedAgain();

    void aWaitPaintsTheWindowsFirst();
    void aWaitPaintsEveryVisibleWindow();
    void aWaitShowsTheWaitCursorUntilItsEnd();
    void nothingElseRunsInTheMiddleOfTheWork();
    void aWaitInAWorkerIsNothing();

    void inputDuringAWaitIsDroppedAndInputAfterItCounts_data();
    void inputDuringAWaitIsDroppedAndInputAfterItCounts();
    void aReleaseDuringAWaitLeavesNoButtonDown_data();
    void aReleaseDuringAWaitLeavesNoButtonDown();
    void aKeyReleasedDuringAWaitLeavesNoButtonDown();
    void otherEventsOfAWaitStillCome();
    void aQuestionInsideAWaitGetsItsAnswer();
};

void TestWaiting::aWindowIsPaintedWhenItCountsAsShown()
{
    Canvas canvas;
    canvas.winId(); // there, and not on the screen yet
    QMetaObject::invokeMethod(&canvas, &QWidget::show, Qt::QueuedConnection);
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
    Canvas first;
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

void TestWaiting::nothingElseRunsInTheMiddleOfTheWork()
{
    bool called = false;
    Waiting::blockFor([&] {
        QMetaObject::invokeMethod(
            qApp, [&] { called = true; }, Qt::QueuedConnection);
        Waiting::blockFor([] {}); // a wait inside another ends nothing
        QVERIFY(showsWaitCursor());
        QVERIFY(!called);
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

void TestWaiting::inputDuringAWaitIsDroppedAndInputAfterItCounts_data()
{
    QTest::addColumn<Input>("send");
    QTest::newRow("a click") << Input([](const Window &window) { sendClick(window.button); });
    QTest::newRow("a key") << Input([](const Window &window) { sendKey(window, Qt::Key_Space); });
    QTest::newRow("a shortcut") << Input([](const Window &window) { sendKey(window, Qt::Key_Q, Qt::ControlModifier); });
    QTest::newRow("a turn of the wheel") << Input([](const Window &window) {
        QCoreApplication::postEvent(window.windowHandle(),
                                    new QWheelEvent({5, 5}, window.mapToGlobal(QPointF(5, 5)), {}, {0, 120},
                                                    Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false));
    });
}

void TestWaiting::inputDuringAWaitIsDroppedAndInputAfterItCounts()
{
    QFETCH(const Input, send);
    Window window;
    const QSignalSpy pressed(&window.button, &QPushButton::pressed);
    Waiting::blockFor([&] {
        send(window);
        Waiting::blockFor([&] { send(window); });
        send(window);
    });
    QCoreApplication::processEvents();
    QCOMPARE(window.deeds, 0);
    QCOMPARE(pressed.count(), 0);
    send(window);
    QTRY_COMPARE(window.deeds, 1);
}

void TestWaiting::aReleaseDuringAWaitLeavesNoButtonDown_data()
{
    QTest::addColumn<bool>("moves");

    QTest::newRow("held still") << false;
    QTest::newRow("moved meanwhile") << true;
}

// Nothing is clicked then, and the next click goes where it should.
void TestWaiting::aReleaseDuringAWaitLeavesNoButtonDown()
{
    Window window;
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
    QCOMPARE(window.deeds, 0);
    QVERIFY(!window.button.isDown());
    sendClick(window.other);
    QTRY_COMPARE(otherClicked.count(), 1);
    QCOMPARE(window.deeds, 0);
}

void TestWaiting::aKeyReleasedDuringAWaitLeavesNoButtonDown()
{
    Window window;
    QTest::keyPress(&window.button, Qt::Key_Space);
    QVERIFY(window.button.isDown());
    Waiting::blockFor([&] { sendKey(window, Qt::Key_Space); });
    QVERIFY(!window.button.isDown());
    QCOMPARE(window.deeds, 0);
    sendKey(window, Qt::Key_Space);
    QTRY_COMPARE(window.deeds, 1);
}

void TestWaiting::otherEventsOfAWaitStillCome()
{
    bool called = false;
    Waiting::blockFor([&] {
        QMetaObject::invokeMethod(
            qApp, [&] { called = true; }, Qt::QueuedConnection);
    });
    QTRY_VERIFY(called);
}

void TestWaiting::aQuestionInsideAWaitGetsItsAnswer()
{
    Window window;
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
    QCOMPARE(window.deeds, 1);
}

QTEST_MAIN(TestWaiting)
#include "TestWaiting.moc"
