#pragma once

#include "platform/FileManager.h"

namespace ArchiveExtraction
{
// Unpacks with unzip, over what is there. Nothing is reported: what the folder holds afterwards shows it. Blocks. The
// paths go to the shell between double quotes, raw.
void extract(const OptionalPath &archive, const OptionalPath &folder);
} // namespace ArchiveExtraction
