// The fade-in that follows every start of a graph.
#pragma once

#include <cstdint>

namespace vistrame {

// Starts one more fade-in thread: silence at once, `delayMsec` of it, then 100 hundredths of a decibel every
// 40 ms from -4000 up to TargetVolume. Threads run side by side and to their end; the last volume set wins.
void StartAudioUnmute(std::uint32_t delayMsec);

} // namespace vistrame
