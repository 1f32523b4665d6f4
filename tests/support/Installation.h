#pragma once

#include "support/StandIns.h"
#include "support/TestWorld.h"

#include "pack/PackEntry.h"
#include "pack/PackInstallation.h"
#include "places/GameFolder.h"

#include <QDir>

// The installation of a pack, from the archive in the support folder to its last entry in the add-on folder.
struct Installation {
    Installation()
    {
        QDir().mkpath(world.supportFolder());
        QDir().mkpath(world.addOnFolder());
    }

    // With the archive, or with whatever stands in its place.
    void install(const std::optional<QByteArray> &archive = newPack())
    {
        if (archive)
            world.write(world.archive(), *archive);
        for (const auto &[source, destination] : PackInstallation::unpack(GameFolder::current(world.defaults()))) {
            ++entries;
            PackEntry entry(source, destination, administrator);
            if (!isInstalledBy(entry.makeRoom()))
                isInstalledBy(entry.copy());
        }
    }
    // As a player whom the closed folders refuse.
    void installAsThePlayer(const QByteArray &archive = newPack())
    {
        world.write(world.archive(), archive);
        giveToPlayer(world.supportFolder());
        const OrdinaryUser player;
        install(std::nullopt);
    }

    QString extracted(const QString &name = {}) const
    {
        return world.supportFolder() + QStringLiteral("/installer/") + name;
    }
    QString addOn(const QString &name) const { return world.addOnFolder() + u'/' + name; }
    QByteArray installed(const QString &name) const { return world.read(addOn(name)); }

    static constexpr auto newPackCommands =
        "mkdir Trailbook; echo '## Version: 2' >Trailbook/Trailbook.toc; echo new >Trailbook/New.lua;";
    static QByteArray newPack()
    {
        static const QByteArray archive = zipOf(newPackCommands);
        return archive;
    }

    TestWorld world;
    Administrator administrator;
    int entries = 0; // that were in the archive
    QStringList failures; // the reasons, in order
    std::function<void()> afterFailure;

private:
    bool isInstalledBy(const std::optional<PrivilegedOutcome> &outcome)
    {
        if (!outcome || outcome->done)
            return outcome.has_value();
        failures.append(outcome->reason);
        if (afterFailure)
            afterFailure();
        return false;
    }
};
