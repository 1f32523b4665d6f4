#pragma once

#include <QString>

// Installer versions: ".0" at the end means nothing, and runs of digits, of any length, count by their value.
namespace VersionNumbers
{
QString shortened(QStringView version); // without any ".0" at its end
// Below, at or above 0 as left is smaller than, equal to or greater than right. A text that runs out first is smaller.
int compare(QStringView left, QStringView right);
} // namespace VersionNumbers
