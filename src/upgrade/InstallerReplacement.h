#pragma once

#include "pack/PrivilegedRun.h"
#include "platform/FileManager.h"

#include <QString>

#include <optional>

class ScriptRunner;

// Where a downloaded installer is, and where it goes: beside the running bundle, under a name with its version.
struct NewBundle {
    OptionalPath source;
    OptionalPath destination;

    // unpackFolder: where the archive was unpacked; nothing without a support folder, and no source then. Both paths
    // are nothing when the version, which comes from the network, would lead out of the two folders.
    static NewBundle of(const QString &version, const OptionalPath &unpackFolder, const QString &runningBundle);
};

// Puts a downloaded installer beside the running one, which stays as it is. Blocks; main thread.
namespace InstallerReplacement
{
NewBundle unpack(const QString &version, const QString &runningBundle);
// With the player's own rights first, and as an administrator only where the file system refuses for want of
// permission: nothing when none was needed. A failure of any other kind is passed over.
[[nodiscard]] std::optional<PrivilegedOutcome> move(const FilePath &source, const FilePath &destination,
                                                    ScriptRunner &runner);
} // namespace InstallerReplacement
