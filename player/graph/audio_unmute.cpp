#include "player/graph/audio_unmute.h"

#include <process.h>

#include "player/graph/audio_volume.h"

namespace vistrame {
namespace {

// Hundredths of a decibel, as the renderer counts.
constexpr long kSilence = -10000;
constexpr long kFadeStart = -4000;
constexpr long kFadeStep = 100;
constexpr DWORD kFadeStepMsec = 40;

// One reading of the shared volume is both the check and the call, so a rebuild in between does no harm; the
// lock keeps the renderer in one piece meanwhile.
// Returns whether there was a renderer.
bool SetVolume(long level) {
    const auto volume = AudioVolume();
    if (volume != nullptr) {
        const std::lock_guard lock(VolumeLock);
        (void)volume->put_Volume(level); // a renderer that refuses one step may take the next
    }
    return volume != nullptr;
}

void AudioUnmuteThread(void* delayMsec) {
    (void)SetVolume(kSilence);
    Sleep(static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(delayMsec)));
    if (AudioVolume() == nullptr) {
        return;
    }
    for (long level = kFadeStart; level < TargetVolume; level += kFadeStep) {
        (void)SetVolume(level);
        Sleep(kFadeStepMsec);
    }
    (void)SetVolume(TargetVolume);
}

} // namespace

void StartAudioUnmute(std::uint32_t delayMsec) {
    // A thread that cannot be started leaves the volume as it is.
    (void)_beginthread(AudioUnmuteThread, 0, reinterpret_cast<void*>(static_cast<std::uintptr_t>(delayMsec)));
}

} // namespace vistrame
