#include "places/SupportFolder.h"
#include "places/Utility.h"

#include "places/Preferences.h"
#include "support/TestWorld.h"

#include <QDir>
#include <QTest>

#include <thread>

using namespace Qt::StringLiterals;

class TestUtility : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theSupportFolderIsMadeWithItsParents();
    void askingTwiceGivesTheSamePathAndOneFolder();
    void theSupportFolderFollowsTheUsersDataFolder();
    void aRelativeDataFolderIsNoneAndLeavesNoLogLine();
    void theSupportFolderIsFoundAfreshAtEachCall();
    void twoThreadsMayAskAtOnce();
    void aFileInTheWayGivesNoFolderAndALogLine();
    void aRefusalGivesNoFolderAndALogLine();
    void successWritesNoLogLine();
    void whatIsBuiltOnNoFolderDoesNothing();

    void aDirectoryIsGivenWithoutAComponent();
    void aComponentIsAppended();
    void onSuccessTheErrorIsCleared();
    void onFailureTheErrorIsStored();
    void theErrorMayBeLeftOut();
    void anEmptyListLeavesTheErrorAsItWas();
    void theSystemDomainIsNotTheUsers();

    void theKeysHaveTheirAgreedNames();

private:
    std::unique_ptr<TestWorld> m_world;
};

void TestUtility::init()
{
    m_world = std::make_unique<TestWorld>();
}

void TestUtility::cleanup()
{
    m_world.reset();
}

void TestUtility::theSupportFolderIsMadeWithItsParents()
{
    QVERIFY(!QFileInfo::exists(m_world->path(u"data"_s)));
    QCOMPARE(Utility::WayfarInstallerFolder(), m_world->supportFolder());
    QVERIFY(QFileInfo(m_world->supportFolder()).isDir());
}

void TestUtility::askingTwiceGivesTheSamePathAndOneFolder()
{
    const auto first = Utility::WayfarInstallerFolder();
    m_world->write(m_world->supportFolder() + u"/account.html"_s, "page");
    QCOMPARE(Utility::WayfarInstallerFolder(), first);
    QCOMPARE(QDir(m_world->path(u"data"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(u"WayfarInstaller"_s));
    QCOMPARE(m_world->read(m_world->supportFolder() + u"/account.html"_s), "page");
}

void TestUtility::theSupportFolderFollowsTheUsersDataFolder()
{
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

void TestUtility::theSupportFolderIsFoundAfreshAtEachCall()
{
    QVERIFY(Utility::WayfarInstallerFolder());
    QVERIFY(QDir(m_world->supportFolder()).removeRecursively());
    QVERIFY(Utility::WayfarInstallerFolder());
    QVERIFY(QFileInfo(m_world->supportFolder()).isDir());
    qputenv("XDG_DATA_HOME", m_world->path(u"other"_s).toLocal8Bit());
    QCOMPARE(Utility::WayfarInstallerFolder(), m_world->path(u"other/WayfarInstaller"_s));
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

void TestUtility::aFileInTheWayGivesNoFolderAndALogLine()
{
    m_world->write(m_world->supportFolder(), "in the way");
    std::optional<QString> folder = u"something"_s;
    const QByteArray log = standardErrorOf([&] { folder = Utility::WayfarInstallerFolder(); });
    QCOMPARE(folder, std::nullopt);
    QCOMPARE(log,
             "Unable to find or create application support directory:\n" + m_world->supportFolder().toUtf8()
                 + ": File exists\n");
    QCOMPARE(m_world->read(m_world->supportFolder()), "in the way");
}

void TestUtility::aRefusalGivesNoFolderAndALogLine()
{
    QVERIFY(QDir().mkpath(m_world->path(u"data"_s)));
    QVERIFY(QFile::setPermissions(m_world->path(u"data"_s), QFile::Permissions(0x5555)));
    std::optional<QString> folder = u"something"_s;
    const QByteArray log = standardErrorOf([&] {
        const OrdinaryUser player;
        folder = Utility::WayfarInstallerFolder();
    });
    QCOMPARE(folder, std::nullopt);
    QVERIFY(log.startsWith("Unable to find or create application support directory:\n"));
    QVERIFY(log.endsWith(": Permission denied\n"));
}

void TestUtility::successWritesNoLogLine()
{
    QCOMPARE(standardErrorOf([] { (void)Utility::WayfarInstallerFolder(); }), "");
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

void TestUtility::aDirectoryIsGivenWithoutAComponent()
{
    FileError error;
    QCOMPARE(
        Utility::findOrCreateDirectory(QStandardPaths::GenericDataLocation, Utility::UserDomain, std::nullopt, &error),
        m_world->path(u"data"_s));
    QVERIFY(!error);
    QVERIFY(QFileInfo(m_world->path(u"data"_s)).isDir());
}

void TestUtility::aComponentIsAppended()
{
    FileError error;
    QCOMPARE(
        Utility::findOrCreateDirectory(QStandardPaths::GenericConfigLocation, Utility::UserDomain, u"a/b"_s, &error),
        m_world->path(u"config/a/b"_s));
    QVERIFY(QFileInfo(m_world->path(u"config/a/b"_s)).isDir());
}

void TestUtility::onSuccessTheErrorIsCleared()
{
    FileError error = {FileError::OutOfSpace, u"from before"_s};
    QVERIFY(Utility::findOrCreateDirectory(QStandardPaths::GenericDataLocation, Utility::UserDomain, u"x"_s, &error));
    QVERIFY(!error);
    QCOMPARE(error.description, QString());
}

void TestUtility::onFailureTheErrorIsStored()
{
    m_world->write(m_world->path(u"data/x"_s), "in the way");
    FileError error;
    QCOMPARE(Utility::findOrCreateDirectory(QStandardPaths::GenericDataLocation, Utility::UserDomain, u"x"_s, &error),
             std::nullopt);
    QCOMPARE(error.code, FileError::FileExists);
    QVERIFY(error.description.contains(u"File exists"_s));
}

void TestUtility::theErrorMayBeLeftOut()
{
    m_world->write(m_world->path(u"data/x"_s), "in the way");
    const auto find = [](const QString &name) {
        return Utility::findOrCreateDirectory(QStandardPaths::GenericDataLocation, Utility::UserDomain, name, nullptr);
    };
    QCOMPARE(find(u"x"_s), std::nullopt);
    QCOMPARE(find(u"y"_s), m_world->path(u"data/y"_s));
}

void TestUtility::anEmptyListLeavesTheErrorAsItWas()
{
    FileError error = {FileError::OutOfSpace, u"from before"_s};
    QCOMPARE(Utility::findOrCreateDirectory(QStandardPaths::DownloadLocation, Utility::SystemDomain, u"x"_s, &error),
             std::nullopt);
    QCOMPARE(error.code, FileError::OutOfSpace);
    QCOMPARE(error.description, u"from before"_s);
}

void TestUtility::theSystemDomainIsNotTheUsers()
{
    qputenv("XDG_CONFIG_DIRS", (m_world->path(u"etc"_s) + u':' + m_world->path(u"etc2"_s)).toLocal8Bit());
    FileError error;
    QCOMPARE(
        Utility::findOrCreateDirectory(QStandardPaths::GenericConfigLocation, Utility::SystemDomain, u"x"_s, &error),
        m_world->path(u"etc/x"_s));
}

void TestUtility::theKeysHaveTheirAgreedNames()
{
    QCOMPARE(Preferences::installPath.key, u"installPath"_s);
    QCOMPARE(Preferences::launchPath.key, u"launchPath"_s);
    QCOMPARE(Preferences::autoLaunch.key, u"autoLaunch"_s);
    QCOMPARE(Preferences::userName.key, u"wayfaruser"_s);
    QCOMPARE(Preferences::password.key, u"wayfarpasswd"_s);
    QCOMPARE(Preferences::loginFailed.key, u"loginFailed"_s);
    QCOMPARE(GameFolder::usualRoot.toString(), u"/Applications/World of Warcraft"_s);
}

QTEST_GUILESS_MAIN(TestUtility)
#include "TestUtility.moc"
