#include "platform/SingleInstance.h"

#include <QDir>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
bool hasOpen(qint64 process, const QString &file)
{
    const QDir open(u"/proc/%1/fd"_s.arg(process));
    for (const QFileInfo &entry : open.entryInfoList(QDir::Files | QDir::System)) {
        if (entry.symLinkTarget() == file)
            return true;
    }
    return false;
}
} // namespace

class TestSingleInstance : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theFirstOfItsKindMayRun();
    void theSecondIsNotFirstAndCallsTheFirst();
    void anotherExecutableIsNotHeldUp();
    void theEndOfTheFirstFreesThePlace();
    void aKilledProgramLeavesNothingInTheWay();
    void withoutAFolderTheProgramStartsAllTheSame();
    void aReleasedPlaceIsFreeAtOnce();
    void aStartDuringTheEndOfTheFirstTakesThePlace();
    void withNoFolderToMeetInEveryStartIsTheFirst();
};

void TestSingleInstance::theFirstOfItsKindMayRun()
{
    const QTemporaryDir folder;
    const SingleInstance first(folder.path(), u"/a/program"_s);
    QVERIFY(first.isFirst());
}

void TestSingleInstance::theSecondIsNotFirstAndCallsTheFirst()
{
    const QTemporaryDir folder;
    const SingleInstance first(folder.path(), u"/a/program"_s);
    QSignalSpy called(&first, &SingleInstance::anotherStarted);
    const SingleInstance second(folder.path(), u"/a/program"_s);
    QVERIFY(!second.isFirst());
    QVERIFY(called.wait());
    QCOMPARE(called.count(), 1);
}

void TestSingleInstance::anotherExecutableIsNotHeldUp()
{
    const QTemporaryDir folder;
    const SingleInstance old(folder.path(), u"/games/WayfarRoutes_1.2.6.app/usr/bin/wayfar-installer"_s);
    const SingleInstance next(folder.path(), u"/games/WayfarRoutes_1.3.0.app/usr/bin/wayfar-installer"_s);
    QVERIFY(old.isFirst());
    QVERIFY(next.isFirst());
}

void TestSingleInstance::theEndOfTheFirstFreesThePlace()
{
    const QTemporaryDir folder;
    auto first = std::make_unique<SingleInstance>(folder.path(), u"/a/program"_s);
    first.reset();
    const SingleInstance next(folder.path(), u"/a/program"_s);
    QVERIFY(next.isFirst());
}

void TestSingleInstance::aKilledProgramLeavesNothingInTheWay()
{
    const QTemporaryDir folder;
    QProcess program;
    program.start(QCoreApplication::applicationFilePath(), {u"--hold"_s, folder.path()});
    QVERIFY(program.waitForReadyRead());
    QCOMPARE(program.readAllStandardOutput(), QByteArray("first\n"));
    program.kill();
    QVERIFY(program.waitForFinished());

    const SingleInstance next(folder.path(), u"/a/program"_s);
    QVERIFY(next.isFirst());
    QSignalSpy called(&next, &SingleInstance::anotherStarted);
    const SingleInstance second(folder.path(), u"/a/program"_s); // the dead one's socket was replaced
    QVERIFY(called.wait());
}

void TestSingleInstance::withoutAFolderTheProgramStartsAllTheSame()
{
    const SingleInstance first(u"/nowhere/at/all"_s, u"/a/program"_s);
    QVERIFY(first.isFirst());
}

void TestSingleInstance::aReleasedPlaceIsFreeAtOnce()
{
    const QTemporaryDir folder;
    SingleInstance ending(folder.path(), u"/a/program"_s);
    QSignalSpy called(&ending, &SingleInstance::anotherStarted);
    ending.release();
    const SingleInstance next(folder.path(), u"/a/program"_s);
    QVERIFY(next.isFirst());
    QSignalSpy nextCalled(&next, &SingleInstance::anotherStarted);
    ending.release(); // once more, as the end of the object does: not the next one's
    const SingleInstance third(folder.path(), u"/a/program"_s);
    QVERIFY(!third.isFirst());
    QVERIFY(nextCalled.wait());
    QCOMPARE(called.count(), 0);
}

// The one that ends does not listen any more, and still has the lock.
void TestSingleInstance::aStartDuringTheEndOfTheFirstTakesThePlace()
{
    const QTemporaryDir folder;
    SingleInstance(folder.path(), u"/a/program"_s).release();
    const QStringList locks = QDir(folder.path()).entryList({u"*.lock"_s}, QDir::Files);
    QCOMPARE(locks.size(), 1);
    const QString lock = folder.filePath(locks.constFirst());
    const int ending = ::open(QFile::encodeName(lock).constData(), O_RDWR | O_CLOEXEC);
    QCOMPARE(::flock(ending, LOCK_EX | LOCK_NB), 0);

    QProcess next;
    next.start(QCoreApplication::applicationFilePath(), {u"--hold"_s, folder.path()});
    QVERIFY(next.waitForStarted());
    QTRY_VERIFY(hasOpen(next.processId(), lock)); // it has looked, or is just about to
    ::close(ending);
    QVERIFY(next.waitForReadyRead());
    QCOMPARE(next.readAllStandardOutput(), QByteArray("first\n"));
    const SingleInstance third(folder.path(), u"/a/program"_s);
    QVERIFY(!third.isFirst());
    next.kill();
    QVERIFY(next.waitForFinished());
}

void TestSingleInstance::withNoFolderToMeetInEveryStartIsTheFirst()
{
    const SingleInstance first(QString(), u"/a/program"_s);
    const SingleInstance second(u""_s, u"/a/program"_s);
    QVERIFY(first.isFirst());
    QVERIFY(second.isFirst());
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--hold") == 0) {
        const SingleInstance held(QString::fromLocal8Bit(argv[2]), u"/a/program"_s);
        std::puts(held.isFirst() ? "first" : "second");
        std::fflush(stdout);
        return QCoreApplication::exec();
    }
    TestSingleInstance test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestSingleInstance.moc"
