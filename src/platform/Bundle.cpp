#include "platform/Bundle.h"

#include <string_view>
#include <system_error>

#include <unistd.h>

using namespace std::string_view_literals;

namespace
{
constexpr std::string_view starter = "AppRun";

bool hasBundleName(const FilePath &path)
{
    return path.native().ends_with(".app"sv);
}
} // namespace

bool Bundle::isBundle(const FilePath &path)
{
    std::error_code failure;
    return std::filesystem::is_directory(path, failure)
        && (hasBundleName(path) || std::filesystem::is_regular_file(path / starter, failure));
}

FilePath Bundle::programOf(const FilePath &bundle)
{
    std::error_code failure;
    for (const FilePath &program : {bundle / starter, bundle / bundle.stem()}) {
        if (std::filesystem::is_regular_file(program, failure) && ::access(program.c_str(), X_OK) == 0)
            return program;
    }
    return {};
}

FilePath Bundle::enclosing(const FilePath &folder)
{
    for (FilePath bundle = folder; bundle.has_relative_path(); bundle = bundle.parent_path()) {
        if (hasBundleName(bundle))
            return bundle;
    }
    return {};
}

FilePath Bundle::executableFolder()
{
    std::error_code failure;
    return std::filesystem::read_symlink("/proc/self/exe", failure).parent_path();
}

FilePath Bundle::running()
{
    const FilePath bundle = enclosing(executableFolder());
    return bundle.empty() ? executableFolder() : bundle;
}
