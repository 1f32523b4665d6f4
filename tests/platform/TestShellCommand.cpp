#include "platform/ShellCommand.h"

#include "support/Files.h"
#include "support/TestWorld.h"

#include <csignal>

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
    void init() { m_world = std::make_unique<TestWorld>(); }
    void cleanup() { m_world.reset(); }

    void theLineRunsToItsEndWhateverItIs();
    void theLineRunsWithoutAnInputToWaitFor();
    void theLineRunsInASessionWithoutATerminal();
    void aToolThatNobodyReadsAnyMoreIsEnded();

    void argumentsAreHandedOverAsTheyStand();
    void theProgramIsFoundThroughThePath();
    void aMissingProgramFailsToStart();
    void theChosenEnvironmentReplacesOurs();

private:
    FilePath at(const FilePath &name) const { return toPath(m_world->path()) / name; }
    QByteArray world() const { return m_world->path().toLocal8Bit(); }

    std::unique_ptr<TestWorld> m_world;
};

void TestShellCommand::theLineRunsToItsEndWhateverItIs()
{
    for (const char *failing : {"exit 3", "kill -9 $$", "syntax ' error"})
        ShellCommand::run(failing);
    ShellCommand::run("cd '" + world() + "' && printf one >caf\xe9 && printf ' two' >>caf\xe9");
    QCOMPARE(FileManager::contentsOfFile(at("caf\xe9")), QByteArray("one two"));
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

// As in any shell, and not told of a failed write instead, of which it would speak.
void TestShellCommand::aToolThatNobodyReadsAnyMoreIsEnded()
{
    ShellCommand::run("{ yes; echo $? >'" + world() + "/status'; } 2>&1 | head -c 1 >/dev/null");
    QCOMPARE(FileManager::contentsOfFile(at("status"))->trimmed().toInt(), 128 + SIGPIPE);
}

void TestShellCommand::argumentsAreHandedOverAsTheyStand()
{
    QCOMPARE(outputOf({"printf", "<%s>", "", "caf\xe9", "ü", "a 'b' \"c\" $d\n"}),
             QByteArray("<><caf\xe9><ü><a 'b' \"c\" $d\n>"));
}

void TestShellCommand::theProgramIsFoundThroughThePath()
{
    makeFile(at("bin/wayfar-tool"), "#!/bin/sh\nprintf found\n", 0755);
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
    const QByteArray replaced = outputOf({"/usr/bin/env"}, chosen);
    const QByteArray ours = '\n' + outputOf({"/usr/bin/env"}); // none was chosen
    qunsetenv("WAYFAR_OURS");
    QCOMPARE(replaced, "WAYFAR_CHOSEN=chosen ü\n");
    QVERIFY(ours.contains("\nWAYFAR_OURS=ours\n"));
    QVERIFY(ours.contains("\nPATH="));
}

QTEST_GUILESS_MAIN(TestShellCommand)
#include "TestShellCommand.moc"
