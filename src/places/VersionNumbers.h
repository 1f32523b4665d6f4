#pragma once

#include <string_view>

// Installer versions: ".0" at the end means nothing, and runs of digits, of any length, count by their value. A
// published version is ASCII. Made of the standard library alone, since the starter also runs where there is no Qt.
namespace VersionNumbers
{
std::string_view shortened(std::string_view version); // without any ".0" at its end
// Below, at or above 0 as left is smaller than, equal to or greater than right. A text that runs out first is smaller.
int compare(std::string_view left, std::string_view right);
} // namespace VersionNumbers
