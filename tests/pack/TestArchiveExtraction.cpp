#include "support/TestWorld.h"

#include "pack/ArchiveExtraction.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class TestArchiveExtraction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void unpacksWithEverythingBelow();
    void keepsModesAndLinks();
    void pathsNeedNoPlainNames_data();
    void pathsNeedNoPlainNames();
    void theShellReadsWhatStandsInDoubleQuotes();
    void unpackedOverAnotherItOverwritesAndCanBeMoved();
    void afreshNothingOfAnEarlierArchiveIsLeft();
    void whatCannotBeReadIsGivenToItsOwner();
    void whatIsNoArchiveLeavesTheFolderEmpty();
    void aDamagedMemberIsNoReasonToStop();
    void anEncryptedMemberIsLeftOutAndNotAskedForOnATerminal();
    void withoutAPathNothingIsRun();

private:
    FilePath path(const FilePath &name) const { return toPath(m_folder->path()) / name; }
    void write(const FilePath &name, const QByteArray &bytes) const
    {
        QVERIFY(!FileManager::writeAtomically(path(name), bytes));
    }
    QByteArray read(const FilePath &name) const { return FileManager::contentsOfFile(path(name)).value_or("(none)"); }
    uint modeOf(const FilePath &name) const
    {
        struct stat status = {};
        return ::lstat(path(name).c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
    }
    QList<FilePath> entries(const FilePath &name = {}) const
    {
        return FileManager::contentsOfDirectory(name.empty() ? toPath(m_folder->path()) : path(name));
    }
    // Unpacks into the folder "out", made before, and says what the tool wrote on standard error.
    QByteArray extract(const QByteArray &archive) const
    {
        write("in.zip", archive);
        (void)FileManager::createDirectory(path("out"), false);
        return standardErrorOf([this] { ArchiveExtraction::unpackAfresh(path("in.zip"), path("out")); });
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestArchiveExtraction::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

void TestArchiveExtraction::cleanup()
{
    FileManager::makeTreeWritable(toPath(m_folder->path()));
    (void)FileManager::removeItem(toPath(m_folder->path())); // names that are not UTF-8 too
}

void TestArchiveExtraction::unpacksWithEverythingBelow()
{
    extract(zipOf("mkdir -p Trailbook/Routes; echo toc >Trailbook/Trailbook.toc; echo road >Trailbook/Routes/Road.lua; "
                  "echo stray >stray.txt; echo hidden >.hidden; mkdir empty"));
    QCOMPARE(read("out/Trailbook/Trailbook.toc"), "toc\n");
    QCOMPARE(read("out/Trailbook/Routes/Road.lua"), "road\n");
    QCOMPARE(read("out/stray.txt"), "stray\n");
    QCOMPARE(read("out/.hidden"), "hidden\n");
    QVERIFY(FileManager::isDirectory(path("out/empty")));
    QCOMPARE(entries("out").size(), 4);
}

void TestArchiveExtraction::keepsModesAndLinks()
{
    extract(
        zipOf("mkdir closed; echo in >closed/file; chmod 0555 closed; ln -s closed/file link; ln -s gone dangling"));
    QCOMPARE(modeOf("out/closed"), 0555U);
    QCOMPARE(read("out/closed/file"), "in\n");
    std::error_code failure;
    QCOMPARE(std::filesystem::read_symlink(path("out/link"), failure), FilePath("closed/file"));
    QCOMPARE(std::filesystem::read_symlink(path("out/dangling"), failure), FilePath("gone"));
}

void TestArchiveExtraction::pathsNeedNoPlainNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("a blank") << QByteArray("Application Support");
    QTest::newRow("several blanks") << QByteArray("  a  b");
    QTest::newRow("an apostrophe") << QByteArray("o'neill");
    QTest::newRow("shell signs") << QByteArray("a;b&c|d(e)<f>#g*h?");
    QTest::newRow("a placeholder") << QByteArray("%@ %1");
    QTest::newRow("UTF-8") << QByteArray("Größe");
    QTest::newRow("not UTF-8") << QByteArray("Gr\xf6\xdf\x65");
}

void TestArchiveExtraction::pathsNeedNoPlainNames()
{
    QFETCH(const QByteArray, name);
    const FilePath folder = path(name.toStdString());
    QVERIFY(!FileManager::createDirectory(folder, false));
    QVERIFY(!FileManager::createDirectory(folder / "out", false));
    write("in.zip", zipOf("echo one >one"));
    ArchiveExtraction::unpackAfresh(path("in.zip"), folder / "out");
    QCOMPARE(read(folder / "out/one"), "one\n");
    if (name.contains('*'))
        return; // in an archive's name unzip itself reads the pattern
    QVERIFY(!FileManager::moveItem(path("in.zip"), folder / "in.zip"));
    QVERIFY(!FileManager::removeItem(folder / "out/one"));
    ArchiveExtraction::unpackAfresh(folder / "in.zip", folder / "out");
    QCOMPARE(read(folder / "out/one"), "one\n");
}

void TestArchiveExtraction::theShellReadsWhatStandsInDoubleQuotes()
{
    write("in.zip", zipOf("echo one >one"));
    qputenv("WAYFAR_TEST_VALUE", "filled in");
    const QList<std::pair<FilePath, FilePath>> read = {{"out $WAYFAR_TEST_VALUE", "out filled in"},
                                                       {"out `echo told`", "out told"},
                                                       {"out \\$USER", "out $USER"},
                                                       {"out \\\\", "out \\"}};
    for (const auto &[given, used] : read) {
        ArchiveExtraction::unpackAfresh(path("in.zip"), path(given));
        QCOMPARE(this->read(used / "one"), "one\n");
        QVERIFY(entries(given).isEmpty());
    }
    qunsetenv("WAYFAR_TEST_VALUE");

    QVERIFY(!FileManager::createDirectory(path("a\"b"), false)); // this one breaks the command
    const qsizetype before = entries().size();
    ArchiveExtraction::unpackAfresh(path("in.zip"), path("a\"b"));
    QVERIFY(entries("a\"b").isEmpty());
    QCOMPARE(entries().size(), before); // and nowhere else
}

void TestArchiveExtraction::unpackedOverAnotherItOverwritesAndCanBeMoved()
{
    QVERIFY(!FileManager::createDirectory(path("out"), false));
    write("out/file", "old, and longer\n");
    write("out/other", "kept\n");
    write("in.zip", zipOf("echo new >file; mkdir closed; echo in >closed/file; chmod 0555 closed"));
    for (int time = 0; time < 2; ++time) {
        ArchiveExtraction::unpackOver(path("in.zip"), path("out"));
        QCOMPARE(read("out/file"), "new\n");
        QCOMPARE(read("out/other"), "kept\n");
        QCOMPARE(modeOf("out/closed"), 0755U);
    }
}

void TestArchiveExtraction::afreshNothingOfAnEarlierArchiveIsLeft()
{
    extract(zipOf("mkdir closed; echo old >closed/file; chmod 0555 closed"));
    extract(zipOf("echo new >file"));
    QCOMPARE(entries("out"), QList<FilePath>{"file"});
}

void TestArchiveExtraction::whatCannotBeReadIsGivenToItsOwner()
{
    QByteArray archive = zipOf("mkdir closed; echo in >closed/file; chmod 0440 closed/file; chmod 0555 closed");
    // No player's archiver could read what nobody may, so these modes, 0 and 0111, are put in afterwards.
    archive.replace(QByteArray::fromHex("01002081"), QByteArray::fromHex("01000080"));
    archive.replace(QByteArray::fromHex("11006d41"), QByteArray::fromHex("11004940"));
    extract(archive);
    QCOMPARE(modeOf("out/closed"), 0511U);
    QCOMPARE(modeOf("out/closed/file"), 0400U);
}

void TestArchiveExtraction::whatIsNoArchiveLeavesTheFolderEmpty()
{
    const QByteArray archive = zipOf("echo one >one; echo two >two");
    const QList<QByteArray> others = {"<html><body>500 Internal Server Error</body></html>\n",
                                      "Error|The password is not correct.", "", archive.left(archive.size() / 2),
                                      archive.chopped(22)};
    for (const QByteArray &bytes : others) {
        const QByteArray said = extract(bytes);
        QVERIFY2(said.contains("End-of-central-directory signature not found"), said.constData()); // the tool's words
        QCOMPARE(entries("out"), QList<FilePath>());
    }
    QVERIFY(!FileManager::removeItem(path("in.zip")));
    ArchiveExtraction::unpackAfresh(path("in.zip"), path("out"));
    QCOMPARE(entries("out"), QList<FilePath>());
}

void TestArchiveExtraction::aDamagedMemberIsNoReasonToStop()
{
    QByteArray archive = zipOf("echo first >1-first; echo second >2-second; echo third >3-third", {u"-0"_s});
    archive.replace("second\n", "sEcOnd\n"); // its checksum is wrong now
    extract(archive);
    QCOMPARE(read("out/1-first"), "first\n");
    QCOMPARE(read("out/3-third"), "third\n");
}

// This program, started again as the leader of a session with a terminal, unpacks there.
void TestArchiveExtraction::anEncryptedMemberIsLeftOutAndNotAskedForOnATerminal()
{
    write("in.zip", zipOf("echo hidden >secret; zip -q -P word ../made.zip secret; rm secret; echo seen >plain"));
    QVERIFY(!FileManager::createDirectory(path("out"), false));
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    QVERIFY(terminal >= 0);
    QCOMPARE(::grantpt(terminal), 0);
    QCOMPARE(::unlockpt(terminal), 0);
    char name[64] = {};
    QCOMPARE(::ptsname_r(terminal, name, sizeof name), 0);

    QProcess process;
    process.setChildProcessModifier([&name] {
        ::setsid();
        const int side = ::open(name, O_RDWR); // the session's terminal from now on
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::dup2(side, stream);
    });
    process.start(QCoreApplication::applicationFilePath(),
                  {u"--extract"_s, toText(path("in.zip")), toText(path("out"))});
    const bool ended = process.waitForFinished(20000);
    QByteArray shown;
    ::fcntl(terminal, F_SETFL, O_NONBLOCK);
    QByteArray piece(10000, '\0');
    for (ssize_t size = 0; (size = ::read(terminal, piece.data(), static_cast<size_t>(piece.size()))) > 0;)
        shown += piece.first(size); // a terminal hands over a part at a time
    ::close(terminal); // whoever still asks there gets no answer
    QVERIFY2(ended, shown.constData());
    QCOMPARE(process.exitCode(), 0);
    QVERIFY2(shown.contains("a terminal") && !shown.contains("password:"), shown.constData());
    QVERIFY2(shown.contains("skipping: secret"), shown.constData());
    QCOMPARE(entries("out"), QList<FilePath>{"plain"});
    QCOMPARE(read("out/plain"), "seen\n");
}

void TestArchiveExtraction::withoutAPathNothingIsRun()
{
    write("in.zip", zipOf("echo one >one"));
    const QByteArray said = standardErrorOf([this] {
        ArchiveExtraction::unpackAfresh(std::nullopt, path("out"));
        ArchiveExtraction::unpackAfresh(path("in.zip"), std::nullopt);
        ArchiveExtraction::unpackOver(std::nullopt, std::nullopt);
    });
    QCOMPARE(said, QByteArray());
    QCOMPARE(entries(), QList<FilePath>{"in.zip"});
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"--extract"_s) {
        const int terminal = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
        if (terminal >= 0)
            ::dprintf(STDOUT_FILENO, "a terminal\n"); // so that it could be asked
        ArchiveExtraction::unpackAfresh(toPath(arguments.value(2)), toPath(arguments.value(3)));
        return terminal >= 0 ? 0 : 1;
    }
    TestArchiveExtraction test;
    return QTest::qExec(&test, arguments);
}
#include "TestArchiveExtraction.moc"
