#include "repair/FilesToRepair.h"

QList<FilePath> filesToRepairBelow(const FilePath &folder)
{
    QList<FilePath> found;
    FileManager::visitBelow(folder, [&found](const FilePath &path) {
        const FilePath name = path.filename();
        if (name == "Trailbook.lua" || name == "Trailbook.lua.bak")
            found.append(path);
    });
    return found;
}
