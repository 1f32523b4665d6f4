#include "controls/SplashScreenView.h"

#include "platform/Bundle.h"

#include <QPaintEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace
{
QPixmap splashPicture()
{
    return QPixmap::fromImage(Bundle::imageNamed(u"splash_wayfar5"_s));
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
