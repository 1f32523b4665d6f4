#pragma once

#include "platform/FilePath.h"

#include <string>

// The installer's own bundles, WayfarRoutes_VERSION.app: they stand side by side, since an upgrade puts the new one
// beside the old one. Made of the standard library alone, since the starter also runs where there is no Qt.
namespace BundleFolder
{
// Nothing where the version, which comes from the network, would make the name a path or end it early.
OptionalPath nameOf(const std::string &version);
// The path of the folder's numerically newest bundle that can be started, by the comparison that also decides on an
// upgrade; empty when there is none.
FilePath newestIn(const FilePath &folder);
} // namespace BundleFolder
