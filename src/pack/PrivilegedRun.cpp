#include "pack/PrivilegedRun.h"

#include "platform/Alert.h"
#include "platform/MainThread.h"
#include "platform/ScriptRunner.h"
#include "platform/Text.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
// An apostrophe in a path ends its quoting. Where the path stands in the command twice the quotes pair up again, and an
// administrator's shell would delete something else altogether: so nothing is run, with the outcome a lone one has.
std::optional<ScriptError> execute(ScriptRunner &runner, const QByteArray &script, const QList<FilePath> &paths)
{
    QList<QByteArray> texts;
    for (const FilePath &path : paths)
        texts.append(QByteArray::fromStdString(path.native()));
    if (std::ranges::any_of(texts, [](const QByteArray &text) { return text.contains('\''); }))
        return ScriptError{2, u"sh: 1: Syntax error: Unterminated quoted string"_s};
    const MainThread::Wait wait;
    return runner.execute(Text::filled(script, texts));
}
} // namespace

QByteArray PrivilegedRun::script(QByteArrayView command)
{
    return "do shell script \"" + command.toByteArray() + "\" with administrator privileges";
}

bool PrivilegedRun::run(ScriptRunner &runner, Alert &alert, const QByteArray &script, const QList<FilePath> &paths,
                        const QString &message, const QString &informativeText)
{
    const auto error = execute(runner, script, paths);
    // 1 is what rm, cp, mkdir and find end with for nearly everything; it counts as done: agreed.
    if (!error || error->number == 1)
        return true;
    alert.runModal({.messageText = Text::filled(message, {Text::orNull(error->briefMessage)}),
                    .informativeText = informativeText});
    return false;
}
