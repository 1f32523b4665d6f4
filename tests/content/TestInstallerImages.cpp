#include "content/InstallerImages.h"

#include "resources/Pictures.h"
#include "support/Outages.h"

#include <QBuffer>
#include <QImageWriter>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray smallPath = "/installer/banners/small.png";
const QByteArray largePath = "/installer/banners/large.png";

QImage picture(const QSize &size = {120, 30}, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(size, format);
    image.fill(QColor(40, 120, 110));
    return image;
}

QByteArray encoded(const QImage &image, const QByteArray &format = "png")
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, format).write(image);
    return bytes;
}

// A picture of one dark pixel; Qt reads the format and does not write it.
const QByteArray gif = QByteArray::fromHex("47494638396101000100800000000000ffffff2c00000000010001000002024401003b");

const QByteArray svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"120\" height=\"30\">"
                       "<rect width=\"120\" height=\"30\" fill=\"red\"/></svg>";

} // namespace

class TestInstallerImages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<TestWorld>(); }
    void cleanup() { m_world.reset(); }

    void eachBannerComesFromItsOwnAddress();
    void theBytesComeAsTheVendorSentThem();
    void anAddressThatCannotBeAskedGivesNothing();
    void picturesAreDecodedWhateverTheirNameTypeAndStatus_data();
    void picturesAreDecodedWhateverTheirNameTypeAndStatus();
    void whatIsNoPictureLeavesTheBannerEmpty_data();
    void whatIsNoPictureLeavesTheBannerEmpty();
    void aBannerHasAtMostSixteenMillionPixels_data();
    void aBannerHasAtMostSixteenMillionPixels();
    void aTransportErrorGivesTheBuiltInPicture_data();
    void aTransportErrorGivesTheBuiltInPicture();
    void nothingIsRetriedOrKept();

private:
    QImage small() { return InstallerImages::downloadSmallImage(m_world->loader(), m_world->site()); }
    QImage large() { return InstallerImages::downloadLargeImage(m_world->loader(), m_world->site()); }

    std::unique_ptr<TestWorld> m_world;
};

void TestInstallerImages::eachBannerComesFromItsOwnAddress()
{
    const QImage one = picture({10, 20});
    const QImage two = picture({30, 40});
    m_world->vendor().setBanners(encoded(one), encoded(two));
    QCOMPARE(small(), one);
    QCOMPARE(large(), two);
    QCOMPARE(askedOf(m_world->vendor()),
             (QList<QByteArray>{"GET wayfar.example/installer/banners/small.png",
                                "GET wayfar.example/installer/banners/large.png"}));
}

void TestInstallerImages::theBytesComeAsTheVendorSentThem()
{
    const QList<VendorAnswer> answers = {answerWith(encoded(picture())), answerWith(""),
                                         answerWith(QByteArray("<html>Not found\0</html>", 23), 404),
                                         answerWith("broken", 500)};
    for (const VendorAnswer &answer : answers) {
        m_world->vendor().setAnswer("/any", answer);
        QCOMPARE(InstallerImages::downloadImage(m_world->loader(), u"https://wayfar.example/any"_s),
                 std::optional(answer.body));
    }
}

void TestInstallerImages::anAddressThatCannotBeAskedGivesNothing()
{
    for (const QString &url :
         {QString(), u"not an address"_s, u"http://wayfar.example/any"_s, u"file:///etc/hostname"_s})
        QCOMPARE(InstallerImages::downloadImage(m_world->loader(), url), std::nullopt);
    QVERIFY(m_world->vendor().requests().isEmpty());
}

void TestInstallerImages::picturesAreDecodedWhateverTheirNameTypeAndStatus_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QSize>("size");
    QTest::newRow("PNG") << encoded(picture()) << QSize(120, 30);
    QTest::newRow("PNG that one sees through") << encoded(picture({50, 40}, QImage::Format_ARGB32)) << QSize(50, 40);
    QTest::newRow("JPEG") << encoded(picture(), "jpeg") << QSize(120, 30);
    QTest::newRow("BMP") << encoded(picture(), "bmp") << QSize(120, 30);
    QTest::newRow("GIF") << gif << QSize(1, 1);
    QTest::newRow("bytes behind the picture") << encoded(picture()) + "more" << QSize(120, 30);
}

void TestInstallerImages::picturesAreDecodedWhateverTheirNameTypeAndStatus()
{
    QFETCH(const QByteArray, body);
    QFETCH(const QSize, size);
    for (const char *type : {"image/png", "text/html", "image/svg+xml"}) {
        VendorAnswer answer = answerWith(body, 404);
        answer.contentType = type;
        m_world->vendor().setAnswer(smallPath, answer);
        QCOMPARE(small().size(), size);
    }
}

void TestInstallerImages::whatIsNoPictureLeavesTheBannerEmpty_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("no bytes at all") << QByteArray("");
    QTest::newRow("an HTML page") << QByteArray("<!DOCTYPE html><html><body>Not found</body></html>");
    QTest::newRow("a PNG's first bytes") << encoded(picture()).first(20);
    QTest::newRow("half a PNG") << encoded(picture({300, 300})).chopped(encoded(picture({300, 300})).size() / 2);
    QByteArray damaged = encoded(picture());
    damaged[20] = static_cast<char>(damaged[20] ^ 0x55);
    QTest::newRow("a damaged PNG") << damaged;
    QTest::newRow("a drawing, which could name files of this machine") << svg;
    QTest::newRow("a drawing with a declaration") << "<?xml version=\"1.0\"?>\n" + svg;
    QTest::newRow("a pixel map in text") << QByteArray("P1\n2 2\n1 0\n0 1\n");
    QTest::newRow("an icon") << QByteArray::fromHex("00000100010010100000010020006804000016000000");
}

void TestInstallerImages::whatIsNoPictureLeavesTheBannerEmpty()
{
    QFETCH(const QByteArray, body);
    m_world->vendor().setAnswer(smallPath, answerWith(body));
    m_world->vendor().setAnswer(largePath, answerWith(body));
    QVERIFY(small().isNull());
    QVERIFY(large().isNull());
}

void TestInstallerImages::aBannerHasAtMostSixteenMillionPixels_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("shown");
    QTest::newRow("as many") << QSize(4096, 4096) << true;
    QTest::newRow("a row more") << QSize(4096, 4097) << false;
    QTest::newRow("a few kilobytes that become half a gigabyte") << QSize(16384, 8192) << false;
    QTest::newRow("a long strip") << QSize(32000, 2) << true;
}

void TestInstallerImages::aBannerHasAtMostSixteenMillionPixels()
{
    QFETCH(const QSize, size);
    QFETCH(const bool, shown);
    const QByteArray body = encoded(picture(size, QImage::Format_Mono));
    QCOMPARE_LT(body.size(), 1024 * 1024);
    m_world->vendor().setAnswer(largePath, answerWith(body));
    QCOMPARE(large().size(), shown ? size : QSize(0, 0));
}

void TestInstallerImages::aTransportErrorGivesTheBuiltInPicture_data()
{
    addOutages(encoded(picture()));
}

void TestInstallerImages::aTransportErrorGivesTheBuiltInPicture()
{
    QFETCH(const Outage, outage);
    outage.strike(*m_world, smallPath);
    QCOMPARE(standardErrorOf([this] { QCOMPARE(small(), Pictures::imageNamed(u"small"_s)); }), QByteArray());
}

void TestInstallerImages::nothingIsRetriedOrKept()
{
    m_world->vendor().queueAnswer(largePath, brokenOff());
    m_world->vendor().setAnswer(largePath, answerWith(encoded(picture())));
    const QImage builtIn = Pictures::imageNamed(u"large"_s);
    QVERIFY(!builtIn.isNull());
    QVERIFY(builtIn.size() != Pictures::imageNamed(u"small"_s).size());
    QCOMPARE(large(), builtIn);
    QCOMPARE(m_world->vendor().requests().size(), 1);
    QCOMPARE(large(), picture());
    QCOMPARE(large(), picture());
    QCOMPARE(m_world->vendor().requests().size(), 3);
    QVERIFY(!QFile::exists(m_world->supportFolder()));
}

QTEST_GUILESS_MAIN(TestInstallerImages)
#include "TestInstallerImages.moc"
