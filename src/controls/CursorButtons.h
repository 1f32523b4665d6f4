#pragma once

#include <QCursor>
#include <QPushButton>

#include <optional>

// A push button that shows a cursor of its own while the pointer is over it.
class CursorButtons : public QPushButton
{
    Q_OBJECT

public:
    using QPushButton::QPushButton;

    std::optional<QCursor> cursor() const { return m_cursor; }
    void setCursor(const std::optional<QCursor> &cursor); // nothing: the platform's own behaviour

private:
    void resetCursorRects();

    std::optional<QCursor> m_cursor;
};
