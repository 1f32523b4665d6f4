#include "places/BundleFolder.h"

#include "places/VersionNumbers.h"
#include "platform/Bundle.h"

#include <set>
#include <string_view>
#include <system_error>

using namespace std::string_view_literals;

namespace
{
constexpr std::string_view prefix = "WayfarRoutes_";
constexpr std::string_view suffix = ".app";

// Of a bundle's whole path.
std::string_view versionOf(const FilePath &bundle)
{
    std::string_view name = bundle.native();
    name.remove_prefix(name.rfind('/') + 1 + prefix.size());
    name.remove_suffix(suffix.size());
    return VersionNumbers::shortened(name);
}

bool isNewer(const FilePath &bundle, const FilePath &other)
{
    return VersionNumbers::compare(versionOf(bundle), versionOf(other)) > 0;
}

// In the order of their names, so that the answer is always the same where two versions are equal.
std::set<FilePath> bundlesIn(const FilePath &folder)
{
    std::set<FilePath> bundles;
    std::error_code failure;
    std::filesystem::directory_iterator entry(folder, failure);
    for (; !failure && entry != end(entry); entry.increment(failure)) {
        const std::string name = entry->path().filename();
        if (name.starts_with(prefix) && name.ends_with(suffix) && Bundle::isBundle(entry->path()))
            bundles.insert(entry->path());
    }
    return bundles;
}
} // namespace

OptionalPath BundleFolder::nameOf(const std::string &version)
{
    if (version.find_first_of("/\0"sv) != std::string::npos)
        return std::nullopt;
    return FilePath(prefix).concat(version).concat(suffix);
}

FilePath BundleFolder::newestIn(const FilePath &folder)
{
    FilePath newest;
    for (const FilePath &bundle : bundlesIn(folder)) {
        if (!Bundle::programOf(bundle).empty() && (newest.empty() || isNewer(bundle, newest)))
            newest = bundle;
    }
    return newest;
}
