#include "platform/FileManager.h"

#include "support/Files.h"
#include "support/Rerun.h"
#include "support/TestWorld.h"

#include <QDir>

#include <fcntl.h>

using namespace Qt::StringLiterals;
using namespace FileManager;

namespace
{
void setTime(const FilePath &path, time_t seconds)
{
    const timespec times[] = {{seconds, 0}, {seconds, 123456789}};
    QCOMPARE(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

time_t timeOf(const FilePath &path)
{
    return statusOf(path).st_mtim.tv_sec;
}

// On another file system than the temporary folder.
std::unique_ptr<QTemporaryDir> otherDisk(const FilePath &home)
{
    for (const QString &place : {u"/dev/shm"_s, QDir::homePath(), u"/var/tmp"_s, QDir::currentPath()}) {
        auto folder = std::make_unique<QTemporaryDir>(place + u"/wayfar-XXXXXX"_s);
        if (folder->isValid() && statusOf(toPath(folder->path())).st_dev != statusOf(home).st_dev)
            return folder;
    }
    return nullptr;
}
} // namespace

// What the installation relies on when it puts a pack into the game's folder. What is copied is also moved to another
// disk, since both go the same road.
class TestFileManagerCopies : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aFileKeepsItsModeAndTime();
    void aTreeKeepsEveryKindOfName_data();
    void aTreeKeepsEveryKindOfName();
    void aLinkIsCopiedAsALink();
    void aFolderKeepsItsModeUnderAnyMask();
    void aReadOnlyFolderKeepsItsModeAndContent();
    void movesWithinADisk();

    void nothingIsReplaced_data();
    void nothingIsReplaced();
    void whatFailsHasItsReason_data();
    void whatFailsHasItsReason();
    void aFifoIsNotCopiedAndDoesNotHoldTheCopy();
    void aFailedMoveToAnotherDiskLeavesTheSourceWholeAndNoHalfCopy();
    void aMoveIsDoneWhenTheCopyIs();
    void aFullDiskIsOutOfSpace();

private:
    FilePath at(const FilePath &name) const { return toPath(m_world->path(u"open"_s)) / name; }
    FilePath there(const FilePath &name) const { return toPath(m_disk->path()) / name; } // on another disk

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<QTemporaryDir> m_disk;
};

void TestFileManagerCopies::init()
{
    m_disk = otherDisk(toPath(QDir::tempPath()));
    QVERIFY2(m_disk, "there is no second file system to be found");
    setMode(there(""), 0755);
    m_world = std::make_unique<TestWorld>();
    makeFolder(at(""), 0777);
    QCOMPARE_NE(statusOf(at("")).st_dev, statusOf(there("")).st_dev);
}

void TestFileManagerCopies::cleanup()
{
    m_world.reset();
    makeTreeWritable(there(""));
    (void)removeItem(there("")); // QTemporaryDir can't, for a name that is not UTF-8
    m_disk.reset();
}

void TestFileManagerCopies::aFileKeepsItsModeAndTime()
{
    makeFile(at("file"), QByteArray(300000, 'x'), 04750);
    setTime(at("file"), 1000000000);
    QVERIFY(!copyItem(at("file"), at("copy")));
    QCOMPARE(contentsOfFile(at("copy")), QByteArray(300000, 'x'));
    QCOMPARE(modeOf(at("copy")), 04750U);
    QCOMPARE(timeOf(at("copy")), 1000000000);
    QCOMPARE(statusOf(at("copy")).st_mtim.tv_nsec, 123456789);
    QVERIFY(fileExists(at("file")));
}

void TestFileManagerCopies::aTreeKeepsEveryKindOfName_data()
{
    QTest::addColumn<bool>("moved");
    QTest::newRow("copied") << false;
    QTest::newRow("moved to another disk") << true;
}

void TestFileManagerCopies::aTreeKeepsEveryKindOfName()
{
    QFETCH(const bool, moved);
    const FilePath tree = there("tree");
    const FilePath quoted = "a 'quoted' \"name\" $(x)";
    makeFile(tree / ".hidden", "1");
    makeFile(tree / "deep/er" / nameThatIsNotUtf8, "2");
    makeFile(tree / quoted, "3");
    makeFolder(tree / "empty");
    makeFolder(there("outside"));
    makeLink(".hidden", tree / "relative");
    makeLink(there("outside"), tree / "toFolder");
    makeLink("no/where", tree / "dangling");
    setTime(tree / "dangling", 1200000000);
    setMode(tree / "deep", 0751);
    setTime(tree / "deep", 1100000000);

    const FilePath copy = at("copy");
    QVERIFY(!(moved ? moveItem(tree, copy) : copyItem(tree, copy)));
    QCOMPARE(itemExists(tree), !moved);
    QCOMPARE(contentsOfFile(copy / ".hidden"), QByteArray("1"));
    QCOMPARE(contentsOfFile(copy / "deep/er" / nameThatIsNotUtf8), QByteArray("2"));
    QCOMPARE(contentsOfFile(copy / quoted), QByteArray("3"));
    QVERIFY(isDirectory(copy / "empty"));
    QCOMPARE(targetOf(copy / "relative"), FilePath(".hidden"));
    QCOMPARE(targetOf(copy / "toFolder"), there("outside"));
    QCOMPARE(targetOf(copy / "dangling"), FilePath("no/where"));
    QCOMPARE(timeOf(copy / "dangling"), 1200000000);
    QCOMPARE(modeOf(copy / "deep"), 0751U);
    QCOMPARE(timeOf(copy / "deep"), 1100000000);
    QCOMPARE(contentsOfDirectory(copy).size(), 7);
}

void TestFileManagerCopies::aLinkIsCopiedAsALink()
{
    makeFile(there("folder/kept"));
    makeLink(there("folder"), there("link"));
    QVERIFY(!copyItem(there("link"), at("copied")));
    QCOMPARE(targetOf(at("copied")), there("folder"));
    QVERIFY(!moveItem(there("link"), at("moved")));
    QVERIFY(!itemExists(there("link")));
    QCOMPARE(targetOf(at("moved")), there("folder"));
    QVERIFY(fileExists(there("folder/kept")));
}

void TestFileManagerCopies::aFolderKeepsItsModeUnderAnyMask()
{
    makeFolder(at("tree"), 0751);
    const mode_t mask = ::umask(077);
    const FileError error = copyItem(at("tree"), at("copy"));
    ::umask(mask);
    QVERIFY(!error);
    QCOMPARE(modeOf(at("copy")), 0751U);
}

void TestFileManagerCopies::aReadOnlyFolderKeepsItsModeAndContent()
{
    makeFile(at("tree/inner/file"), "content");
    setMode(at("tree/inner"), 0555);
    setMode(at("tree"), 0555);
    const OrdinaryUser player;
    const FileError error = copyItem(at("tree"), at("copy"));
    QVERIFY2(!error, qPrintable(error.description));
    QCOMPARE(contentsOfFile(at("copy/inner/file")), QByteArray("content"));
    QCOMPARE(modeOf(at("copy")), 0555U);
    QCOMPARE(modeOf(at("copy/inner")), 0555U);
}

void TestFileManagerCopies::movesWithinADisk()
{
    makeFile(at("tree/file"));
    makeLink("nowhere", at("dangling"));
    QVERIFY(!moveItem(at("tree"), at("moved")));
    QVERIFY(!moveItem(at("dangling"), at("movedLink")));
    QVERIFY(!itemExists(at("tree")));
    QVERIFY(!itemExists(at("dangling")));
    QVERIFY(fileExists(at("moved/file")));
    QCOMPARE(targetOf(at("movedLink")), FilePath("nowhere"));
}

void TestFileManagerCopies::nothingIsReplaced_data()
{
    QTest::addColumn<FilePath>("source");
    QTest::addColumn<FilePath>("destination");

    QTest::newRow("folder onto folder") << FilePath("new") << FilePath("old");
    QTest::newRow("folder onto empty folder") << FilePath("new") << FilePath("empty");
    QTest::newRow("file onto folder") << FilePath("new/file") << FilePath("old");
    QTest::newRow("file onto file") << FilePath("new/file") << FilePath("old/file");
    QTest::newRow("onto a link") << FilePath("new") << FilePath("toFolder");
    QTest::newRow("onto a dangling link") << FilePath("new/file") << FilePath("dangling");
    QTest::newRow("nothing onto a folder") << FilePath("missing") << FilePath("old");
}

void TestFileManagerCopies::nothingIsReplaced()
{
    QFETCH(const FilePath, source);
    QFETCH(const FilePath, destination);
    makeFile(at("new/file"), "new");
    for (const FilePath &base : {at("base"), there("base")}) {
        makeFile(base / "old/file", "old");
        makeFolder(base / "empty");
        makeLink("old", base / "toFolder");
        makeLink("nowhere", base / "dangling");

        const FilePath from = at(source);
        const FilePath to = base / destination;
        QCOMPARE(copyItem(from, to).code, FileError::FileExists);
        QCOMPARE(moveItem(from, to).code, FileError::FileExists);
        QCOMPARE(contentsOfFile(at("new/file")), QByteArray("new"));
        QCOMPARE(contentsOfFile(base / "old/file"), QByteArray("old"));
        QCOMPARE(contentsOfDirectory(base / "old").size(), 1);
        QVERIFY(contentsOfDirectory(base / "empty").isEmpty());
        QCOMPARE(targetOf(base / "dangling"), FilePath("nowhere"));
        QVERIFY(!itemExists(base / "nowhere"));
    }
}

void TestFileManagerCopies::whatFailsHasItsReason_data()
{
    QTest::addColumn<FilePath>("source");
    QTest::addColumn<FilePath>("destination");
    QTest::addColumn<FileError::Code>("code");
    QTest::newRow("nothing there") << FilePath("missing") << FilePath("new") << FileError::NoSuchFile;
    QTest::newRow("into no folder") << FilePath("file") << FilePath("missing/new") << FileError::NoSuchFile;
    QTest::newRow("name too long") << FilePath("file") << FilePath(std::string(300, 'x')) << FileError::InvalidFileName;
    QTest::newRow("file refused") << FilePath("file") << FilePath("locked/new") << FileError::NoWritePermission;
    QTest::newRow("folder refused") << FilePath("folder") << FilePath("locked/new") << FileError::NoWritePermission;
    QTest::newRow("unreadable file") << FilePath("unreadable") << FilePath("new") << FileError::NoWritePermission;
    QTest::newRow("unreadable folder") << FilePath("closed") << FilePath("new") << FileError::NoWritePermission;
}

// Of a copy and of a move to another disk; where something can be read or not does not matter within one disk.
void TestFileManagerCopies::whatFailsHasItsReason()
{
    QFETCH(const FilePath, source);
    QFETCH(const FilePath, destination);
    QFETCH(const FileError::Code, code);
    setMode(there(""), 0777);
    for (const FilePath &base : {at(""), there("")}) {
        makeFile(base / "file");
        makeFile(base / "unreadable", "bytes", 0);
        makeFolder(base / "folder");
        makeFolder(base / "closed", 0);
        makeFolder(base / "locked", 0555);
    }
    const FilePath from = at(source);
    const bool wasThere = itemExists(from);
    const bool isUnreadable = modeOf(from) == 0;
    const OrdinaryUser player;
    QCOMPARE(copyItem(from, at(destination)).code, code);
    QVERIFY(!isDirectory(at(destination)));
    QCOMPARE(moveItem(from, there(destination)).code, code);
    QVERIFY(!itemExists(there(destination)));
    if (!isUnreadable)
        QCOMPARE(moveItem(from, at(destination)).code, code);
    QCOMPARE(itemExists(from), wasThere);
}

void TestFileManagerCopies::aFifoIsNotCopiedAndDoesNotHoldTheCopy()
{
    makeFolder(at("tree/folder"));
    makeFifo(at("tree/folder/fifo"));
    QCOMPARE(copyItem(at("tree/folder/fifo"), at("copy")).code, FileError::Unknown);
    QVERIFY(!itemExists(at("copy")));
    QCOMPARE(copyItem(at("tree"), at("copy")).code, FileError::Unknown);
    QVERIFY(!itemExists(at("copy"))); // a copy that fails leaves nothing
}

void TestFileManagerCopies::aFailedMoveToAnotherDiskLeavesTheSourceWholeAndNoHalfCopy()
{
    // In whatever order they are copied, some come before the fifo. The half copy goes although it is read-only.
    QList<FilePath> folders;
    for (int i = 0; i < 10; ++i) {
        if (i == 5)
            makeFifo(there("tree/fifo"));
        folders.append(there("tree/folder" + std::to_string(i)));
        makeFile(folders.last() / "file");
        setMode(folders.last(), 0555);
    }

    const OrdinaryUser player;
    QCOMPARE(moveItem(there("tree"), at("moved")).code, FileError::Unknown);
    QVERIFY(!itemExists(at("moved")));
    QCOMPARE(contentsOfDirectory(there("tree")).size(), 11);
    for (const FilePath &folder : folders)
        QVERIFY(fileExists(folder / "file"));
}

// A refusal told here would raise a prompt for a second copy into the first.
void TestFileManagerCopies::aMoveIsDoneWhenTheCopyIs()
{
    makeFile(there("locked/tree/file"));
    setMode(there("locked"), 0555);
    const OrdinaryUser player;
    QVERIFY(!moveItem(there("locked/tree"), at("moved")));
    QVERIFY(fileExists(at("moved/file")));
    QVERIFY(isDirectory(there("locked/tree")));
}

void TestFileManagerCopies::aFullDiskIsOutOfSpace()
{
    if (!Rerun::isRerun()) {
        if (!Rerun::canMount())
            QSKIP("the kernel refuses this process mounts of its own");
        makeFolder(at("small"));
        makeFile(at("large"), QByteArray(1000000, 'x'));
        const QString mount = u"mount -t tmpfs -o size=64k,nr_inodes=4 none \"$1/small\""_s;
        Rerun::verifyPasses(Rerun::withMounts(mount, toText(at(""))), {{u"WAYFAR_TEST_FOLDER"_s, toText(at(""))}});
        return;
    }
    const FilePath world = toPath(qEnvironmentVariable("WAYFAR_TEST_FOLDER"));
    QCOMPARE(copyItem(world / "large", world / "small/copy").code, FileError::OutOfSpace);
    QVERIFY(!itemExists(world / "small/copy"));
    QCOMPARE(moveItem(world / "large", world / "small/moved").code, FileError::OutOfSpace);
    QVERIFY(!itemExists(world / "small/moved"));
    QVERIFY(fileExists(world / "large"));
    QCOMPARE(createDirectory(world / "small/1/2/3/4/5", true).code, FileError::OutOfSpace);
    QCOMPARE(removeItem(world / "small").code, FileError::Unknown); // busy, which is no matter of rights
}

QTEST_GUILESS_MAIN(TestFileManagerCopies)
#include "TestFileManagerCopies.moc"
