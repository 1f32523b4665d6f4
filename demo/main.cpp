#include "demo/DemoWorld.h"
#include "demo/Pictures.h"
#include "demo/Tour.h"

#include "app/Application.h"

#include <QApplication>
#include <QCommandLineParser>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

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

int takePictures(DemoWorld &world, const Look &look)
{
    Pictures pictures(world, look);
    Application application(QStringLiteral(DEMO_VERSION), world.site(), world.network());
    pictures.take();
    return application.exec();
}
} // namespace

// The product with a vendor of its own. With --tour it plays by itself and ends with 1 at the first thing that is not
// as it should be; with --pictures it shows every window and ends.
int main(int argc, char **argv)
{
    QApplication qt(argc, argv);
    QCommandLineParser options;
    options.addOptions({{u"tour"_s, u"Play two evenings."_s},
                        {u"pictures"_s, u"Take a picture of every window."_s, u"folder"_s},
                        {u"dark"_s, u"In a dark desktop."_s},
                        {u"long"_s, u"With the longest texts."_s},
                        {u"first-evening"_s, u"Before anything is set."_s},
                        {u"points"_s, u"The system font's size."_s, u"number"_s, u"0"_s},
                        {u"width"_s, u"The main window's."_s, u"pixels"_s, u"0"_s},
                        {u"height"_s, u"The main window's."_s, u"pixels"_s, u"0"_s}});
    options.process(qt);
    DemoWorld world;
    if (options.isSet(u"tour"_s))
        return runTour(world);
    if (!options.isSet(u"pictures"_s))
        return run(world);
    const QSize size(options.value(u"width"_s).toInt(), options.value(u"height"_s).toInt());
    return takePictures(world,
                        {.folder = options.value(u"pictures"_s),
                         .dark = options.isSet(u"dark"_s),
                         .longTexts = options.isSet(u"long"_s),
                         .firstEvening = options.isSet(u"first-evening"_s),
                         .points = options.value(u"points"_s).toInt(),
                         .size = size.isEmpty() ? QSize() : size});
}
