#pragma once

#include "platform/ScriptRunner.h"

// The script of a command that an administrator is asked for.
inline QByteArray scriptOf(const QByteArray &command)
{
    return "do shell script \"" + command + "\" with administrator privileges";
}

// 0 where there is no error.
inline int numberOf(const std::optional<ScriptError> &error)
{
    return error ? error->number : 0;
}

// Empty where there is no error.
inline QString briefOf(const std::optional<ScriptError> &error)
{
    return error ? error->briefMessage.value_or(QStringLiteral("(none)")) : QString();
}
