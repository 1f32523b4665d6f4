#include "controls/WayfarProgressIndicator.h"

#include <QPaintEvent>
#include <QStyleOptionProgressBar>
#include <QStylePainter>

#include <algorithm>

void WayfarProgressIndicator::setPercentage(double value)
{
    setRange(0, value < 0 ? 0 : 100); // an empty range is a busy bar
    setValue(static_cast<int>(std::clamp(value, 0.0, 100.0)));
}

void WayfarProgressIndicator::paintEvent(QPaintEvent *event)
{
    // The rectangle to draw counts as the whole bar, so that a part of it would show a wrong value: draw all of it
    // again. What lies outside the window is never drawn, hence the visible region.
    if (event->rect() != visibleRegion().boundingRect())
        update();
    QStyleOptionProgressBar option;
    initStyleOption(&option);
    option.rect = event->rect();
    option.rect.setHeight(DrawnHeight);
    drawBase(option);
}

void WayfarProgressIndicator::drawBase(const QStyleOptionProgressBar &option)
{
    QStylePainter painter(this);
    painter.drawControl(QStyle::CE_ProgressBar, option);
}
