#include "support/OrdinaryProcess.h"
#include "support/Replacement.h"

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace
{
// A support folder on another disk than the temporary folder's.
class OtherDisk
{
public:
    OtherDisk() : m_folder(u"/dev/shm/replacement-XXXXXX"_s)
    {
        ::chmod(path().constData(), 0777);
        qputenv("XDG_DATA_HOME", path());
    }
    QByteArray path() const { return QFile::encodeName(m_folder.path()); }
    QString updateFolder() const { return m_folder.filePath(u"WayfarInstaller/update"_s); }
    bool isOtherThan(const QString &place) const
    {
        struct stat ours = {};
        struct stat theirs = {};
        return ::stat(path().constData(), &ours) == 0 && ::stat(QFile::encodeName(place).constData(), &theirs) == 0
            && ours.st_dev != theirs.st_dev;
    }

private:
    const QTemporaryDir m_folder;
};
} // namespace

class TestInstallerReplacement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_test = std::make_unique<Replacement>(); }
    void cleanup() { m_test.reset(); }

    void theNewBundleStandsBesideTheRunningOneAndIsStarted();
    void aMissingUpdateFolderIsMade();
    void theUnpackGoesOverAnEarlierOne();
    void anEarlierReadOnlyFolderDoesNotKeepItsOldContent();
    void oddModesInTheArchiveAskForNoAdministrator_data();
    void oddModesInTheArchiveAskForNoAdministrator();
    void aFileThatNobodyMayReadIsMadeReadable();
    void anArchiveWithoutTheBundleLeavesEverything_data();
    void anArchiveWithoutTheBundleLeavesEverything();
    void theBundleOfAnEarlierUnpackIsTakenWhenTheArchiveHasNone();
    void anExistingDestinationStaysAndIsStarted_data();
    void anExistingDestinationStaysAndIsStarted();
    void aMissingApplicationFolderIsNotMade();
    void withoutASupportFolderItEndsInOrder();
    void anotherDiskGetsACopyAndTheSourceGoes();
    void aRefusalOnAnotherDiskStillReachesTheAdministrator();

private:
    void closeIf(bool closed)
    {
        if (closed)
            m_test->closeApplicationFolder();
    }

    std::unique_ptr<Replacement> m_test;
};

void TestInstallerReplacement::theNewBundleStandsBesideTheRunningOneAndIsStarted()
{
    m_test->install(u"1.3.0"_s, Replacement::archiveOf(u"1.3.0"_s));
    QCOMPARE(m_test->journal, m_test->launchThenEnd(u"1.3.0"_s));
    QCOMPARE(m_test->versionIn(m_test->newBundle(u"1.3.0"_s)), "1.3.0");
    QTRY_VERIFY(QFile::exists(m_test->newBundle(u"1.3.0"_s) + u"/AppRun.started"_s)); // it runs
    QVERIFY(QFile::exists(m_test->runningBundle() + u"/AppRun"_s));
    QVERIFY(!QFile::exists(m_test->unpacked(u"1.3.0"_s))); // moved
    QVERIFY(QFile::exists(m_test->updateFolder()));
    QVERIFY(QFile::exists(m_test->world.archive()));
}

void TestInstallerReplacement::aMissingUpdateFolderIsMade()
{
    QVERIFY(QDir().rmdir(m_test->updateFolder()));
    m_test->install(u"1.3.0"_s, Replacement::archiveOf(u"1.3.0"_s));
    QVERIFY(QFile::exists(m_test->updateFolder()));
    QCOMPARE(m_test->versionIn(m_test->newBundle(u"1.3.0"_s)), "1.3.0");
}

void TestInstallerReplacement::theUnpackGoesOverAnEarlierOne()
{
    m_test->world.write(m_test->unpacked(u"1.3.0"_s) + u"/usr/version"_s, "an earlier one");
    m_test->world.write(m_test->unpacked(u"1.3.0"_s) + u"/usr/left"_s, "of an earlier one");
    m_test->world.write(m_test->unpacked(u"1.2.9"_s) + u"/usr/version"_s, "1.2.9");
    m_test->install(u"1.3.0"_s, Replacement::archiveOf(u"1.3.0"_s));
    QCOMPARE(m_test->journal, m_test->launchThenEnd(u"1.3.0"_s));
    QCOMPARE(m_test->versionIn(m_test->newBundle(u"1.3.0"_s)), "1.3.0");
    QVERIFY(QFile::exists(m_test->newBundle(u"1.3.0"_s) + u"/usr/left"_s)); // the folder is not emptied: agreed
    QCOMPARE(m_test->versionIn(m_test->unpacked(u"1.2.9"_s)), "1.2.9");
}

// unzip runs with the player's rights; root's would overwrite anything.
void TestInstallerReplacement::anEarlierReadOnlyFolderDoesNotKeepItsOldContent()
{
    m_test.reset();
    const OrdinaryProcess player;
    Replacement test;
    const QString folder = test.unpacked(u"1.3.0"_s) + u"/usr"_s;
    test.world.write(folder + u"/version"_s, "an earlier one");
    QCOMPARE(::chmod(QFile::encodeName(folder).constData(), 0555), 0);
    test.install(u"1.3.0"_s, Replacement::archiveOf(u"1.3.0"_s));
    QCOMPARE(test.journal, test.launchThenEnd(u"1.3.0"_s));
    QCOMPARE(test.versionIn(test.newBundle(u"1.3.0"_s)), "1.3.0");
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
                                     "printf '#!/bin/sh\\n' >AppRun; chmod 755 AppRun; "
                                     "printf 1.3.0 >usr/version; "
                                     + change + "; cd ..");
    Replacement test;
    std::optional<OtherDisk> disk;
    if (otherDisk)
        disk.emplace();
    test.world.write((disk ? disk->updateFolder() : test.updateFolder()) + u"/../download.zip"_s, archive);
    test.install(u"1.3.0"_s, std::nullopt);
    QCOMPARE(test.journal, test.launchThenEnd(u"1.3.0"_s));
    QCOMPARE(test.versionIn(test.newBundle(u"1.3.0"_s)), "1.3.0");
    QVERIFY(QDir(disk ? disk->updateFolder() : test.updateFolder()).isEmpty());
}

// A copy to another disk would fail with the very code that an administrator is asked for.
void TestInstallerReplacement::aFileThatNobodyMayReadIsMadeReadable()
{
    m_test.reset();
    const OrdinaryProcess player;
    Replacement test;
    const OtherDisk disk;
    // Left by an earlier unpack, since no archiver of the player's could pack it.
    test.world.write(disk.updateFolder() + u"/../download.zip"_s, "no archive");
    const QString unpacked = disk.updateFolder() + u'/' + Replacement::nameOf(u"1.3.0"_s);
    test.world.write(unpacked + u"/usr/version"_s, "1.3.0");
    QCOMPARE(::chmod(QFile::encodeName(unpacked + u"/usr/version"_s).constData(), 0), 0);
    test.install(u"1.3.0"_s, std::nullopt);
    QCOMPARE(test.journal, test.launchThenEnd(u"1.3.0"_s));
    QCOMPARE(test.versionIn(test.newBundle(u"1.3.0"_s)), "1.3.0");
}

void TestInstallerReplacement::anArchiveWithoutTheBundleLeavesEverything_data()
{
    QTest::addColumn<std::optional<QByteArray>>("archive");
    QTest::addColumn<bool>("closed");
    using Archive = std::optional<QByteArray>;
    const QByteArray whole = Replacement::archiveOf(u"1.3.0"_s);
    const std::pair<const char *, Archive> archives[] = {
        {"an error page", "<h1>Not Found</h1>"},
        {"empty", ""},
        {"none", std::nullopt},
        {"cut off", whole.left(20)},
        {"another version's bundle", Replacement::archiveOf(u"1.3"_s)},
        {"one level down", zipOf("mkdir -p top/WayfarRoutes_1.3.0.app; : >top/WayfarRoutes_1.3.0.app/AppRun")},
        {"another letter case", zipOf("mkdir wayfarroutes_1.3.0.app")},
        {"only its content", zipOf(": >AppRun")},
    };
    for (const auto &[name, archive] : archives) {
        QTest::addRow("%s", name) << archive << false;
        QTest::addRow("%s, application folder closed", name) << archive << true;
    }
}

void TestInstallerReplacement::anArchiveWithoutTheBundleLeavesEverything()
{
    QFETCH(const std::optional<QByteArray>, archive);
    QFETCH(const bool, closed);
    closeIf(closed);
    m_test->installAsThePlayer(u"1.3.0"_s, archive);
    QCOMPARE(m_test->journal, m_test->launchThenEnd(u"1.3.0"_s)); // of nothing: it fails without a word
    QCOMPARE(QDir(m_test->applicationFolder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{Replacement::nameOf(u"1.2.6"_s)});
}

void TestInstallerReplacement::theBundleOfAnEarlierUnpackIsTakenWhenTheArchiveHasNone()
{
    m_test->world.write(m_test->unpacked(u"1.3.0"_s) + u"/usr/version"_s, "an earlier one");
    m_test->install(u"1.3.0"_s, "<h1>Not Found</h1>");
    QCOMPARE(m_test->journal, m_test->launchThenEnd(u"1.3.0"_s));
    QCOMPARE(m_test->versionIn(m_test->newBundle(u"1.3.0"_s)), "an earlier one");
}

void TestInstallerReplacement::anExistingDestinationStaysAndIsStarted_data()
{
    QTest::addColumn<QString>("commands"); // that make it
    QTest::addColumn<QString>("content"); // of it, afterwards
    QTest::addColumn<bool>("closed");
    const std::pair<QString, QString> rows[] = {
        {u"mkdir -p \"$0/usr\"; echo kept >\"$0/usr/version\""_s, u"usr version kept"_s},
        {u"mkdir \"$0\""_s, u""_s},
        {u"echo kept >\"$0\""_s, u"kept"_s},
        {u"ln -s nowhere \"$0\""_s, u"nowhere"_s},
    };
    const char *const names[] = {"a bundle", "an empty folder", "a file", "a dangling link"};
    for (int row = 0; row < 4; ++row) {
        QTest::addRow("%s", names[row]) << rows[row].first << rows[row].second << false;
        QTest::addRow("%s, application folder closed", names[row]) << rows[row].first << rows[row].second << true;
    }
}

void TestInstallerReplacement::anExistingDestinationStaysAndIsStarted()
{
    QFETCH(const QString, commands);
    QFETCH(const bool, closed);
    const QString destination = m_test->newBundle(u"1.3.0"_s);
    QCOMPARE(QProcess::execute(u"/bin/sh"_s, {u"-ec"_s, commands, destination}), 0);
    closeIf(closed);
    m_test->installAsThePlayer(u"1.3.0"_s, Replacement::archiveOf(u"1.3.0"_s));
    QCOMPARE(m_test->journal, m_test->launchThenEnd(u"1.3.0"_s));
    QProcess look;
    look.start(u"/bin/sh"_s,
               {u"-c"_s,
                u"if [ -L \"$0\" ]; then readlink \"$0\"; elif [ -d \"$0\" ]; then cd \"$0\"; ls; ls *; cat */*; "
                "else cat \"$0\"; fi 2>/dev/null"_s,
                destination});
    look.waitForFinished();
    const QString found = QString::fromUtf8(look.readAllStandardOutput()).simplified();
    QTEST(found, "content");
    QCOMPARE(m_test->versionIn(m_test->unpacked(u"1.3.0"_s)), "1.3.0"); // left where it was unpacked
}

void TestInstallerReplacement::aMissingApplicationFolderIsNotMade()
{
    QVERIFY(QDir(m_test->applicationFolder()).removeRecursively());
    m_test->install(u"1.3.0"_s, Replacement::archiveOf(u"1.3.0"_s));
    QCOMPARE(m_test->journal, m_test->launchThenEnd(u"1.3.0"_s));
    QVERIFY(!QFile::exists(m_test->applicationFolder()));
    QCOMPARE(m_test->versionIn(m_test->unpacked(u"1.3.0"_s)), "1.3.0");
}

void TestInstallerReplacement::withoutASupportFolderItEndsInOrder()
{
    QVERIFY(QDir(m_test->world.path(u"data"_s)).removeRecursively());
    m_test->world.write(m_test->world.path(u"data"_s), "a file where the folder should be");
    standardErrorOf([this] { m_test->install(u"1.3.0"_s, std::nullopt); });
    QCOMPARE(m_test->journal, m_test->launchThenEnd(u"1.3.0"_s)); // of whatever stands there
}

void TestInstallerReplacement::anotherDiskGetsACopyAndTheSourceGoes()
{
    const OtherDisk disk;
    QVERIFY(disk.isOtherThan(m_test->applicationFolder()));
    m_test->world.write(disk.updateFolder() + u"/../download.zip"_s, Replacement::archiveOf(u"1.3.0"_s));
    m_test->installAsThePlayer(u"1.3.0"_s, std::nullopt);
    QCOMPARE(m_test->journal, m_test->launchThenEnd(u"1.3.0"_s));
    QCOMPARE(m_test->versionIn(m_test->newBundle(u"1.3.0"_s)), "1.3.0");
    QVERIFY(QFileInfo(m_test->newBundle(u"1.3.0"_s) + u"/AppRun"_s).isExecutable());
    QVERIFY(QDir(disk.updateFolder()).isEmpty());
}

void TestInstallerReplacement::aRefusalOnAnotherDiskStillReachesTheAdministrator()
{
    const OtherDisk disk;
    QVERIFY(disk.isOtherThan(m_test->applicationFolder()));
    m_test->world.write(disk.updateFolder() + u"/../download.zip"_s, Replacement::archiveOf(u"1.3.0"_s));
    m_test->closeApplicationFolder();
    m_test->installAsThePlayer(u"1.3.0"_s, std::nullopt);
    QCOMPARE(m_test->journal, QStringList{u"administrator"_s} + m_test->launchThenEnd(u"1.3.0"_s));
    QCOMPARE(m_test->versionIn(m_test->newBundle(u"1.3.0"_s)), "1.3.0");
    QVERIFY(QFile::exists(disk.updateFolder() + u'/' + Replacement::nameOf(u"1.3.0"_s))); // it is only copied
}

QTEST_MAIN(TestInstallerReplacement)
#include "TestInstallerReplacement.moc"
