#include "upgrade/InstallerReplacement.h"

#include "pack/ArchiveExtraction.h"
#include "places/SupportFolder.h"
#include "platform/Bundle.h"

NewBundle InstallerReplacement::unpack(const QString &version, const QString &runningBundle)
{
    const OptionalPath folder = SupportFolder::installerExtraction();
    ArchiveExtraction::unpackOver(SupportFolder::download(), folder);
    return NewBundle::of(version, folder, runningBundle);
}

std::optional<PrivilegedOutcome> InstallerReplacement::move(const FilePath &source, const FilePath &destination,
                                                            ScriptRunner &runner)
{
    // Half a bundle, of a copy that was killed, would be taken for the one that is already there.
    if (FileManager::itemExists(source) && Bundle::isBundle(destination) && Bundle::programOf(destination).empty()) {
        FileManager::makeTreeWritable(destination);
        (void)FileManager::removeItem(destination);
    }
    if (FileManager::moveItem(source, destination).code != FileError::NoWritePermission)
        return std::nullopt; // moved, or a failure that a password would not help
    return PrivilegedRun::run(runner, "cp -r '%@' '%@'", {source, destination});
}
