#include "support/WindowSystem.h"

#include <QWidget>
#include <QWindow>

// What the platform plugins call. Its header comes with a package of its own, which is not worth three functions.
class Q_GUI_EXPORT QWindowSystemInterface
{
public:
    struct AsynchronousDelivery;

    static void setSynchronousWindowSystemEvents(bool enable);
    template<typename Delivery>
    static bool handleMouseEvent(QWindow *window, const QPointF &local, const QPointF &global, Qt::MouseButtons held,
                                 Qt::MouseButton button, QEvent::Type type, Qt::KeyboardModifiers modifiers,
                                 Qt::MouseEventSource source);
    template<typename Delivery>
    static bool handleKeyEvent(QWindow *window, QEvent::Type type, int key, Qt::KeyboardModifiers modifiers,
                               const QString &text, bool autoRepeat, ushort count);
};

using Async = QWindowSystemInterface::AsynchronousDelivery;

void WindowSystem::queueEvents()
{
    QWindowSystemInterface::setSynchronousWindowSystemEvents(false);
}

void WindowSystem::sendMouse(const QWidget &window, const QPoint &at, QEvent::Type type)
{
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    const Qt::MouseButton changed = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QWindowSystemInterface::handleMouseEvent<Async>(window.windowHandle(), at, window.mapToGlobal(at), held, changed,
                                                    type, Qt::NoModifier, Qt::MouseEventNotSynthesized);
}

void WindowSystem::sendClick(const QWidget &widget)
{
    const QWidget &window = *widget.window();
    const QPoint at = widget.mapTo(&window, widget.rect().center());
    sendMouse(window, at, QEvent::MouseButtonPress);
    sendMouse(window, at, QEvent::MouseButtonRelease);
}

void WindowSystem::sendKey(const QWidget &window, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    const QString text = modifiers ? QString() : QString(QChar(key));
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
        QWindowSystemInterface::handleKeyEvent<Async>(window.windowHandle(), type, key, modifiers, text, false, 1);
}
