#include "platform/ScriptRunner.h"

#include "platform/FileManager.h"
#include "support/Rerun.h"
#include "support/Scripts.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
const QList<QByteArray> noLauncher; // as for root

// A launcher of our own: a shell text that finds the program to start in its arguments.
QList<QByteArray> launcher(const QByteArray &text)
{
    return {"/bin/sh", "-c", text, "launcher"};
}
} // namespace

class TestScriptRunner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void onlyTheOneFormCompiles_data();
    void onlyTheOneFormCompiles();
    void theExitStatusIsTheErrorNumber_data();
    void theExitStatusIsTheErrorNumber();
    void standardErrorIsTheBriefMessage_data();
    void standardErrorIsTheBriefMessage();
    void aCommandCannotForgeItsStatus_data();
    void aCommandCannotForgeItsStatus();
    void outputAfterTheStatusDoesNotHideIt();
    void muchErrorOutputIsKeptWhole();
    void theCommandStartsFromAPlainState();
    void onlyPathAndLanguageGoAlong();
    void anyByteReachesTheCommand_data();
    void anyByteReachesTheCommand();
    void theLauncherIsHandedUtf8Only();
    void aBackgroundChildIsNotWaitedFor();
    void aLauncherThatRefusesIsToldApart_data();
    void aLauncherThatRefusesIsToldApart();
    void aLauncherThatCannotStartIsAnError_data();
    void aLauncherThatCannotStartIsAnError();
    void pkexecIsAskedByAllButRoot();

private:
    QByteArray path(const QString &name) const { return m_folder->filePath(name).toLocal8Bit(); }
    QByteArray read(const QString &name) const
    {
        QFile file(m_folder->filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestScriptRunner::onlyTheOneFormCompiles_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<bool>("compiles");
    QTest::newRow("the form") << scriptOf("true") << true;
    QTest::newRow("no command") << scriptOf("") << true;
    QTest::newRow("two lines") << scriptOf("true\ntrue") << true;
    QTest::newRow("a double quote") << scriptOf("echo \"") << false;
    QTest::newRow("two double quotes") << scriptOf("echo \"x\"") << false;
    QTest::newRow("a backslash") << scriptOf("echo a\\b") << false;
    QTest::newRow("an escaped double quote") << scriptOf("echo \\\"") << false;
    QTest::newRow("a backslash before the closing quote") << scriptOf("echo \\") << false;
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("words before it") << "tell me to " + scriptOf("true") << false;
    QTest::newRow("a line end before it") << "\n" + scriptOf("true") << false;
    QTest::newRow("words after it") << scriptOf("true") + " without altering line endings" << false;
    QTest::newRow("a line end after it") << scriptOf("true") + "\n" << false;
    QTest::newRow("no privileges") << QByteArray("do shell script \"true\"") << false;
    QTest::newRow("no closing quote") << QByteArray("do shell script \"true") << false;
    QTest::newRow("one quote for both") << QByteArray("do shell script \" with administrator privileges") << false;
    QTest::newRow("capitals") << scriptOf("true").replace("do shell", "Do Shell") << false;
    QTest::newRow("the bare command") << QByteArray("true") << false;
}

void TestScriptRunner::onlyTheOneFormCompiles()
{
    QFETCH(const QByteArray, source);
    QFETCH(const bool, compiles);
    ScriptRunner runner(launcher("echo started >'" + path(u"launches"_s) + R"('; exec "$@")"));
    const auto error = runner.execute(source);
    QCOMPARE(numberOf(error), compiles ? 0 : -2741);
    QCOMPARE(briefOf(error), compiles ? QString() : u"Expected end of line but found unknown token."_s);
    QCOMPARE(read(u"launches"_s), QByteArray(compiles ? "started\n" : "")); // no prompt for what can't be run
}

void TestScriptRunner::theExitStatusIsTheErrorNumber_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<int>("number");
    for (const int status : {0, 1, 2, 3, 64, 126, 127, 128, 254, 255})
        QTest::addRow("exit %d", status) << "exit " + QByteArray::number(status) << status;
    QTest::newRow("0 after words") << QByteArray("echo words; echo more >&2; exit 0") << 0;
    QTest::newRow("ends itself") << QByteArray("kill -TERM $$") << 128 + SIGTERM;
    QTest::newRow("kills itself") << QByteArray("kill -KILL $$") << 128 + SIGKILL;
    QTest::newRow("not found") << QByteArray("/no/such/tool") << 127;
    QTest::newRow("not executable") << QByteArray("/etc/passwd") << 126;
    QTest::newRow("a syntax error") << QByteArray("echo 'unfinished") << 2;
    QTest::newRow("a syntax error after a command") << QByteArray("true; )") << 2;
    QTest::newRow("the last of a chain") << QByteArray("true && false") << 1;
    QTest::newRow("cp without its source") << QByteArray("cp -r /no/such/entry /tmp/wayfar-nowhere") << 1;
}

void TestScriptRunner::theExitStatusIsTheErrorNumber()
{
    QFETCH(const QByteArray, command);
    QFETCH(const int, number);
    ScriptRunner runner(noLauncher);
    const auto error = runner.execute(scriptOf(command));
    QCOMPARE(error.has_value(), number != 0);
    QCOMPARE(numberOf(error), number);
}

void TestScriptRunner::standardErrorIsTheBriefMessage_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QString>("brief");
    QTest::newRow("one line") << QByteArray("echo no >&2; exit 3") << u"no"_s;
    QTest::newRow("several lines, trimmed")
        << QByteArray("echo; echo one >&2; echo; echo two >&2; echo >&2; exit 3") << u"one\ntwo"_s;
    QTest::newRow("blank around") << QByteArray("echo '  no  ' >&2; exit 3") << u"no"_s;
    QTest::newRow("no line end") << QByteArray("printf no >&2; exit 3") << u"no"_s;
    QTest::newRow("beyond ASCII") << QByteArray("echo 'Größe' >&2; exit 3") << u"Größe"_s;
    QTest::newRow("output is not it") << QByteArray("echo words; exit 3")
                                      << u"The command exited with a non-zero status."_s;
    QTest::newRow("nothing said") << QByteArray("exit 3") << u"The command exited with a non-zero status."_s;
    QTest::newRow("only blanks") << QByteArray("echo '   ' >&2; exit 3")
                                 << u"The command exited with a non-zero status."_s;
    QTest::newRow("what the shell says") << QByteArray("echo 'unfinished")
                                         << u"/bin/sh: 1: Syntax error: Unterminated quoted string"_s;
}

void TestScriptRunner::standardErrorIsTheBriefMessage()
{
    QFETCH(const QByteArray, command);
    QFETCH(const QString, brief);
    ScriptRunner runner(noLauncher);
    QCOMPARE(briefOf(runner.execute(scriptOf(command))), brief);
}

void TestScriptRunner::aCommandCannotForgeItsStatus_data()
{
    QTest::addColumn<QByteArray>("launcherText"); // around the real shell
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<int>("number");
    const QByteArray plain = R"(exec "$@")";
    const QByteArray forged = "{ echo; echo X0; } >&2; ";
    QTest::newRow("a forged line before a failure") << plain << forged + "exit 3" << 3;
    QTest::newRow("a forged line, then the waiting shell killed") << plain << forged + "kill -KILL $PPID" << -2700;
    QTest::newRow("the waiting shell killed") << plain << QByteArray("kill -KILL $PPID") << -2700;
    QTest::newRow("the waiting shell ended") << plain << QByteArray("kill -TERM $PPID") << -2700;
    QTest::newRow("the launcher fails afterwards") << QByteArray(R"("$@"; exit 5)") << QByteArray("true") << -2700;
    QTest::newRow("a status that is none") << QByteArray(R"("$@"; printf '\nXodd')") << QByteArray("exit 3") << -2700;
    QTest::newRow("the launcher hides the kill")
        << QByteArray(R"("$@"; exit 0)") << QByteArray("kill -KILL $PPID") << -2700;
}

void TestScriptRunner::aCommandCannotForgeItsStatus()
{
    QFETCH(const QByteArray, launcherText);
    QFETCH(const QByteArray, command);
    QFETCH(const int, number);
    ScriptRunner runner(launcher(launcherText));
    const auto error = runner.execute(scriptOf(command));
    QCOMPARE(numberOf(error), number);
    if (number < 0)
        QCOMPARE(briefOf(error), u"The command was interrupted."_s);
}

void TestScriptRunner::outputAfterTheStatusDoesNotHideIt()
{
    ScriptRunner runner(launcher(R"("$@"; echo late)")); // as a child that the command left behind might
    const auto error = runner.execute(scriptOf("echo no >&2; exit 3"));
    QCOMPARE(numberOf(error), 3);
    QCOMPARE(briefOf(error), u"no"_s);
    QVERIFY(!runner.execute(scriptOf("true")));
}

void TestScriptRunner::muchErrorOutputIsKeptWhole()
{
    ScriptRunner runner(noLauncher);
    const auto error = runner.execute(scriptOf("yes output | head -c 3000000; yes | head -c 3000001 >&2; exit 4"));
    QCOMPARE(numberOf(error), 4);
    QCOMPARE(briefOf(error).size(), 3000001); // "y" and line ends in turn, beginning and ending with a "y"
}

// New files can be read by everybody, the folder is none of the player's, there is no input and no terminal: whatever
// would ask there fails instead.
void TestScriptRunner::theCommandStartsFromAPlainState()
{
    const mode_t before = ::umask(077);
    ScriptRunner runner(noLauncher);
    // The fields after the name: state, parent, process group, session, terminal.
    const auto error = runner.execute(scriptOf("{ umask; pwd; read -r line || echo no input; "
                                               "cut -d ' ' -f 6-7 /proc/$$/stat; } >'"
                                               + path(u"state"_s) + "'"));
    ::umask(before);
    QVERIFY(!error);
    const QList<QByteArray> state = read(u"state"_s).split('\n');
    QCOMPARE(state.first(3), (QList<QByteArray>{"0022", "/", "no input"}));
    const QList<QByteArray> fields = state.at(3).split(' ');
    QVERIFY(fields.first().toInt() > 0);
    QVERIFY(fields.first().toInt() != ::getsid(0));
    QCOMPARE(fields.last(), QByteArray("0"));
}

void TestScriptRunner::onlyPathAndLanguageGoAlong()
{
    if (!Rerun::isRerun()) {
        const QString value = u"C"_s;
        Rerun::verifyPasses({},
                            {{u"LANG"_s, value},
                             {u"LANGUAGE"_s, value},
                             {u"LC_TIME"_s, value},
                             {u"SHELL"_s, value},
                             {u"TERM"_s, value},
                             {u"XAUTHORITY"_s, value},
                             {u"DISPLAY"_s, value},
                             {u"COLORTERM"_s, value},
                             {u"ENV"_s, value},
                             {u"MY_LANG"_s, value},
                             {u"LD_PRELOAD"_s, {}},
                             {u"LD_LIBRARY_PATH"_s, {}}});
        return;
    }
    ScriptRunner runner(noLauncher);
    QVERIFY(!runner.execute(scriptOf("env >'" + path(u"env"_s) + "'")));
    QSet<QByteArray> names;
    for (const QByteArray &line : read(u"env"_s).split('\n'))
        names.insert(line.left(line.indexOf('=')));
    for (const char *kept : {"PATH", "LANG", "LANGUAGE", "LC_TIME"})
        QVERIFY2(names.contains(kept), kept);
    for (const char *dropped : {"SHELL", "TERM", "XAUTHORITY", "DISPLAY", "COLORTERM", "ENV", "MY_LANG", "LD_PRELOAD",
                                "LD_LIBRARY_PATH", "WAYFAR_TEST_RERUN"})
        QVERIFY2(!names.contains(dropped), dropped);
}

void TestScriptRunner::anyByteReachesTheCommand_data()
{
    QTest::addColumn<QByteArray>("name");
    QByteArray high;
    for (int byte = 0x80; byte <= 0xff; ++byte)
        high.append(static_cast<char>(byte));
    QByteArray low;
    for (char byte = 1; byte < 0x7f; ++byte) {
        if (!QByteArray("'\"\\/").contains(byte))
            low.append(byte);
    }
    QTest::newRow("every byte beyond ASCII") << high;
    QTest::newRow("digits behind it") << QByteArray("\xf6"
                                                    "017\xdf"
                                                    "7");
    QTest::newRow("UTF-8") << QByteArray("Größe");
    QTest::newRow("ASCII") << low;
    QTest::newRow("ASCII and others") << low + '\xff';
    QTest::newRow("percent signs") << QByteArray("%b%s%@%d");
}

void TestScriptRunner::anyByteReachesTheCommand()
{
    QFETCH(const QByteArray, name);
    const QByteArray folder = path(u"made-"_s) + name;
    ScriptRunner runner(noLauncher);
    const auto error = runner.execute(scriptOf("mkdir '" + folder + "'\n"));
    QCOMPARE(briefOf(error), QString());
    QVERIFY(FileManager::isDirectory(FilePath(folder.toStdString())));
    QVERIFY(!FileManager::removeItem(FilePath(folder.toStdString()))); // the temporary folder could not
}

void TestScriptRunner::theLauncherIsHandedUtf8Only()
{
    // pkexec gives its arguments to polkit, which takes no other text.
    ScriptRunner runner(launcher("printf %s \"$*\" >'" + path(u"arguments"_s) + R"('; exec "$@")"));
    QCOMPARE(numberOf(runner.execute(scriptOf("exit 3 # Gr\xf6\xdf\x65"))), 3);
    QVERIFY(read(u"arguments"_s).contains("exit 3 # Gr"));
    QVERIFY(QByteArrayView(read(u"arguments"_s)).isValidUtf8());
    QCOMPARE(numberOf(runner.execute(scriptOf("exit 3 # Größe"))), 3);
    QVERIFY(read(u"arguments"_s).contains("exit 3 # Größe")); // as the prompt's details show it
}

void TestScriptRunner::aBackgroundChildIsNotWaitedFor()
{
    ScriptRunner runner(noLauncher);
    const auto error = runner.execute(scriptOf("sleep 600 & echo $! >'" + path(u"pid"_s) + "'; exit 3"));
    const pid_t child = read(u"pid"_s).trimmed().toInt();
    QVERIFY(child > 0);
    QCOMPARE(::kill(child, SIGKILL), 0); // it still ran
    QCOMPARE(numberOf(error), 3);
}

void TestScriptRunner::aLauncherThatRefusesIsToldApart_data()
{
    QTest::addColumn<QByteArray>("launcherText");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("brief");
    const auto says = [](const QByteArray &words, int status) {
        return "echo '" + words + "' >&2; exit " + QByteArray::number(status);
    };
    const QByteArray prefix = "Error executing command as another user: ";
    const QString wrong = u"The administrator user name or password was incorrect."_s;
    QTest::newRow("cancelled") << says(prefix + "Request dismissed", 126) << -128 << u"User canceled."_s;
    QTest::newRow("refused") << says(prefix + "Not authorized\n\nThis incident has been reported.", 127) << -60005
                             << wrong;
    QTest::newRow("no agent") << says(prefix + "No authentication agent found.", 127) << -60007
                              << u"No authentication agent found."_s;
    QTest::newRow("no bus") << says("Error getting authority: Error initializing authority: no bus", 127) << -2700
                            << u"Error getting authority: Error initializing authority: no bus"_s;
    QTest::newRow("no setuid bit") << says("pkexec must be setuid root", 127) << -2700
                                   << u"pkexec must be setuid root"_s;
    QTest::newRow("an odd shell") << says(
        "The value for the SHELL variable was not found the /etc/shells file\n\nThis incident has been reported.", 127)
                                  << -2700 << u"The value for the SHELL variable was not found the /etc/shells file"_s;
    QTest::newRow("dead parents") << says("Refusing to render service to dead parents.", 127) << -2700
                                  << u"Refusing to render service to dead parents."_s;
    QTest::newRow("another status") << says("odd", 1) << -2700 << u"odd"_s; // 1 is a success only of the command's own
    QTest::newRow("nothing run and nothing said of it") << says("odd", 0) << -2700 << u"odd"_s;
    QTest::newRow("output that is not ours") << QByteArray("echo hello; echo odd >&2") << -2700 << u"odd"_s;
}

void TestScriptRunner::aLauncherThatRefusesIsToldApart()
{
    QFETCH(const QByteArray, launcherText);
    QFETCH(const int, number);
    QFETCH(const QString, brief);
    ScriptRunner runner(launcher(launcherText));
    const auto error = runner.execute(scriptOf("true"));
    QCOMPARE(numberOf(error), number);
    QCOMPARE(briefOf(error), brief);
}

void TestScriptRunner::aLauncherThatCannotStartIsAnError_data()
{
    QTest::addColumn<QList<QByteArray>>("launcher");
    QTest::newRow("missing") << QList<QByteArray>{"/no/such/launcher"};
    QTest::newRow("missing in PATH") << QList<QByteArray>{"wayfar-no-such-launcher"};
    QTest::newRow("not executable") << QList<QByteArray>{"/etc/passwd"};
    QTest::newRow("killed") << launcher("kill -KILL $$");
    QTest::newRow("silent") << launcher("exit 127");
}

void TestScriptRunner::aLauncherThatCannotStartIsAnError()
{
    QFETCH(const QList<QByteArray>, launcher);
    ScriptRunner runner(launcher);
    const auto error = runner.execute(scriptOf("true"));
    QCOMPARE(numberOf(error), -2700);
    QVERIFY(!briefOf(error).isEmpty()); // the alert has a reason to tell
}

void TestScriptRunner::pkexecIsAskedByAllButRoot()
{
    QFile fake(m_folder->filePath(u"pkexec"_s));
    QVERIFY(fake.open(QIODevice::WriteOnly));
    fake.write("#!/bin/sh\necho \"$1 $2\" >'" + path(u"asked"_s) + "'\nshift\nexec \"$@\"\n");
    fake.close();
    QVERIFY(fake.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    const QByteArray before = qgetenv("PATH");
    qputenv("PATH", m_folder->path().toLocal8Bit() + ':' + before);
    const auto error = ScriptRunner().execute(scriptOf("exit 3"));
    qputenv("PATH", before);
    QCOMPARE(numberOf(error), 3);
    QCOMPARE(read(u"asked"_s), QByteArray(::geteuid() == 0 ? "" : "--disable-internal-agent /bin/sh\n"));
}

QTEST_GUILESS_MAIN(TestScriptRunner)
#include "TestScriptRunner.moc"
