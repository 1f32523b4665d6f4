#include "repair/FilesToRepair.h"

#include "support/TestWorld.h"

#include <QDir>
#include <QProcess>
#include <QTest>

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class TestFilesToRepair : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<TestWorld>(); }
    void cleanup() { m_world.reset(); }

    void aNameCountsExactlyAsItIs();
    void everyDepthIsSearchedAndNothingAbove();
    void foldersAndLinksOfTheNameAreListedToo();
    void linkedFoldersAreNotEntered();
    void aFolderThatIsItselfALinkIsSearched();
    void foldersThatCannotBeReadArePassedOver();
    void aFolderThatCanOnlyBeListedIsStillSearched();
    void aFolderTooDeepToBeNamedEndsNothing();
    void namesThatAreNotUtf8KeepTheirBytes();
    void noFolderHasNoFiles();

private:
    QString path(const QString &below) const { return m_world->path(below); }
    void touch(const QString &file) const { m_world->write(path(file), ""); }
    void link(const QString &target, const QString &name) const
    {
        QVERIFY(QDir().mkpath(QFileInfo(path(name)).path()));
        QVERIFY(QFile::link(path(target), path(name)));
    }
    void close(const QString &folder, mode_t mode) const
    {
        QCOMPARE(::chmod(QFile::encodeName(path(folder)).constData(), mode), 0);
    }
    // The files found below the folder "WTF", relative to it and sorted.
    QStringList found() const
    {
        QStringList names;
        for (const FilePath &file : filesToRepairBelow(toPath(path(u"WTF"_s))))
            names.append(toText(file).mid(path(u"WTF/"_s).size()));
        names.sort();
        return names;
    }

    std::unique_ptr<TestWorld> m_world;
};

void TestFilesToRepair::aNameCountsExactlyAsItIs()
{
    for (const QString &name :
         {u"Trailbook.lua"_s, u"Trailbook.lua.bak"_s, u"Trailbook.lua.bak2"_s, u"Trailbook.lua.bak.old"_s,
          u"Trailbook.lua.old"_s, u"MyTrailbook.lua"_s, u"Trailbook"_s, u"trailbook.lua"_s, u"Trailbook.LUA"_s,
          u"Trailbook.lua.BAK"_s, u"Trailbook.lua "_s, u".Trailbook.lua"_s, u"Trailbook-lua"_s})
        touch(u"WTF/Account/"_s + name);
    QCOMPARE(found(), (QStringList{u"Account/Trailbook.lua"_s, u"Account/Trailbook.lua.bak"_s}));
}

void TestFilesToRepair::everyDepthIsSearchedAndNothingAbove()
{
    const QStringList below = {
        u"Account/ME/Realm/Hero/SavedVariables/Trailbook.lua"_s, u"Account/ME/SavedVariables/Trailbook.lua"_s,
        u"Account/ME/SavedVariables/Trailbook.lua.bak"_s, u"Account/.hidden/Trailbook.lua"_s, u"Trailbook.lua"_s};
    for (const QString &file : below)
        touch(u"WTF/"_s + file);
    touch(u"Trailbook.lua"_s);
    touch(u"WTF2/Trailbook.lua"_s);

    QStringList expected = below;
    expected.sort();
    QCOMPARE(found(), expected);
}

void TestFilesToRepair::foldersAndLinksOfTheNameAreListedToo()
{
    touch(u"WTF/folder/Trailbook.lua/Trailbook.lua.bak"_s);
    touch(u"outside"_s);
    link(u"outside"_s, u"WTF/link/Trailbook.lua"_s);
    link(u"nowhere"_s, u"WTF/link/Trailbook.lua.bak"_s);
    QCOMPARE(found(),
             (QStringList{u"folder/Trailbook.lua"_s, u"folder/Trailbook.lua/Trailbook.lua.bak"_s,
                          u"link/Trailbook.lua"_s, u"link/Trailbook.lua.bak"_s}));
}

void TestFilesToRepair::linkedFoldersAreNotEntered()
{
    touch(u"outside/Trailbook.lua"_s);
    touch(u"WTF/Account/Trailbook.lua"_s);
    link(u"outside"_s, u"WTF/Account/elsewhere"_s);
    link(u"outside"_s, u"WTF/Account/Trailbook.lua.bak"_s);
    link(u"WTF"_s, u"WTF/Account/round"_s);
    QCOMPARE(found(), (QStringList{u"Account/Trailbook.lua"_s, u"Account/Trailbook.lua.bak"_s}));
}

// Players keep their settings on another disk this way.
void TestFilesToRepair::aFolderThatIsItselfALinkIsSearched()
{
    touch(u"other disk/Account/Trailbook.lua"_s);
    link(u"other disk"_s, u"WTF"_s);
    QCOMPARE(found(), QStringList{u"Account/Trailbook.lua"_s});
}

void TestFilesToRepair::foldersThatCannotBeReadArePassedOver()
{
    QStringList readable;
    for (const QString &account : {u"A"_s, u"B"_s, u"C"_s, u"D"_s, u"E"_s}) {
        touch(u"WTF/%1/open/Trailbook.lua"_s.arg(account));
        touch(u"WTF/%1/shut/Trailbook.lua"_s.arg(account));
        close(u"WTF/%1/shut"_s.arg(account), 0000);
        readable.append(account + u"/open/Trailbook.lua"_s);
    }
    const OrdinaryUser player;
    QVERIFY(FileManager::contentsOfDirectory(toPath(path(u"WTF/A/shut"_s))).isEmpty());
    QCOMPARE(found(), readable);
}

void TestFilesToRepair::aFolderThatCanOnlyBeListedIsStillSearched()
{
    touch(u"WTF/A/Trailbook.lua"_s);
    touch(u"WTF/A/inner/Trailbook.lua"_s);
    touch(u"WTF/B/Trailbook.lua"_s);
    close(u"WTF/A"_s, 0444);
    const OrdinaryUser player;
    QCOMPARE(found(), (QStringList{u"A/Trailbook.lua"_s, u"B/Trailbook.lua"_s}));
}

// Its path is longer than the kernel takes, so that it can't be opened by it.
void TestFilesToRepair::aFolderTooDeepToBeNamedEndsNothing()
{
    touch(u"WTF/Account/Trailbook.lua"_s);
    const QByteArray name(200, 'd');
    int folder = ::open(QFile::encodeName(path(u"WTF"_s)).constData(), O_PATH | O_DIRECTORY);
    for (int depth = 0; depth < 25; ++depth) {
        QCOMPARE(::mkdirat(folder, name.constData(), 0755), 0);
        const int below = ::openat(folder, name.constData(), O_PATH | O_DIRECTORY);
        ::close(std::exchange(folder, below));
    }
    ::close(folder);
    for (const QString &other : {u"a"_s, u"b"_s, u"c"_s, u"z"_s}) // some of them after the deep one, in any order
        touch(u"WTF/"_s + other + u"/Trailbook.lua"_s);
    QCOMPARE(found().size(), 5);
    QCOMPARE(QProcess::execute(u"rm"_s, {u"-rf"_s, path(u"WTF"_s)}), 0);
}

void TestFilesToRepair::namesThatAreNotUtf8KeepTheirBytes()
{
    const FilePath folder = toPath(path(u"WTF"_s)) / "caf\xe9";
    std::filesystem::create_directories(folder);
    QVERIFY(!FileManager::createEmptyFile(folder / "Trailbook.lua"));
    QCOMPARE(filesToRepairBelow(toPath(path(u"WTF"_s))), QList<FilePath>{folder / "Trailbook.lua"});
    QVERIFY(!FileManager::removeItem(folder));
}

void TestFilesToRepair::noFolderHasNoFiles()
{
    touch(u"Trailbook.lua"_s);
    QVERIFY(QDir().mkpath(path(u"empty"_s)));
    link(u"missing"_s, u"dangling"_s);
    for (const QString &folder : {u"missing"_s, u"Trailbook.lua"_s, u"empty"_s, u"dangling"_s})
        QVERIFY2(filesToRepairBelow(toPath(path(folder))).isEmpty(), qPrintable(folder));
}

QTEST_GUILESS_MAIN(TestFilesToRepair)
#include "TestFilesToRepair.moc"
