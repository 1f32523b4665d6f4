#pragma once

#include "platform/FilePath.h"

// A program as one folder, which runs wherever it is put: the AppDir form, with "AppRun" in it, or a folder named
// *.app. Made of the standard library alone, since the starter also runs where there is no Qt.
namespace Bundle
{
bool isBundle(const FilePath &path);
// What starts the bundle: its AppRun, else the executable of the bundle's own name; empty when it has neither.
FilePath programOf(const FilePath &bundle);
// The bundle, by its name, that encloses the folder or is it; empty when there is none.
FilePath enclosing(const FilePath &folder);
// The folder of the running executable.
FilePath executableFolder();
// The running program's; the executable's own folder where it is in none.
FilePath running();
} // namespace Bundle
