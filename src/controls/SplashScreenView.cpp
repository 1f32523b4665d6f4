#include "controls/SplashScreenView.h"

#include "resources/Pictures.h"

#include <QPaintEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace
{
QPixmap splashPicture()
{
    return QPixmap::fromImage(Pictures::imageNamed(u"splash_wayfar5"_s));
}
} // namespace

QSize SplashScreenView::sizeHint() const
{
    return splashPicture().deviceIndependentSize().toSize();
}

void SplashScreenView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(event->rect(), QBrush(splashPicture()));
}
