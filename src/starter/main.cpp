#include "places/BundleFolder.h"
#include "platform/Bundle.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

#include <unistd.h>

namespace
{
// Beside the bundle that this starter is in; beside the starter itself where it is in none.
QString bundlesFolder()
{
    const QString own = QCoreApplication::applicationDirPath();
    const QString bundle = Bundle::enclosing(own);
    return bundle.isEmpty() ? own : QFileInfo(bundle).path();
}
} // namespace

// What a menu entry starts: always the newest installer, since an upgrade leaves the old one where it was.
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString newest = BundleFolder::newestIn(bundlesFolder());
    if (!newest.isEmpty()) {
        QByteArray program = QFile::encodeName(Bundle::programOf(newest));
        argv[0] = program.data();
        ::execv(program.constData(), argv);
    }
    std::fprintf(stderr, "No installer (WayfarRoutes_*.app) can be started in %s\n",
                 bundlesFolder().toLocal8Bit().constData());
    return 1;
}
