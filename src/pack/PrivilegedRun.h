#pragma once

#include "platform/FileManager.h"

#include <QByteArray>
#include <QList>
#include <QString>

class Alert;
class ScriptRunner;

// A shell command run again with an administrator's rights, after the file system refused the player's.
namespace PrivilegedRun
{
// The script of a command template, each of its "%@" standing between single quotes for one of the paths.
QByteArray script(QByteArrayView command);

// Fills the script's "%@" with the paths, raw and in order, runs it and blocks until it ended. False after a failure,
// which has been shown: the message's "%@" is the runner's brief text. Exit status 1 is a success.
bool run(ScriptRunner &runner, Alert &alert, const QByteArray &script, const QList<FilePath> &paths,
         const QString &message, const QString &informativeText = {});
} // namespace PrivilegedRun
