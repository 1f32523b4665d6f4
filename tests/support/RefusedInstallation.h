#pragma once

#include "support/Installation.h"

// An installation into folders that refuse the player, of an archive whose entry is "Trailbook" unless said.
struct RefusedInstallation : Installation {
    // Another user's add-on, version 1, in another user's folder.
    void closeWithAddOn()
    {
        world.installPack("1");
        close(destination());
        close(world.addOnFolder());
    }
    void closeWithoutAddOnFolder()
    {
        QVERIFY(QDir(world.gameFolder() + QStringLiteral("/_retail_")).removeRecursively());
        close(world.gameFolder());
    }

    // The scripts that the administrator is asked for.
    QByteArray replaceScript() const
    {
        return scriptOf(QStringLiteral("rm -rf '%1' && cp -r '%2' '%1'").arg(destination(), source()));
    }
    QByteArray createScript() const
    {
        return scriptOf(
            QStringLiteral("mkdir -p '%1' && cp -r '%2' '%3'").arg(world.addOnFolder(), source(), destination()));
    }
    QByteArray copyScript(const QString &name = trailbook) const
    {
        return scriptOf(QStringLiteral("cp -r '%1' '%2'").arg(source(name), destination(name)));
    }
    static QByteArray scriptOf(const QString &command)
    {
        return "do shell script \"" + command.toLocal8Bit() + "\" with administrator privileges";
    }

    void verifyOneAlert(const QString &reason) const
    {
        QCOMPARE(program.alert.shown.size(), 1);
        const AlertContent &content = program.alert.shown.constFirst();
        QCOMPARE(content.messageText, QStringLiteral("Wayfar Installer failed to make changes. Reason ") + reason);
        QCOMPARE(content.informativeText, QString());
        QCOMPARE(content.defaultButton, QStringLiteral("OK"));
        QCOMPARE(content.alternateButton, QString());
    }

    QString source(const QString &name = trailbook) const { return extracted(name); }
    QString destination(const QString &name = trailbook) const { return addOn(name); }

    inline static const QString trailbook = QStringLiteral("Trailbook");
};
