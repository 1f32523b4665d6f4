#pragma once

#include "platform/FileManager.h"

// Every file, folder or link called exactly "Trailbook.lua" or "Trailbook.lua.bak" anywhere below the folder, in the
// file system's order. Folders that can't be read are passed over, links are not followed.
QList<FilePath> filesToRepairBelow(const FilePath &folder);
