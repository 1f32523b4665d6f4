#pragma once

#include <QByteArray>
#include <QList>
#include <QProcess>

// Child processes with what QProcess leaves out: arguments kept as bytes, since a path need not be
// UTF-8, and a session of their own without a terminal, so that a tool that would ask there fails instead of waiting
// for ever; and none of our open files.
namespace ShellCommand
{
// The program, found through PATH, and its arguments; the process's environment is set before. Not started yet;
// standard input is empty.
void prepare(QProcess &process, const QList<QByteArray> &arguments);
// From here on. The web engine opens files that every program started later would get.
void keepFilesFromPrograms();
// Hands the line to /bin/sh with the player's own rights and waits for its end. Its exit status is not looked at.
void run(const QByteArray &line);
} // namespace ShellCommand
