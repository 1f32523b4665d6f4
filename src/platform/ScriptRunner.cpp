#include "platform/ScriptRunner.h"

#include "platform/ShellCommand.h"

#include <algorithm>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
constexpr int UserCanceled = -128;
constexpr int SyntaxError = -2741;
constexpr int NotAuthorized = -60005;
constexpr int NoAgent = -60007;
constexpr int GeneralError = -2700;
const ScriptError interrupted = {GeneralError, u"The command was interrupted."_s};

// Prints S once the administrator agreed, then what the command writes to standard error, then X and its status. The
// player's file mode mask stays outside: under 077 the player could not read what the administrator copied. The command
// has a shell of its own, since a syntax error ends the shell that finds it. The dot keeps line ends at its end.
const QByteArray wrapper = "cd /; umask 022; printf 'S\\n'; command=$(printf '%b.' \"$1\"); "
                           "/bin/sh -c \"${command%.}\" 2>&1 >/dev/null; printf '\\nX%d\\n' \"$?\"";

// pkexec takes no arguments but UTF-8 ones. The command holds no backslash of its own, and other commands stay readable
// in the prompt's details.
QByteArray forPrintf(const QByteArray &command)
{
    if (QByteArrayView(command).isValidUtf8())
        return command;
    QByteArray escaped;
    for (const char byte : command) {
        const uint code = static_cast<uchar>(byte);
        escaped += code < 0x80 ? QByteArray(1, byte) : "\\0" + QByteArray::number(code, 8);
    }
    return escaped;
}

// Only the path and the language go along: pkexec refuses to work with an odd SHELL, TERM or XAUTHORITY.
QProcessEnvironment plainEnvironment()
{
    const QProcessEnvironment ours = QProcessEnvironment::systemEnvironment();
    QProcessEnvironment plain;
    for (const QString &name : ours.keys()) {
        if (name == u"PATH"_s || name.startsWith(u"LANG"_s) || name.startsWith(u"LC_"_s))
            plain.insert(name, ours.value(name));
    }
    return plain;
}

const QByteArray head = "do shell script \"";
const QByteArray tail = "\" with administrator privileges";

// The text between the quotes; nothing when it is no such script. A backslash would begin an escape, which no caller
// uses.
std::optional<QByteArray> commandIn(const QByteArray &source)
{
    if (!source.startsWith(head) || !source.endsWith(tail) || source.size() < head.size() + tail.size())
        return std::nullopt;
    const QByteArray command = source.sliced(head.size(), source.size() - head.size() - tail.size());
    return command.contains('"') || command.contains('\\') ? std::nullopt : std::optional(command);
}

std::optional<ScriptError> judgeCommand(const QByteArray &output)
{
    const qsizetype mark = output.lastIndexOf("\nX"); // the last: the command may print such a line itself
    bool isStatus = false;
    const QByteArray after = mark < 0 ? QByteArray() : output.sliced(mark + 2);
    const int status = after.left(after.indexOf('\n')).toInt(&isStatus); // a child left behind may write more
    if (!isStatus)
        return interrupted;
    const QString words = QString::fromLocal8Bit(output.sliced(2, std::max<qsizetype>(mark - 2, 0))).trimmed();
    if (status == 0)
        return std::nullopt;
    return ScriptError{status, words.isEmpty() ? u"The command exited with a non-zero status."_s : words};
}

// pkexec ended without starting the command. Its texts are the same in every language.
ScriptError judgeRefusal(QProcess &process)
{
    QString words = QString::fromLocal8Bit(process.readAllStandardError());
    words.remove(u"Error executing command as another user: "_s);
    words.remove(u"This incident has been reported."_s);
    words = words.trimmed();
    if (process.exitCode() == 126)
        return {UserCanceled, u"User canceled."_s};
    if (words.contains(u"Not authorized"_s))
        return {NotAuthorized, u"The administrator user name or password was incorrect."_s};
    if (words.contains(u"No authentication agent found."_s))
        return {NoAgent, words};
    return {GeneralError, words.isEmpty() ? process.errorString() : words};
}
} // namespace

ScriptRunner::ScriptRunner()
    : ScriptRunner(::geteuid() == 0 ? QList<QByteArray>() : QList<QByteArray>{"pkexec", "--disable-internal-agent"})
{
}

ScriptRunner::ScriptRunner(const QList<QByteArray> &launcher) : m_launcher(launcher) { }

QByteArray ScriptRunner::scriptOf(QByteArrayView command)
{
    return head + command.toByteArray() + tail;
}

std::optional<ScriptError> ScriptRunner::execute(const QByteArray &source)
{
    const auto command = commandIn(source);
    if (!command)
        return ScriptError{SyntaxError, u"Expected end of line but found unknown token."_s};

    QProcess process;
    process.setProcessEnvironment(plainEnvironment());
    ShellCommand::prepare(process, m_launcher + QList<QByteArray>{"/bin/sh", "-c", wrapper, "sh", forPrintf(*command)});
    process.start();
    if (!process.waitForStarted(-1))
        return ScriptError{GeneralError, process.errorString()};
    process.waitForFinished(-1);

    const QByteArray output = process.readAllStandardOutput();
    const bool endedWell = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!output.startsWith("S\n"))
        return judgeRefusal(process);
    return endedWell ? judgeCommand(output) : interrupted;
}
