#include "content/InstallerImages.h"

#include "content/ImageDecoding.h"
#include "platform/UrlLoader.h"
#include "resources/Pictures.h"

using namespace Qt::StringLiterals;

namespace
{
QImage banner(UrlLoader &loader, const QString &url, const QString &builtIn)
{
    const auto bytes = InstallerImages::downloadImage(loader, url);
    return bytes ? ImageDecoding::decoded(*bytes) : Pictures::imageNamed(builtIn);
}
} // namespace

std::optional<QByteArray> InstallerImages::downloadImage(UrlLoader &loader, const QString &url)
{
    return loader.sendSynchronousRequest({.url = url}).body;
}

QImage InstallerImages::downloadSmallImage(UrlLoader &loader, const VendorSite &site)
{
    return banner(loader, site.smallBanner(), u"small"_s);
}

QImage InstallerImages::downloadLargeImage(UrlLoader &loader, const VendorSite &site)
{
    return banner(loader, site.largeBanner(), u"large"_s);
}
