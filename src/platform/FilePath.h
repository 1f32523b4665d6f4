#pragma once

#include <filesystem>
#include <optional>

using FilePath = std::filesystem::path; // bytes, as the file system keeps them: a name need not be UTF-8
using OptionalPath = std::optional<FilePath>; // nothing where the folder it begins with is missing
