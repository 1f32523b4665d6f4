#pragma once

#include <QString>

namespace PreferenceKeys
{
inline const QString installPath = QStringLiteral("installPath"); // the folder that holds "_retail_"
inline const QString launchPath = QStringLiteral("launchPath"); // the game's launcher
inline const QString autoLaunch = QStringLiteral("autoLaunch"); // boolean
inline const QString userName = QStringLiteral("wayfaruser");
inline const QString password = QStringLiteral("wayfarpasswd");
inline const QString loginFailed = QStringLiteral("loginFailed"); // boolean; how the last login ended

// Where the game is looked for while no "installPath" is stored.
inline const QString defaultInstallPath = QStringLiteral("/Applications/World of Warcraft");
} // namespace PreferenceKeys
