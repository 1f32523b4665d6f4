#include "controls/SplashScreenView.h"

#include "resources/Pictures.h"
#include "support/Rerun.h"

#include <QPainter>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
// The picture at its own size from the upper left corner on, again and again.
QImage tiled(const QImage &tile, const QSize &size)
{
    const qreal ratio = tile.devicePixelRatio();
    QImage image((QSizeF(size) * ratio).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    const QSize step = tile.deviceIndependentSize().toSize();
    QPainter painter(&image);
    for (int y = 0; y < size.height(); y += step.height()) {
        for (int x = 0; x < size.width(); x += step.width())
            painter.drawImage(x, y, tile);
    }
    return image;
}

QImage grabbed(QWidget &view)
{
    return view.grab().toImage().convertToFormat(QImage::Format_RGB32);
}
} // namespace

class TestSplashScreenView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itAsksForTheSizeOfItsPicture();
    void thePictureIsTiledAndNotScaled_data();
    void thePictureIsTiledAndNotScaled();
    void aPartDrawnAloneFitsIntoTheWhole();
    void aFineScreenShowsTheFinePicture();

private:
    const QImage m_tile = Pictures::imageNamed(u"splash_wayfar5"_s);
};

void TestSplashScreenView::itAsksForTheSizeOfItsPicture()
{
    QVERIFY(!m_tile.isNull());
    QCOMPARE(SplashScreenView().sizeHint(), m_tile.size());
}

void TestSplashScreenView::thePictureIsTiledAndNotScaled_data()
{
    QTest::addColumn<QSizeF>("tiles");

    QTest::newRow("one") << QSizeF(1, 1);
    QTest::newRow("less than one") << QSizeF(0.5, 0.3);
    QTest::newRow("several") << QSizeF(2.25, 1.5);
}

void TestSplashScreenView::thePictureIsTiledAndNotScaled()
{
    QFETCH(const QSizeF, tiles);
    SplashScreenView view;
    view.resize(int(m_tile.width() * tiles.width()), int(m_tile.height() * tiles.height()));
    QCOMPARE(grabbed(view), tiled(m_tile, view.size()));
}

void TestSplashScreenView::aPartDrawnAloneFitsIntoTheWhole()
{
    SplashScreenView view;
    view.resize(m_tile.size() * 2);
    const QRect part(m_tile.width() - 20, m_tile.height() - 10, 50, 40);
    const QImage drawn = view.grab(part).toImage().convertToFormat(QImage::Format_RGB32);
    QCOMPARE(drawn, tiled(m_tile, view.size()).copy(part));
}

void TestSplashScreenView::aFineScreenShowsTheFinePicture()
{
    if (!Rerun::isOnAFineScreen())
        return;
    SplashScreenView view;
    QCOMPARE(m_tile.devicePixelRatio(), 2.0);
    QCOMPARE(view.sizeHint() * 2, m_tile.size());
    view.resize(view.sizeHint() * 1.25);
    QCOMPARE(grabbed(view), tiled(m_tile, view.size()));
}

QTEST_MAIN(TestSplashScreenView)
#include "TestSplashScreenView.moc"
