#include "upgrade/NewBundle.h"

#include "places/BundleFolder.h"

NewBundle NewBundle::of(const QString &version, const OptionalPath &unpackFolder, const QString &runningBundle)
{
    const OptionalPath name = BundleFolder::nameOf(version);
    if (!name)
        return {};
    return {unpackFolder ? OptionalPath(*unpackFolder / *name) : std::nullopt,
            toPath(runningBundle).parent_path() / *name};
}
