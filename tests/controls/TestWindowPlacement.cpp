#include "controls/WindowPlacement.h"

#include <QScreen>
#include <QTest>
#include <QWidget>

class TestWindowPlacement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aWindowIsCentredOnItsScreen();
    void aWindowOfNoSizeYetGetsItsOwnFirst();
    void aMinimizedWindowComesBack();
    void theKeyWindowIsShownInFrontWithTheKeyboard();

private:
    static bool isCentred(const QWidget &window)
    {
        const QPoint center = window.screen()->availableGeometry().center();
        return (window.frameGeometry().center() - center).manhattanLength() <= 1;
    }
};

void TestWindowPlacement::aWindowIsCentredOnItsScreen()
{
    QWidget window;
    window.resize(300, 200);
    window.move(3, 7);
    WindowPlacement::center(window);
    QVERIFY(isCentred(window));
    QCOMPARE(window.size(), QSize(300, 200));

    window.show();
    window.move(3, 7);
    WindowPlacement::center(window);
    QVERIFY(isCentred(window));
}

void TestWindowPlacement::aWindowOfNoSizeYetGetsItsOwnFirst()
{
    class Sized : public QWidget
    {
    public:
        QSize sizeHint() const override { return {222, 111}; }
    } window;
    WindowPlacement::center(window);
    QCOMPARE(window.size(), QSize(222, 111));
    QVERIFY(isCentred(window));
}

void TestWindowPlacement::aMinimizedWindowComesBack()
{
    QWidget window;
    window.showMinimized();
    QVERIFY(window.isMinimized());
    WindowPlacement::makeKeyAndOrderFront(window);
    QVERIFY(!window.isMinimized());
    QVERIFY(QTest::qWaitForWindowActive(&window));

    window.setWindowState(Qt::WindowMaximized | Qt::WindowMinimized);
    WindowPlacement::makeKeyAndOrderFront(window);
    QCOMPARE(window.windowState() & ~Qt::WindowActive, Qt::WindowMaximized);
}

void TestWindowPlacement::theKeyWindowIsShownInFrontWithTheKeyboard()
{
    QWidget window;
    QWidget other;
    WindowPlacement::makeKeyAndOrderFront(window);
    QVERIFY(window.isVisible());
    WindowPlacement::makeKeyAndOrderFront(other);
    QVERIFY(QTest::qWaitForWindowActive(&other));
    WindowPlacement::makeKeyAndOrderFront(window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QVERIFY(!other.isActiveWindow());
}

QTEST_MAIN(TestWindowPlacement)
#include "TestWindowPlacement.moc"
