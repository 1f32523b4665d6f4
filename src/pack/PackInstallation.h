#pragma once

#include "platform/FileManager.h"

#include <QList>

class GameFolder;

namespace PackInstallation
{
struct Move {
    FilePath source;
    FilePath destination;
};

// Unpacks the downloaded archive, and makes the add-on folder where it is missing. Every entry at the archive's top, in
// the file system's order; none when it can't be unpacked. Blocks.
QList<Move> unpack(const GameFolder &game);
} // namespace PackInstallation
