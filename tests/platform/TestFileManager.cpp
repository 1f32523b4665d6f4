#include "platform/FileManager.h"

#include "support/Files.h"
#include "support/Rerun.h"
#include "support/TestWorld.h"

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace FileManager;

// What is there, what is made and removed, read and written. The other two tell of copies and of rights.
class TestFileManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_world.reset(); }

    void aPathKeepsItsText();
    void noPathIsAnsweredLikeAMissingOne();

    void aFileFolderOrLinkExists_data();
    void aFileFolderOrLinkExists();

    void aFolderIsMadeOrHasItsReason_data();
    void aFolderIsMadeOrHasItsReason();
    void theErrorNamesThePathAndTheReason();

    void removesAFolderWithEverythingInIt();
    void removesALinkAndNotItsTarget();
    void aRemovalThatFailsHasItsReason_data();
    void aRemovalThatFailsHasItsReason();

    void listsEveryNameAsItsBytes();

    void readsPlainFilesOnly_data();
    void readsPlainFilesOnly();
    void aFileOfUpTo64MebibytesIsRead_data();
    void aFileOfUpTo64MebibytesIsRead();

    void anEmptyFileIsMadeOrEmptied();
    void appendsToAnExistingFileOnly();
    void aFifoDoesNotHoldTheWriter();
    void writesAtomically();
    void aFailedAtomicWriteLeavesTheOldFile();

    void aReadOnlyDiskIsNoMissingPermission();

private:
    FilePath at(const FilePath &name) const { return toPath(m_world->path(u"open"_s)) / name; }

    std::unique_ptr<TestWorld> m_world;
};

void TestFileManager::init()
{
    m_world = std::make_unique<TestWorld>();
    makeFolder(at(""), 0777); // the player may make his own in it
}

void TestFileManager::aPathKeepsItsText()
{
    const QString text = u"/spiel/Weg über α 💾/x"_s;
    QCOMPARE(toPath(text).native(), text.toUtf8().toStdString());
    QCOMPARE(toText(toPath(text)), text);
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
    makeTreeReadable(none);
    QVERIFY(!contentsOfFile(none));
    QCOMPARE(createEmptyFile(none).code, FileError::NoSuchFile);
    QVERIFY(!appendToExistingFile(none, "bytes"));
    QCOMPARE(writeAtomically(none, "bytes").code, FileError::NoSuchFile);
}

void TestFileManager::aFileFolderOrLinkExists_data()
{
    QTest::addColumn<FilePath>("name");
    QTest::addColumn<bool>("file"); // fileExists
    QTest::addColumn<bool>("item"); // itemExists
    QTest::addColumn<bool>("folder"); // isDirectory

    QTest::newRow("file") << FilePath("file") << true << true << false;
    QTest::newRow("folder") << FilePath("folder") << true << true << true;
    QTest::newRow("link to a file") << FilePath("toFile") << true << true << false;
    QTest::newRow("link to a folder") << FilePath("toFolder") << true << true << true;
    QTest::newRow("dangling link") << FilePath("dangling") << false << true << false;
    QTest::newRow("missing") << FilePath("missing") << false << false << false;
    QTest::newRow("below a file") << FilePath("file/below") << false << false << false;
    QTest::newRow("below an unsearchable folder") << FilePath("closed/inner") << false << false << false;
    QTest::newRow("name that is not UTF-8") << nameThatIsNotUtf8 << true << true << false;
}

void TestFileManager::aFileFolderOrLinkExists()
{
    makeFile(at("file"));
    makeFile(at(nameThatIsNotUtf8));
    makeFolder(at("folder"));
    makeFolder(at("closed/inner"));
    makeFolder(at("closed"), 0);
    makeLink("file", at("toFile"));
    makeLink("folder", at("toFolder"));
    makeLink("nowhere", at("dangling"));

    QFETCH(const FilePath, name);
    const FilePath path = at(name);
    const OrdinaryUser player;
    QTEST(fileExists(path), "file");
    QTEST(itemExists(path), "item");
    QTEST(isDirectory(path), "folder");
}

void TestFileManager::aFolderIsMadeOrHasItsReason_data()
{
    QTest::addColumn<FilePath>("name");
    QTest::addColumn<bool>("withIntermediates");
    QTest::addColumn<FileError::Code>("code");

    constexpr bool With = true;
    constexpr bool Without = false;
    const auto row = [](const char *rule, const FilePath &name, bool intermediates, FileError::Code code) {
        QTest::newRow(rule) << name << intermediates << code;
    };
    row("parents missing", "a/b/c", With, FileError::None);
    row("trailing slash", "a/b/c/", With, FileError::None);
    row("doubled slash", "a//b//c", With, FileError::None);
    row("through a link", "toFolder/b/c", With, FileError::None);
    row("parent there, without", "a", Without, FileError::None);
    row("parent missing, without", "a/b", Without, FileError::NoSuchFile);
    row("there already", "locked", With, FileError::None); // nothing is made, so nothing is refused
    row("there already, by a link", "toLocked", With, FileError::None);
    row("the root", "/", With, FileError::None);
    row("there already, without", "folder", Without, FileError::FileExists);
    row("file in the way", "file", With, FileError::FileExists);
    row("file in the way, without", "file", Without, FileError::FileExists);
    row("dangling link in the way", "dangling", With, FileError::FileExists);
    row("below a dangling link", "dangling/x", With, FileError::FileExists);
    row("file among the parents", "file/x/y", With, FileError::Unknown);
    row("name too long", std::string(300, 'x'), With, FileError::InvalidFileName);
    row("parent's name too long", std::string(300, 'x') + "/y", With, FileError::InvalidFileName);
    row("refused, without", "locked/a", Without, FileError::NoWritePermission);
    row("refused", "locked/a/b/c", With, FileError::NoWritePermission);
    row("below an unsearchable folder", "closed/inner", With, FileError::NoWritePermission);
}

void TestFileManager::aFolderIsMadeOrHasItsReason()
{
    makeFile(at("file"));
    makeFolder(at("folder"), 0777);
    makeFolder(at("locked"), 0555);
    makeFolder(at("closed/inner"));
    makeFolder(at("closed"), 0);
    makeLink("folder", at("toFolder"));
    makeLink("locked", at("toLocked"));
    makeLink("nowhere", at("dangling"));
    QFETCH(const FilePath, name);
    QFETCH(const bool, withIntermediates);
    QFETCH(const FileError::Code, code);
    const FilePath path = at(name);
    const OrdinaryUser player;
    const FileError error = createDirectory(path, withIntermediates);
    QCOMPARE(error.code, code);
    QCOMPARE(error.description.isEmpty(), code == FileError::None);
    if (!error) {
        QVERIFY(isDirectory(path));
        QVERIFY(!createDirectory(path, true));
    }
}

void TestFileManager::theErrorNamesThePathAndTheReason()
{
    makeFile(at("file"));
    QCOMPARE(createDirectory(at("file"), true).description, toText(at("file")) + u": File exists"_s);
}

void TestFileManager::removesAFolderWithEverythingInIt()
{
    makeFile(at("outside/kept"));
    makeFile(at("tree/.hidden"));
    makeFile(at("tree/a/b") / nameThatIsNotUtf8);
    makeLink("nowhere", at("tree/dangling"));
    makeLink(at("outside"), at("tree/a/toOutside"));
    QVERIFY(!removeItem(at("tree")));
    QVERIFY(!itemExists(at("tree")));
    QVERIFY(fileExists(at("outside/kept")));
}

void TestFileManager::removesALinkAndNotItsTarget()
{
    makeFile(at("folder/kept"));
    makeLink("folder", at("toFolder"));
    makeLink("nowhere", at("dangling"));
    for (const char *link : {"toFolder", "dangling"}) {
        QVERIFY(!removeItem(at(link)));
        QVERIFY(!itemExists(at(link)));
    }
    QVERIFY(fileExists(at("folder/kept")));
}

void TestFileManager::aRemovalThatFailsHasItsReason_data()
{
    QTest::addColumn<FilePath>("name");
    QTest::addColumn<FileError::Code>("code");
    QTest::newRow("missing") << FilePath("missing") << FileError::NoSuchFile;
    QTest::newRow("its folder missing") << FilePath("missing/deeper") << FileError::NoSuchFile;
    QTest::newRow("below a file") << FilePath("file/below") << FileError::Unknown;
    QTest::newRow("file refused") << FilePath("locked/file") << FileError::NoWritePermission;
    QTest::newRow("folder refused") << FilePath("locked/folder") << FileError::NoWritePermission;
    QTest::newRow("refused in the middle") << FilePath("tree") << FileError::NoWritePermission;
}

void TestFileManager::aRemovalThatFailsHasItsReason()
{
    makeFile(at("file"));
    makeFile(at("tree/locked/file"));
    makeFolder(at("tree/locked"), 0555);
    makeFolder(at("tree"), 0777);
    makeFile(at("locked/file"));
    makeFolder(at("locked/folder"));
    makeFolder(at("locked"), 0555);
    QFETCH(const FilePath, name);
    const OrdinaryUser player;
    QTEST(removeItem(at(name)).code, "code");
    QVERIFY(fileExists(at("locked/file")));
    QVERIFY(fileExists(at("tree/locked/file")));
}

void TestFileManager::listsEveryNameAsItsBytes()
{
    makeFile(at("tree/.hidden"));
    makeFile(at("tree") / nameThatIsNotUtf8);
    makeFile(at("tree/folder/deeper"));
    makeLink("nowhere", at("tree/dangling"));
    QList<FilePath> names = contentsOfDirectory(at("tree"));
    std::ranges::sort(names);
    QCOMPARE(names, QList<FilePath>({".hidden", nameThatIsNotUtf8, "dangling", "folder"}));

    setMode(at("tree"), 0);
    const OrdinaryUser player;
    for (const char *unlisted : {"tree", "tree/.hidden", "missing"})
        QVERIFY(contentsOfDirectory(at(unlisted)).isEmpty());
}

void TestFileManager::readsPlainFilesOnly_data()
{
    QTest::addColumn<FilePath>("name");
    QTest::addColumn<std::optional<QByteArray>>("bytes");

    const std::optional<QByteArray> bytes = QByteArray("a\0b\n", 4);
    const std::optional<QByteArray> nothing;
    QTest::newRow("file") << FilePath("file") << bytes;
    QTest::newRow("empty file") << FilePath("empty") << std::optional<QByteArray>("");
    QTest::newRow("link to a file") << FilePath("toFile") << bytes;
    QTest::newRow("missing") << FilePath("missing") << nothing;
    QTest::newRow("folder") << FilePath("folder") << nothing;
    QTest::newRow("fifo that nobody writes to") << FilePath("fifo") << nothing;
    QTest::newRow("device") << FilePath("zero") << nothing;
    QTest::newRow("refused") << FilePath("refused") << nothing;
}

void TestFileManager::readsPlainFilesOnly()
{
    makeFile(at("file"), QByteArray("a\0b\n", 4));
    makeFile(at("empty"), "");
    makeFile(at("refused"), "bytes", 0);
    makeFolder(at("folder"));
    makeLink("file", at("toFile"));
    makeLink("/dev/zero", at("zero"));
    makeFifo(at("fifo"));
    QFETCH(const FilePath, name);
    const OrdinaryUser player;
    QTEST(contentsOfFile(at(name)), "bytes");
}

void TestFileManager::aFileOfUpTo64MebibytesIsRead_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<bool>("read");

    constexpr qint64 Most = 64 * 1024 * 1024;
    QTest::newRow("of exactly that many") << Most << true;
    QTest::newRow("of one byte more") << Most + 1 << false;
    QTest::newRow("of a terabyte, nearly all of it a hole") << Most * 16384 << false;
}

void TestFileManager::aFileOfUpTo64MebibytesIsRead()
{
    QFETCH(const qint64, size);
    QFETCH(const bool, read);
    makeFile(at("file"));
    std::filesystem::resize_file(at("file"), uintmax_t(size));
    const auto bytes = contentsOfFile(at("file"));
    QCOMPARE(bytes.has_value(), read);
    QCOMPARE(bytes.value_or("").size(), read ? size : 0);
    QCOMPARE(bytes.value_or("").startsWith("bytes"), read);
}

void TestFileManager::anEmptyFileIsMadeOrEmptied()
{
    QVERIFY(!createEmptyFile(at("file")));
    QCOMPARE(contentsOfFile(at("file")), QByteArray(""));
    makeFile(at("file"), "bytes");
    QVERIFY(!createEmptyFile(at("file")));
    QCOMPARE(contentsOfFile(at("file")), QByteArray(""));

    makeFolder(at("locked"), 0555);
    const OrdinaryUser player;
    QCOMPARE(createEmptyFile(at("locked")).code, FileError::Unknown);
    QCOMPARE(createEmptyFile(at("missing/file")).code, FileError::NoSuchFile);
    QCOMPARE(createEmptyFile(at("locked/file")).code, FileError::NoWritePermission);
}

void TestFileManager::appendsToAnExistingFileOnly()
{
    for (const char *missing : {"file", "missing/file"}) {
        QVERIFY(!appendToExistingFile(at(missing), "bytes"));
        QVERIFY(!itemExists(at(missing)));
    }
    makeFile(at("file"), "one ");
    QVERIFY(appendToExistingFile(at("file"), "two"));
    QVERIFY(appendToExistingFile(at("file"), ""));
    QCOMPARE(contentsOfFile(at("file")), QByteArray("one two"));
    QVERIFY(!appendToExistingFile("/dev/full", "bytes")); // no room
}

void TestFileManager::aFifoDoesNotHoldTheWriter()
{
    makeFifo(at("fifo"));
    QVERIFY(createEmptyFile(at("fifo")));
    QVERIFY(!appendToExistingFile(at("fifo"), "bytes"));
}

void TestFileManager::writesAtomically()
{
    for (const QByteArray bytes : {"first, long", "second", ""}) {
        QVERIFY(!writeAtomically(at("page.html"), bytes));
        QCOMPARE(contentsOfFile(at("page.html")), bytes);
    }
}

void TestFileManager::aFailedAtomicWriteLeavesTheOldFile()
{
    makeFile(at("locked/page.html"), "old");
    makeFolder(at("locked"), 0555);
    const OrdinaryUser player;
    const FileError error = writeAtomically(at("locked/page.html"), "new");
    QVERIFY(error);
    QVERIFY(!error.description.isEmpty());
    QCOMPARE(contentsOfFile(at("locked/page.html")), QByteArray("old"));
    QCOMPARE(contentsOfDirectory(at("locked")), QList<FilePath>{"page.html"});
    QVERIFY(writeAtomically(at("missing/page.html"), "new"));
}

// A missing permission would raise a prompt for a second try that must fail too.
void TestFileManager::aReadOnlyDiskIsNoMissingPermission()
{
    if (!Rerun::isRerun()) {
        if (!Rerun::canMount())
            QSKIP("the kernel refuses this process mounts of its own");
        makeFile(at("disk/old/file"), "kept");
        makeFile(at("file"), "here");
        const QString readOnly = u"mount --bind \"$1/disk\" \"$1/disk\"; mount -o remount,ro,bind \"$1/disk\""_s;
        Rerun::verifyPasses(Rerun::withMounts(readOnly, toText(at(""))), {{u"WAYFAR_TEST_FOLDER"_s, toText(at(""))}});
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
