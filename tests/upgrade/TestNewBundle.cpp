#include "upgrade/NewBundle.h"

#include "support/Files.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const FilePath update = "/home/rowan/data/WayfarInstaller/update";
const QString running = u"/opt/my games/WayfarRoutes_1.2.6.app"_s;
} // namespace

class TestNewBundle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theVersionIsInTheNameAsItStands();
    void aVersionThatIsNoNameGivesNoPaths();
    void withoutAnUnpackFolderThereIsNoSource();
    void aBundleAtTheRootHasItsNeighbourThere();
    void aProgramInNoBundleLeavesTheFolderAboveItAlone();
    void aProgramBesideBundlesAddsToThem();
};

void TestNewBundle::theVersionIsInTheNameAsItStands()
{
    for (const char *version : {"1.3", "1.3.0", "1 3", "1'3\"", "1\\3", "1%2f3", "%@", "1.3\n", ".."}) {
        const std::string name = std::string("WayfarRoutes_") + version + ".app";
        const NewBundle bundle = NewBundle::of(QString::fromLatin1(version), update, running);
        QCOMPARE(bundle.source, OptionalPath("/home/rowan/data/WayfarInstaller/update/" + name));
        QCOMPARE(bundle.destination, OptionalPath("/opt/my games/" + name));
    }
}

void TestNewBundle::aVersionThatIsNoNameGivesNoPaths()
{
    for (const QString &version :
         {u"/../../1.3"_s, u"../1.3"_s, u"1/3"_s, u"/"_s, u"/etc/x"_s, QString(u"1.3"_s + QChar(0))}) {
        const NewBundle bundle = NewBundle::of(version, update, running);
        QVERIFY2(!bundle.source && !bundle.destination, qPrintable(version));
    }
}

void TestNewBundle::withoutAnUnpackFolderThereIsNoSource()
{
    const NewBundle bundle = NewBundle::of(u"1.3"_s, std::nullopt, running);
    QVERIFY(!bundle.source);
    QVERIFY(bundle.destination);
}

void TestNewBundle::aBundleAtTheRootHasItsNeighbourThere()
{
    QCOMPARE(NewBundle::of(u"1.3"_s, update, u"/Old.app"_s).destination, OptionalPath("/WayfarRoutes_1.3.app"));
}

void TestNewBundle::aProgramInNoBundleLeavesTheFolderAboveItAlone()
{
    const NewBundle bundle = NewBundle::of(u"1.3"_s, update, u"/usr/bin"_s);
    QCOMPARE(bundle.destination, OptionalPath("/home/rowan/data/WayfarInstaller/WayfarRoutes_1.3.app"));
    QVERIFY(!NewBundle::of(u"1.3"_s, std::nullopt, u"/usr/bin"_s).destination);
}

void TestNewBundle::aProgramBesideBundlesAddsToThem()
{
    const QTemporaryDir games;
    const FilePath folder = toPath(games.path());
    makeFile(folder / "WayfarRoutes_1.2.5.app/AppRun", "#!/bin/sh\n", 0755);
    QCOMPARE(NewBundle::of(u"1.3"_s, update, games.path()).destination, OptionalPath(folder / "WayfarRoutes_1.3.app"));
}

QTEST_GUILESS_MAIN(TestNewBundle)
#include "TestNewBundle.moc"
