#include "resources/Pictures.h"

#include "support/Rerun.h"

#include <QIcon>
#include <QTest>

using namespace Qt::StringLiterals;

class TestPictures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void picturesAreFoundByTheirNames_data();
    void picturesAreFoundByTheirNames();
    void anUnknownPictureIsNull();
    void aFineScreenGetsTheFinePicture();
    void theIconComesInEverySize();
};

void TestPictures::picturesAreFoundByTheirNames_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("splash") << u"splash_wayfar5"_s;
    QTest::newRow("small banner") << u"small"_s;
    QTest::newRow("large banner") << u"large"_s;
}

void TestPictures::picturesAreFoundByTheirNames()
{
    QFETCH(const QString, name);
    const QImage picture = Pictures::imageNamed(name);
    QVERIFY(!picture.isNull());
    QCOMPARE(picture.devicePixelRatio(), 1.0);
    QCOMPARE(picture, QImage(u":/%1.png"_s.arg(name)));
}

void TestPictures::anUnknownPictureIsNull()
{
    QVERIFY(Pictures::imageNamed(u"nothing"_s).isNull());
    QVERIFY(Pictures::imageNamed(u""_s).isNull());
}

void TestPictures::aFineScreenGetsTheFinePicture()
{
    if (!Rerun::isRerun()) {
        Rerun::verifyPasses({}, {{u"QT_SCALE_FACTOR"_s, u"2"_s}});
        return;
    }
    for (const QString &name : {u"splash_wayfar5"_s, u"small"_s, u"large"_s}) {
        const QImage picture = Pictures::imageNamed(name);
        const QImage coarse(u":/%1.png"_s.arg(name));
        QCOMPARE(picture.devicePixelRatio(), 2.0);
        QCOMPARE(picture.size(), coarse.size() * 2);
        QCOMPARE(picture.deviceIndependentSize().toSize(), coarse.size());
    }
}

void TestPictures::theIconComesInEverySize()
{
    const QIcon icon = Pictures::icon();
    for (const int size : {16, 32, 48, 64, 128, 256})
        QVERIFY(icon.availableSizes().contains(QSize(size, size)));
}

QTEST_MAIN(TestPictures)
#include "TestPictures.moc"
