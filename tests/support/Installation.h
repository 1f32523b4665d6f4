#pragma once

#include "support/Program.h"

#include <QDir>

#include <sys/stat.h>
#include <unistd.h>

// An installation of a pack as the delegate makes it, without windows. The game folder has an add-on folder, unless it
// is taken away.
struct Installation {
    Installation()
    {
        QDir().mkpath(world.supportFolder());
        QDir().mkpath(world.addOnFolder());
        QObject::connect(&program.delegate, &AppDelegate::statusStrChanged, &program.delegate,
                         [this] { statuses.append(program.delegate.statusStr().value_or(QStringLiteral("(null)"))); });
    }

    void install(const std::optional<QByteArray> &archive)
    {
        if (archive)
            world.write(world.archive(), *archive);
        program.delegate.setStatusStr(QStringLiteral("Installing..."));
        program.delegate.installNewVersion();
    }
    // As a player whom the closed folders refuse.
    void installAsThePlayer(const QByteArray &archive)
    {
        world.write(world.archive(), archive);
        giveToPlayer(world.supportFolder());
        const OrdinaryUser player;
        install(std::nullopt);
    }

    // Nothing in it can be changed any more, except by the administrator.
    void close(const QString &folder)
    {
        ::chmod(QFile::encodeName(folder).constData(), 0555);
        program.administrator.closedFolders.append(folder);
    }
    static void giveToPlayer(const QString &folder)
    {
        if (::geteuid() == 0)
            QProcess::execute(QStringLiteral("chown"), {QStringLiteral("-R"), QStringLiteral("65534"), folder});
    }

    QString extracted(const QString &name) const
    {
        return world.supportFolder() + QStringLiteral("/installer/") + name;
    }
    QString addOn(const QString &name) const { return world.addOnFolder() + u'/' + name; }
    QByteArray installed(const QString &name) const { return world.read(addOn(name)); }

    TestWorld world;
    Program program{world};
    QStringList statuses; // each as it was set
};
