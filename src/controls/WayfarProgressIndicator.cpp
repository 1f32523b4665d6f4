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
    // A part of the bar drawn as if it were the whole would show a wrong value until the next change. What lies outside
    // the window is never drawn: waiting for it would go on for ever.
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
