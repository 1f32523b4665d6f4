#pragma once

#include <QEvent>
#include <QPoint>

class QWidget;

// Input as a window system sends it: queued, until the main thread next looks. QTest's own comes at once.
namespace WindowSystem
{
// The offscreen platform hands its events over at once, exposures too; after this it queues them as others do.
void queueEvents();

void sendMouse(const QWidget &window, const QPoint &at,
               QEvent::Type type); // of the left button, or a move while it is held
void sendClick(const QWidget &widget); // into its middle
void sendKey(const QWidget &window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier); // down and up
} // namespace WindowSystem
