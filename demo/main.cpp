#include "demo/DemoWorld.h"
#include "demo/Tour.h"

#include "app/Application.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
int run(DemoWorld &world)
{
    std::puts("The vendor is a stand-in on this machine, the game a sample. Press \"Update\", then \"Play\".");
    Application application(QStringLiteral(DEMO_VERSION), world.site(), world.network());
    return application.exec();
}

int runTour(DemoWorld &world)
{
    Tour tour(world);
    for (const auto playEvening : {&Tour::playFirstEvening, &Tour::playSecondEvening}) {
        Application application(QStringLiteral(DEMO_VERSION), world.site(), world.network());
        (tour.*playEvening)();
        tour.expectGoodEnd(application.exec());
    }
    return EXIT_SUCCESS;
}
} // namespace

// The product with a vendor of its own. With --tour it plays by itself and ends with 1 at the first thing that is not
// as it should be.
int main(int argc, char **argv)
{
    const bool playsTour = argc > 1 && std::strcmp(argv[1], "--tour") == 0;
    QApplication qt(argc, argv);
    DemoWorld world;
    return playsTour ? runTour(world) : run(world);
}
