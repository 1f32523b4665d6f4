#include "platform/FileManager.h"

#include "support/TestWorld.h"

#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace FileManager;

namespace
{
mode_t modeOf(const FilePath &path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

void setMode(const FilePath &path, mode_t mode)
{
    QCOMPARE(::chmod(path.c_str(), mode), 0);
}
} // namespace

// What an owner may do with a tree that an archive brought, and how much of a file is read at once.
class TestFileManagerRights : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_world.reset(); }

    void theOwnerMayReadAllOfATreeMadeReadable();
    void aTreeMadeReadableKeepsItsOtherRights_data();
    void aTreeMadeReadableKeepsItsOtherRights();
    void readableStopsAtLinks();
    void aTreeMadeWritableKeepsTheModesOfItsFiles();
    void anothersTreeKeepsItsModes();
    void noTreeIsNoMatter();

    void aFileOfUpTo64MebibytesIsRead_data();
    void aFileOfUpTo64MebibytesIsRead();

private:
    FilePath at(const FilePath &name) const { return toPath(m_world->path(u"open"_s)) / name; }
    void write(const FilePath &name, mode_t mode) const;

    std::unique_ptr<TestWorld> m_world;
};

void TestFileManagerRights::init()
{
    m_world = std::make_unique<TestWorld>();
    QVERIFY(!createDirectory(at(""), true));
    setMode(at(""), 0777); // the player's trees are made in it
}

void TestFileManagerRights::write(const FilePath &name, mode_t mode) const
{
    QVERIFY(!createDirectory(at(name).parent_path(), true));
    QVERIFY(!createEmptyFile(at(name)));
    QVERIFY(appendToExistingFile(at(name), "bytes"));
    setMode(at(name), mode);
}

void TestFileManagerRights::theOwnerMayReadAllOfATreeMadeReadable()
{
    const OrdinaryUser player;
    write("tree/closed/deeper/file", 0);
    write("tree/file", 0);
    for (const char *folder : {"tree/closed/deeper", "tree/closed", "tree"})
        setMode(at(folder), 0);
    QVERIFY(!contentsOfFile(at("tree/file")));

    makeTreeReadable(at("tree"));
    QCOMPARE(contentsOfFile(at("tree/file")), QByteArray("bytes"));
    QCOMPARE(contentsOfFile(at("tree/closed/deeper/file")), QByteArray("bytes"));
    QCOMPARE(contentsOfDirectory(at("tree")).size(), 2);
    QVERIFY(!copyItem(at("tree"), at("copy")));
    makeTreeWritable(at("tree"));
    makeTreeWritable(at("copy"));
}

void TestFileManagerRights::aTreeMadeReadableKeepsItsOtherRights_data()
{
    QTest::addColumn<bool>("folder");
    QTest::addColumn<uint>("before");
    QTest::addColumn<uint>("after");

    QTest::newRow("closed folder") << true << 0000U << 0500U;
    QTest::newRow("folder that can only be listed") << true << 0444U << 0544U;
    QTest::newRow("folder that can only be written") << true << 0200U << 0700U;
    QTest::newRow("read-only folder") << true << 0555U << 0555U;
    QTest::newRow("open folder") << true << 0755U << 0755U;
    QTest::newRow("sticky folder for all") << true << 01377U << 01777U;
    QTest::newRow("closed file") << false << 0000U << 0400U;
    QTest::newRow("file of others") << false << 0044U << 0444U;
    QTest::newRow("file to be written only") << false << 0222U << 0622U;
    QTest::newRow("program nobody may read") << false << 0111U << 0511U;
    QTest::newRow("read-only file") << false << 0444U << 0444U;
}

void TestFileManagerRights::aTreeMadeReadableKeepsItsOtherRights()
{
    QFETCH(const bool, folder);
    QFETCH(const uint, before);
    const OrdinaryUser player;
    const FilePath path = at("tree/it");
    if (folder)
        QVERIFY(!createDirectory(path, true));
    else
        write("tree/it", 0644);
    setMode(path, before);
    makeTreeReadable(at("tree"));
    QTEST(uint(modeOf(path)), "after");
}

void TestFileManagerRights::readableStopsAtLinks()
{
    const OrdinaryUser player;
    write("outside/file", 0);
    setMode(at("outside"), 0311);
    QVERIFY(!createDirectory(at("tree"), true));
    QCOMPARE(::symlink(at("outside").c_str(), at("tree/folder").c_str()), 0);
    QCOMPARE(::symlink(at("outside/file").c_str(), at("tree/file").c_str()), 0);
    QCOMPARE(::symlink("nowhere", at("tree/dangling").c_str()), 0);
    QCOMPARE(::symlink("outside", at("link").c_str()), 0);
    makeTreeReadable(at("tree"));
    makeTreeReadable(at("link"));
    QCOMPARE(modeOf(at("outside")), 0311U);
    QCOMPARE(modeOf(at("outside/file")), 0U);
}

void TestFileManagerRights::aTreeMadeWritableKeepsTheModesOfItsFiles()
{
    const OrdinaryUser player;
    const std::pair<const char *, mode_t> files[] = {{"tree/closed", 0}, {"tree/a/read", 0444}, {"tree/a/run", 0111}};
    for (const auto &[name, mode] : files)
        write(name, mode);
    setMode(at("tree/a"), 0);
    setMode(at("tree"), 0555);
    makeTreeWritable(at("tree"));
    QCOMPARE(modeOf(at("tree")), 0755U);
    QCOMPARE(modeOf(at("tree/a")), 0700U);
    for (const auto &[name, mode] : files)
        QCOMPARE(modeOf(at(name)), mode);
    makeTreeWritable(at("tree/closed"));
    QCOMPARE(modeOf(at("tree/closed")), 0U);
}

// It is tried and refused, without an end to the rest.
void TestFileManagerRights::anothersTreeKeepsItsModes()
{
    if (::geteuid() != 0) {
        makeTreeReadable("/root"); // no folder of this user's
        return;
    }
    write("tree/file", 0);
    const OrdinaryUser player;
    makeTreeReadable(at("tree"));
    QCOMPARE(modeOf(at("tree/file")), 0U);
}

void TestFileManagerRights::noTreeIsNoMatter()
{
    makeTreeReadable(std::nullopt);
    makeTreeReadable(at("missing"));
    QVERIFY(!itemExists(at("missing")));
}

void TestFileManagerRights::aFileOfUpTo64MebibytesIsRead_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<bool>("read");

    constexpr qint64 Most = 64 * 1024 * 1024;
    QTest::newRow("of exactly that many") << Most << true;
    QTest::newRow("of one byte more") << Most + 1 << false;
    QTest::newRow("of a terabyte, nearly all of it a hole") << Most * 16384 << false;
}

void TestFileManagerRights::aFileOfUpTo64MebibytesIsRead()
{
    QFETCH(const qint64, size);
    QFETCH(const bool, read);
    write("file", 0644);
    QCOMPARE(::truncate(at("file").c_str(), size), 0);
    const auto bytes = contentsOfFile(at("file"));
    QCOMPARE(bytes.has_value(), read);
    if (read) {
        QCOMPARE(bytes->size(), size);
        QVERIFY(bytes->startsWith("bytes"));
    }
}

QTEST_GUILESS_MAIN(TestFileManagerRights)
#include "TestFileManagerRights.moc"
