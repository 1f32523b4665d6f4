#include "platform/ShellCommand.h"

#include "support/TestWorld.h"

#include <QDir>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
QByteArray outputOf(const QList<QByteArray> &arguments, const QProcessEnvironment &environment = {})
{
    QProcess process;
    process.setProcessEnvironment(environment);
    ShellCommand::prepare(process, arguments);
    process.start();
    process.waitForFinished(-1);
    return process.readAllStandardOutput();
}
} // namespace

class TestShellCommand : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theLineRunsToItsEnd();
    void theLinesOutcomeIsNotLookedAt();
    void theLineIsHandedOverAsBytes();
    void theLineRunsWithoutAnInputToWaitFor();
    void theLineRunsInASessionWithoutATerminal();

    void argumentsAreHandedOverAsTheyStand();
    void theProgramIsFoundThroughThePath();
    void aMissingProgramFailsToStart();
    void theChosenEnvironmentReplacesOurs();
    void withoutAChosenEnvironmentOursGoesAlong();

private:
    FilePath at(const FilePath &name) const { return toPath(m_world->path()) / name; }
    QByteArray world() const { return m_world->path().toLocal8Bit(); }

    std::unique_ptr<TestWorld> m_world;
};

void TestShellCommand::init()
{
    m_world = std::make_unique<TestWorld>();
}

void TestShellCommand::cleanup()
{
    m_world.reset();
}

void TestShellCommand::theLineRunsToItsEnd()
{
    ShellCommand::run("cd '" + world() + "' && printf one >file && printf ' two' >>file");
    QCOMPARE(FileManager::contentsOfFile(at("file")), QByteArray("one two"));
}

void TestShellCommand::theLinesOutcomeIsNotLookedAt()
{
    ShellCommand::run("exit 3");
    ShellCommand::run("kill -9 $$");
    ShellCommand::run("syntax ' error");
}

void TestShellCommand::theLineIsHandedOverAsBytes()
{
    ShellCommand::run("printf x >'" + world() + "/caf\xe9'");
    QVERIFY(FileManager::fileExists(at("caf\xe9")));
}

void TestShellCommand::theLineRunsWithoutAnInputToWaitFor()
{
    ShellCommand::run("cat >'" + world() + "/input'");
    QCOMPARE(FileManager::contentsOfFile(at("input")), QByteArray(""));
}

// A tool that asks on the terminal, as unzip does for an encrypted member, must fail at once.
void TestShellCommand::theLineRunsInASessionWithoutATerminal()
{
    ShellCommand::run("ps -o sid= -p $$ >'" + world() + "/session'; echo $$ >'" + world()
                      + "/shell'; ( : </dev/tty ) 2>/dev/null && : >'" + world() + "/terminal'; true");
    const int session = FileManager::contentsOfFile(at("session"))->trimmed().toInt();
    QVERIFY(session > 0);
    QCOMPARE(session, FileManager::contentsOfFile(at("shell"))->trimmed().toInt());
    QVERIFY(session != ::getsid(0));
    QVERIFY(!FileManager::fileExists(at("terminal")));
}

void TestShellCommand::argumentsAreHandedOverAsTheyStand()
{
    QCOMPARE(outputOf({"printf", "<%s>", "", "caf\xe9", "ü", "a 'b' \"c\" $d\n"}),
             QByteArray("<><caf\xe9><ü><a 'b' \"c\" $d\n>"));
}

void TestShellCommand::theProgramIsFoundThroughThePath()
{
    m_world->write(m_world->path(u"bin/wayfar-tool"_s), "#!/bin/sh\nprintf found\n");
    QVERIFY(QFile::setPermissions(m_world->path(u"bin/wayfar-tool"_s), QFile::Permissions(0x7755)));
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", world() + "/bin:" + path);
    const QByteArray output = outputOf({"wayfar-tool"});
    qputenv("PATH", path);
    QCOMPARE(output, "found");
}

void TestShellCommand::aMissingProgramFailsToStart()
{
    QProcess process;
    ShellCommand::prepare(process, {"wayfar-no-such-tool"});
    process.start();
    process.waitForFinished(-1);
    QCOMPARE(process.error(), QProcess::FailedToStart);
    QVERIFY(!process.errorString().isEmpty());
}

void TestShellCommand::theChosenEnvironmentReplacesOurs()
{
    qputenv("WAYFAR_OURS", "ours");
    QProcessEnvironment chosen;
    chosen.insert(u"WAYFAR_CHOSEN"_s, u"chosen ü"_s);
    QCOMPARE(outputOf({"/usr/bin/env"}, chosen), "WAYFAR_CHOSEN=chosen ü\n");
    qunsetenv("WAYFAR_OURS");
}

void TestShellCommand::withoutAChosenEnvironmentOursGoesAlong()
{
    qputenv("WAYFAR_OURS", "ours");
    const QByteArray environment = outputOf({"/usr/bin/env"});
    qunsetenv("WAYFAR_OURS");
    QVERIFY(environment.contains("WAYFAR_OURS=ours\n"));
    QVERIFY(environment.contains("\nPATH=") || environment.startsWith("PATH="));
}

QTEST_GUILESS_MAIN(TestShellCommand)
#include "TestShellCommand.moc"
