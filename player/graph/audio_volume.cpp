#include "player/graph/audio_volume.h"

#include "player/app/never_destroyed.h"

namespace vistrame {
namespace {

// The last renderer's volume outlives its graph, and at process exit COM is gone.
NeverDestroyed<std::atomic<std::shared_ptr<IBasicAudio>>> Current;

// The object's table of methods lies in its module.
void PinModuleOf(IUnknown* object) {
    HMODULE module = nullptr;
    (void)GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                             *reinterpret_cast<const char* const*>(object),
                             &module); // none: nothing to unload
}

} // namespace

std::atomic<long> TargetVolume = 0;
std::mutex VolumeLock;

std::shared_ptr<IBasicAudio> AudioVolume() {
    return Current->load();
}

void SetAudioVolume(IBasicAudio* audio) {
    if (audio != nullptr) {
        PinModuleOf(audio);
    }
    Current->store(audio == nullptr ? nullptr : std::shared_ptr<IBasicAudio>(audio, [](IBasicAudio* held) {
        held->Release();
    }));
}

} // namespace vistrame
