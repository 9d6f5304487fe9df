// One thing at a time on the main thread.
//
// Stopping, building or releasing a graph, and every message box, lets the system deliver further messages in
// the middle of it. What such a message asks for waits here, so that no graph is taken down underneath
// whoever is at work on it.
//
// Threads    main thread only.
// Errors     none of its own; a job does not throw.
#pragma once

#include <functional>

namespace vistrame {

// Whether a job is being carried out, further up on this thread's stack.
bool IsJobUnderWay();

// Carries the job out, and then what has been waiting meanwhile, in order. Inside another job it only waits.
void CarryOutInTurn(std::function<void()> job);

// The last job there is: carried out before whatever waits, which is dropped, and so is all that comes later.
void CarryOutAsLast(std::function<void()> job);

} // namespace vistrame
