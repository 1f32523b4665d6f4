#pragma once

#include "support/Answers.h"
#include "support/TestWorld.h"

#include "pack/WayfarUpdateInstaller.h"

#include <QTest>

#include <functional>

// The download of the pack from the vendor of a TestWorld, and who is told of it.
struct PackDownload : UpdateDownloadDelegate {
    PackDownload() { installer->setDelegate(this); }

    void downloadProgressUpdate(double percentage) override
    {
        percentages.append(percentage);
        if (atProgress)
            atProgress();
    }
    void downloadFinishedWithResult(bool result) override { results.append(result); }

    void answer(const VendorAnswer &answer) { world.vendor().setAnswer(remotePath, answer); }
    // To its end; false after the time, when there is a result before the start returned, and when there are two.
    bool run(int milliseconds = 10000)
    {
        installer->downloadUpdate();
        return results.isEmpty() && QTest::qWaitFor([this] { return !results.isEmpty(); }, milliseconds)
            && results.size() == 1;
    }
    std::shared_ptr<WayfarUpdateInstaller> newInstaller()
    {
        return std::make_shared<WayfarUpdateInstaller>(world.defaults(), world.loader(), world.site());
    }

    static constexpr const char *remotePath = "/api/dlGuide";

    TestWorld world;
    std::shared_ptr<WayfarUpdateInstaller> installer = newInstaller();
    QList<double> percentages;
    QList<bool> results;
    std::function<void()> atProgress;
};
