#include "controls/ImageView.h"

#include <QPainter>

ImageView::ImageView(QWidget *parent) : QWidget(parent) { }

void ImageView::setImage(const QImage &image)
{
    m_image = image;
    update();
}

void ImageView::setLargestScale(int scale)
{
    m_largestScale = scale;
    update();
}

void ImageView::setCornerRadius(int radius)
{
    m_cornerRadius = radius;
    update();
}

void ImageView::setRoom(const QSize &room)
{
    m_room = room;
    updateGeometry();
}

QSize ImageView::sizeHint() const
{
    return m_room;
}

void ImageView::paintEvent(QPaintEvent *)
{
    if (m_image.isNull())
        return;
    // Scaled once, to the screen's own pixels, so that a picture of high resolution stays sharp.
    const qreal ratio = devicePixelRatioF();
    const QSize room = (QSizeF(size()) * ratio).toSize();
    const QSize natural = (m_image.deviceIndependentSize() * ratio).toSize();
    const QSize drawn =
        natural.scaled((natural * m_largestScale).boundedTo(room), Qt::KeepAspectRatio).expandedTo({1, 1});
    QImage scaled = m_image.scaled(drawn, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    scaled.setDevicePixelRatio(ratio);

    QRectF target(QPointF(), QSizeF(drawn) / ratio);
    target.moveCenter(QRectF(rect()).center());
    QPainter painter(this);
    if (m_cornerRadius == 0)
        return painter.drawImage(target.topLeft(), scaled);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrushOrigin(target.topLeft());
    painter.setBrush(QBrush(scaled));
    painter.drawRoundedRect(target, m_cornerRadius, m_cornerRadius);
}
