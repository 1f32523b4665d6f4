#include "DemoWorld.h"
#include "Tour.h"

#include "app/Application.h"

#include <QApplication>

#include <cstdio>
#include <cstring>

// The product with a vendor of its own. With --tour it plays one player's evening by itself and ends with 1 at the
// first thing that is not as it should be.
int main(int argc, char **argv)
{
    const bool playsTour = argc > 1 && std::strcmp(argv[1], "--tour") == 0;
    QApplication qt(argc, argv);
    DemoWorld world;
    Application application(world.hosts(), world.network());
    if (!playsTour) {
        std::puts("The vendor is a stand-in on this machine, the game a sample. Press \"Update\", then \"Play\".");
        return application.exec();
    }
    Tour tour(world);
    return tour.verdict(application.exec());
}
