#include "platform/Bundle.h"
#include "platform/FileManager.h"

#include "support/Rerun.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestBundle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void thePathIsTheEnclosingBundle_data();
    void thePathIsTheEnclosingBundle();
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
        QCOMPARE(toText(Bundle::running()), qEnvironmentVariable("WAYFAR_TEST_BUNDLE"));
        return;
    }
    QFETCH(const QString, folder);
    QFETCH(const QString, bundle);
    const QTemporaryDir world;
    const QString program = world.filePath(folder + u"/program"_s);
    QVERIFY(QDir().mkpath(QFileInfo(program).path()));
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), program));
    Rerun::verifyPasses({}, {{u"WAYFAR_TEST_BUNDLE"_s, world.filePath(bundle)}}, program);
}

QTEST_GUILESS_MAIN(TestBundle)
#include "TestBundle.moc"
