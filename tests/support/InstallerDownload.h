#pragma once

#include "support/TestWorld.h"

#include "upgrade/InstallerUpgrade.h"

#include <QTest>

// Keeps what a download shows.
struct RecordingProgressWindow : ProgressWindow {
    void showText(const QString &shown) override { text = shown; }
    void showProgress(double shown) override { percentage = shown; }
    void present() override { isOpen = true; }
    void dismiss() override { isOpen = false; }

    QString text;
    double percentage = -1;
    bool isOpen = false;
};

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

    RecordingProgressWindow &window() const
    {
        return static_cast<RecordingProgressWindow &>(*upgrade->progressWindow());
    }
    std::shared_ptr<InstallerUpgrade> newUpgrade()
    {
        return std::make_shared<InstallerUpgrade>(world.loader(), world.site(), QStringLiteral("1.2.6"),
                                                  [] { return std::make_unique<RecordingProgressWindow>(); });
    }

    static constexpr const char *remotePath = "/WayfarRoutes_1.3.0.zip";

    TestWorld world;
    std::shared_ptr<InstallerUpgrade> upgrade = newUpgrade();
    bool ignored = false;
    QList<bool> results;
};
