#pragma once

#include <windows.h>

namespace vistrame {

// One tick of TIMER_STALL_WATCH: asks the maker's demultiplexer how long either stream has stood still. Above
// 30 ticks the graph is stopped and run again and its sound faded in anew; above 100 the process ends,
// whatever TerminateOnVideoStall says. Without that demultiplexer there is no stall detection.
//
// Units      counts are 100 ms ticks of the demultiplexer, 0xFFFFFFFF: no count available.
// Threads    main thread, and only while a built graph exists: the timer is stopped before a teardown and
// started
//            after the build, since the demultiplexer's reference outlives the graph.
void CheckForStall(HWND playerWindow);

} // namespace vistrame
