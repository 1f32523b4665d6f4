#pragma once

#include <QString>

// Every address of the vendor, each said once. All are https.
struct VendorSite {
    QString host; // of the web site, in its form without "www."
    QString downloadHost; // of new installers

    QString wwwHost() const; // the form that players know, and that some pages are asked for with

    // Answered to a GET.
    QString installerVersion() const;
    QString packVersion() const;
    QString feed() const;
    QString largeBanner() const;
    QString smallBanner() const;
    QString changeLog() const;
    QString installerArchive(const QString &version) const; // the version goes in as it stands

    // Answered to a POST of the account.
    QString accountCheck() const;
    QString packDownload() const;

    // For the player's browser.
    QString homePage() const;
    QString bannerTarget() const;
};
