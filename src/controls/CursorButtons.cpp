#include "controls/CursorButtons.h"

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
