#pragma once

#include "support/TestWorld.h"

#include "upgrade/InstallerDownloadWindow.h"
#include "upgrade/InstallerUpgrade.h"

#include <QProgressBar>
#include <QTest>

// The download of installer 1.3.0 from the vendor of a TestWorld, and who is told of it.
struct InstallerDownload : InstallerUpgradeDelegate {
    InstallerDownload() { upgrade->setDelegate(this); }

    void InstallerUpgradeResult(bool result) override { results.append(result); }

    void answer(const VendorAnswer &answer) { world.vendor().setAnswer(remotePath, answer); }
    bool start() { return upgrade->upgrade(&ignored, QStringLiteral("1.3.0")); }
    // Until the result is there; false after ten seconds, or when there is a second one.
    bool waitForResult() const
    {
        return QTest::qWaitFor([this] { return !results.isEmpty(); }, 10000) && results.size() == 1;
    }

    QString archive() const { return world.supportFolder() + QStringLiteral("/download.zip"); }
    QProgressBar *bar() const { return upgrade->progressWindow()->findChild<QProgressBar *>(); }

    static constexpr const char *remotePath = "/WayfarRoutes_1.3.0.zip";

    TestWorld world;
    std::shared_ptr<InstallerUpgrade> upgrade =
        std::make_shared<InstallerUpgrade>(world.loader(), world.hosts(), QStringLiteral("1.2.6"));
    bool ignored = false;
    QList<bool> results;
};
