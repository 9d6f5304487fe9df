// The decoders: created and in the graph before anything else, the video decoder's pins found.

#include "player/graph/graph_build.h"

#include "player/app/launch_fields.h"
#include "player/app/settings.h"
#include "player/graph/com.h"
#include "player/graph/decoder_search.h"
#include "player/graph/media_ids.h"
#include "player/graph/pins.h"
#include "player/graph/vendor_parameters.h"

namespace vistrame {
namespace {

using Microsoft::WRL::ComPtr;

// Failures are ignored: the decoder then works with its own defaults.
void Configure(const ComPtr<IBaseFilter>& decoder, std::span<const FilterParameter> parameters) {
    if (parameters.empty()) {
        return;
    }
    const ComPtr<VendorParameters> target = Query<VendorParameters>(decoder);
    if (!target) {
        return;
    }
    for (const FilterParameter& parameter : parameters) {
        const GUID id = ToGuid(parameter.id);
        VARIANT value{};
        V_VT(&value) = VT_UI4;
        V_UI4(&value) = parameter.value;
        (void)target->SetValue(&id, &value);
    }
    (void)target->Commit(nullptr);
}

// Null when nothing was found or the one found cannot be made; no other is tried then, but the next build
// searches anew.
ComPtr<IBaseFilter> CreateFound(const std::optional<DecoderCandidate>& found, DecoderSearch& search) {
    ComPtr<IBaseFilter> made = found ? Create<IBaseFilter>(found->id) : nullptr;
    if (!made) {
        search.Forget();
    }
    return made;
}

} // namespace

bool GraphBuild::AddDecoders() {
    mpeg2Codec_ = EffectiveMpeg2Codec(MPEG2Codec, IsDebuggerPresent() != FALSE);
    const DecoderRow& row = FindDecoderRow(VideoType, mpeg2Codec_, MPEG4Codec);
    switch (row.source) {
        case DecoderSource::kSearch:
            if (!AddFoundDecoders()) {
                return false;
            }
            break;
        case DecoderSource::kFixedPair:
            if (!AddDecoderPair(row)) {
                return false;
            }
            break;
        case DecoderSource::kNone:
            return GraphWiring::Report(row.failure);
    }
    FindDecoderPins(row.pins);
    return decoderInput_ || GraphWiring::Report(kNoDecoderPins);
}

bool GraphBuild::AddDecoderPair(const DecoderRow& row) {
    player_.audioDecoder = Create<IBaseFilter>(ToGuid(AudioClassOf(row, AudioType)));
    player_.videoDecoder = Create<IBaseFilter>(ToGuid(row.video.id));
    if (!player_.audioDecoder || !player_.videoDecoder) {
        return GraphWiring::Report(row.failure);
    }
    wiring_.Add(player_.audioDecoder, row.audio.graphName);
    wiring_.Add(player_.videoDecoder, row.video.graphName);
    Configure(player_.videoDecoder, row.videoParameters);
    return true;
}

bool GraphBuild::AddFoundDecoders() {
    const VideoSearch& search = VideoSearchFor(VideoType);
    const auto video = player_.decoders.Find(kVideoType, search.subtypes, kFfdshowVideo);
    player_.videoDecoder = CreateFound(video, player_.decoders);
    if (!player_.videoDecoder) {
        return GraphWiring::Report(search.failure);
    }
    wiring_.Add(player_.videoDecoder, video->friendlyName.data());

    const ClassId* const subtype = AudioSubtypeFor(AudioType);
    if (subtype == nullptr) {
        return true;
    }
    const auto audio = player_.decoders.Find(kAudioType, {subtype, 1}, kFfdshowAudio);
    player_.audioDecoder = CreateFound(audio, player_.decoders);
    if (!player_.audioDecoder) {
        return GraphWiring::Report(kNoAudioCodec);
    }
    wiring_.Add(player_.audioDecoder, audio->friendlyName.data());
    return true;
}

void GraphBuild::FindDecoderPins(PinRule rule) {
    const Filter& decoder = player_.videoDecoder;
    if (const std::optional<PinNames> names = NamesOf(rule)) {
        decoderInput_ = FindPin(decoder, names->input);
        decoderOutput_ = FindPin(decoder, names->output);
    } else if (rule == PinRule::kFirstAndSecond) {
        const auto pins = FirstPins(decoder);
        decoderInput_ = pins[0];
        decoderOutput_ = pins[1];
    } else {
        decoderInput_ = GetPinByDirection(decoder, PINDIR_INPUT, 0);
        decoderOutput_ = GetPinByDirection(decoder, PINDIR_OUTPUT, 0);
    }
}

} // namespace vistrame
