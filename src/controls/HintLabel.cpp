#include "controls/HintLabel.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>

HintLabel::HintLabel(QWidget *parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    makeRoomForSign();
    hide();
}

void HintLabel::setHint(const QString &text)
{
    setText(text);
    setVisible(!text.isEmpty());
}

QRectF HintLabel::sign() const
{
    const double side = fontMetrics().ascent();
    return QRectF(0, (fontMetrics().height() - side) / 2.0, side, side);
}

void HintLabel::makeRoomForSign()
{
    setContentsMargins(fontMetrics().ascent() + fontMetrics().averageCharWidth(), 0, 0, 0);
}

// A triangle with rounded corners that holds the upper part and the point of an exclamation mark.
void HintLabel::paintEvent(QPaintEvent *event)
{
    QLabel::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(sign().topLeft());
    painter.scale(sign().width() / 16, sign().height() / 16);
    const QColor color = palette().color(foregroundRole());
    painter.setPen(QPen(color, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(color);
    painter.drawPolygon(QPolygonF({{8, 2}, {15, 14}, {1, 14}}));
    painter.setPen(QPen(palette().color(QPalette::Window), 1.8, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(8, 6), QPointF(8, 9.5));
    painter.drawPoint(QPointF(8, 12.6));
}

void HintLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        makeRoomForSign();
}
