#include "upgrade/InstallerReplacement.h"

#include "support/OrdinaryProcess.h"
#include "support/Replacement.h"
#include "support/Tree.h"

#include <QTest>

#include <memory>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace
{
// A support folder on another disk than the temporary folder's.
class OtherDisk
{
public:
    explicit OtherDisk(const Replacement &test) : m_folder(u"/dev/shm/replacement-XXXXXX"_s)
    {
        openToAll(m_folder.path());
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_folder.path()));
        QVERIFY(device(m_folder.path()) != device(test.applicationFolder()));
    }
    QString archive() const { return m_folder.filePath(u"WayfarInstaller/download.zip"_s); }
    QString updateFolder() const { return m_folder.filePath(u"WayfarInstaller/update"_s); }

private:
    static dev_t device(const QString &place)
    {
        struct stat status = {};
        ::stat(QFile::encodeName(place).constData(), &status);
        return status.st_dev;
    }

    const QTemporaryDir m_folder;
};
} // namespace

class TestInstallerReplacement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_test = std::make_unique<Replacement>(); }
    void cleanup() { m_test.reset(); }

    void theNewBundleStandsBesideTheRunningOne();
    void theUnpackGoesOverAnEarlierOne();
    void anEarlierReadOnlyFolderDoesNotKeepItsOldContent();
    void oddModesInTheArchiveAskForNoAdministrator_data();
    void oddModesInTheArchiveAskForNoAdministrator();
    void aFileThatNobodyMayReadIsMadeReadable();
    void anArchiveWithoutTheBundleLeavesEverything_data();
    void anArchiveWithoutTheBundleLeavesEverything();
    void theBundleOfAnEarlierUnpackIsTakenWhenTheArchiveHasNone();
    void anExistingDestinationStays_data();
    void anExistingDestinationStays();
    void aBundleWithoutAProgramStaysWhenNoneCame();
    void aBundleWithoutAProgramIsReplaced();
    void aMissingApplicationFolderIsNotMade();
    void anotherDiskGetsACopyAndTheSourceGoes();
    void aRefusalOnAnotherDiskStillReachesTheAdministrator();

private:
    std::unique_ptr<Replacement> m_test;
};

void TestInstallerReplacement::theNewBundleStandsBesideTheRunningOne()
{
    QVERIFY(QDir().rmdir(m_test->updateFolder())); // it is made
    QVERIFY(!m_test->install());
    QCOMPARE(m_test->versionIn(m_test->newBundle()), "1.3.0");
    QVERIFY(QFileInfo(m_test->newBundle() + u"/AppRun"_s).isExecutable());
    QVERIFY(QFile::exists(m_test->runningBundle() + u"/AppRun"_s));
    QVERIFY(!QFile::exists(m_test->unpacked())); // moved
    QVERIFY(QFile::exists(m_test->updateFolder()));
    QVERIFY(QFile::exists(m_test->world.archive()));
}

void TestInstallerReplacement::theUnpackGoesOverAnEarlierOne()
{
    m_test->world.write(m_test->unpacked() + u"/usr/version"_s, "an earlier one");
    m_test->world.write(m_test->unpacked() + u"/usr/left"_s, "of an earlier one");
    m_test->world.write(m_test->unpacked(u"1.2.9"_s) + u"/usr/version"_s, "1.2.9");
    QVERIFY(!m_test->install());
    QCOMPARE(m_test->versionIn(m_test->newBundle()), "1.3.0");
    QVERIFY(QFile::exists(m_test->newBundle() + u"/usr/left"_s)); // the folder is not emptied (docs/kept-on-purpose.md)
    QCOMPARE(m_test->versionIn(m_test->unpacked(u"1.2.9"_s)), "1.2.9");
}

// unzip runs with the player's rights; root's would overwrite anything.
void TestInstallerReplacement::anEarlierReadOnlyFolderDoesNotKeepItsOldContent()
{
    m_test.reset();
    const OrdinaryProcess player;
    Replacement test;
    test.world.write(test.unpacked() + u"/usr/version"_s, "an earlier one");
    QCOMPARE(::chmod(QFile::encodeName(test.unpacked() + u"/usr"_s).constData(), 0555), 0);
    QVERIFY(!test.install());
    QCOMPARE(test.versionIn(test.newBundle()), "1.3.0");
}

void TestInstallerReplacement::oddModesInTheArchiveAskForNoAdministrator_data()
{
    QTest::addColumn<QByteArray>("change"); // in the bundle, before it is packed
    QTest::addColumn<bool>("otherDisk");
    for (const bool otherDisk : {false, true}) {
        const char *const disk = otherDisk ? "another disk" : "the same disk";
        QTest::addRow("the bundle's folder read-only, %s", disk) << QByteArray("chmod 555 .") << otherDisk;
        QTest::addRow("a folder in it read-only, %s", disk) << QByteArray("chmod 555 usr") << otherDisk;
        QTest::addRow("all of it read-only, %s", disk) << QByteArray("chmod -R a-w .") << otherDisk;
    }
}

void TestInstallerReplacement::oddModesInTheArchiveAskForNoAdministrator()
{
    QFETCH(const QByteArray, change);
    QFETCH(const bool, otherDisk);
    m_test.reset();
    const OrdinaryProcess player;
    const QByteArray archive = zipOf("mkdir -p WayfarRoutes_1.3.0.app/usr; cd WayfarRoutes_1.3.0.app; "
                                     "printf 1.3.0 >usr/version; "
                                     + change + "; cd ..");
    Replacement test;
    std::optional<OtherDisk> disk;
    if (otherDisk)
        disk.emplace(test);
    test.world.write(disk ? disk->archive() : test.world.archive(), archive);
    QVERIFY(!test.install(std::nullopt));
    QCOMPARE(test.versionIn(test.newBundle()), "1.3.0");
    QVERIFY(QDir(disk ? disk->updateFolder() : test.updateFolder()).isEmpty());
}

// A copy to another disk would fail with the very code that an administrator is asked for.
void TestInstallerReplacement::aFileThatNobodyMayReadIsMadeReadable()
{
    m_test.reset();
    const OrdinaryProcess player;
    Replacement test;
    const OtherDisk disk(test);
    // Left by an earlier unpack, since no archiver of the player's could pack it.
    test.world.write(disk.archive(), "no archive");
    const QString version = disk.updateFolder() + u'/' + Replacement::nameOf(u"1.3.0"_s) + u"/usr/version"_s;
    test.world.write(version, "1.3.0");
    QCOMPARE(::chmod(QFile::encodeName(version).constData(), 0), 0);
    QVERIFY(!test.install(std::nullopt));
    QCOMPARE(test.versionIn(test.newBundle()), "1.3.0");
}

void TestInstallerReplacement::anArchiveWithoutTheBundleLeavesEverything_data()
{
    using Archive = std::optional<QByteArray>;
    QTest::addColumn<Archive>("archive");
    QTest::newRow("an error page") << Archive("<h1>Not Found</h1>");
    QTest::newRow("none") << Archive();
    QTest::newRow("cut off") << Archive(Replacement::archiveOf(u"1.3.0"_s).left(20));
    QTest::newRow("another version's bundle") << Archive(Replacement::archiveOf(u"1.3"_s));
    QTest::newRow("one level down") << Archive(zipOf("mkdir -p top/WayfarRoutes_1.3.0.app"));
    QTest::newRow("another letter case") << Archive(zipOf("mkdir wayfarroutes_1.3.0.app"));
    QTest::newRow("only its content") << Archive(zipOf(": >AppRun"));
}

// Nobody is asked for a bundle that is not there, also where the application folder is closed.
void TestInstallerReplacement::anArchiveWithoutTheBundleLeavesEverything()
{
    QFETCH(const std::optional<QByteArray>, archive);
    const QByteArrayList before = treeOf(m_test->applicationFolder());
    QVERIFY(!m_test->install(archive));
    m_test->closeApplicationFolder();
    QVERIFY(!m_test->installAsThePlayer(archive));
    QCOMPARE(treeOf(m_test->applicationFolder()), before);
}

void TestInstallerReplacement::theBundleOfAnEarlierUnpackIsTakenWhenTheArchiveHasNone()
{
    m_test->world.write(m_test->unpacked() + u"/usr/version"_s, "an earlier one");
    QVERIFY(!m_test->install("<h1>Not Found</h1>"));
    QCOMPARE(m_test->versionIn(m_test->newBundle()), "an earlier one");
}

void TestInstallerReplacement::anExistingDestinationStays_data()
{
    QTest::addColumn<QByteArray>("before"); // in the application folder
    QTest::newRow("a bundle") << QByteArray(
        "mkdir WayfarRoutes_1.3.0.app; cd WayfarRoutes_1.3.0.app; echo kept >AppRun; chmod +x AppRun");
    QTest::newRow("a file") << QByteArray("echo kept >WayfarRoutes_1.3.0.app");
    QTest::newRow("a dangling link") << QByteArray("ln -s nowhere WayfarRoutes_1.3.0.app");
}

void TestInstallerReplacement::anExistingDestinationStays()
{
    QFETCH(const QByteArray, before);
    runIn(m_test->applicationFolder(), before);
    const QByteArrayList tree = treeOf(m_test->applicationFolder());
    QVERIFY(!m_test->install());
    m_test->closeApplicationFolder();
    QVERIFY(!m_test->installAsThePlayer());
    QCOMPARE(treeOf(m_test->applicationFolder()), tree);
    QCOMPARE(m_test->versionIn(m_test->unpacked()), "1.3.0"); // left where it was unpacked
}

void TestInstallerReplacement::aBundleWithoutAProgramStaysWhenNoneCame()
{
    runIn(m_test->applicationFolder(), "mkdir -p WayfarRoutes_1.3.0.app/usr; echo half >WayfarRoutes_1.3.0.app/usr/x");
    QVERIFY(!m_test->install("no archive"));
    QVERIFY(QFile::exists(m_test->newBundle() + u"/usr/x"_s));
}

void TestInstallerReplacement::aBundleWithoutAProgramIsReplaced()
{
    runIn(m_test->applicationFolder(), "mkdir -p WayfarRoutes_1.3.0.app/usr; echo half >WayfarRoutes_1.3.0.app/usr/x");
    QVERIFY(!m_test->install());
    QCOMPARE(m_test->versionIn(m_test->newBundle()), "1.3.0");
    QVERIFY(!QFile::exists(m_test->newBundle() + u"/usr/x"_s));
}

void TestInstallerReplacement::aMissingApplicationFolderIsNotMade()
{
    QVERIFY(QDir(m_test->applicationFolder()).removeRecursively());
    QVERIFY(!m_test->install());
    QVERIFY(!QFile::exists(m_test->applicationFolder()));
    QCOMPARE(m_test->versionIn(m_test->unpacked()), "1.3.0");
}

void TestInstallerReplacement::anotherDiskGetsACopyAndTheSourceGoes()
{
    const OtherDisk disk(*m_test);
    m_test->world.write(disk.archive(), Replacement::archiveOf(u"1.3.0"_s));
    QVERIFY(!m_test->installAsThePlayer(std::nullopt));
    QCOMPARE(m_test->versionIn(m_test->newBundle()), "1.3.0");
    QVERIFY(QFileInfo(m_test->newBundle() + u"/AppRun"_s).isExecutable());
    QVERIFY(QDir(disk.updateFolder()).isEmpty());
}

void TestInstallerReplacement::aRefusalOnAnotherDiskStillReachesTheAdministrator()
{
    const OtherDisk disk(*m_test);
    m_test->world.write(disk.archive(), Replacement::archiveOf(u"1.3.0"_s));
    m_test->closeApplicationFolder();
    QVERIFY(m_test->installAsThePlayer(std::nullopt));
    QCOMPARE(m_test->administrator.scripts.size(), 1);
    QCOMPARE(m_test->versionIn(m_test->newBundle()), "1.3.0");
    QVERIFY(QFile::exists(disk.updateFolder() + u'/' + Replacement::nameOf(u"1.3.0"_s))); // it is only copied
}

QTEST_GUILESS_MAIN(TestInstallerReplacement)
#include "TestInstallerReplacement.moc"
