#include "repair/Repair.h"

#include "places/GameFolder.h"
#include "repair/FilesToRepair.h"

Repair::Repair(const UserDefaults &defaults, ScriptRunner &runner) : m_defaults(defaults), m_runner(runner) { }

QList<FilePath> Repair::filesToRepair() const
{
    const auto game = GameFolder::stored(m_defaults);
    return game ? filesToRepairBelow(game->savedSettings()) : QList<FilePath>();
}

std::optional<PrivilegedOutcome> Repair::removeAddOn() const
{
    const FilePath addOn = GameFolder::current(m_defaults).addOn();
    if (FileManager::removeItem(addOn).code != FileError::NoWritePermission)
        return std::nullopt;
    const QList<FilePath> files = filesToRepair();
    return PrivilegedRun::run(m_runner, "rm -rf '%@' " + QByteArray(" && rm -rf '%@'").repeated(files.size()),
                              QList<FilePath>{addOn} + files);
}

std::optional<PrivilegedOutcome> Repair::removeLuaFiles() const
{
    for (const FilePath &file : filesToRepair()) {
        if (FileManager::removeItem(file).code != FileError::NoWritePermission)
            continue; // gone, or a failure that a password would not help
        const FilePath folder = GameFolder::current(m_defaults).savedSettings();
        return PrivilegedRun::run(m_runner,
                                  "find '%@' -type f -name 'Trailbook.lua' -exec rm {} + && "
                                  "find '%@' -type f -name 'Trailbook.lua.bak' -exec rm {} +",
                                  {folder, folder});
    }
    return std::nullopt;
}
