#pragma once

#include "platform/FileManager.h"

namespace FileCopy
{
// A file, a link or a folder with everything in it, with modes and times. The destination must not exist. A failure
// leaves what it had made.
[[nodiscard]] FileError copyEntry(const FilePath &source, const FilePath &destination);
} // namespace FileCopy
