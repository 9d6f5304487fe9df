// The stall watchdog: a timer of the player's window that looks after a graph with the maker's demultiplexer.
//
// Threads    main thread. Started behind each successful build and stopped before each teardown, since the
//            demultiplexer's reference outlives the graph.
#pragma once

#include <windows.h>

namespace vistrame {

inline constexpr UINT_PTR TIMER_STALL_WATCH = 3;

void StartStallWatch();
void StopStallWatch();

// One tick: asks the demultiplexer how long either stream has stood still, in 100 ms. Above 30 the graph is
// stopped and run again and its sound faded in anew; above 100 the process ends, whatever
// TerminateOnVideoStall says. Without that demultiplexer there is no stall detection.
void CheckForStall();

} // namespace vistrame
