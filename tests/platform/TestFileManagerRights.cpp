#include "platform/FileManager.h"

#include "support/Files.h"
#include "support/TestWorld.h"

using namespace Qt::StringLiterals;
using namespace FileManager;

// What an owner may do with a tree that an archive brought.
class TestFileManagerRights : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_world.reset(); }

    void theOwnerMayReadAllOfATreeMadeReadable();
    void readableAndWritableAddTheOwnersRightsAlone_data();
    void readableAndWritableAddTheOwnersRightsAlone();
    void everyFolderOfATreeIsMadeWritable();
    void aTreeBehindALinkKeepsItsModes();
    void anothersTreeKeepsItsModes();

private:
    FilePath at(const FilePath &name) const { return toPath(m_world->path(u"open"_s)) / name; }

    std::unique_ptr<TestWorld> m_world;
};

void TestFileManagerRights::init()
{
    m_world = std::make_unique<TestWorld>();
    makeFolder(at(""), 0777); // the player's trees are made in it
}

void TestFileManagerRights::theOwnerMayReadAllOfATreeMadeReadable()
{
    const OrdinaryUser player;
    makeFile(at("tree/closed/deeper/file"), "bytes", 0);
    makeFile(at("tree/file"), "bytes", 0);
    for (const char *folder : {"tree/closed/deeper", "tree/closed", "tree"})
        setMode(at(folder), 0);
    QVERIFY(!contentsOfFile(at("tree/file")));

    makeTreeReadable(at("tree"));
    QCOMPARE(contentsOfFile(at("tree/file")), QByteArray("bytes"));
    QCOMPARE(contentsOfFile(at("tree/closed/deeper/file")), QByteArray("bytes"));
    QCOMPARE(contentsOfDirectory(at("tree")).size(), 2);
    QVERIFY(!copyItem(at("tree"), at("copy")));
}

void TestFileManagerRights::readableAndWritableAddTheOwnersRightsAlone_data()
{
    QTest::addColumn<bool>("folder");
    QTest::addColumn<uint>("before");
    QTest::addColumn<uint>("readable");
    QTest::addColumn<uint>("writable");

    const auto row = [](const char *rule, bool folder, uint before, uint readable, uint writable) {
        QTest::newRow(rule) << folder << before << readable << writable;
    };
    row("closed folder", true, 0000, 0500, 0700);
    row("folder that can only be listed", true, 0444, 0544, 0744);
    row("folder that can only be written", true, 0200, 0700, 0700);
    row("folder that others may pass", true, 0511, 0511, 0711);
    row("read-only folder", true, 0555, 0555, 0755);
    row("open folder", true, 0755, 0755, 0755);
    row("sticky folder for all", true, 01377, 01777, 01777);
    row("closed file", false, 0000, 0400, 0000);
    row("file of others", false, 0044, 0444, 0044);
    row("file to be written only", false, 0222, 0622, 0222);
    row("program nobody may read", false, 0111, 0511, 0111);
    row("read-only file", false, 0444, 0444, 0444);
}

void TestFileManagerRights::readableAndWritableAddTheOwnersRightsAlone()
{
    QFETCH(const bool, folder);
    QFETCH(const uint, before);
    const OrdinaryUser player;
    const FilePath path = at("tree/it");
    if (folder)
        makeFolder(path, before);
    else
        makeFile(path, "bytes", before);
    makeTreeReadable(at("tree"));
    QTEST(uint(modeOf(path)), "readable");
    setMode(path, before);
    makeTreeWritable(at("tree"));
    QTEST(uint(modeOf(path)), "writable");
    setMode(path, before);
    makeTreeWritable(path);
    QTEST(uint(modeOf(path)), "writable");
}

void TestFileManagerRights::everyFolderOfATreeIsMadeWritable()
{
    const OrdinaryUser player;
    makeFile(at("tree/a/b/file"), "bytes", 0444);
    makeFolder(at("tree/a/b"), 0);
    makeFolder(at("tree/a"), 0555);
    makeFolder(at("tree"), 0511);
    makeTreeWritable(at("tree"));
    QCOMPARE(modeOf(at("tree")), 0711U);
    QCOMPARE(modeOf(at("tree/a")), 0755U);
    QCOMPARE(modeOf(at("tree/a/b")), 0700U);
    QCOMPARE(modeOf(at("tree/a/b/file")), 0444U);
}

void TestFileManagerRights::aTreeBehindALinkKeepsItsModes()
{
    const OrdinaryUser player;
    makeFile(at("outside/file"), "bytes", 0);
    makeFolder(at("tree"));
    makeLink(at("outside"), at("tree/folder"));
    makeLink(at("outside/file"), at("tree/file"));
    makeLink("nowhere", at("tree/dangling"));
    makeLink("outside", at("link"));
    setMode(at("outside"), 0311);
    for (const char *name : {"tree", "link", "missing"}) {
        makeTreeReadable(at(name));
        makeTreeWritable(at(name));
    }
    QCOMPARE(modeOf(at("outside")), 0311U);
    QCOMPARE(modeOf(at("outside/file")), 0U);
    QVERIFY(!itemExists(at("missing")));
}

// It is tried and refused, without an end to the rest.
void TestFileManagerRights::anothersTreeKeepsItsModes()
{
    if (::geteuid() != 0) {
        makeTreeReadable("/root"); // no folder of this user's
        return;
    }
    makeFile(at("tree/file"), "bytes", 0);
    const OrdinaryUser player;
    makeTreeReadable(at("tree"));
    QCOMPARE(modeOf(at("tree/file")), 0U);
}

QTEST_GUILESS_MAIN(TestFileManagerRights)
#include "TestFileManagerRights.moc"
