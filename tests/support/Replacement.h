#pragma once

#include "support/StandIns.h"
#include "support/TestWorld.h"

#include "upgrade/InstallerReplacement.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

// The replacement of an installer 1.2.6 by a downloaded one, from the archive in the support folder to the new bundle.
struct Replacement {
    Replacement()
    {
        world.write(runningBundle() + QStringLiteral("/AppRun"), "#!/bin/sh\n");
        QDir().mkpath(updateFolder());
    }
    ~Replacement() { ::umask(m_umask); }
    Q_DISABLE_COPY_MOVE(Replacement)

    // With the archive, or with whatever stands in its place.
    std::optional<PrivilegedOutcome> install(const std::optional<QByteArray> &archive = archiveOf(next),
                                             const QString &version = next)
    {
        if (archive)
            world.write(world.archive(), *archive);
        const NewBundle bundle = InstallerReplacement::unpack(version, runningBundle());
        if (!bundle.source)
            return std::nullopt;
        return InstallerReplacement::move(*bundle.source, *bundle.destination, administrator);
    }
    // As a player whom the closed application folder refuses.
    std::optional<PrivilegedOutcome> installAsThePlayer(const std::optional<QByteArray> &archive = archiveOf(next),
                                                        const QString &version = next)
    {
        if (archive)
            world.write(world.archive(), *archive);
        const OrdinaryUser player;
        return install(std::nullopt, version);
    }
    void closeApplicationFolder() { administrator.close(applicationFolder()); }

    // A bundle whose files say which version they are.
    static QByteArray archiveOf(const QString &version)
    {
        return zipOf(QStringLiteral("mkdir -p '%1/usr'; printf '#!/bin/sh\\n' >'%1/AppRun'; chmod 755 '%1/AppRun'; "
                                    "printf '%2' >'%1/usr/version'")
                         .arg(nameOf(version), version)
                         .toUtf8());
    }
    static QString nameOf(const QString &version) { return QStringLiteral("WayfarRoutes_%1.app").arg(version); }
    QString applicationFolder() const { return world.path(QStringLiteral("my applications")); }
    QString runningBundle() const { return applicationFolder() + u'/' + nameOf(QStringLiteral("1.2.6")); }
    QString newBundle(const QString &version = next) const { return applicationFolder() + u'/' + nameOf(version); }
    QString updateFolder() const { return world.supportFolder() + QStringLiteral("/update"); }
    QString unpacked(const QString &version = next) const { return updateFolder() + u'/' + nameOf(version); }
    QByteArray versionIn(const QString &bundle) const { return world.read(bundle + QStringLiteral("/usr/version")); }

    inline static const QString next = QStringLiteral("1.3.0");

private:
    // So that the player, who may be another than the test's process, owns all but what is closed to him.
    const mode_t m_umask = ::umask(0);

public:
    TestWorld world;
    Administrator administrator;
};
