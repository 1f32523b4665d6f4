#include "pack/PackInstallation.h"

#include "pack/ArchiveExtraction.h"
#include "places/GameFolder.h"
#include "places/SupportFolder.h"

QList<PackInstallation::Move> PackInstallation::unpack(const GameFolder &game)
{
    const OptionalPath folder = SupportFolder::packExtraction();
    ArchiveExtraction::unpackAfresh(SupportFolder::download(), folder);
    if (!FileManager::fileExists(game.addOns()))
        (void)FileManager::createDirectory(game.addOns(), true); // each entry tries again, and escalates

    QList<Move> moves;
    for (const FilePath &name : FileManager::contentsOfDirectory(folder))
        moves.append({*folder / name, game.addOns() / name});
    return moves;
}
