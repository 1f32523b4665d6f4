#include "controls/BusyLine.h"

#include <QLinearGradient>
#include <QPainter>
#include <QTimer>

using namespace std::chrono_literals;

namespace
{
constexpr int Steps = 60; // two seconds from one end to the other
constexpr QColor Light(0xf0, 0xc4, 0x8a);
} // namespace

BusyLine::BusyLine(QWidget *parent) : QWidget(parent), m_timer(new QTimer(this))
{
    m_timer->setInterval(33ms);
    m_timer->callOnTimeout(this, [this] {
        m_step = (m_step + 1) % Steps;
        update();
    });
}

QSize BusyLine::sizeHint() const
{
    return {160, 3};
}

void BusyLine::showEvent(QShowEvent *event)
{
    m_timer->start();
    QWidget::showEvent(event);
}

void BusyLine::hideEvent(QHideEvent *event)
{
    m_timer->stop();
    QWidget::hideEvent(event);
}

void BusyLine::paintEvent(QPaintEvent *)
{
    const qreal length = width() * 0.3;
    const qreal left = (width() + length) * m_step / Steps - length;
    QColor dark = Light;
    dark.setAlphaF(0);
    QLinearGradient light(left, 0, left + length, 0);
    light.setColorAt(0, dark);
    light.setColorAt(0.5, Light);
    light.setColorAt(1, dark);
    QPainter(this).fillRect(QRectF(left, 0, length, height()), light);
}
