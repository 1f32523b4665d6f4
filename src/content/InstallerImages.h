#pragma once

#include "places/VendorSite.h"

#include <QByteArray>
#include <QImage>

#include <optional>

class UrlLoader;

// The two banners, fetched afresh at every start. Each call blocks; any thread.
class InstallerImages
{
public:
    // The vendor's whole answer; nothing after a transport error.
    static std::optional<QByteArray> downloadImage(UrlLoader &loader, const QString &url);

    // The built-in picture after a transport error; null when what came is no picture.
    static QImage downloadSmallImage(UrlLoader &loader, const VendorSite &site);
    static QImage downloadLargeImage(UrlLoader &loader, const VendorSite &site);
};
