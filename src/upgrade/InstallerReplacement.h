#pragma once

#include "pack/PrivilegedRun.h"
#include "platform/FileManager.h"
#include "upgrade/NewBundle.h"

#include <QString>

#include <optional>

class ScriptRunner;

// Puts a downloaded installer beside the running one, which stays as it is. Blocks; main thread.
namespace InstallerReplacement
{
NewBundle unpack(const QString &version, const QString &runningBundle);
// With the player's own rights first, and as an administrator only where the file system refuses for want of
// permission: nothing when none was needed. A failure of any other kind is passed over.
[[nodiscard]] std::optional<PrivilegedOutcome> move(const FilePath &source, const FilePath &destination,
                                                    ScriptRunner &runner);
} // namespace InstallerReplacement
