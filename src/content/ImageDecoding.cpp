#include "content/ImageDecoding.h"

#include <QBuffer>
#include <QImageReader>

namespace
{
constexpr qint64 mostPixels = qint64(16) * 1024 * 1024; // far above any banner; a few bytes can claim any number
} // namespace

// Pictures made of pixels alone: an SVG or a PDF could name files of this machine.
QImage ImageDecoding::decoded(const QByteArray &bytes)
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
