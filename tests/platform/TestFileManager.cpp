#include "platform/FileManager.h"

#include "support/Rerun.h"
#include "support/TestWorld.h"

#include <QDir>
#include <QTest>

#include <algorithm>
#include <functional>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace FileManager;

namespace
{
const FilePath notUtf8 = "caf\xe9";

// Runs it with the file system's view of an ordinary user.
template<typename Action> auto asOrdinaryUser(const Action &action)
{
    const OrdinaryUser player;
    return action();
}

mode_t modeOf(const FilePath &path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}
} // namespace

class TestFileManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aPathKeepsItsText();

    void aFileFolderOrLinkExists_data();
    void aFileFolderOrLinkExists();
    void nothingExistsBelowAnUnsearchableFolder();
    void noPathIsAnsweredLikeAMissingOne();

    void aFolderIsMadeWithItsParents_data();
    void aFolderIsMadeWithItsParents();
    void anExistingFolderIsNoErrorWithIntermediates();
    void anExistingFolderIsAnErrorWithoutIntermediates();
    void aFolderThatCannotBeMadeHasItsReason_data();
    void aFolderThatCannotBeMadeHasItsReason();
    void aRefusedFolderIsAMissingWritePermission();
    void theErrorNamesThePathAndTheReason();

    void removesAFolderWithEverythingInIt();
    void removesALinkAndNotItsTarget();
    void removingNothingIsNoSuchFile();
    void aRefusedRemovalIsAMissingWritePermission();
    void aRemovalStopsAtTheFirstRefusal();

    void listsEveryNameAsItsBytes();
    void aFolderThatCannotBeListedHasNoNames();

    void aTreeIsMadeWritableForItsOwner();
    void aTreeBehindALinkKeepsItsModes();

    void readsPlainFilesOnly_data();
    void readsPlainFilesOnly();
    void aFileThatMayNotBeReadHasNoContents();
    void anEmptyFileIsMadeOrEmptied();
    void anEmptyFileThatCannotBeMadeHasItsReason();
    void aFifoDoesNotHoldTheWriter();
    void appendsToAnExistingFileOnly();
    void anAppendThatFindsNoRoomFails();
    void writesAtomically();
    void aFailedAtomicWriteLeavesTheOldFile();

    void aReadOnlyDiskIsNoMissingPermission();

private:
    FilePath at(const FilePath &name) const { return toPath(m_world->path()) / name; }
    void write(const FilePath &name, const QByteArray &bytes = "bytes") const;
    void makeFolder(const FilePath &name, mode_t mode = 0755) const;
    void makeLink(const FilePath &target, const FilePath &name) const;

    std::unique_ptr<TestWorld> m_world;
};

void TestFileManager::init()
{
    m_world = std::make_unique<TestWorld>();
}

void TestFileManager::cleanup()
{
    m_world.reset();
}

void TestFileManager::write(const FilePath &name, const QByteArray &bytes) const
{
    QVERIFY(!createEmptyFile(at(name)));
    QVERIFY(appendToExistingFile(at(name), bytes));
}

void TestFileManager::makeFolder(const FilePath &name, mode_t mode) const
{
    QVERIFY(!createDirectory(at(name), true));
    QCOMPARE(::chmod(at(name).c_str(), mode), 0);
}

void TestFileManager::makeLink(const FilePath &target, const FilePath &name) const
{
    QCOMPARE(::symlink(target.c_str(), at(name).c_str()), 0);
}

void TestFileManager::aPathKeepsItsText()
{
    const QString text = u"/spiel/Weg über α 💾/x"_s;
    QCOMPARE(toPath(text).native(), text.toUtf8().toStdString());
    QCOMPARE(toText(toPath(text)), text);
}

void TestFileManager::aFileFolderOrLinkExists_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("file"); // fileExists
    QTest::addColumn<bool>("item"); // itemExists
    QTest::addColumn<bool>("folder"); // isDirectory

    QTest::newRow("file") << QByteArray("file") << true << true << false;
    QTest::newRow("folder") << QByteArray("folder") << true << true << true;
    QTest::newRow("link to a file") << QByteArray("toFile") << true << true << false;
    QTest::newRow("link to a folder") << QByteArray("toFolder") << true << true << true;
    QTest::newRow("dangling link") << QByteArray("dangling") << false << true << false;
    QTest::newRow("missing") << QByteArray("missing") << false << false << false;
    QTest::newRow("below a file") << QByteArray("file/below") << false << false << false;
    QTest::newRow("name that is not UTF-8") << QByteArray("caf\xe9") << true << true << false;
}

void TestFileManager::aFileFolderOrLinkExists()
{
    write("file");
    write(notUtf8);
    makeFolder("folder");
    makeLink("file", "toFile");
    makeLink("folder", "toFolder");
    makeLink("nowhere", "dangling");

    QFETCH(const QByteArray, name);
    const FilePath path = at(name.toStdString());
    QTEST(fileExists(path), "file");
    QTEST(itemExists(path), "item");
    QTEST(isDirectory(path), "folder");
}

void TestFileManager::nothingExistsBelowAnUnsearchableFolder()
{
    makeFolder("closed/inner");
    QCOMPARE(::chmod(at("closed").c_str(), 0), 0);
    const OrdinaryUser player;
    QVERIFY(!fileExists(at("closed/inner")));
    QVERIFY(!itemExists(at("closed/inner")));
    QCOMPARE(createDirectory(at("closed/inner"), true).code, FileError::NoWritePermission);
}

void TestFileManager::noPathIsAnsweredLikeAMissingOne()
{
    const OptionalPath none;
    QVERIFY(!fileExists(none));
    QVERIFY(!itemExists(none));
    QVERIFY(!isDirectory(none));
    QCOMPARE(createDirectory(none, true).code, FileError::NoSuchFile);
    QCOMPARE(removeItem(none).code, FileError::NoSuchFile);
    QCOMPARE(copyItem(none, at("copy")).code, FileError::NoSuchFile);
    QCOMPARE(copyItem(at("copy"), none).code, FileError::NoSuchFile);
    QCOMPARE(moveItem(none, at("copy")).code, FileError::NoSuchFile);
    QCOMPARE(moveItem(at("copy"), none).code, FileError::NoSuchFile);
    QVERIFY(contentsOfDirectory(none).isEmpty());
    makeTreeWritable(none);
    QVERIFY(!contentsOfFile(none));
    QCOMPARE(createEmptyFile(none).code, FileError::NoSuchFile);
    QVERIFY(!appendToExistingFile(none, "bytes"));
    QCOMPARE(writeAtomically(none, "bytes").code, FileError::NoSuchFile);
}

void TestFileManager::aFolderIsMadeWithItsParents_data()
{
    QTest::addColumn<QByteArray>("name");

    QTest::newRow("parents missing") << QByteArray("a/b/c");
    QTest::newRow("trailing slash") << QByteArray("a/b/c/");
    QTest::newRow("doubled slash") << QByteArray("a//b//c");
    QTest::newRow("through a link") << QByteArray("toFolder/b/c");
}

void TestFileManager::aFolderIsMadeWithItsParents()
{
    makeFolder("folder");
    makeLink("folder", "toFolder");
    QFETCH(const QByteArray, name);
    const FilePath path = at(name.toStdString());
    const FileError error = createDirectory(path, true);
    QVERIFY2(!error, qPrintable(error.description));
    QVERIFY(error.description.isEmpty());
    QVERIFY(isDirectory(path));
    QVERIFY(!createDirectory(path, true));
}

void TestFileManager::anExistingFolderIsNoErrorWithIntermediates()
{
    makeFolder("folder", 0555);
    makeLink("folder", "toFolder");
    const OrdinaryUser player; // nothing is made, so nothing is refused
    QVERIFY(!createDirectory(at("folder"), true));
    QVERIFY(!createDirectory(at("toFolder"), true));
    QVERIFY(!createDirectory("/", true));
}

void TestFileManager::anExistingFolderIsAnErrorWithoutIntermediates()
{
    makeFolder("folder");
    QCOMPARE(createDirectory(at("folder"), false).code, FileError::FileExists);
    QVERIFY(!createDirectory(at("other"), false));
    QVERIFY(isDirectory(at("other")));
}

void TestFileManager::aFolderThatCannotBeMadeHasItsReason_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("withIntermediates");
    QTest::addColumn<FileError::Code>("code");

    const auto row = [](const char *rule, const QByteArray &name, bool withIntermediates, FileError::Code code) {
        QTest::newRow(rule) << name << withIntermediates << code;
    };
    row("file in the way", "file", true, FileError::FileExists);
    row("file in the way, without", "file", false, FileError::FileExists);
    row("dangling link in the way", "dangling", true, FileError::FileExists);
    row("below a dangling link", "dangling/x", true, FileError::FileExists);
    row("file among the parents", "file/x/y", true, FileError::Unknown);
    row("parent missing, without", "a/b", false, FileError::NoSuchFile);
    row("name too long", QByteArray(300, 'x'), true, FileError::InvalidFileName);
    row("parent's name too long", QByteArray(300, 'x') + "/y", true, FileError::InvalidFileName);
}

void TestFileManager::aFolderThatCannotBeMadeHasItsReason()
{
    write("file");
    makeLink("nowhere", "dangling");
    QFETCH(const QByteArray, name);
    QFETCH(const bool, withIntermediates);
    QTEST(createDirectory(at(name.toStdString()), withIntermediates).code, "code");
}

void TestFileManager::aRefusedFolderIsAMissingWritePermission()
{
    makeFolder("locked", 0555);
    const OrdinaryUser player;
    QCOMPARE(createDirectory(at("locked/a"), false).code, FileError::NoWritePermission);
    QCOMPARE(createDirectory(at("locked/a/b/c"), true).code, FileError::NoWritePermission);
}

void TestFileManager::theErrorNamesThePathAndTheReason()
{
    write("file");
    const FileError error = createDirectory(at("file"), true);
    QVERIFY(error);
    QCOMPARE(error.description, toText(at("file")) + u": File exists"_s);
}

void TestFileManager::removesAFolderWithEverythingInIt()
{
    makeFolder("tree/a/b");
    makeFolder("outside");
    write("outside/kept");
    write("tree/.hidden");
    write(FilePath("tree/a") / notUtf8);
    makeLink("nowhere", "tree/dangling");
    makeLink(at("outside"), "tree/a/toOutside");
    QVERIFY(!removeItem(at("tree")));
    QVERIFY(!itemExists(at("tree")));
    QVERIFY(fileExists(at("outside/kept")));
}

void TestFileManager::removesALinkAndNotItsTarget()
{
    makeFolder("folder");
    write("folder/kept");
    makeLink("folder", "toFolder");
    makeLink("nowhere", "dangling");
    QVERIFY(!removeItem(at("toFolder")));
    QVERIFY(!removeItem(at("dangling")));
    QVERIFY(!itemExists(at("toFolder")));
    QVERIFY(!itemExists(at("dangling")));
    QVERIFY(fileExists(at("folder/kept")));
}

void TestFileManager::removingNothingIsNoSuchFile()
{
    QCOMPARE(removeItem(at("missing")).code, FileError::NoSuchFile);
    QCOMPARE(removeItem(at("missing/deeper")).code, FileError::NoSuchFile);
    write("file");
    QCOMPARE(removeItem(at("file/below")).code, FileError::Unknown);
}

void TestFileManager::aRefusedRemovalIsAMissingWritePermission()
{
    makeFolder("locked/folder");
    write("locked/file");
    QCOMPARE(::chmod(at("locked").c_str(), 0555), 0);
    const OrdinaryUser player;
    QCOMPARE(removeItem(at("locked/file")).code, FileError::NoWritePermission);
    QCOMPARE(removeItem(at("locked/folder")).code, FileError::NoWritePermission);
    QVERIFY(fileExists(at("locked/file")));
}

void TestFileManager::aRemovalStopsAtTheFirstRefusal()
{
    makeFolder("open", 0777);
    makeFolder("open/tree/locked");
    write("open/tree/locked/file");
    QCOMPARE(::chmod(at("open/tree/locked").c_str(), 0555), 0);
    QCOMPARE(::chmod(at("open/tree").c_str(), 0777), 0);
    const OrdinaryUser player;
    QCOMPARE(removeItem(at("open/tree")).code, FileError::NoWritePermission);
    QVERIFY(fileExists(at("open/tree/locked/file")));
}

void TestFileManager::listsEveryNameAsItsBytes()
{
    makeFolder("tree/folder");
    write("tree/.hidden");
    write(FilePath("tree") / notUtf8);
    makeLink("nowhere", "tree/dangling");
    write("tree/folder/deeper");
    QList<FilePath> names = contentsOfDirectory(at("tree"));
    std::ranges::sort(names);
    QCOMPARE(names, QList<FilePath>({".hidden", notUtf8, "dangling", "folder"}));
}

void TestFileManager::aFolderThatCannotBeListedHasNoNames()
{
    write("file");
    makeFolder("closed/inner");
    QCOMPARE(::chmod(at("closed").c_str(), 0), 0);
    QVERIFY(contentsOfDirectory(at("file")).isEmpty());
    QVERIFY(contentsOfDirectory(at("missing")).isEmpty());
    QVERIFY(asOrdinaryUser([&] { return contentsOfDirectory(at("closed")); }).isEmpty());
}

void TestFileManager::aTreeIsMadeWritableForItsOwner()
{
    makeFolder("tree/a/b");
    write("tree/a/b/file");
    QCOMPARE(::chmod(at("tree/a/b/file").c_str(), 0444), 0);
    QCOMPARE(::chmod(at("tree/a/b").c_str(), 0), 0);
    QCOMPARE(::chmod(at("tree/a").c_str(), 0555), 0);
    QCOMPARE(::chmod(at("tree").c_str(), 0511), 0);
    makeTreeWritable(at("tree"));
    QCOMPARE(modeOf(at("tree")), 0711U);
    QCOMPARE(modeOf(at("tree/a")), 0755U);
    QCOMPARE(modeOf(at("tree/a/b")), 0700U);
    QCOMPARE(modeOf(at("tree/a/b/file")), 0444U);
}

void TestFileManager::aTreeBehindALinkKeepsItsModes()
{
    makeFolder("outside", 0555);
    makeFolder("tree");
    makeLink(at("outside"), "tree/link");
    makeLink("outside", "toOutside");
    makeTreeWritable(at("tree"));
    makeTreeWritable(at("toOutside"));
    makeTreeWritable(at("missing"));
    QCOMPARE(modeOf(at("outside")), 0555U);
}

void TestFileManager::readsPlainFilesOnly_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<std::optional<QByteArray>>("bytes");

    QTest::newRow("file") << QByteArray("file") << std::optional<QByteArray>(QByteArray("a\0b\n", 4));
    QTest::newRow("empty file") << QByteArray("empty") << std::optional<QByteArray>(QByteArray(""));
    QTest::newRow("link to a file") << QByteArray("toFile") << std::optional<QByteArray>(QByteArray("a\0b\n", 4));
    QTest::newRow("missing") << QByteArray("missing") << std::optional<QByteArray>();
    QTest::newRow("folder") << QByteArray("folder") << std::optional<QByteArray>();
    QTest::newRow("fifo that nobody writes to") << QByteArray("fifo") << std::optional<QByteArray>();
    QTest::newRow("device") << QByteArray("zero") << std::optional<QByteArray>();
}

void TestFileManager::readsPlainFilesOnly()
{
    write("file", QByteArray("a\0b\n", 4));
    write("empty", "");
    makeLink("file", "toFile");
    makeFolder("folder");
    makeLink("/dev/zero", "zero");
    QCOMPARE(::mkfifo(at("fifo").c_str(), 0666), 0);
    QFETCH(const QByteArray, name);
    QTEST(contentsOfFile(at(name.toStdString())), "bytes");
}

void TestFileManager::aFileThatMayNotBeReadHasNoContents()
{
    write("file");
    QCOMPARE(::chmod(at("file").c_str(), 0), 0);
    QVERIFY(!asOrdinaryUser([&] { return contentsOfFile(at("file")); }));
}

void TestFileManager::anEmptyFileIsMadeOrEmptied()
{
    QVERIFY(!createEmptyFile(at("file")));
    QCOMPARE(contentsOfFile(at("file")), QByteArray(""));
    QVERIFY(appendToExistingFile(at("file"), "bytes"));
    QVERIFY(!createEmptyFile(at("file")));
    QCOMPARE(contentsOfFile(at("file")), QByteArray(""));
}

void TestFileManager::anEmptyFileThatCannotBeMadeHasItsReason()
{
    makeFolder("locked", 0555);
    QCOMPARE(createEmptyFile(at("locked")).code, FileError::Unknown);
    QCOMPARE(createEmptyFile(at("missing/file")).code, FileError::NoSuchFile);
    QCOMPARE(asOrdinaryUser([&] { return createEmptyFile(at("locked/file")); }).code, FileError::NoWritePermission);
}

void TestFileManager::aFifoDoesNotHoldTheWriter()
{
    QCOMPARE(::mkfifo(at("fifo").c_str(), 0666), 0);
    QVERIFY(createEmptyFile(at("fifo")));
    QVERIFY(!appendToExistingFile(at("fifo"), "bytes"));
}

void TestFileManager::appendsToAnExistingFileOnly()
{
    QVERIFY(!appendToExistingFile(at("file"), "bytes"));
    QVERIFY(!itemExists(at("file")));
    write("file", "one ");
    QVERIFY(appendToExistingFile(at("file"), "two"));
    QVERIFY(appendToExistingFile(at("file"), ""));
    QCOMPARE(contentsOfFile(at("file")), QByteArray("one two"));
    QVERIFY(!appendToExistingFile(at("missing/file"), "bytes"));
}

void TestFileManager::anAppendThatFindsNoRoomFails()
{
    QVERIFY(!appendToExistingFile("/dev/full", "bytes"));
}

void TestFileManager::writesAtomically()
{
    QVERIFY(!writeAtomically(at("page.html"), "first, long"));
    QVERIFY(!writeAtomically(at("page.html"), "second"));
    QCOMPARE(contentsOfFile(at("page.html")), QByteArray("second"));
    QVERIFY(!writeAtomically(at("page.html"), ""));
    QCOMPARE(contentsOfFile(at("page.html")), QByteArray(""));
}

void TestFileManager::aFailedAtomicWriteLeavesTheOldFile()
{
    makeFolder("locked");
    write("locked/page.html", "old");
    QCOMPARE(::chmod(at("locked").c_str(), 0555), 0);
    const FileError error = asOrdinaryUser([&] { return writeAtomically(at("locked/page.html"), "new"); });
    QVERIFY(error);
    QVERIFY(!error.description.isEmpty());
    QCOMPARE(contentsOfFile(at("locked/page.html")), QByteArray("old"));
    QCOMPARE(contentsOfDirectory(at("locked")), QList<FilePath>{"page.html"});
    QVERIFY(writeAtomically(at("missing/page.html"), "new"));
}

// It would raise a prompt for a second try that must fail too.
void TestFileManager::aReadOnlyDiskIsNoMissingPermission()
{
    if (!Rerun::isRerun()) {
        if (!Rerun::canMount())
            QSKIP("the kernel refuses this process mounts of its own");
        makeFolder("disk/old");
        write("disk/old/file", "kept");
        write("file", "here");
        const QString readOnly = u"mount --bind \"$1/disk\" \"$1/disk\"; mount -o remount,ro,bind \"$1/disk\""_s;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"WAYFAR_TEST_FOLDER"_s, m_world->path());
        const auto result = Rerun::run(Rerun::withMounts(readOnly, m_world->path()), environment);
        QVERIFY2(result.status == 0, result.output.constData());
        return;
    }
    const FilePath world = toPath(qEnvironmentVariable("WAYFAR_TEST_FOLDER"));
    const FilePath disk = world / "disk";
    QCOMPARE(createDirectory(disk / "new/deeper", true).code, FileError::VolumeReadOnly);
    QVERIFY(!createDirectory(disk / "old", true));
    QCOMPARE(removeItem(disk / "old").code, FileError::VolumeReadOnly);
    QCOMPARE(createEmptyFile(disk / "new").code, FileError::VolumeReadOnly);
    QVERIFY(!appendToExistingFile(disk / "old/file", "more"));
    QCOMPARE(copyItem(disk / "old", disk / "new").code, FileError::VolumeReadOnly);
    QCOMPARE(moveItem(disk / "old", disk / "new").code, FileError::VolumeReadOnly);
    QCOMPARE(moveItem(world / "file", disk / "new").code, FileError::VolumeReadOnly);
    QVERIFY(fileExists(world / "file"));
    QVERIFY(!moveItem(disk / "old", world / "moved")); // the copy is complete; the source just can't go
    QCOMPARE(contentsOfFile(world / "moved/file"), QByteArray("kept"));
}

QTEST_GUILESS_MAIN(TestFileManager)
#include "TestFileManager.moc"
