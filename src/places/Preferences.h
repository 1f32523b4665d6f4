#pragma once

#include "places/GameFolder.h"
#include "platform/UserDefaults.h"

#include <QString>

#include <optional>

// A key of the preferences store: its kind, and what its readers take while it is absent.
struct TextPreference {
    QString key;
    QString whenAbsent = {};

    std::optional<QString> storedIn(const UserDefaults &defaults) const { return defaults.stringForKey(key); }
    QString in(const UserDefaults &defaults) const { return storedIn(defaults).value_or(whenAbsent); }
};

struct FlagPreference { // absent is false
    QString key;

    bool in(const UserDefaults &defaults) const { return defaults.boolForKey(key); }
};

// Every preference, one row each.
namespace Preferences
{
inline const TextPreference installPath{QStringLiteral("installPath"), GameFolder::usualRoot.toString()};
inline const TextPreference launchPath{QStringLiteral("launchPath")}; // the game's launcher
inline const FlagPreference autoLaunch{QStringLiteral("autoLaunch")};
inline const TextPreference userName{QStringLiteral("wayfaruser")};
inline const TextPreference password{QStringLiteral("wayfarpasswd")};
inline const FlagPreference loginFailed{QStringLiteral("loginFailed")}; // how the last login ended
} // namespace Preferences
