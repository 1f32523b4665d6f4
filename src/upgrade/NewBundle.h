#pragma once

#include "platform/FileManager.h"

#include <QString>

// Where a downloaded installer is, and where it goes: beside the running bundle, under a name with its version.
struct NewBundle {
    OptionalPath source;
    OptionalPath destination;

    // unpackFolder: where the archive was unpacked; nothing without a support folder, and no source then.
    // runningBundle: the program's own folder where it is in no bundle. Both paths are nothing when the version, which
    // comes from the network, would lead out of the two folders.
    static NewBundle of(const QString &version, const OptionalPath &unpackFolder, const QString &runningBundle);
};
