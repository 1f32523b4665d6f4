#include "upgrade/NewBundle.h"

#include "platform/Text.h"

NewBundle NewBundle::of(const QString &version, const OptionalPath &unpackFolder, const QString &runningBundle)
{
    // A bundle's name is one name: a slash would make it a path, a null would end it early.
    if (version.contains(u'/') || version.contains(QChar(0)))
        return {};
    const FilePath name = toPath(Text::filled(u"WayfarRoutes_%@.app", {version}));
    return {unpackFolder ? OptionalPath(*unpackFolder / name) : std::nullopt,
            toPath(runningBundle).parent_path() / name};
}
