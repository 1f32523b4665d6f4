#include "platform/Windows.h"

#include <QScreen>
#include <QTest>
#include <QWidget>

class TestWindows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aWindowIsCentredOnItsScreen();
    void aWindowOfNoSizeYetGetsItsOwnFirst();
    void theKeyWindowIsShownWithTheKeyboard();
    void aMinimizedWindowComesBack();
    void aShownWindowComesToTheFront();
};

void TestWindows::aWindowIsCentredOnItsScreen()
{
    QWidget window;
    window.resize(300, 200);
    window.move(3, 7);
    Windows::center(window);
    const QPoint center = window.screen()->availableGeometry().center();
    QVERIFY((window.frameGeometry().center() - center).manhattanLength() <= 1);
    QCOMPARE(window.size(), QSize(300, 200));

    window.show();
    window.move(3, 7);
    Windows::center(window);
    QVERIFY((window.frameGeometry().center() - center).manhattanLength() <= 1);
}

void TestWindows::aWindowOfNoSizeYetGetsItsOwnFirst()
{
    class Sized : public QWidget
    {
    public:
        QSize sizeHint() const override { return {222, 111}; }
    } window;
    Windows::center(window);
    QCOMPARE(window.size(), QSize(222, 111));
    QVERIFY((window.frameGeometry().center() - window.screen()->availableGeometry().center()).manhattanLength() <= 1);
}

void TestWindows::theKeyWindowIsShownWithTheKeyboard()
{
    QWidget window;
    Windows::makeKeyAndOrderFront(window);
    QVERIFY(window.isVisible());
    QVERIFY(QTest::qWaitForWindowActive(&window));
}

void TestWindows::aMinimizedWindowComesBack()
{
    QWidget window;
    window.showMinimized();
    QVERIFY(window.isMinimized());
    Windows::makeKeyAndOrderFront(window);
    QVERIFY(!window.isMinimized());
    QVERIFY(QTest::qWaitForWindowActive(&window));

    window.setWindowState(Qt::WindowMaximized | Qt::WindowMinimized);
    Windows::makeKeyAndOrderFront(window);
    QCOMPARE(window.windowState() & ~Qt::WindowActive, Qt::WindowMaximized);
}

void TestWindows::aShownWindowComesToTheFront()
{
    QWidget window;
    QWidget other;
    Windows::makeKeyAndOrderFront(window);
    Windows::makeKeyAndOrderFront(other);
    QVERIFY(QTest::qWaitForWindowActive(&other));
    Windows::makeKeyAndOrderFront(window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QVERIFY(!other.isActiveWindow());
}

QTEST_MAIN(TestWindows)
#include "TestWindows.moc"
