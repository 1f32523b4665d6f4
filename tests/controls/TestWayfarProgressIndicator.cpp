#include "controls/WayfarProgressIndicator.h"

#include <QPainter>
#include <QScrollArea>
#include <QStyleOptionProgressBar>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
// Tells what its base class is asked to draw.
class Recorded : public WayfarProgressIndicator
{
public:
    QList<QStyleOptionProgressBar> drawn; // since showNow

    void showNow(const QSize &frame)
    {
        resize(frame);
        show();
        QVERIFY(QTest::qWaitForWindowExposed(this));
        QCoreApplication::processEvents();
        QCOMPARE(size(), frame);
        drawn.clear();
    }

    QImage drawnByTheStyle(const QRect &rect) const
    {
        QStyleOptionProgressBar option;
        initStyleOption(&option);
        option.rect = rect;
        QImage image(size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(palette().color(QPalette::Window));
        QPainter painter(&image);
        style()->drawControl(QStyle::CE_ProgressBar, &option, &painter, this);
        return image;
    }

protected:
    void drawBase(const QStyleOptionProgressBar &option) override
    {
        drawn.append(option);
        WayfarProgressIndicator::drawBase(option);
    }
};

const QString twoColours = u"WayfarProgressIndicator { background: #00ff00; border: none; }"
                           "WayfarProgressIndicator::chunk { background: #ff0000; }"_s;
} // namespace

class TestWayfarProgressIndicator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theBaseDrawsIntoTheRectangleAtAHeightOf98_data();
    void theBaseDrawsIntoTheRectangleAtAHeightOf98();
    void aPartDrawnAloneIsFollowedByTheWhole();
    void aPartThatNeverShowsIsNotWaitedFor();
    void theBarLooksLikeThePartOfTheFixedHeight();
    void aProgressOutOfRangeIsBusyOrFull_data();
    void aProgressOutOfRangeIsBusyOrFull();
    void theBarIsFilledAsFarAsTheValueSays_data();
    void theBarIsFilledAsFarAsTheValueSays();
};

void TestWayfarProgressIndicator::theBaseDrawsIntoTheRectangleAtAHeightOf98_data()
{
    QTest::addColumn<QSize>("frame");
    QTest::addColumn<QRect>("rect");

    QTest::newRow("flat bar") << QSize(300, 8) << QRect(0, 0, 300, 8);
    QTest::newRow("high bar") << QSize(120, 200) << QRect(0, 0, 120, 200);
    QTest::newRow("bar of that height") << QSize(120, 98) << QRect(0, 0, 120, 98);
    QTest::newRow("a part") << QSize(300, 20) << QRect(40, 3, 25, 10);
    QTest::newRow("one pixel") << QSize(300, 20) << QRect(299, 19, 1, 1);
}

void TestWayfarProgressIndicator::theBaseDrawsIntoTheRectangleAtAHeightOf98()
{
    QFETCH(const QSize, frame);
    QFETCH(const QRect, rect);
    Recorded bar;
    bar.showNow(frame);
    bar.repaint(rect);
    QVERIFY(!bar.drawn.isEmpty());
    QCOMPARE(bar.drawn.first().rect, QRect(rect.topLeft(), QSize(rect.width(), 98)));
}

// Drawn as if it were the whole, a part would show a wrong value until the next change.
void TestWayfarProgressIndicator::aPartDrawnAloneIsFollowedByTheWhole()
{
    Recorded bar;
    bar.showNow({300, 20});
    bar.repaint(QRect(10, 0, 20, 20));
    QTRY_COMPARE(bar.drawn.size(), 2);
    QCOMPARE(bar.drawn.last().rect, QRect(0, 0, 300, 98));
}

void TestWayfarProgressIndicator::aPartThatNeverShowsIsNotWaitedFor()
{
    QWidget window;
    window.resize(100, 50);
    Recorded bar;
    bar.setParent(&window);
    bar.setGeometry(50, 10, 300, 20); // most of it lies outside
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCoreApplication::processEvents();
    bar.drawn.clear();
    for (int i = 0; i < 50; ++i)
        QCoreApplication::processEvents();
    QCOMPARE(bar.drawn.size(), 0);
}

void TestWayfarProgressIndicator::theBarLooksLikeThePartOfTheFixedHeight()
{
    Recorded bar;
    bar.resize(300, 40);
    bar.setTextVisible(false);
    bar.setPercentage(60);
    const QImage picture = bar.grab().toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(picture, bar.drawnByTheStyle(QRect(0, 0, 300, 98)));
    QVERIFY(picture != bar.drawnByTheStyle(bar.rect()));
}

void TestWayfarProgressIndicator::aProgressOutOfRangeIsBusyOrFull_data()
{
    QTest::addColumn<double>("percentage");
    QTest::addColumn<int>("maximum"); // 0 as the minimum is a busy bar
    QTest::addColumn<int>("value");

    QTest::newRow("far below 0") << -1.0e300 << 0 << 0;
    QTest::newRow("below 0") << -1.0 << 0 << 0;
    QTest::newRow("just below 0") << -0.001 << 0 << 0;
    QTest::newRow("0") << 0.0 << 100 << 0;
    QTest::newRow("a part") << 42.9 << 100 << 42;
    QTest::newRow("100") << 100.0 << 100 << 100;
    QTest::newRow("above 100") << 100.5 << 100 << 100;
    QTest::newRow("far above 100") << 1.0e300 << 100 << 100;
}

void TestWayfarProgressIndicator::aProgressOutOfRangeIsBusyOrFull()
{
    QFETCH(const double, percentage);
    WayfarProgressIndicator bar;
    for (const int before : {50, -1}) { // also after a busy bar
        bar.setPercentage(before);
        bar.setPercentage(percentage);
        QCOMPARE(bar.minimum(), 0);
        QTEST(bar.maximum(), "maximum");
        QTEST(bar.value(), "value");
    }
}

void TestWayfarProgressIndicator::theBarIsFilledAsFarAsTheValueSays_data()
{
    QTest::addColumn<double>("percentage");
    QTest::addColumn<int>("filled"); // of 200 columns

    QTest::newRow("empty") << 0.0 << 0;
    QTest::newRow("half") << 50.0 << 100;
    QTest::newRow("full") << 100.0 << 200;
    QTest::newRow("more than full") << 250.0 << 200;
}

void TestWayfarProgressIndicator::theBarIsFilledAsFarAsTheValueSays()
{
    QFETCH(const double, percentage);
    WayfarProgressIndicator bar;
    bar.setStyleSheet(twoColours);
    bar.setTextVisible(false);
    bar.resize(200, 8);
    bar.setPercentage(percentage);
    const QImage picture = bar.grab().toImage();
    int filled = 0;
    for (int x = 0; x < picture.width(); ++x)
        filled += picture.pixelColor(x, 4) == QColor(255, 0, 0) ? 1 : 0;
    QTEST(filled, "filled");
}

QTEST_MAIN(TestWayfarProgressIndicator)
#include "TestWayfarProgressIndicator.moc"
