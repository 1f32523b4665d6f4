#pragma once

#include <QEvent>
#include <QPoint>

class QWidget;

// Input that the main thread finds when it next looks at its events, as that of a window system. QTest's own comes at
// once.
namespace WindowSystem
{
// A press, a move or a release of the left button.
void sendMouse(const QWidget &window, const QPoint &at, QEvent::Type type);
void sendClick(const QWidget &widget); // into its middle
void sendKey(const QWidget &window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier); // down and up
} // namespace WindowSystem
