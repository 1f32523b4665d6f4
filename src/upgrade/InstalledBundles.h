#pragma once

#include <QString>

// The path of the folder's numerically newest bundle WayfarRoutes_VERSION.app that can be started, by the comparison
// that also decides on an upgrade; empty when there is none.
QString newestBundleIn(const QString &folder);
