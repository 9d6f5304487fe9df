// The audio renderer's volume as the fade-in threads see it.
//
// Units      hundredths of a decibel: -10000 silence, 0 full (IBasicAudio).
// Threads    the main thread replaces the interface at each build; fade-in threads read it afresh at each
//            step. What they read is a counted reference, so a step that overlaps a rebuild never calls a
//            released object. Each step holds VolumeLock, and so does the main thread while the renderer is
//            connected or disconnected.
// Ownership  the last renderer's interface is kept through teardown and until an orderly end begins. The
//            module that it lives in stays for good: the end unloads COM's servers while a fade-in may still
//            be about to call it.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include <windows.h>
#include <dshow.h>

namespace vistrame {

// The current renderer's volume interface; empty before the first build and when the last build found no
// sound.
std::shared_ptr<IBasicAudio> AudioVolume();

// Takes over one reference of `audio` (may be null) and drops the one held before.
void SetAudioVolume(IBasicAudio* audio);

// Wine's renderer frees its sound buffer when it is disconnected, while a volume that is set at that moment
// goes to the very buffer: a call through freed memory. Never taken together with FeedLock.
extern std::mutex VolumeLock;

// The volume read from the renderer when the graph was built; where a fade ends.
extern std::atomic<long> TargetVolume;

} // namespace vistrame
