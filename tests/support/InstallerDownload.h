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
    InstallerDownload() { useLoader(); }

    void InstallerUpgradeResult(bool result) override { results.append(result); }

    void useLoader() // the world's loader of now
    {
        upgrade = std::make_shared<InstallerUpgrade>(world.loader(), world.site(), QStringLiteral("1.2.6"),
                                                     [] { return std::make_unique<RecordingProgressWindow>(); });
        upgrade->setDelegate(this);
    }
    void answer(const VendorAnswer &answer) { world.vendor().setAnswer(remotePath, answer); }
    bool start(const QString &version = QStringLiteral("1.3.0")) { return upgrade->upgrade(&flag, version); }
    // Until the result is there; false after ten seconds, or when there is a second one.
    bool waitForResult() const
    {
        return QTest::qWaitFor([this] { return !results.isEmpty(); }, 10000) && results.size() == 1;
    }
    // To its end; false too when there is a result before the start returned.
    bool run() { return start() && results.isEmpty() && waitForResult(); }

    RecordingProgressWindow &window() const
    {
        return static_cast<RecordingProgressWindow &>(*upgrade->progressWindow());
    }

    static constexpr const char *remotePath = "/WayfarRoutes_1.3.0.zip";

    TestWorld world;
    std::shared_ptr<InstallerUpgrade> upgrade;
    bool flag = false; // not looked at
    QList<bool> results;
};
