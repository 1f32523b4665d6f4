#include "platform/SingleInstance.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

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
