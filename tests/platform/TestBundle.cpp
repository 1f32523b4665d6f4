#include "platform/Bundle.h"

#include "support/Rerun.h"

#include <QDir>
#include <QFile>
#include <QIcon>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestBundle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void thePathIsTheEnclosingBundle_data();
    void thePathIsTheEnclosingBundle();
    void theVersionIsTheOneThatMainSet();
    void picturesAreFoundByTheirNames_data();
    void picturesAreFoundByTheirNames();
    void anUnknownPictureIsNull();
    void aFineScreenGetsTheFinePicture();
    void theIconComesInEverySize();
};

void TestBundle::thePathIsTheEnclosingBundle_data()
{
    QTest::addColumn<QString>("folder"); // of the executable
    QTest::addColumn<QString>("bundle");

    QTest::newRow("directly in it") << u"Wayfar.app"_s << u"Wayfar.app"_s;
    QTest::newRow("some folders deeper") << u"Wayfar Installer.app/usr/bin"_s << u"Wayfar Installer.app"_s;
    QTest::newRow("the innermost of two") << u"Outer.app/Inner.app/bin"_s << u"Outer.app/Inner.app"_s;
    QTest::newRow("no bundle") << u"opt/bin"_s << u"opt/bin"_s;
    QTest::newRow("a name that only has it inside") << u"x.apple/my.app.d"_s << u"x.apple/my.app.d"_s;
}

void TestBundle::thePathIsTheEnclosingBundle()
{
    if (Rerun::isRerun()) {
        QCOMPARE(Bundle::path(), qEnvironmentVariable("WAYFAR_TEST_BUNDLE"));
        return;
    }
    QFETCH(const QString, folder);
    QFETCH(const QString, bundle);
    const QTemporaryDir world;
    const QString program = world.filePath(folder + u"/program"_s);
    QVERIFY(QDir().mkpath(QFileInfo(program).path()));
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), program));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"WAYFAR_TEST_BUNDLE"_s, world.filePath(bundle));
    const auto result = Rerun::run({}, environment, program);
    QVERIFY2(result.status == 0, result.output.constData());
}

void TestBundle::theVersionIsTheOneThatMainSet()
{
    QCoreApplication::setApplicationVersion(u"1.2.10"_s);
    QCOMPARE(Bundle::version(), u"1.2.10"_s);
}

void TestBundle::picturesAreFoundByTheirNames_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("splash") << u"splash_wayfar5"_s;
    QTest::newRow("small banner") << u"small"_s;
    QTest::newRow("large banner") << u"large"_s;
}

void TestBundle::picturesAreFoundByTheirNames()
{
    QFETCH(const QString, name);
    const QImage picture = Bundle::imageNamed(name);
    QVERIFY(!picture.isNull());
    QCOMPARE(picture.devicePixelRatio(), 1.0);
    QCOMPARE(picture, QImage(u":/%1.png"_s.arg(name)));
}

void TestBundle::anUnknownPictureIsNull()
{
    QVERIFY(Bundle::imageNamed(u"nothing"_s).isNull());
    QVERIFY(Bundle::imageNamed(u""_s).isNull());
}

void TestBundle::aFineScreenGetsTheFinePicture()
{
    if (!Rerun::isRerun()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QT_SCALE_FACTOR"_s, u"2"_s);
        const auto result = Rerun::run({}, environment);
        QVERIFY2(result.status == 0, result.output.constData());
        return;
    }
    for (const QString &name : {u"splash_wayfar5"_s, u"small"_s, u"large"_s}) {
        const QImage picture = Bundle::imageNamed(name);
        const QImage coarse(u":/%1.png"_s.arg(name));
        QCOMPARE(picture.devicePixelRatio(), 2.0);
        QCOMPARE(picture.size(), coarse.size() * 2);
        QCOMPARE(picture.deviceIndependentSize().toSize(), coarse.size());
    }
}

void TestBundle::theIconComesInEverySize()
{
    const QIcon icon = Bundle::icon();
    for (const int size : {16, 32, 48, 64, 128, 256})
        QVERIFY(icon.availableSizes().contains(QSize(size, size)));
}

QTEST_MAIN(TestBundle)
#include "TestBundle.moc"
