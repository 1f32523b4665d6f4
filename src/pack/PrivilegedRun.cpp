#include "pack/PrivilegedRun.h"

#include "platform/ScriptRunner.h"
#include "platform/Text.h"

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace
{
// An apostrophe in a path ends its quoting. One alone is a syntax error, but two pair up again, and an administrator's
// shell would delete something else altogether: so nothing is run, and the failure is the one of a single apostrophe.
std::optional<ScriptError> execute(ScriptRunner &runner, QByteArrayView command, const QList<FilePath> &paths)
{
    QList<QByteArray> texts;
    for (const FilePath &path : paths)
        texts.append(QByteArray::fromStdString(path.native()));
    if (std::ranges::any_of(texts, [](const QByteArray &text) { return text.contains('\''); }))
        return ScriptError{2, u"sh: 1: Syntax error: Unterminated quoted string"_s};
    return runner.execute(Text::filled(ScriptRunner::scriptOf(command), texts));
}
} // namespace

PrivilegedOutcome PrivilegedRun::run(ScriptRunner &runner, QByteArrayView command, const QList<FilePath> &paths)
{
    const auto error = execute(runner, command, paths);
    if (!error || error->number == 1) // 1 counts as done (docs/kept-on-purpose.md)
        return {};
    return {.done = false, .reason = Text::orNull(error->briefMessage)};
}
