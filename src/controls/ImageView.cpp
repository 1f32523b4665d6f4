#include "controls/ImageView.h"

#include <QPainter>

ImageView::ImageView(QWidget *parent) : QWidget(parent) { }

void ImageView::setImage(const QImage &image)
{
    m_image = image;
    update();
}

void ImageView::paintEvent(QPaintEvent *)
{
    if (m_image.isNull())
        return;
    // Scaled once, to the screen's own pixels, so that a picture of high resolution stays sharp.
    const qreal ratio = devicePixelRatioF();
    const QSize room = (QSizeF(size()) * ratio).toSize();
    const QSize natural = (m_image.deviceIndependentSize() * ratio).toSize();
    const QSize drawn = natural.scaled(natural.boundedTo(room), Qt::KeepAspectRatio).expandedTo({1, 1});
    QImage scaled = m_image.scaled(drawn, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    scaled.setDevicePixelRatio(ratio);

    QRectF target(QPointF(), QSizeF(drawn) / ratio);
    target.moveCenter(QRectF(rect()).center());
    QPainter(this).drawImage(target.topLeft(), scaled);
}
