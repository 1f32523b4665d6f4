#pragma once

#include "support/StandIns.h"
#include "support/TestWorld.h"

#include "app/AppDelegate.h"
#include "windows/MainWindow.h"
#include "windows/SplashScreen.h"

#include <QAbstractButton>
#include <QTest>

// Stand-ins for the player's answers, the browser, the game, the administrator and the end.
struct StandIns {
    Surroundings surroundings(TestWorld &world, UserDefaults &defaults) { return surroundings(world, defaults, alert); }
    Surroundings surroundings(TestWorld &world, UserDefaults &defaults, Alert &shownAlert)
    {
        return {.site = world.site(),
                .defaults = defaults,
                .loader = world.loader(),
                .workspace = workspace,
                .alert = shownAlert,
                .scriptRunner = administrator,
                .terminate = [this] { ++terminations; },
                .exit = [this](int status) { exitStatus = status; },
                .bundlePath = world.path(QStringLiteral("applications/WayfarRoutes_1.2.6.app"))};
    }

    RecordingWorkspace workspace;
    RecordingAlert alert;
    Administrator administrator;
    int terminations = 0;
    std::optional<int> exitStatus; // of the end at once; where the real one would not return, this does
};

// The real delegate with its real windows in a TestWorld. Needs a QApplication.
struct Program : StandIns {
    explicit Program(TestWorld &world) // borrowed
        : delegate(surroundings(world, world.defaults()))
    {
        QCoreApplication::setApplicationVersion(QStringLiteral("1.2.6")); // what the vendor publishes: no upgrade
    }

    // applicationDidFinishLaunching, until the worker is done and the status line is set. False after 20 s.
    bool start()
    {
        delegate.applicationDidFinishLaunching();
        return QTest::qWaitFor([this] { return !delegate.isStarting(); }, 20000);
    }

    template<typename Control = QAbstractButton> Control *control(const char *name) const
    {
        return delegate.window()->findChild<Control *>(QString::fromLatin1(name));
    }

    AppDelegate delegate;
};
