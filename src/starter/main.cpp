#include "upgrade/InstalledBundles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <cstdio>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
// Beside the bundle that this starter is in; beside the starter itself where it is in none.
QString bundlesFolder()
{
    const QString own = QCoreApplication::applicationDirPath();
    for (QDir folder(own); !folder.isRoot(); folder.setPath(QFileInfo(folder.path()).path())) {
        if (folder.dirName().endsWith(u".app"_s))
            return QFileInfo(folder.path()).path();
    }
    return own;
}
} // namespace

// What a menu entry starts: always the newest installer, since an upgrade leaves the old one where it was.
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString newest = newestBundleIn(bundlesFolder());
    if (!newest.isEmpty()) {
        QByteArray program = QFile::encodeName(newest + u"/AppRun"_s);
        argv[0] = program.data();
        ::execv(program.constData(), argv);
    }
    std::fprintf(stderr, "No installer (WayfarRoutes_*.app) can be started in %s\n",
                 bundlesFolder().toLocal8Bit().constData());
    return 1;
}
