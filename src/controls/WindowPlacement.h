#pragma once

class QWidget;

// What a window asks of the desktop. Wayland lets no window place or raise itself: there they do nothing.
namespace WindowPlacement
{
void center(QWidget &window); // on its screen
void makeKeyAndOrderFront(QWidget &window); // shown, in front, with the keyboard
} // namespace WindowPlacement
