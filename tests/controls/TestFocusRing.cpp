#include "controls/FocusRing.h"

#include "controls/Theme.h"

#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;

class TestFocusRing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itShowsWhileTheKeyboardIsInside();
    void itLiesAroundTheWidgetAndMovesWithIt();
    void clicksGoThrough();
    void itMayOutliveTheWidget();
};

namespace
{
struct Window : QWidget {
    Window()
    {
        resize(200, 120);
        framed.setGeometry(20, 20, 80, 40);
        other.setGeometry(120, 80, 60, 30);
        show();
        activateWindow();
    }

    // Between the gap and the ring's outer edge, on the left.
    bool hasRing()
    {
        const QPoint at(framed.x() - 3, framed.geometry().center().y());
        return grab().toImage().pixelColor(at) == Theme::color(u"focus"_s, palette());
    }

    QWidget framed{this};
    QLineEdit inside{&framed};
    QLineEdit other{this};
    FocusRing ring{framed, 6};
};
} // namespace

void TestFocusRing::itShowsWhileTheKeyboardIsInside()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.other.setFocus();
    QVERIFY(!window.hasRing());
    window.inside.setFocus();
    QVERIFY(window.hasRing());
    window.other.setFocus();
    QVERIFY(!window.hasRing());
    window.framed.setFocusPolicy(Qt::StrongFocus);
    window.framed.setFocus();
    QVERIFY(window.hasRing());
}

void TestFocusRing::itLiesAroundTheWidgetAndMovesWithIt()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.inside.setFocus();
    QCOMPARE(window.ring.geometry(), window.framed.geometry().adjusted(-4, -4, 4, 4));
    window.framed.setGeometry(40, 30, 100, 60);
    QCOMPARE(window.ring.geometry(), QRect(36, 26, 108, 68));
    QVERIFY(window.hasRing());
}

void TestFocusRing::clicksGoThrough()
{
    Window window;
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.inside.setFocus();
    QCOMPARE(window.childAt(window.framed.geometry().topLeft() + QPoint(1, 1)), &window.inside);
    QCOMPARE(window.childAt(window.framed.geometry().topLeft() - QPoint(2, 2)), nullptr);
}

// A window's end takes the framed widget before the ring, and the keyboard may move meanwhile.
void TestFocusRing::itMayOutliveTheWidget()
{
    QWidget window;
    QLineEdit other(&window);
    auto *framed = new QLineEdit(&window);
    framed->setGeometry(20, 20, 80, 40);
    const FocusRing ring(*framed, 6);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    framed->setFocus();
    QVERIFY(ring.isVisible());
    delete framed;
    const QRect before = ring.geometry();
    other.setFocus();
    QVERIFY(!ring.isVisible());
    QCOMPARE(ring.geometry(), before);
}

QTEST_MAIN(TestFocusRing)
#include "TestFocusRing.moc"
