#include "controls/WindowPlacement.h"

#include <QScreen>
#include <QWidget>

void WindowPlacement::center(QWidget &window)
{
    window.ensurePolished();
    if (!window.testAttribute(Qt::WA_Resized))
        window.adjustSize();
    QRect frame = window.frameGeometry();
    frame.moveCenter(window.screen()->availableGeometry().center());
    window.move(frame.topLeft());
}

void WindowPlacement::makeKeyAndOrderFront(QWidget &window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}
