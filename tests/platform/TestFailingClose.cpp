#include "platform/FileManager.h"

#include <QTemporaryDir>
#include <QTest>

#include <cerrno>

#include <sys/syscall.h>
#include <unistd.h>

// What a network file system does that finds no room for bytes it took: it says so when the file is closed.
extern "C" int close(int descriptor)
{
    char name[4096] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), name, sizeof name - 1);
    const int result = static_cast<int>(::syscall(SYS_close, descriptor));
    if (length <= 0 || std::string_view(name).find("/fails at close/") == std::string_view::npos)
        return result;
    errno = EDQUOT;
    return -1;
}

class TestFailingClose : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aCopyFails();
    void anAppendedPieceIsLost();
};

void TestFailingClose::aCopyFails()
{
    const QTemporaryDir folder;
    const FilePath source = toPath(folder.path()) / "source";
    const FilePath place = toPath(folder.path()) / "fails at close";
    QVERIFY(!FileManager::writeAtomically(source, "bytes"));
    QVERIFY(!FileManager::createDirectory(place, false));
    QCOMPARE(FileManager::copyItem(source, place / "copy").code, FileError::OutOfSpace);
    QVERIFY(!FileManager::itemExists(place / "copy"));
}

void TestFailingClose::anAppendedPieceIsLost()
{
    const QTemporaryDir folder;
    const FilePath place = toPath(folder.path()) / "fails at close";
    QVERIFY(!FileManager::createDirectory(place, false));
    QVERIFY(!FileManager::createEmptyFile(place / "file"));
    QVERIFY(!FileManager::appendToExistingFile(place / "file", "bytes"));
    QVERIFY(!FileManager::createEmptyFile(toPath(folder.path()) / "file"));
    QVERIFY(FileManager::appendToExistingFile(toPath(folder.path()) / "file", "bytes"));
}

QTEST_GUILESS_MAIN(TestFailingClose)
#include "TestFailingClose.moc"
