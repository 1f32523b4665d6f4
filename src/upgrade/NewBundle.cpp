#include "upgrade/NewBundle.h"

#include "places/BundleFolder.h"
#include "platform/Bundle.h"

namespace
{
// Beside the running bundle. A program in none may stand in a system's folder such as /usr/bin, and the folder above it
// is nothing of ours: it has bundles beside it, or its successor stays where the player's download is.
OptionalPath destinationFolder(const FilePath &running, const OptionalPath &unpackFolder)
{
    const FilePath bundle = Bundle::enclosing(running);
    if (!bundle.empty())
        return bundle.parent_path();
    if (!BundleFolder::newestIn(running).empty())
        return running;
    return unpackFolder ? OptionalPath(unpackFolder->parent_path()) : std::nullopt;
}

OptionalPath below(const OptionalPath &folder, const FilePath &name)
{
    return folder ? OptionalPath(*folder / name) : std::nullopt;
}
} // namespace

NewBundle NewBundle::of(const QString &version, const OptionalPath &unpackFolder, const QString &runningBundle)
{
    const OptionalPath name = BundleFolder::nameOf(version.toStdString());
    if (!name)
        return {};
    return {below(unpackFolder, *name), below(destinationFolder(toPath(runningBundle), unpackFolder), *name)};
}
