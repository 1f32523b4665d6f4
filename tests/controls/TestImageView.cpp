#include "controls/ImageView.h"

#include "support/Rerun.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QColor left(200, 30, 30);
const QColor right(30, 30, 200);
const QColor around(1, 250, 1);

// One half in one colour and one in another.
QImage halves(const QSize &size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(left);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = size.width() / 2; x < size.width(); ++x)
            image.setPixelColor(x, y, right);
    }
    return image;
}

struct View : ImageView {
    View(const QSize &size, const QImage &image)
    {
        QPalette palette;
        palette.setColor(QPalette::Window, around);
        setPalette(palette);
        resize(size);
        setImage(image);
    }

    QImage picture() { return grab().toImage().convertToFormat(QImage::Format_RGB32); }

    // Where something else than the surroundings is seen.
    QRect drawn()
    {
        const QImage image = picture();
        QRect rect;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixelColor(x, y) != around)
                    rect |= QRect(x, y, 1, 1);
            }
        }
        return rect;
    }
};
} // namespace

class TestImageView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aNewPictureReplacesTheOldOneAndANullOneShowsNothing();
    void thePictureIsScaledDownToTheViewAndNeverUp_data();
    void thePictureIsScaledDownToTheViewAndNeverUp();
    void itGrowsUpToTheScaleThatIsSet();
    void itsCornersAreRound();
    void itAsksForItsRoomWhateverThePicture();
    void thePictureKeepsItsContent();
    void aFinePictureTakesItsLogicalSize();
    void aFineScreenShowsEveryPixelOfAFinePicture();
};

void TestImageView::aNewPictureReplacesTheOldOneAndANullOneShowsNothing()
{
    View view(QSize(60, 30), {});
    QVERIFY(view.image().isNull());
    QVERIFY(view.drawn().isNull());
    view.setImage(halves({60, 30}));
    view.setImage(halves({20, 10}));
    QCOMPARE(view.drawn(), QRect(20, 10, 20, 10));
    view.setImage({});
    QVERIFY(view.drawn().isNull());
}

void TestImageView::thePictureIsScaledDownToTheViewAndNeverUp_data()
{
    QTest::addColumn<QSize>("picture");
    QTest::addColumn<QSize>("view");
    QTest::addColumn<QRect>("drawn");

    QTest::newRow("fits") << QSize(60, 30) << QSize(60, 30) << QRect(0, 0, 60, 30);
    QTest::newRow("smaller: centred, at its own size") << QSize(20, 10) << QSize(60, 30) << QRect(20, 10, 20, 10);
    QTest::newRow("larger: scaled down") << QSize(600, 300) << QSize(60, 30) << QRect(0, 0, 60, 30);
    QTest::newRow("too wide: its height goes along") << QSize(120, 30) << QSize(60, 30) << QRect(0, 7, 60, 15);
    QTest::newRow("too high: its width goes along") << QSize(60, 60) << QSize(60, 30) << QRect(15, 0, 30, 30);
    QTest::newRow("very wide") << QSize(6000, 10) << QSize(60, 30) << QRect(0, 14, 60, 1);
}

void TestImageView::thePictureIsScaledDownToTheViewAndNeverUp()
{
    QFETCH(const QSize, picture);
    QFETCH(const QSize, view);
    QFETCH(const QRect, drawn);
    const QRect rect = View(view, halves(picture)).drawn();
    QCOMPARE(rect.size(), drawn.size());
    QVERIFY2((rect.topLeft() - drawn.topLeft()).manhattanLength() <= 1, "not in the middle");
}

void TestImageView::itGrowsUpToTheScaleThatIsSet()
{
    View view(QSize(60, 30), halves({20, 10}));
    view.setLargestScale(2);
    QCOMPARE(view.drawn(), QRect(10, 5, 40, 20));
    view.setLargestScale(4);
    QCOMPARE(view.drawn(), QRect(0, 0, 60, 30));
}

void TestImageView::itsCornersAreRound()
{
    View view(QSize(60, 30), halves({60, 30}));
    view.setCornerRadius(6);
    QCOMPARE(view.drawn(), QRect(0, 0, 60, 30));
    for (const QPoint &corner : {QPoint(0, 0), QPoint(59, 0), QPoint(0, 29), QPoint(59, 29)})
        QCOMPARE(view.picture().pixelColor(corner), around);
    QCOMPARE(view.picture().pixelColor(10, 10), left);
    QCOMPARE(view.picture().pixelColor(50, 20), right);
}

void TestImageView::itAsksForItsRoomWhateverThePicture()
{
    View view(QSize(60, 30), {});
    view.setRoom({50, 20});
    QCOMPARE(view.sizeHint(), QSize(50, 20));
    view.setImage(halves({600, 300}));
    QCOMPARE(view.sizeHint(), QSize(50, 20));
}

void TestImageView::thePictureKeepsItsContent()
{
    const QImage picture = halves({60, 30});
    QCOMPARE(View(QSize(60, 30), picture).picture(), picture);
    QCOMPARE(View(QSize(60, 30), picture).image(), picture);
    const QImage scaled = View(QSize(60, 30), halves({240, 120})).picture();
    QCOMPARE(scaled.pixelColor(5, 15), left);
    QCOMPARE(scaled.pixelColor(54, 15), right);
}

void TestImageView::aFinePictureTakesItsLogicalSize()
{
    QImage fine = halves({80, 40});
    fine.setDevicePixelRatio(2);
    QCOMPARE(View(QSize(60, 30), fine).drawn(), QRect(10, 5, 40, 20));
}

void TestImageView::aFineScreenShowsEveryPixelOfAFinePicture()
{
    if (!Rerun::isOnAFineScreen())
        return;
    QImage fine = halves({80, 40});
    for (int y = 0; y < 40; y += 2)
        fine.setPixelColor(7, y, Qt::white); // lost if it were scaled down and up again
    fine.setDevicePixelRatio(2);
    View view(QSize(60, 30), fine);
    QCOMPARE(view.drawn(), QRect(20, 10, 80, 40)); // in the screen's pixels
    QImage shown = view.picture().copy(20, 10, 80, 40);
    shown.setDevicePixelRatio(2);
    QCOMPARE(shown, fine);
}

QTEST_MAIN(TestImageView)
#include "TestImageView.moc"
