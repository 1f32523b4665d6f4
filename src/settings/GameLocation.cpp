#include "settings/GameLocation.h"

#include "platform/FileManager.h"
#include "settings/PreferenceKeys.h"

using namespace Qt::StringLiterals;

GameLocation GameLocation::standard()
{
    const QString game = PreferenceKeys::defaultInstallPath;
    return {game, game + u"/World of Warcraft Launcher.app"_s};
}

QString GameLocation::missing() const
{
    for (const QString &folder : {gameFolder, launcher}) {
        if (!FileManager::isDirectory(toPath(folder)))
            return folder;
    }
    return {};
}
