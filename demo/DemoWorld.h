#pragma once

#include "demo/VendorServer.h"

#include "platform/UrlLoader.h"
#include "places/VendorSite.h"

// A vendor with one account and a newer guide pack, a player with an older one, and folders of their own for all of it
// below the build folder: the demo touches nothing of the user's. Make it between Qt's application and ours.
class DemoWorld
{
public:
    DemoWorld();

    VendorServer &vendor() { return m_vendor; }
    QByteArray pack() const; // the archive that the vendor publishes
    VendorSite site() const;
    UrlLoaderSettings network() const;

    QString picture(const QString &name) const; // the path for a picture of the tour
    bool wasLaunched() const; // the sample launcher has run
    void forgetLaunch() const;
    void forgetPreferences() const; // as on a player's first evening; before the program is made
    void useLongTexts(); // names, versions and paths as nobody expects them; before the program is made
    QByteArray installedToc() const;

private:
    void publish();
    void installOldPack();
    void writeLauncher();
    void writePreferences();

    VendorServer m_vendor;
};
