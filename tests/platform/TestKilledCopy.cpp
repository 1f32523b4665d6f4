#include "platform/FileManager.h"

#include "support/TestWorld.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// A copy comes into being whole: what a kill leaves bears no name that anybody reads.
class TestKilledCopy : public QObject
{
    Q_OBJECT

public:
    static constexpr int limit = 1000; // the kernel kills the copying process at this byte of a file

private Q_SLOTS:
    void aKilledCopyIsNotThereAndTheNextOneIsWhole();
    void aFailedCopyLeavesNothing();
    void leftoversThatMustStayAreNoHindrance();
    void aSlashAtTheEndAsksForAFolder();

private:
    static FilePath path(const QTemporaryDir &folder, const char *name) { return toPath(folder.path()) / name; }
    static void fill(const FilePath &folder)
    {
        QVERIFY(!FileManager::createDirectory(folder, true));
        for (const char *name : {"a", "b", "c"})
            QVERIFY(!FileManager::writeAtomically(folder / name, QByteArray(limit + 1, 'x')));
    }
};

void TestKilledCopy::aKilledCopyIsNotThereAndTheNextOneIsWhole()
{
    const QTemporaryDir folder;
    fill(path(folder, "source"));
    QProcess copying;
    copying.start(QCoreApplication::applicationFilePath(), {u"--copy"_s, folder.path()});
    QVERIFY(copying.waitForFinished());
    QCOMPARE(copying.exitStatus(), QProcess::CrashExit);
    QVERIFY(FileManager::itemExists(path(folder, ".wayfar-copy")));
    QVERIFY(!FileManager::itemExists(path(folder, "copy")));

    QVERIFY(!FileManager::copyItem(path(folder, "source"), path(folder, "copy")));
    QCOMPARE(FileManager::contentsOfDirectory(path(folder, "copy")).size(), 3);
    QCOMPARE(FileManager::contentsOfDirectory(toPath(folder.path())).size(), 2);
}

void TestKilledCopy::aFailedCopyLeavesNothing()
{
    const QTemporaryDir folder;
    QVERIFY(!FileManager::createDirectory(path(folder, "source/closed"), true));
    QVERIFY(!FileManager::writeAtomically(path(folder, "source/file"), "x"));
    QProcess::execute(u"mkfifo"_s, {folder.filePath(u"source/pipe"_s)});
    QVERIFY(QFile::setPermissions(folder.filePath(u"source/closed"_s), QFile::ReadOwner | QFile::ExeOwner));
    QCOMPARE(FileManager::copyItem(path(folder, "source"), path(folder, "copy")).code, FileError::Unknown);
    QCOMPARE(FileManager::contentsOfDirectory(toPath(folder.path())), QList<FilePath>{"source"});
}

void TestKilledCopy::leftoversThatMustStayAreNoHindrance()
{
    if (::geteuid() != 0)
        QSKIP("Only root can leave something that the player does not own.");
    const QTemporaryDir folder;
    QVERIFY(!FileManager::writeAtomically(path(folder, "source"), "x"));
    QVERIFY(!FileManager::createDirectory(path(folder, ".wayfar-copy/others"), true));
    QProcess::execute(u"chmod"_s, {u"-R"_s, u"0777"_s, folder.path()});
    QProcess::execute(u"chmod"_s, {u"0555"_s, folder.filePath(u".wayfar-copy"_s)});
    {
        const OrdinaryUser player; // who does not own the leftovers, and may not remove them
        QVERIFY(!FileManager::copyItem(path(folder, "source"), path(folder, "copy")));
    }
    QVERIFY(FileManager::itemExists(path(folder, ".wayfar-copy/others")));
    QCOMPARE(FileManager::contentsOfDirectory(toPath(folder.path())).size(), 3);
    QVERIFY(!FileManager::copyItem(path(folder, ".wayfar-copy"), path(folder, "another"))); // its source stays
    QVERIFY(FileManager::itemExists(path(folder, ".wayfar-copy/others")));
}

void TestKilledCopy::aSlashAtTheEndAsksForAFolder()
{
    const QTemporaryDir folder;
    QVERIFY(!FileManager::writeAtomically(path(folder, "file"), "x"));
    QVERIFY(!FileManager::createDirectory(path(folder, "source"), false));
    QCOMPARE(FileManager::copyItem(path(folder, "file"), path(folder, "copy/")).code, FileError::Unknown);
    QVERIFY(!FileManager::itemExists(path(folder, "copy")));
    QVERIFY(!FileManager::copyItem(path(folder, "source"), path(folder, "copy/")));
    QVERIFY(FileManager::isDirectory(path(folder, "copy")));
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"--copy"_s) {
        const rlimit noCore = {0, 0};
        const rlimit fileSize = {TestKilledCopy::limit, TestKilledCopy::limit};
        ::setrlimit(RLIMIT_CORE, &noCore);
        ::setrlimit(RLIMIT_FSIZE, &fileSize);
        const FilePath folder = toPath(arguments.value(2));
        return FileManager::copyItem(folder / "source", folder / "copy").code;
    }
    TestKilledCopy test;
    return QTest::qExec(&test, arguments);
}
#include "TestKilledCopy.moc"
