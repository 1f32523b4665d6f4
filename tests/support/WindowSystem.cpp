#include "support/WindowSystem.h"

#include <QTest>
#include <QWidget>
#include <QWindow>

namespace
{
// QTest hands the input of a window to the same place in Qt that a platform plugin does.
template<typename Input> void queue(const QWidget &window, const Input &input)
{
    QWindow *const handle = window.windowHandle();
    QMetaObject::invokeMethod(
        handle, [handle, input] { input(handle); }, Qt::QueuedConnection);
}
} // namespace

void WindowSystem::sendMouse(const QWidget &window, const QPoint &at, QEvent::Type type)
{
    queue(window, [at, type](QWindow *handle) {
        if (type == QEvent::MouseButtonPress)
            QTest::mousePress(handle, Qt::LeftButton, {}, at);
        else if (type == QEvent::MouseButtonRelease)
            QTest::mouseRelease(handle, Qt::LeftButton, {}, at);
        else
            QTest::mouseMove(handle, at);
    });
}

void WindowSystem::sendClick(const QWidget &widget)
{
    const QPoint at = widget.mapTo(widget.window(), widget.rect().center());
    sendMouse(*widget.window(), at, QEvent::MouseButtonPress);
    sendMouse(*widget.window(), at, QEvent::MouseButtonRelease);
}

void WindowSystem::sendKey(const QWidget &window, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    queue(window, [key, modifiers](QWindow *handle) { QTest::keyClick(handle, key, modifiers); });
}
