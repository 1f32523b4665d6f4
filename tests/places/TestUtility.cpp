#include "places/Utility.h"

#include "places/Preferences.h"
#include "places/SupportFolder.h"
#include "support/Files.h"
#include "support/TestWorld.h"

#include <QDir>

#include <thread>

using namespace Qt::StringLiterals;

class TestUtility : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<TestWorld>(); }
    void cleanup() { m_world.reset(); }

    void theSupportFolderIsMadeWithItsParents();
    void theSupportFolderIsFoundAfreshAtEachCall();
    void aRelativeDataFolderIsNoneAndLeavesNoLogLine();
    void twoThreadsMayAskAtOnce();
    void anObstacleGivesNoFolderAndALogLine_data();
    void anObstacleGivesNoFolderAndALogLine();
    void everyFileOfTheProgramLiesInTheSupportFolder();
    void whatIsBuiltOnNoFolderDoesNothing();

    void aFolderOfTheDomainIsFoundOrMade_data();
    void aFolderOfTheDomainIsFoundOrMade();
    void onFailureTheErrorIsStored();
    void anEmptyListLeavesTheErrorAsItWas();

    void theKeysHaveTheirAgreedNames();

private:
    std::unique_ptr<TestWorld> m_world;
};

void TestUtility::theSupportFolderIsMadeWithItsParents()
{
    QVERIFY(!QFileInfo::exists(m_world->path(u"data"_s)));
    std::optional<QString> folder;
    QCOMPARE(standardErrorOf([&] { folder = Utility::WayfarInstallerFolder(); }), "");
    QCOMPARE(folder, m_world->supportFolder());
    QVERIFY(QFileInfo(m_world->supportFolder()).isDir());

    const QString page = m_world->supportFolder() + u"/account.html"_s;
    m_world->write(page, "page");
    QCOMPARE(Utility::WayfarInstallerFolder(), folder);
    QCOMPARE(m_world->namesIn(u"data"_s), QStringList(u"WayfarInstaller"_s));
    QCOMPARE(m_world->read(page), "page");
}

void TestUtility::theSupportFolderIsFoundAfreshAtEachCall()
{
    for (int i = 0; i < 2; ++i) {
        QVERIFY(Utility::WayfarInstallerFolder());
        QVERIFY(QDir(m_world->supportFolder()).removeRecursively());
    }
    qputenv("XDG_DATA_HOME", m_world->path(u"other"_s).toLocal8Bit());
    QCOMPARE(Utility::WayfarInstallerFolder(), m_world->path(u"other/WayfarInstaller"_s));
    qunsetenv("XDG_DATA_HOME");
    QCOMPARE(Utility::WayfarInstallerFolder(), m_world->path(u"home/.local/share/WayfarInstaller"_s));
}

// The system knows no such folder then, and an empty list is no error.
void TestUtility::aRelativeDataFolderIsNoneAndLeavesNoLogLine()
{
    qputenv("XDG_DATA_HOME", "relative/data");
    std::optional<QString> folder = u"something"_s;
    QCOMPARE(standardErrorOf([&] { folder = Utility::WayfarInstallerFolder(); }), "");
    QCOMPARE(folder, std::nullopt);
    QVERIFY(!QFileInfo::exists(u"relative"_s));
}

void TestUtility::twoThreadsMayAskAtOnce()
{
    std::optional<QString> others;
    std::jthread other([&] { others = Utility::WayfarInstallerFolder(); });
    const auto ours = Utility::WayfarInstallerFolder();
    other.join();
    QCOMPARE(ours, m_world->supportFolder());
    QCOMPARE(others, ours);
}

void TestUtility::anObstacleGivesNoFolderAndALogLine_data()
{
    QTest::addColumn<bool>("isRefused"); // else a file is in the way
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("a file in the way") << false << QByteArray("File exists");
    QTest::newRow("a refusal") << true << QByteArray("Permission denied");
}

void TestUtility::anObstacleGivesNoFolderAndALogLine()
{
    QFETCH(const bool, isRefused);
    QFETCH(const QByteArray, reason);
    if (isRefused)
        makeFolder(toPath(m_world->path(u"data"_s)), 0555);
    else
        m_world->write(m_world->supportFolder(), "in the way");
    std::optional<QString> folder = u"something"_s;
    const QByteArray log = standardErrorOf([&] {
        const OrdinaryUser player;
        folder = Utility::WayfarInstallerFolder();
    });
    QCOMPARE(folder, std::nullopt);
    QCOMPARE(log,
             "Unable to find or create application support directory:\n" + m_world->supportFolder().toUtf8() + ": "
                 + reason + '\n');
    QCOMPARE(m_world->read(m_world->supportFolder()), isRefused ? "" : "in the way");
}

void TestUtility::everyFileOfTheProgramLiesInTheSupportFolder()
{
    const FilePath folder = toPath(m_world->supportFolder());
    QCOMPARE(SupportFolder::accountPage(), OptionalPath(folder / "account.html"));
    QCOMPARE(SupportFolder::newsPage(), OptionalPath(folder / "rssfeed.html"));
    QCOMPARE(SupportFolder::download(), OptionalPath(folder / "download.zip"));
    QCOMPARE(SupportFolder::packExtraction(), OptionalPath(folder / "installer"));
    QCOMPARE(SupportFolder::installerExtraction(), OptionalPath(folder / "update"));
}

void TestUtility::whatIsBuiltOnNoFolderDoesNothing()
{
    m_world->write(m_world->supportFolder(), "in the way");
    OptionalPath page = FilePath("/");
    standardErrorOf([&] { page = SupportFolder::accountPage(); });
    QCOMPARE(page, std::nullopt);
    QVERIFY(FileManager::writeAtomically(page, "page"));
    QVERIFY(!FileManager::fileExists(page));
}

void TestUtility::aFolderOfTheDomainIsFoundOrMade_data()
{
    QTest::addColumn<QStandardPaths::StandardLocation>("directory");
    QTest::addColumn<Utility::Domain>("domain");
    QTest::addColumn<std::optional<QString>>("component");
    QTest::addColumn<QString>("folder");
    using Component = std::optional<QString>;
    QTest::newRow("without a component") << QStandardPaths::GenericDataLocation << Utility::UserDomain << Component()
                                         << u"data"_s;
    QTest::newRow("with one") << QStandardPaths::GenericConfigLocation << Utility::UserDomain << Component(u"a/b"_s)
                              << u"config/a/b"_s;
    QTest::newRow("of the system") << QStandardPaths::GenericConfigLocation << Utility::SystemDomain
                                   << Component(u"x"_s) << u"etc/x"_s;
}

void TestUtility::aFolderOfTheDomainIsFoundOrMade()
{
    QFETCH(const QStandardPaths::StandardLocation, directory);
    QFETCH(const Utility::Domain, domain);
    QFETCH(const std::optional<QString>, component);
    QFETCH(const QString, folder);
    qputenv("XDG_CONFIG_DIRS", (m_world->path(u"etc"_s) + u':' + m_world->path(u"etc2"_s)).toLocal8Bit());
    FileError error = {FileError::OutOfSpace, u"from before"_s};
    for (FileError *told : {&error, static_cast<FileError *>(nullptr)}) { // it may be left out
        QCOMPARE(Utility::findOrCreateDirectory(directory, domain, component, told), m_world->path(folder));
        QVERIFY(QFileInfo(m_world->path(folder)).isDir());
    }
    QVERIFY(!error);
    QCOMPARE(error.description, QString());
}

void TestUtility::onFailureTheErrorIsStored()
{
    m_world->write(m_world->path(u"data/x"_s), "in the way");
    FileError error;
    for (FileError *told : {&error, static_cast<FileError *>(nullptr)})
        QCOMPARE(Utility::findOrCreateDirectory(QStandardPaths::GenericDataLocation, Utility::UserDomain, u"x"_s, told),
                 std::nullopt);
    QCOMPARE(error.code, FileError::FileExists);
    QVERIFY(error.description.contains(u"File exists"_s));
}

void TestUtility::anEmptyListLeavesTheErrorAsItWas()
{
    FileError error = {FileError::OutOfSpace, u"from before"_s};
    QCOMPARE(Utility::findOrCreateDirectory(QStandardPaths::DownloadLocation, Utility::SystemDomain, u"x"_s, &error),
             std::nullopt);
    QCOMPARE(error.code, FileError::OutOfSpace);
    QCOMPARE(error.description, u"from before"_s);
}

void TestUtility::theKeysHaveTheirAgreedNames()
{
    QCOMPARE(Preferences::installPath.key, u"installPath"_s);
    QCOMPARE(Preferences::launchPath.key, u"launchPath"_s);
    QCOMPARE(Preferences::autoLaunch.key, u"autoLaunch"_s);
    QCOMPARE(Preferences::userName.key, u"wayfaruser"_s);
    QCOMPARE(Preferences::password.key, u"wayfarpasswd"_s);
    QCOMPARE(Preferences::loginFailed.key, u"loginFailed"_s);
    QCOMPARE(Preferences::installPath.whenAbsent, GameFolder::usualRoot.toString());
}

QTEST_GUILESS_MAIN(TestUtility)
#include "TestUtility.moc"
