#pragma once

#include <chrono>
#include <functional>

class QObject;

// The thread that runs the program's event loop, for the use of the others.
namespace MainThread
{
bool isCurrent();
// Runs the work on the main thread and returns when it is done; on the main thread itself, at once.
void performAndWait(const std::function<void()> &work);
// Runs the work once from the main thread's event loop, never early, unless the context is gone by then. Any thread.
void performAfter(std::chrono::milliseconds delay, QObject *context, const std::function<void()> &work);
} // namespace MainThread
