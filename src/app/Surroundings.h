#pragma once

#include "places/VendorSite.h"

#include <QString>

#include <functional>

class Alert;
class ScriptRunner;
class UrlLoader;
class UserDefaults;
class Workspace;

// What the delegate works with: the vendor's addresses, the services of the platform (borrowed; they outlive it), and
// the place it runs from.
struct Surroundings {
    VendorSite site;
    UserDefaults &defaults;
    UrlLoader &loader;
    Workspace &workspace;
    Alert &alert;
    ScriptRunner &scriptRunner;
    std::function<void()> terminate; // the orderly end, from the main thread; it returns
    std::function<void(int)> exit; // the end at once with a status, from any thread; only a test's returns
    QString bundlePath; // the running bundle: a new installer goes beside it
};
