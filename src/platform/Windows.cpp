#include "platform/Windows.h"

#include <QScreen>
#include <QWidget>

void Windows::center(QWidget &window)
{
    window.ensurePolished();
    if (!window.testAttribute(Qt::WA_Resized))
        window.adjustSize();
    QRect frame = window.frameGeometry();
    frame.moveCenter(window.screen()->availableGeometry().center());
    window.move(frame.topLeft());
}

void Windows::makeKeyAndOrderFront(QWidget &window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}
