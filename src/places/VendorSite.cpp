#include "places/VendorSite.h"

using namespace Qt::StringLiterals;

namespace
{
QString address(const QString &host, const QString &path)
{
    return u"https://"_s + host + path;
}
} // namespace

QString VendorSite::wwwHost() const
{
    return u"www."_s + host;
}

QString VendorSite::installerVersion() const
{
    return address(host, u"/api/macVersion"_s);
}

QString VendorSite::packVersion() const
{
    return address(host, u"/api/wayfarVersion"_s);
}

QString VendorSite::feed() const
{
    return address(wwwHost(), u"/feed"_s);
}

QString VendorSite::largeBanner() const
{
    return address(host, u"/installer/banners/large.png"_s);
}

QString VendorSite::smallBanner() const
{
    return address(host, u"/installer/banners/small.png"_s);
}

QString VendorSite::changeLog() const
{
    return address(host, u"/api/changelog"_s);
}

QString VendorSite::installerArchive(const QString &version) const
{
    return address(downloadHost, u"/WayfarRoutes_"_s + version + u".zip"_s);
}

QString VendorSite::accountCheck() const
{
    return address(host, u"/api/dlCheckUser"_s);
}

QString VendorSite::packDownload() const
{
    return address(host, u"/api/dlGuide"_s);
}

QString VendorSite::homePage() const
{
    return address(wwwHost(), u"/"_s);
}

QString VendorSite::bannerTarget() const
{
    return address(wwwHost(), u"/installer/redirect.php"_s);
}
