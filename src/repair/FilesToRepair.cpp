#include "repair/FilesToRepair.h"

QList<FilePath> filesToRepairBelow(const FilePath &folder)
{
    QList<FilePath> found;
    std::error_code failure;
    std::filesystem::recursive_directory_iterator entry(
        folder, std::filesystem::directory_options::skip_permission_denied, failure);
    for (const std::filesystem::recursive_directory_iterator end; !failure && entry != end; entry.increment(failure)) {
        const FilePath name = entry->path().filename();
        if (name == "Trailbook.lua" || name == "Trailbook.lua.bak")
            found.append(entry->path());
    }
    return found;
}
