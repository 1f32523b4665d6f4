#include "places/BundleFolder.h"
#include "platform/Bundle.h"

#include <cstdio>

#include <unistd.h>

namespace
{
// Beside the bundle that this starter is in; beside the starter itself where it is in none.
FilePath bundlesFolder()
{
    const FilePath own = Bundle::executableFolder();
    const FilePath bundle = Bundle::enclosing(own);
    return bundle.empty() ? own : bundle.parent_path();
}
} // namespace

// What a menu entry starts: always the newest installer, since an upgrade leaves the old one where it was. It uses no
// Qt: where that is missing, the newest installer's AppRun is what tells the player so.
int main(int, char **argv)
{
    const FilePath newest = BundleFolder::newestIn(bundlesFolder());
    if (!newest.empty()) {
        std::string program = Bundle::programOf(newest);
        argv[0] = program.data();
        ::execv(program.c_str(), argv);
    }
    std::fprintf(stderr, "No installer (WayfarRoutes_*.app) can be started in %s\n", bundlesFolder().c_str());
    return 1;
}
