#include "platform/FileManager.h"

#include "support/Rerun.h"
#include "support/TestWorld.h"

#include <QDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace FileManager;

namespace
{
const FilePath notUtf8 = "caf\xe9";

struct stat statusOf(const FilePath &path)
{
    struct stat status = {};
    ::lstat(path.c_str(), &status);
    return status;
}

mode_t modeOf(const FilePath &path)
{
    return statusOf(path).st_mode & 07777;
}

FilePath targetOf(const FilePath &link)
{
    std::error_code failure;
    return std::filesystem::read_symlink(link, failure);
}

void setTime(const FilePath &path, time_t seconds)
{
    const timespec times[] = {{seconds, 0}, {seconds, 123456789}};
    QCOMPARE(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
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

// Copies and moves: what the installation relies on when it puts a pack into the game's folder.
class TestFileManagerCopies : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void copiesAFileWithItsModeAndTime();
    void copiesATreeWithEveryKindOfName();
    void copiesLinksAsLinks();
    void aCopiedFolderKeepsItsModeUnderAnyMask();
    void aCopyOfAReadOnlyFolderKeepsItsModeAndContent();
    void aCopyNeverMergesIntoWhatExists_data();
    void aCopyNeverMergesIntoWhatExists();
    void aCopyThatFailsHasItsReason();
    void anUnreadableSourceIsAMissingPermission();
    void aFifoIsNotCopiedAndDoesNotHoldTheCopy();
    void aFailedCopyLeavesWhatItMade();
    void aFullDiskIsOutOfSpace();

    void movesWithinADisk();
    void aMoveReplacesNothing_data();
    void aMoveReplacesNothing();
    void aMoveThatFailsHasItsReason();
    void movesATreeToAnotherDisk();
    void movesALinkToAnotherDiskAsALink();
    void aFailedMoveToAnotherDiskLeavesTheSourceWholeAndNoHalfCopy();
    void aMoveIsDoneWhenTheCopyIs();

private:
    FilePath at(const FilePath &name) const { return toPath(m_world->path()) / name; }
    FilePath there(const FilePath &name) const { return toPath(m_disk->path()) / name; }
    void write(const FilePath &path, const QByteArray &bytes = "bytes") const;
    void makeFolder(const FilePath &path, mode_t mode = 0755) const;
    void makeLink(const FilePath &target, const FilePath &path) const;

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<QTemporaryDir> m_disk;
};

void TestFileManagerCopies::init()
{
    m_disk = otherDisk(toPath(QDir::tempPath()));
    QVERIFY2(m_disk, "there is no second file system to be found");
    QVERIFY(QFile::setPermissions(m_disk->path(), QFile::Permissions(0x7755)));
    m_world = std::make_unique<TestWorld>();
    QCOMPARE_NE(statusOf(at(".")).st_dev, statusOf(there(".")).st_dev);
}

void TestFileManagerCopies::cleanup()
{
    m_world.reset();
    makeTreeWritable(toPath(m_disk->path()));
    m_disk.reset();
}

void TestFileManagerCopies::write(const FilePath &path, const QByteArray &bytes) const
{
    QVERIFY(!createDirectory(path.parent_path(), true));
    QVERIFY(!createEmptyFile(path));
    QVERIFY(appendToExistingFile(path, bytes));
}

void TestFileManagerCopies::makeFolder(const FilePath &path, mode_t mode) const
{
    QVERIFY(!createDirectory(path, true));
    QCOMPARE(::chmod(path.c_str(), mode), 0);
}

void TestFileManagerCopies::makeLink(const FilePath &target, const FilePath &path) const
{
    QCOMPARE(::symlink(target.c_str(), path.c_str()), 0);
}

void TestFileManagerCopies::copiesAFileWithItsModeAndTime()
{
    write(at("file"), QByteArray(300000, 'x'));
    QCOMPARE(::chmod(at("file").c_str(), 04750), 0);
    setTime(at("file"), 1000000000);
    QVERIFY(!copyItem(at("file"), at("copy")));
    QCOMPARE(contentsOfFile(at("copy")), QByteArray(300000, 'x'));
    QCOMPARE(modeOf(at("copy")), 04750U);
    QCOMPARE(statusOf(at("copy")).st_mtim.tv_sec, 1000000000);
    QCOMPARE(statusOf(at("copy")).st_mtim.tv_nsec, 123456789);
    QVERIFY(fileExists(at("file")));
}

void TestFileManagerCopies::copiesATreeWithEveryKindOfName()
{
    write(at("tree/.hidden"), "1");
    write(at("tree/deep/er") / notUtf8, "2");
    write(at("tree/a 'quoted' \"name\" $(x)"), "3");
    makeFolder(at("tree/empty"));
    setTime(at("tree/deep"), 1100000000);
    QVERIFY(!copyItem(at("tree"), at("copy")));
    QCOMPARE(contentsOfFile(at("copy/.hidden")), QByteArray("1"));
    QCOMPARE(contentsOfFile(at("copy/deep/er") / notUtf8), QByteArray("2"));
    QCOMPARE(contentsOfFile(at("copy/a 'quoted' \"name\" $(x)")), QByteArray("3"));
    QVERIFY(isDirectory(at("copy/empty")));
    QCOMPARE(statusOf(at("copy/deep")).st_mtim.tv_sec, 1100000000);
    QCOMPARE(contentsOfDirectory(at("copy")).size(), 4);
}

void TestFileManagerCopies::copiesLinksAsLinks()
{
    write(at("tree/file"));
    makeFolder(at("outside"));
    makeLink("file", at("tree/relative"));
    makeLink(at("outside"), at("tree/toFolder"));
    makeLink("no/where", at("tree/dangling"));
    setTime(at("tree/dangling"), 1200000000);
    QVERIFY(!copyItem(at("tree"), at("copy")));
    QCOMPARE(targetOf(at("copy/relative")), FilePath("file"));
    QCOMPARE(targetOf(at("copy/toFolder")), at("outside"));
    QCOMPARE(targetOf(at("copy/dangling")), FilePath("no/where"));
    QCOMPARE(statusOf(at("copy/dangling")).st_mtim.tv_sec, 1200000000);

    QVERIFY(!copyItem(at("tree/toFolder"), at("linkCopy")));
    QCOMPARE(targetOf(at("linkCopy")), at("outside"));
}

void TestFileManagerCopies::aCopiedFolderKeepsItsModeUnderAnyMask()
{
    makeFolder(at("tree"), 0751);
    const mode_t mask = ::umask(077);
    const FileError error = copyItem(at("tree"), at("copy"));
    ::umask(mask);
    QVERIFY(!error);
    QCOMPARE(modeOf(at("copy")), 0751U);
}

void TestFileManagerCopies::aCopyOfAReadOnlyFolderKeepsItsModeAndContent()
{
    write(at("tree/inner/file"), "content");
    makeFolder(at("tree/inner"), 0555);
    makeFolder(at("tree"), 0555);
    makeFolder(at("open"), 0777);
    const OrdinaryUser player;
    const FileError error = copyItem(at("tree"), at("open/copy"));
    QVERIFY2(!error, qPrintable(error.description));
    QCOMPARE(contentsOfFile(at("open/copy/inner/file")), QByteArray("content"));
    QCOMPARE(modeOf(at("open/copy")), 0555U);
    QCOMPARE(modeOf(at("open/copy/inner")), 0555U);
}

void TestFileManagerCopies::aCopyNeverMergesIntoWhatExists_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QByteArray>("destination");

    QTest::newRow("folder onto folder") << QByteArray("new") << QByteArray("folder");
    QTest::newRow("folder onto empty folder") << QByteArray("new") << QByteArray("empty");
    QTest::newRow("file onto folder") << QByteArray("new/file") << QByteArray("folder");
    QTest::newRow("file onto file") << QByteArray("new/file") << QByteArray("folder/file");
    QTest::newRow("onto a link") << QByteArray("new") << QByteArray("toFolder");
    QTest::newRow("onto a dangling link") << QByteArray("new/file") << QByteArray("dangling");
    QTest::newRow("of nothing") << QByteArray("missing") << QByteArray("folder");
}

void TestFileManagerCopies::aCopyNeverMergesIntoWhatExists()
{
    write(at("new/file"), "new");
    write(at("folder/file"), "old");
    makeFolder(at("empty"));
    makeLink("folder", at("toFolder"));
    makeLink("nowhere", at("dangling"));
    QFETCH(const QByteArray, source);
    QFETCH(const QByteArray, destination);
    QCOMPARE(copyItem(at(source.toStdString()), at(destination.toStdString())).code, FileError::FileExists);
    QCOMPARE(contentsOfFile(at("folder/file")), QByteArray("old"));
    QCOMPARE(contentsOfDirectory(at("folder")).size(), 1);
    QVERIFY(contentsOfDirectory(at("empty")).isEmpty());
    QVERIFY(!itemExists(at("nowhere")));
}

void TestFileManagerCopies::aCopyThatFailsHasItsReason()
{
    write(at("file"));
    makeFolder(at("locked"), 0555);
    QCOMPARE(copyItem(at("missing"), at("copy")).code, FileError::NoSuchFile);
    QCOMPARE(copyItem(at("file"), at("missing/copy")).code, FileError::NoSuchFile);
    QCOMPARE(copyItem(at("file"), at(std::string(300, 'x'))).code, FileError::InvalidFileName);
    QVERIFY(!itemExists(at("copy")));
    const OrdinaryUser player;
    QCOMPARE(copyItem(at("file"), at("locked/copy")).code, FileError::NoWritePermission);
    QCOMPARE(copyItem(at("locked"), at("locked/copy")).code, FileError::NoWritePermission);
}

void TestFileManagerCopies::anUnreadableSourceIsAMissingPermission()
{
    write(at("file"));
    QCOMPARE(::chmod(at("file").c_str(), 0), 0);
    makeFolder(at("folder"), 0);
    makeFolder(at("open"), 0777);
    const OrdinaryUser player;
    QCOMPARE(copyItem(at("file"), at("open/file")).code, FileError::NoWritePermission);
    QCOMPARE(copyItem(at("folder"), at("open/folder")).code, FileError::NoWritePermission);
    QVERIFY(!itemExists(at("open/folder")));
}

void TestFileManagerCopies::aFifoIsNotCopiedAndDoesNotHoldTheCopy()
{
    makeFolder(at("tree"));
    QCOMPARE(::mkfifo(at("tree/fifo").c_str(), 0666), 0);
    QCOMPARE(copyItem(at("tree/fifo"), at("copy")).code, FileError::Unknown);
    QVERIFY(!itemExists(at("copy")));
    QCOMPARE(copyItem(at("tree"), at("copy")).code, FileError::Unknown);
}

void TestFileManagerCopies::aFailedCopyLeavesWhatItMade()
{
    makeFolder(at("tree/folder"));
    QCOMPARE(::mkfifo(at("tree/folder/fifo").c_str(), 0666), 0);
    QVERIFY(copyItem(at("tree"), at("copy")));
    QVERIFY(isDirectory(at("copy/folder")));
}

void TestFileManagerCopies::aFullDiskIsOutOfSpace()
{
    if (!Rerun::isRerun()) {
        if (!Rerun::canMount())
            QSKIP("the kernel refuses this process mounts of its own");
        makeFolder(at("small"));
        write(at("large"), QByteArray(1000000, 'x'));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"WAYFAR_TEST_FOLDER"_s, m_world->path());
        const QString mount = u"mount -t tmpfs -o size=64k,nr_inodes=4 none \"$1/small\""_s;
        const auto result = Rerun::run(Rerun::withMounts(mount, m_world->path()), environment);
        QVERIFY2(result.status == 0, result.output.constData());
        return;
    }
    const FilePath world = toPath(qEnvironmentVariable("WAYFAR_TEST_FOLDER"));
    QCOMPARE(copyItem(world / "large", world / "small/copy").code, FileError::OutOfSpace);
    QVERIFY(!removeItem(world / "small/copy"));
    QCOMPARE(moveItem(world / "large", world / "small/moved").code, FileError::OutOfSpace);
    QVERIFY(!itemExists(world / "small/moved"));
    QVERIFY(fileExists(world / "large"));
    QCOMPARE(createDirectory(world / "small/1/2/3/4/5", true).code, FileError::OutOfSpace);
    QCOMPARE(removeItem(world / "small").code, FileError::Unknown); // busy, which is no matter of rights
}

void TestFileManagerCopies::movesWithinADisk()
{
    write(at("tree/file"));
    makeLink("nowhere", at("dangling"));
    QVERIFY(!moveItem(at("tree"), at("moved")));
    QVERIFY(!moveItem(at("dangling"), at("movedLink")));
    QVERIFY(!itemExists(at("tree")));
    QVERIFY(!itemExists(at("dangling")));
    QVERIFY(fileExists(at("moved/file")));
    QCOMPARE(targetOf(at("movedLink")), FilePath("nowhere"));
}

void TestFileManagerCopies::aMoveReplacesNothing_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QByteArray>("destination");

    QTest::newRow("file onto file") << QByteArray("new/file") << QByteArray("old/file");
    QTest::newRow("folder onto empty folder") << QByteArray("new") << QByteArray("empty");
    QTest::newRow("folder onto full folder") << QByteArray("new") << QByteArray("old");
    QTest::newRow("file onto a dangling link") << QByteArray("new/file") << QByteArray("dangling");
}

void TestFileManagerCopies::aMoveReplacesNothing()
{
    for (const FilePath &base : {at(""), there("")}) {
        write(base / "old/file", "old");
        makeFolder(base / "empty");
        makeLink("nowhere", base / "dangling");
    }
    write(at("new/file"), "new");
    QFETCH(const QByteArray, source);
    QFETCH(const QByteArray, destination);
    const FilePath from = at(source.toStdString());
    QCOMPARE(moveItem(from, at(destination.toStdString())).code, FileError::FileExists);
    QCOMPARE(moveItem(from, there(destination.toStdString())).code, FileError::FileExists);
    QVERIFY(fileExists(from));
    QCOMPARE(contentsOfFile(at("old/file")), QByteArray("old"));
    QVERIFY(contentsOfDirectory(at("empty")).isEmpty());
    QCOMPARE(targetOf(at("dangling")), FilePath("nowhere"));
}

void TestFileManagerCopies::aMoveThatFailsHasItsReason()
{
    write(at("file"));
    makeFolder(at("locked"), 0555);
    makeFolder(there("locked"), 0555);
    QCOMPARE(moveItem(at("missing"), at("moved")).code, FileError::NoSuchFile);
    QCOMPARE(moveItem(at("missing"), there("moved")).code, FileError::NoSuchFile);
    QCOMPARE(moveItem(at("file"), at("missing/moved")).code, FileError::NoSuchFile);
    const OrdinaryUser player;
    QCOMPARE(moveItem(at("file"), at("locked/moved")).code, FileError::NoWritePermission);
    QCOMPARE(moveItem(at("file"), there("locked/moved")).code, FileError::NoWritePermission);
    QVERIFY(fileExists(at("file")));
}

void TestFileManagerCopies::movesATreeToAnotherDisk()
{
    write(there("tree/.hidden"), "1");
    write(there("tree/deep") / notUtf8, "2");
    makeLink("no/where", there("tree/dangling"));
    makeFolder(there("tree/deep"), 0751);
    setTime(there("tree/deep"), 1300000000);
    QVERIFY(!moveItem(there("tree"), at("moved")));
    QVERIFY(!itemExists(there("tree")));
    QCOMPARE(contentsOfFile(at("moved/.hidden")), QByteArray("1"));
    QCOMPARE(contentsOfFile(at("moved/deep") / notUtf8), QByteArray("2"));
    QCOMPARE(targetOf(at("moved/dangling")), FilePath("no/where"));
    QCOMPARE(modeOf(at("moved/deep")), 0751U);
    QCOMPARE(statusOf(at("moved/deep")).st_mtim.tv_sec, 1300000000);
}

void TestFileManagerCopies::movesALinkToAnotherDiskAsALink()
{
    write(there("folder/kept"));
    makeLink(there("folder"), there("link"));
    QVERIFY(!moveItem(there("link"), at("link")));
    QVERIFY(!itemExists(there("link")));
    QCOMPARE(targetOf(at("link")), there("folder"));
    QVERIFY(fileExists(there("folder/kept")));
}

void TestFileManagerCopies::aFailedMoveToAnotherDiskLeavesTheSourceWholeAndNoHalfCopy()
{
    const auto writeReadOnly = [this](const FilePath &path) {
        write(path / "file");
        makeFolder(path, 0555); // the half copy has to go with it
    };
    makeFolder(at("open"), 0777);
    for (int i = 0; i < 5; ++i)
        writeReadOnly(there("tree/before" + std::to_string(i)));
    QCOMPARE(::mkfifo(there("tree/fifo").c_str(), 0666), 0);
    for (int i = 0; i < 5; ++i)
        writeReadOnly(there("tree/after" + std::to_string(i)));

    const OrdinaryUser player;
    QCOMPARE(moveItem(there("tree"), at("open/moved")).code, FileError::Unknown);
    QVERIFY(!itemExists(at("open/moved")));
    QCOMPARE(contentsOfDirectory(there("tree")).size(), 11);
    QVERIFY(fileExists(there("tree/before0/file")));
    QVERIFY(fileExists(there("tree/after4/file")));
}

// A refusal told here would raise a prompt for a second copy into the first.
void TestFileManagerCopies::aMoveIsDoneWhenTheCopyIs()
{
    write(there("locked/tree/file"));
    makeFolder(there("locked"), 0555);
    makeFolder(at("open"), 0777);
    const OrdinaryUser player;
    QVERIFY(!moveItem(there("locked/tree"), at("open/moved")));
    QVERIFY(fileExists(at("open/moved/file")));
    QVERIFY(isDirectory(there("locked/tree")));
}

QTEST_GUILESS_MAIN(TestFileManagerCopies)
#include "TestFileManagerCopies.moc"
