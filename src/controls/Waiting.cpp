#include "controls/Waiting.h"

#include "platform/MainThread.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEventLoop>
#include <QPointer>
#include <QThread>
#include <QTimer>
#include <QWidget>
#include <QWindow>

using namespace std::chrono_literals;

namespace
{
bool waiting = false; // used by the main thread only

// Drops what the player did during a wait, except the release of a button: without it, a press from before the wait
// would swallow the next click. A question that opens in an event loop inside still gets its answer.
class InputDrop : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        return (isInput(event->type()) && QThread::currentThread()->loopLevel() == m_level)
            || QObject::eventFilter(watched, event);
    }

private:
    static bool isInput(QEvent::Type type)
    {
        switch (type) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove:
        case QEvent::KeyPress:
        case QEvent::Shortcut:
        case QEvent::ShortcutOverride:
        case QEvent::InputMethod:
        case QEvent::Drop:
        case QEvent::ContextMenu:
        case QEvent::Wheel:
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd:
        case QEvent::TabletPress:
        case QEvent::TabletRelease:
            return true;
        default:
            return false;
        }
    }

    const int m_level = QThread::currentThread()->loopLevel();
};

class ExposeWatch : public QObject
{
public:
    explicit ExposeWatch(QEventLoop &loop) : m_loop(loop) { }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Expose)
            m_loop.quit(); // takes effect after the window handled the event
        return QObject::eventFilter(watched, event);
    }

private:
    QEventLoop &m_loop;
};

// A release over a button that is not down makes no click.
void letButtonsUp()
{
    for (QWidget *widget : QApplication::allWidgets()) {
        if (auto *button = qobject_cast<QAbstractButton *>(widget))
            button->setDown(false);
    }
}

void dropInput()
{
    letButtonsUp();
    InputDrop drop;
    qApp->installEventFilter(&drop);
    QCoreApplication::processEvents();
}

void paintWindows()
{
    QList<QPointer<QWidget>> windows; // one may be deleted while another is shown
    for (QWidget *window : QApplication::topLevelWidgets())
        windows.append(window);
    for (const QPointer<QWidget> &window : windows) {
        if (window && window->isVisible() && !window->isMinimized())
            Waiting::untilShown(*window);
    }
}
} // namespace

void Waiting::blockFor(const std::function<void()> &work)
{
    if (!MainThread::isCurrent() || waiting)
        return work();
    waiting = true;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    paintWindows();
    work();
    waiting = false;
    dropInput();
    QApplication::restoreOverrideCursor();
}

void Waiting::untilShown(QWidget &window)
{
    // Before its first exposure a window paints nothing. One on another desktop is never exposed: hence the limit.
    const QPointer<QWidget> watched(&window); // it may be deleted in the loop
    if (window.windowHandle() && !window.windowHandle()->isExposed()) {
        QEventLoop loop;
        ExposeWatch watch(loop);
        window.windowHandle()->installEventFilter(&watch);
        QTimer::singleShot(1s, &loop, &QEventLoop::quit);
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
    if (watched)
        watched->repaint();
}
