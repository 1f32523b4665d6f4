#pragma once

#include <QByteArray>

// The script of a command that an administrator is asked for.
inline QByteArray scriptOf(const QByteArray &command)
{
    return "do shell script \"" + command + "\" with administrator privileges";
}
