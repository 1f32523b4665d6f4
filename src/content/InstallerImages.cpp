#include "content/InstallerImages.h"

#include "platform/UrlLoader.h"
#include "resources/Pictures.h"

#include <QBuffer>
#include <QImageReader>

using namespace Qt::StringLiterals;

namespace
{
constexpr qint64 mostPixels = qint64(16) * 1024 * 1024; // far above any banner; a few bytes can claim any number

QImage banner(UrlLoader &loader, const QString &url, const QString &builtIn)
{
    const auto bytes = InstallerImages::downloadImage(loader, url);
    return bytes ? InstallerImages::decoded(*bytes) : Pictures::imageNamed(builtIn);
}
} // namespace

std::optional<QByteArray> InstallerImages::downloadImage(UrlLoader &loader, const QString &url)
{
    return loader.sendSynchronousRequest({.url = url}).body;
}

// Pictures made of pixels alone: an SVG or a PDF could name files of this machine.
QImage InstallerImages::decoded(const QByteArray &bytes)
{
    static const QList<QByteArray> formats = {"png", "jpeg", "gif", "webp", "bmp"};
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    if (!formats.contains(reader.format()))
        return {};
    const QSize size = reader.size();
    if (qint64(size.width()) * size.height() > mostPixels)
        return {};
    return reader.read();
}

QImage InstallerImages::downloadSmallImage(UrlLoader &loader, const VendorSite &site)
{
    return banner(loader, site.smallBanner(), u"small"_s);
}

QImage InstallerImages::downloadLargeImage(UrlLoader &loader, const VendorSite &site)
{
    return banner(loader, site.largeBanner(), u"large"_s);
}
