#include "repair/FilesToRepair.h"

#include "support/TestWorld.h"

#include <QDir>
#include <QTest>

#include <algorithm>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

class TestFilesToRepair : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aNameCountsExactlyAsItIs_data();
    void aNameCountsExactlyAsItIs();
    void everyDepthIsSearchedAndNothingAbove();
    void foldersAndLinksOfTheNameAreListedToo();
    void linkedFoldersAreNotEntered();
    void aFolderThatIsItselfALinkIsSearched();
    void foldersThatCannotBeReadArePassedOver();
    void aFolderThatCanOnlyBeListedIsStillSearched();
    void namesThatAreNotUtf8KeepTheirBytes();
    void noFolderHasNoFiles_data();
    void noFolderHasNoFiles();

private:
    // The files found below the folder, relative to it and sorted.
    static QStringList found(const QString &folder)
    {
        QStringList names;
        for (const FilePath &file : filesToRepairBelow(toPath(folder)))
            names.append(toText(file).mid(folder.size() + 1));
        names.sort();
        return names;
    }
    static void close(const QString &folder, mode_t mode)
    {
        QCOMPARE(::chmod(QFile::encodeName(folder).constData(), mode), 0);
    }
};

void TestFilesToRepair::aNameCountsExactlyAsItIs_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("counts");
    QTest::newRow("the saved variables") << u"Trailbook.lua"_s << true;
    QTest::newRow("their copy") << u"Trailbook.lua.bak"_s << true;
    QTest::newRow("a third suffix") << u"Trailbook.lua.bak2"_s << false;
    QTest::newRow("one more suffix") << u"Trailbook.lua.bak.old"_s << false;
    QTest::newRow("another suffix") << u"Trailbook.lua.old"_s << false;
    QTest::newRow("something before it") << u"MyTrailbook.lua"_s << false;
    QTest::newRow("only a beginning") << u"Trailbook"_s << false;
    QTest::newRow("small letters") << u"trailbook.lua"_s << false;
    QTest::newRow("a capital suffix") << u"Trailbook.LUA"_s << false;
    QTest::newRow("a capital copy") << u"Trailbook.lua.BAK"_s << false;
    QTest::newRow("a blank behind it") << u"Trailbook.lua "_s << false;
    QTest::newRow("hidden") << u".Trailbook.lua"_s << false;
    QTest::newRow("any character for the dot") << u"Trailbook-lua"_s << false;
}

void TestFilesToRepair::aNameCountsExactlyAsItIs()
{
    QFETCH(const QString, name);
    QFETCH(const bool, counts);
    const TestWorld world;
    world.write(world.path(u"WTF/Account/"_s + name), "");
    QCOMPARE(found(world.path(u"WTF"_s)), counts ? QStringList{u"Account/"_s + name} : QStringList());
}

void TestFilesToRepair::everyDepthIsSearchedAndNothingAbove()
{
    const TestWorld world;
    const QStringList below = {
        u"Account/ME/Realm/Hero/SavedVariables/Trailbook.lua"_s, u"Account/ME/SavedVariables/Trailbook.lua"_s,
        u"Account/ME/SavedVariables/Trailbook.lua.bak"_s, u"Account/.hidden/Trailbook.lua"_s, u"Trailbook.lua"_s};
    for (const QString &file : below)
        world.write(world.path(u"WTF/"_s + file), "");
    world.write(world.path(u"Trailbook.lua"_s), "");
    world.write(world.path(u"WTF2/Trailbook.lua"_s), "");

    QStringList expected = below;
    expected.sort();
    QCOMPARE(found(world.path(u"WTF"_s)), expected);
}

void TestFilesToRepair::foldersAndLinksOfTheNameAreListedToo()
{
    const TestWorld world;
    world.write(world.path(u"WTF/folder/Trailbook.lua/Trailbook.lua.bak"_s), "");
    world.write(world.path(u"outside"_s), "");
    QVERIFY(QDir().mkpath(world.path(u"WTF/link"_s)));
    QVERIFY(QFile::link(world.path(u"outside"_s), world.path(u"WTF/link/Trailbook.lua"_s)));
    QVERIFY(QFile::link(world.path(u"nowhere"_s), world.path(u"WTF/link/Trailbook.lua.bak"_s)));
    QCOMPARE(found(world.path(u"WTF"_s)),
             (QStringList{u"folder/Trailbook.lua"_s, u"folder/Trailbook.lua/Trailbook.lua.bak"_s,
                          u"link/Trailbook.lua"_s, u"link/Trailbook.lua.bak"_s}));
}

void TestFilesToRepair::linkedFoldersAreNotEntered()
{
    const TestWorld world;
    world.write(world.path(u"outside/Trailbook.lua"_s), "");
    world.write(world.path(u"WTF/Account/Trailbook.lua"_s), "");
    QVERIFY(QFile::link(world.path(u"outside"_s), world.path(u"WTF/Account/elsewhere"_s)));
    QVERIFY(QFile::link(world.path(u"outside"_s), world.path(u"WTF/Account/Trailbook.lua.bak"_s)));
    QVERIFY(QFile::link(world.path(u"WTF"_s), world.path(u"WTF/Account/round"_s)));
    QCOMPARE(found(world.path(u"WTF"_s)), (QStringList{u"Account/Trailbook.lua"_s, u"Account/Trailbook.lua.bak"_s}));
}

// Players keep their settings on another disk this way.
void TestFilesToRepair::aFolderThatIsItselfALinkIsSearched()
{
    const TestWorld world;
    world.write(world.path(u"other disk/Account/Trailbook.lua"_s), "");
    QVERIFY(QFile::link(world.path(u"other disk"_s), world.path(u"WTF"_s)));
    QCOMPARE(found(world.path(u"WTF"_s)), QStringList{u"Account/Trailbook.lua"_s});
}

void TestFilesToRepair::foldersThatCannotBeReadArePassedOver()
{
    const TestWorld world;
    QStringList readable;
    for (const QString &account : {u"A"_s, u"B"_s, u"C"_s, u"D"_s, u"E"_s}) {
        world.write(world.path(u"WTF/%1/open/Trailbook.lua"_s.arg(account)), "");
        world.write(world.path(u"WTF/%1/shut/Trailbook.lua"_s.arg(account)), "");
        close(world.path(u"WTF/%1/shut"_s.arg(account)), 0000);
        readable.append(account + u"/open/Trailbook.lua"_s);
    }
    const OrdinaryUser player;
    QVERIFY(FileManager::contentsOfDirectory(toPath(world.path(u"WTF/A/shut"_s))).isEmpty());
    QCOMPARE(found(world.path(u"WTF"_s)), readable);
}

void TestFilesToRepair::aFolderThatCanOnlyBeListedIsStillSearched()
{
    const TestWorld world;
    world.write(world.path(u"WTF/A/Trailbook.lua"_s), "");
    world.write(world.path(u"WTF/A/inner/Trailbook.lua"_s), "");
    world.write(world.path(u"WTF/B/Trailbook.lua"_s), "");
    close(world.path(u"WTF/A"_s), 0444);
    const OrdinaryUser player;
    QCOMPARE(found(world.path(u"WTF"_s)), (QStringList{u"A/Trailbook.lua"_s, u"B/Trailbook.lua"_s}));
}

void TestFilesToRepair::namesThatAreNotUtf8KeepTheirBytes()
{
    const TestWorld world;
    const FilePath folder = toPath(world.path(u"WTF"_s)) / "caf\xe9";
    std::filesystem::create_directories(folder);
    QVERIFY(!FileManager::createEmptyFile(folder / "Trailbook.lua"));
    QCOMPARE(filesToRepairBelow(toPath(world.path(u"WTF"_s))), QList<FilePath>{folder / "Trailbook.lua"});
    QVERIFY(!FileManager::removeItem(folder));
}

void TestFilesToRepair::noFolderHasNoFiles_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("it is missing") << u"missing"_s;
    QTest::newRow("it is a file") << u"Trailbook.lua"_s;
    QTest::newRow("it is empty") << u"empty"_s;
    QTest::newRow("it is a link to nothing") << u"dangling"_s;
}

void TestFilesToRepair::noFolderHasNoFiles()
{
    QFETCH(const QString, folder);
    const TestWorld world;
    world.write(world.path(u"Trailbook.lua"_s), "");
    QVERIFY(QDir().mkpath(world.path(u"empty"_s)));
    QVERIFY(QFile::link(world.path(u"missing"_s), world.path(u"dangling"_s)));
    QCOMPARE(filesToRepairBelow(toPath(world.path(folder))), QList<FilePath>());
}

QTEST_GUILESS_MAIN(TestFilesToRepair)
#include "TestFilesToRepair.moc"
