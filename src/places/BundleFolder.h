#pragma once

#include "platform/FileManager.h"

#include <QString>

// The installer's own bundles, WayfarRoutes_VERSION.app: they stand side by side, since an upgrade puts the new one
// beside the old one.
namespace BundleFolder
{
// Nothing where the version, which comes from the network, would make the name a path or end it early.
OptionalPath nameOf(const QString &version);
// The path of the folder's numerically newest bundle that can be started, by the comparison that also decides on an
// upgrade; empty when there is none.
QString newestIn(const QString &folder);
} // namespace BundleFolder
