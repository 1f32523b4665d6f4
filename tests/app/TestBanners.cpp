#include "support/Program.h"

#include "controls/CursorButtons.h"
#include "controls/ImageView.h"
#include "resources/Pictures.h"

#include <QBuffer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray smallPath = "/installer/banners/small.png";
const QByteArray largePath = "/installer/banners/large.png";
const QColor paint(255, 0, 255); // nothing else in the window has it

QImage picture(const QSize &size = {240, 80})
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(paint);
    return image;
}

QByteArray png(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

VendorAnswer reset()
{
    VendorAnswer answer;
    answer.resetAfter = -1;
    return answer;
}

VendorAnswer errorPage()
{
    VendorAnswer answer;
    answer.contentType = "text/html";
    answer.body = "<!DOCTYPE html><html><body><h1>Not found</h1></body></html>";
    return answer;
}

// Where the widget shows the picture's colour; a scaled edge may be a little off it.
QRect painted(QWidget &widget)
{
    const QImage shown = widget.grab().toImage();
    QRect found;
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x) {
            const QColor colour = shown.pixelColor(x, y);
            if (colour.red() > 200 && colour.green() < 60 && colour.blue() > 200)
                found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

bool isNear(const QRect &actual, const QRect &expected)
{
    return std::abs(actual.left() - expected.left()) <= 1 && std::abs(actual.right() - expected.right()) <= 1
        && std::abs(actual.top() - expected.top()) <= 1 && std::abs(actual.bottom() - expected.bottom()) <= 1;
}
} // namespace

// From the vendor to the main window.
class TestBanners : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theLargeBannerComesFirst();
    void theLargeBannerIsShownWhileTheSmallOneIsFetched();
    void aBannerThatCannotBeFetchedShowsTheBuiltInPicture_data();
    void aBannerThatCannotBeFetchedShowsTheBuiltInPicture();
    void aBannerThatIsNoPictureStaysEmpty_data();
    void aBannerThatIsNoPictureStaysEmpty();
    void bannersAreScaledDownWithoutDistortion_data();
    void bannersAreScaledDownWithoutDistortion();
    void bothBannersOpenTheRedirectPage_data();
    void bothBannersOpenTheRedirectPage();

private:
    AppDelegate &delegate() { return m_program->delegate; }
    VendorServer &vendor() { return m_world->vendor(); }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

void TestBanners::init()
{
    m_world = std::make_unique<TestWorld>();
    m_program = std::make_unique<Program>(*m_world);
    vendor().setBanners(png(picture()), png(picture({900, 150})));
}

void TestBanners::cleanup()
{
    m_program.reset();
    m_world.reset();
}

void TestBanners::theLargeBannerComesFirst()
{
    QVERIFY(m_program->start());
    QList<QByteArray> paths;
    for (const VendorRequest &request : vendor().requests()) {
        if (request.path == "/feed" || request.path == smallPath || request.path == largePath)
            paths.append(request.path);
    }
    QCOMPARE(paths, (QList<QByteArray>{"/feed", largePath, smallPath}));
    QCOMPARE(delegate().largeImage()->image(), picture({900, 150}));
    QCOMPARE(delegate().smallImage()->image(), picture());
}

void TestBanners::theLargeBannerIsShownWhileTheSmallOneIsFetched()
{
    VendorAnswer late;
    late.body = png(picture());
    late.stallAfter = -1;
    vendor().setAnswer(smallPath, late);
    delegate().applicationDidFinishLaunching();
    QTRY_COMPARE(vendor().requests(smallPath).size(), 1);
    QTRY_COMPARE(delegate().largeImage()->image(), picture({900, 150}));
    QCOMPARE(delegate().smallImage()->image(), Pictures::imageNamed(u"small"_s));
    vendor().step();
    QTRY_COMPARE(delegate().smallImage()->image(), picture());
    QTRY_VERIFY(!delegate().isStarting());
}

void TestBanners::aBannerThatCannotBeFetchedShowsTheBuiltInPicture_data()
{
    QTest::addColumn<bool>("small");
    QTest::addColumn<bool>("large");
    QTest::newRow("small") << true << false;
    QTest::newRow("large") << false << true;
    QTest::newRow("both") << true << true;
}

void TestBanners::aBannerThatCannotBeFetchedShowsTheBuiltInPicture()
{
    QFETCH(const bool, small);
    QFETCH(const bool, large);
    if (small)
        vendor().setAnswer(smallPath, reset());
    if (large)
        vendor().setAnswer(largePath, reset());
    QVERIFY(m_program->start());
    QCOMPARE(delegate().smallImage()->image(), small ? Pictures::imageNamed(u"small"_s) : picture());
    QCOMPARE(delegate().largeImage()->image(), large ? Pictures::imageNamed(u"large"_s) : picture({900, 150}));
    QVERIFY(m_program->alert.shown.isEmpty());
}

void TestBanners::aBannerThatIsNoPictureStaysEmpty_data()
{
    aBannerThatCannotBeFetchedShowsTheBuiltInPicture_data();
}

void TestBanners::aBannerThatIsNoPictureStaysEmpty()
{
    QFETCH(const bool, small);
    QFETCH(const bool, large);
    if (small)
        vendor().setAnswer(smallPath, errorPage());
    if (large)
        vendor().setAnswer(largePath, errorPage());
    QVERIFY(m_program->start());
    for (const auto &[view, empty] : {std::pair(delegate().smallImage(), small), {delegate().largeImage(), large}}) {
        QCOMPARE(view->image().isNull(), empty);
        QCOMPARE(painted(*view).isNull(), empty);
    }
    QVERIFY(m_program->alert.shown.isEmpty());
}

void TestBanners::bannersAreScaledDownWithoutDistortion_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("wide") << QSize(3000, 300);
    QTest::newRow("high") << QSize(300, 3000);
    QTest::newRow("square") << QSize(1000, 1000);
    QTest::newRow("small enough") << QSize(60, 20);
}

void TestBanners::bannersAreScaledDownWithoutDistortion()
{
    QFETCH(const QSize, size);
    vendor().setBanners(png(picture(size)), png(picture(size)));
    QVERIFY(m_program->start());
    for (const QSize &windowSize : {QSize(860, 600), QSize(1000, 720), QSize(1600, 1000)}) {
        delegate().window()->resize(windowSize);
        QTRY_COMPARE(delegate().window()->size(), windowSize);
        for (ImageView *view : {delegate().smallImage(), delegate().largeImage()}) {
            QRect expected(QPoint(), size.scaled(size.boundedTo(view->size()), Qt::KeepAspectRatio));
            expected.moveCenter(view->rect().center());
            QVERIFY2(isNear(painted(*view), expected), qPrintable(view->objectName()));
        }
    }
}

void TestBanners::bothBannersOpenTheRedirectPage_data()
{
    QTest::addColumn<bool>("opens");
    QTest::newRow("a browser that opens it") << true;
    QTest::newRow("no browser, which changes nothing") << false;
}

void TestBanners::bothBannersOpenTheRedirectPage()
{
    QFETCH(const bool, opens);
    m_program->workspace.opens = opens;
    vendor().setAnswer(smallPath, errorPage()); // an empty one works, too
    QVERIFY(m_program->start());
    const auto status = delegate().statusStr();
    QTest::mouseClick(delegate().button1(), Qt::LeftButton);
    QTest::mouseClick(delegate().button2(), Qt::LeftButton);
    const QUrl page(u"https://www.wayfar.example/installer/redirect.php"_s);
    QCOMPARE(m_program->workspace.urls, (QList<QUrl>{page, page}));
    QCOMPARE(delegate().button1()->geometry(), delegate().largeImage()->rect()); // the whole picture is the button
    QCOMPARE(delegate().button2()->geometry(), delegate().smallImage()->rect());
    QCOMPARE(delegate().statusStr(), status);
    QVERIFY(m_program->alert.shown.isEmpty());
}

QTEST_MAIN(TestBanners)
#include "TestBanners.moc"
