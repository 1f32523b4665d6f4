#pragma once

#include "pack/PrivilegedRun.h"
#include "platform/FileManager.h"

#include <QList>

#include <optional>

class ScriptRunner;
class UserDefaults;

// Deletes the add-on and its saved settings, with the player's own rights first, and as an administrator only where the
// file system refuses for want of permission. A failure of any other kind is passed over. Blocks; main thread.
class Repair
{
public:
    Repair(const UserDefaults &defaults, ScriptRunner &runner); // borrowed

    // The add-on's saved settings. None without a stored game folder: of all readers, this one has no default.
    QList<FilePath> filesToRepair() const;

    // Nothing when no administrator was needed. One who removes the add-on removes the saved settings with it, in one
    // command, so that the player is asked once.
    [[nodiscard]] std::optional<PrivilegedOutcome> removeAddOn() const;
    [[nodiscard]] std::optional<PrivilegedOutcome> removeLuaFiles() const;

private:
    const UserDefaults &m_defaults;
    ScriptRunner &m_runner;
};
