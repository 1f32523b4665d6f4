#pragma once

#include <QtGlobal>

#include <chrono>
#include <functional>

class QObject;
class QWidget;

namespace MainThread
{
bool isCurrent();
// Runs the work on the main thread and returns when it is done; on the main thread itself, at once.
void performAndWait(const std::function<void()> &work);
// Runs the work once from the main thread's event loop, unless the context is gone by then. Any thread.
void performAfter(std::chrono::milliseconds delay, QObject *context, const std::function<void()> &work);
// Returns when the window is painted on the screen. No user input is taken meanwhile.
void waitUntilShown(QWidget &window);

// The scope in which the main thread waits by agreement: for an answer, a tool, a password prompt. The windows are
// painted first and show the wait cursor; clicks and keys that come meanwhile are dropped at the end, since the button
// under them may read differently by then. In any other thread it is nothing.
class Wait
{
public:
    Wait();
    ~Wait();
    Q_DISABLE_COPY_MOVE(Wait)

private:
    const bool m_outermost;
};
} // namespace MainThread
