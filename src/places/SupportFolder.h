#pragma once

#include "platform/FileManager.h"

// The files that the program keeps for itself, by name. Each call finds or makes the folder afresh; nothing, and a line
// in the log, where there is none to be had. Any thread.
namespace SupportFolder
{
OptionalPath accountPage();
OptionalPath newsPage();
OptionalPath download(); // the archive of a pack or of an installer, whichever came last
OptionalPath packExtraction();
OptionalPath installerExtraction();
} // namespace SupportFolder
