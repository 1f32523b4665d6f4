#include "app/AppDelegate.h"

#include "pack/PrivilegedRun.h"
#include "platform/Alert.h"
#include "platform/UserDefaults.h"
#include "settings/FilesToRepair.h"
#include "settings/PreferenceKeys.h"

using namespace Qt::StringLiterals;

namespace
{
const QString failure = u"Wayfar Installer failed to repair Installation. Reason %@"_s;
}

// Without a stored game folder there is nothing to look through: of the readers, this one has no default.
QList<FilePath> AppDelegate::filesToRepair() const
{
    const auto game = m_surroundings.defaults.stringForKey(PreferenceKeys::installPath);
    return game ? filesToRepairBelow(toPath(*game) / "_retail_/WTF") : QList<FilePath>();
}

bool AppDelegate::removeLuaFiles()
{
    const FilePath settingsFolder = toPath(gameFolder()) / "_retail_/WTF";
    for (const FilePath &file : filesToRepair()) {
        if (FileManager::removeItem(file).code != FileError::NoWritePermission)
            continue; // gone, or a failure that a password would not help
        return PrivilegedRun::run(m_surroundings.scriptRunner, m_surroundings.alert,
                                  PrivilegedRun::script("find '%@' -type f -name 'Trailbook.lua' -exec rm {} + && "
                                                        "find '%@' -type f -name 'Trailbook.lua.bak' -exec rm {} +"),
                                  {settingsFolder, settingsFolder}, failure);
    }
    return true;
}

void AppDelegate::repairtInstallation()
{
    const FilePath addOnFolder = toPath(gameFolder()) / "_retail_/Interface/AddOns/Trailbook";
    if (FileManager::removeItem(addOnFolder).code == FileError::NoWritePermission) {
        if (!removeAsAdministrator(addOnFolder))
            updateVersionText();
        return; // a privileged success says nothing and shows nothing: agreed
    }
    if (!removeLuaFiles())
        return;
    m_surroundings.alert.runModal({u"Wayfar Installer successfully repaired Installation."_s});
    updateVersionText();
}

// The folder and every file in one command, so that the player is asked once.
bool AppDelegate::removeAsAdministrator(const FilePath &addOnFolder)
{
    const QList<FilePath> files = filesToRepair();
    const QByteArray command = "rm -rf '%@' " + QByteArray(" && rm -rf '%@'").repeated(files.size());
    return PrivilegedRun::run(m_surroundings.scriptRunner, m_surroundings.alert, PrivilegedRun::script(command),
                              QList<FilePath>{addOnFolder} + files, failure);
}
