#pragma once

#include "platform/FileManager.h"

// Unpacks with unzip. Nothing is reported: what the folder holds afterwards shows it. Blocks. The paths go to the shell
// between double quotes, raw.
namespace ArchiveExtraction
{
// Into an empty folder: what an earlier archive left there goes first. Its owner can then read all of it, since an
// unreadable file fails a copy with the code that asks for an administrator.
void unpackAfresh(const OptionalPath &archive, const OptionalPath &folder);
// Over what is there. Its owner can then also change every folder in it, since a read-only one can't be moved.
void unpackOver(const OptionalPath &archive, const OptionalPath &folder);
} // namespace ArchiveExtraction
