// The sound: DirectSound renderer, its volume, and the way there from the demultiplexer.

#include <mutex>

#include "contract/launch_line.h"
#include "player/app/launch_fields.h"
#include "player/graph/audio_volume.h"
#include "player/graph/com.h"
#include "player/graph/graph_build.h"
#include "player/graph/pins.h"

namespace vistrame {
namespace {

using Microsoft::WRL::ComPtr;

// Hands the renderer's volume to the fade-in threads; none takes the place of an earlier renderer's.
void PublishVolume(const ComPtr<IBaseFilter>& renderer) {
    ComPtr<IBasicAudio> audio = Query<IBasicAudio>(renderer);
    // Read before any fade that is still under way can reach the new renderer.
    if (long volume = 0; audio && SUCCEEDED(audio->get_Volume(&volume))) {
        TargetVolume = volume;
    }
    SetAudioVolume(audio.Detach());
}

} // namespace

void GraphBuild::AddAudioRenderer() {
    player_.audioRenderer = Create<IBaseFilter>(CLSID_DSoundRender);
    if (!player_.audioRenderer) {
        (void)MessageBoxA(wiring_.OwnerWindow(), "Unable to load sound output filter.", "Error",
                          MB_OK | MB_ICONSTOP);
    }
    wiring_.LetBeClock(player_.audioRenderer, kClockFromAudioRenderer);
    PublishVolume(player_.audioRenderer);
    if (player_.audioRenderer) {
        wiring_.Add(player_.audioRenderer, L"Audio Out");
    }
}

void GraphBuild::MakeAudioOutput() {
    demultiplexer_->MakeAudioOutput();
}

void GraphBuild::ConnectAudio() {
    const std::lock_guard lock(VolumeLock); // an earlier graph's fade-in has this renderer already
    if (AudioType == kAudioTypeMpeg) {
        wiring_.Connect(player_.audioOutPin, GetPinByDirection(player_.audioDecoder, PINDIR_INPUT, 0));
        wiring_.Connect(GetPinByDirection(player_.audioDecoder, PINDIR_OUTPUT, 0),
                        GetPinByDirection(player_.audioRenderer, PINDIR_INPUT, 0));
    } else if (player_.audioOutPin) {
        (void)player_.graph->Render(
            player_.audioOutPin.Get()); // decoder and renderer as the platform finds them
    }
}

} // namespace vistrame
