#pragma once

#include "platform/FileManager.h"

#include <QByteArray>
#include <QList>
#include <QString>

class ScriptRunner;

struct PrivilegedOutcome {
    bool done = true;
    QString reason = {}; // of a failure, in the runner's brief words
};

// A shell command run with an administrator's rights, after the file system refused the player's.
namespace PrivilegedRun
{
// Fills each "%@" of the command, which stands between single quotes, with the paths, raw and in order. Blocks until
// the command ended. Exit status 1 counts as done. Main thread.
[[nodiscard]] PrivilegedOutcome run(ScriptRunner &runner, QByteArrayView command, const QList<FilePath> &paths);
} // namespace PrivilegedRun
