#include "places/SupportFolder.h"

#include "places/Utility.h"

namespace
{
OptionalPath entry(const char *name)
{
    const auto folder = Utility::WayfarInstallerFolder();
    return folder ? OptionalPath(toPath(*folder) / name) : std::nullopt;
}
} // namespace

OptionalPath SupportFolder::accountPage()
{
    return entry("account.html");
}

OptionalPath SupportFolder::newsPage()
{
    return entry("rssfeed.html");
}

OptionalPath SupportFolder::download()
{
    return entry("download.zip");
}

OptionalPath SupportFolder::packExtraction()
{
    return entry("installer");
}

OptionalPath SupportFolder::installerExtraction()
{
    return entry("update");
}
