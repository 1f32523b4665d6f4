#include "support/Answers.h"
#include "support/Program.h"

#include "controls/ImageView.h"
#include "resources/Pictures.h"

#include <QBuffer>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray smallPath = "/installer/banners/small.png";
const QByteArray largePath = "/installer/banners/large.png";

QImage picture(const QSize &size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::magenta);
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

const QImage smallPicture = picture({240, 80});
const QImage largePicture = picture({900, 150});
} // namespace

// From the vendor to the main window.
class TestBanners : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { end(); }

    void eachBannerShowsWhatItsOwnAnswerGives_data();
    void eachBannerShowsWhatItsOwnAnswerGives();
    void theLargeBannerIsShownWhileTheSmallOneIsFetched();

private:
    ImageView &small() { return *delegate().smallImage(); }
    ImageView &large() { return *delegate().largeImage(); }
};

void TestBanners::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().setBanners(png(smallPicture), png(largePicture));
    m_program = std::make_unique<Program>(*m_world);
}

void TestBanners::eachBannerShowsWhatItsOwnAnswerGives_data()
{
    using Answer = std::optional<VendorAnswer>;
    QTest::addColumn<Answer>("smallAnswer"); // nothing: its picture
    QTest::addColumn<Answer>("largeAnswer");
    QTest::addColumn<QImage>("smallImage");
    QTest::addColumn<QImage>("largeImage");
    const Answer page = answerWith("<!DOCTYPE html><html><body><h1>Not found</h1></body></html>");
    const QImage smallBuiltIn = Pictures::imageNamed(u"small"_s);
    const QImage largeBuiltIn = Pictures::imageNamed(u"large"_s);
    QTest::newRow("pictures") << Answer() << Answer() << smallPicture << largePicture;
    QTest::newRow("the small one is broken off") << Answer(brokenOff()) << Answer() << smallBuiltIn << largePicture;
    QTest::newRow("the large one is broken off") << Answer() << Answer(brokenOff()) << smallPicture << largeBuiltIn;
    QTest::newRow("the small one is no picture") << page << Answer() << QImage() << largePicture;
    QTest::newRow("the large one is no picture") << Answer() << page << smallPicture << QImage();
}

void TestBanners::eachBannerShowsWhatItsOwnAnswerGives()
{
    QFETCH(const std::optional<VendorAnswer>, smallAnswer);
    QFETCH(const std::optional<VendorAnswer>, largeAnswer);
    if (smallAnswer)
        m_world->vendor().setAnswer(smallPath, *smallAnswer);
    if (largeAnswer)
        m_world->vendor().setAnswer(largePath, *largeAnswer);
    QVERIFY(m_program->start());
    QTEST(small().image(), "smallImage");
    QTEST(large().image(), "largeImage");
    QVERIFY(m_program->alert.shown.isEmpty());
}

// Before that, both show the built-in pictures.
void TestBanners::theLargeBannerIsShownWhileTheSmallOneIsFetched()
{
    QVERIFY(!Pictures::imageNamed(u"small"_s).isNull());
    VendorAnswer late = answerWith(png(smallPicture));
    late.stallAfter = -1;
    m_world->vendor().setAnswer(smallPath, late);
    delegate().applicationDidFinishLaunching();
    QCOMPARE(large().image(), Pictures::imageNamed(u"large"_s));
    QTRY_COMPARE(m_world->vendor().requests(smallPath).size(), 1);
    QTRY_COMPARE(large().image(), largePicture);
    QCOMPARE(small().image(), Pictures::imageNamed(u"small"_s));
    m_world->vendor().step();
    QTRY_COMPARE(small().image(), smallPicture);
    QVERIFY(m_program->waitForStart());
}

QTEST_MAIN(TestBanners)
#include "TestBanners.moc"
