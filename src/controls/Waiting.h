#pragma once

#include <functional>

class QWidget;

// Where the main thread stands still, and where a window must be on the screen before anything else happens.
namespace Waiting
{
// Runs the work, which blocks the main thread: for an answer, a tool, a password prompt. Both ends run events
// (docs/how-it-runs.md). Before
// the work the windows are painted and show the wait cursor, and no input is taken. After it the input that came
// meanwhile is dropped, since the button under the pointer may read differently by then; timers and other events are
// handled as usual. Inside another wait, and on any other thread, this only runs the work.
void blockFor(const std::function<void()> &work);
// Returns when the window is painted on the screen. Events run, but no user input is taken.
void untilShown(QWidget &window);
} // namespace Waiting
