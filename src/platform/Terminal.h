#pragma once

#include <QString>

// Questions to whoever started a tool. Not for the program itself, which has windows.
namespace Terminal
{
enum class Echo { Shown, Hidden };

// One line of standard input, without its end; empty at the end of the input. The question is put only where standard
// input is a terminal.
QString ask(const QString &question, Echo echo = Echo::Shown);
} // namespace Terminal
