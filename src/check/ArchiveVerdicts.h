#pragma once

#include "check/Verdict.h"
#include "platform/FileManager.h"

// On a downloaded archive, by unpacking it as the program does. The folder beside the archive takes what is in it.
namespace ArchiveVerdicts
{
Verdict pack(const FilePath &archive, const QString &publishedVersion);
Verdict installer(const FilePath &archive, const QString &publishedVersion);
} // namespace ArchiveVerdicts
