// The audio renderer's volume as the fade-in threads see it.
//
// Units      hundredths of a decibel: -10000 silence, 0 full (IBasicAudio).
// Threads    the main thread replaces the interface at each build; fade-in threads read it afresh at each
//            step. What they read is a counted reference, so a step that overlaps a rebuild never calls a
//            released object.
// Ownership  the last renderer's interface is kept through teardown and until an orderly end begins. The
//            module that it lives in stays for good: the end unloads COM's servers while a fade-in may still
//            be about to call it.
#pragma once

#include <atomic>
#include <memory>

#include <windows.h>
#include <dshow.h>

namespace vistrame {

// The current renderer's volume interface; empty before the first build and when the last build found no
// sound.
std::shared_ptr<IBasicAudio> AudioVolume();

// Takes over one reference of `audio` (may be null) and drops the one held before.
void SetAudioVolume(IBasicAudio* audio);

// The volume read from the renderer when the graph was built; where a fade ends.
extern std::atomic<long> TargetVolume;

} // namespace vistrame
