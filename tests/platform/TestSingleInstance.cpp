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
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void theSecondIsNotFirstAndCallsTheFirst();
    void anotherExecutableIsNotHeldUp();
    void theEndOfTheFirstFreesThePlace();
    void aKilledProgramLeavesNothingInTheWay();
    void aReleasedPlaceIsFreeAtOnce();
    void aStartDuringTheEndOfTheFirstTakesThePlace();
    void withNoFolderToMeetInEveryStartIsTheFirst_data();
    void withNoFolderToMeetInEveryStartIsTheFirst();

private:
    // Of one program, unless another is named.
    std::unique_ptr<SingleInstance> start(const QString &program = u"/a/program"_s) const
    {
        return std::make_unique<SingleInstance>(m_folder->path(), program);
    }
    // The same in a process of its own, which stays; see main.
    void startProcess(QProcess &process) const
    {
        process.start(QCoreApplication::applicationFilePath(), {u"--hold"_s, m_folder->path()});
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestSingleInstance::theSecondIsNotFirstAndCallsTheFirst()
{
    const auto first = start();
    QVERIFY(first->isFirst());
    QSignalSpy called(first.get(), &SingleInstance::anotherStarted);
    QVERIFY(!start()->isFirst());
    QVERIFY(called.wait());
    QCOMPARE(called.count(), 1);
}

void TestSingleInstance::anotherExecutableIsNotHeldUp()
{
    const auto old = start(u"/games/WayfarRoutes_1.2.6.app/usr/bin/wayfar-installer"_s);
    const auto next = start(u"/games/WayfarRoutes_1.3.0.app/usr/bin/wayfar-installer"_s);
    QVERIFY(old->isFirst());
    QVERIFY(next->isFirst());
}

void TestSingleInstance::theEndOfTheFirstFreesThePlace()
{
    QVERIFY(start()->isFirst());
    QVERIFY(start()->isFirst());
}

void TestSingleInstance::aKilledProgramLeavesNothingInTheWay()
{
    QProcess program;
    startProcess(program);
    QVERIFY(program.waitForReadyRead());
    QCOMPARE(program.readAllStandardOutput(), QByteArray("first\n"));
    program.kill();
    QVERIFY(program.waitForFinished());

    const auto next = start();
    QVERIFY(next->isFirst());
    QSignalSpy called(next.get(), &SingleInstance::anotherStarted);
    const auto second = start(); // the dead one's socket was replaced
    QVERIFY(called.wait());
}

void TestSingleInstance::aReleasedPlaceIsFreeAtOnce()
{
    const auto ending = start();
    QSignalSpy called(ending.get(), &SingleInstance::anotherStarted);
    ending->release();
    const auto next = start();
    QVERIFY(next->isFirst());
    QSignalSpy nextCalled(next.get(), &SingleInstance::anotherStarted);
    ending->release(); // once more, as its end does: it must not free what is the next one's
    QVERIFY(!start()->isFirst());
    QVERIFY(nextCalled.wait());
    QCOMPARE(called.count(), 0);
}

// The one that ends does not listen any more, and still has the lock.
void TestSingleInstance::aStartDuringTheEndOfTheFirstTakesThePlace()
{
    const auto ending = start();
    ending->release();
    const QStringList locks = QDir(m_folder->path()).entryList({u"*.lock"_s}, QDir::Files);
    QCOMPARE(locks.size(), 1);
    const QString lock = m_folder->filePath(locks.constFirst());
    const int held = ::open(QFile::encodeName(lock).constData(), O_RDWR | O_CLOEXEC);
    QCOMPARE(::flock(held, LOCK_EX | LOCK_NB), 0);

    QProcess next;
    startProcess(next);
    QVERIFY(next.waitForStarted());
    QTRY_VERIFY(hasOpen(next.processId(), lock)); // it has looked, or is just about to
    ::close(held);
    QVERIFY(next.waitForReadyRead());
    QCOMPARE(next.readAllStandardOutput(), QByteArray("first\n"));
    QVERIFY(!start()->isFirst());
    next.kill();
    QVERIFY(next.waitForFinished());
}

void TestSingleInstance::withNoFolderToMeetInEveryStartIsTheFirst_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("none") << QString();
    QTest::newRow("empty") << u""_s;
    QTest::newRow("missing") << u"/nowhere/at/all"_s;
}

void TestSingleInstance::withNoFolderToMeetInEveryStartIsTheFirst()
{
    QFETCH(const QString, folder);
    const SingleInstance first(folder, u"/a/program"_s);
    const SingleInstance second(folder, u"/a/program"_s);
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
