#include "upgrade/InstalledBundles.h"

#include "upgrade/VersionNumbers.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace
{
QString versionOf(const QFileInfo &bundle)
{
    return VersionNumbers::shortened(bundle.completeBaseName().section(u'_', 1));
}
} // namespace

QString newestBundleIn(const QString &folder)
{
    QFileInfo newest;
    for (const QFileInfo &bundle : QDir(folder).entryInfoList({u"WayfarRoutes_*.app"_s}, QDir::Dirs)) {
        const QFileInfo start(bundle.filePath() + u"/AppRun"_s);
        const bool startable = start.isFile() && start.isExecutable();
        if (startable
            && (newest.filePath().isEmpty() || VersionNumbers::compare(versionOf(bundle), versionOf(newest)) > 0))
            newest = bundle;
    }
    return newest.filePath();
}
