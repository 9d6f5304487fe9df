#include "graph/audio_volume.h"

#include "app/never_destroyed.h"

namespace vistrame {
namespace {

// The last renderer's volume outlives its graph, and at process exit COM is gone.
NeverDestroyed<std::atomic<std::shared_ptr<IBasicAudio>>> Current;

} // namespace

std::atomic<long> TargetVolume = 0;

std::shared_ptr<IBasicAudio> AudioVolume() {
    return Current->load();
}

void SetAudioVolume(IBasicAudio* audio) {
    Current->store(audio == nullptr ? nullptr : std::shared_ptr<IBasicAudio>(audio, [](IBasicAudio* held) {
        held->Release();
    }));
}

} // namespace vistrame
