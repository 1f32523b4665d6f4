#include "controls/CursorButtons.h"

#include <QPainter>

void CursorButtons::setCursor(const std::optional<QCursor> &cursor)
{
    m_cursor = cursor;
    resetCursorRects();
}

void CursorButtons::resetCursorRects()
{
    if (m_cursor)
        QPushButton::setCursor(*m_cursor);
    else
        unsetCursor();
}

// Nothing but the keyboard's place: two rings, so that one of them shows on any picture.
void CursorButtons::paintEvent(QPaintEvent *)
{
    if (!hasFocus())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Base), 2));
    painter.drawRect(QRectF(rect()).adjusted(3, 3, -3, -3));
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
    painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
}
