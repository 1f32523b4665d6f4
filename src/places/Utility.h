#pragma once

#include "platform/FileManager.h"

#include <QStandardPaths>

#include <optional>

class Utility
{
public:
    enum Domain {
        UserDomain, // the one folder of the kind that the user owns
        SystemDomain // those that all users share
    };

    // The first folder of the kind in the domain, with the component appended where there is one; made, with its
    // parents, where it is missing. Nothing when there is no such folder (the error stays as it was) or it can't be
    // made.
    static std::optional<QString> findOrCreateDirectory(QStandardPaths::StandardLocation directory, Domain domain,
                                                        const std::optional<QString> &pathComponent, FileError *error);
    // The support folder, which holds every file that the program writes but the preferences. Found or made afresh at
    // each call; nothing, and a line in the log, when it can't be. Any thread.
    static std::optional<QString> WayfarInstallerFolder();
};
