#include "filters/server/class_table.h"

#include <algorithm>

#include "filters/decoders/audio_decoder_filter.h"
#include "filters/decoders/stream_types.h"
#include "filters/decoders/video_decoder_filter.h"
#include "filters/demux/korvix_demux.h"
#include "filters/demux/mpeg2_demultiplexer.h"
#include "filters/feed/feed_filter.h"
#include "filters/osd_source/osd_source.h"
#include "filters/overlay/overlay_mixer.h"
#include "contract/maker_interfaces.h"

namespace vistrame {

namespace {

const ClassRow kClasses[] = {
    {.id = &CLSID_KorvixFeedFilter, .name = L"Korvix TS Feed Filter", .create = CreateFilter<FeedFilter>},
    {.id = &CLSID_KorvixDemux, .name = L"Korvix TS Demultiplexer", .create = CreateFilter<KorvixDemuxFilter>},
    {.id = &CLSID_OsdSource, .name = L"OSD Generator", .create = CreateFilter<OsdSource>},
    {.id = &CLSID_MPEG2Demultiplexer,
     .name = L"MPEG-2 Demultiplexer",
     .create = CreateFilter<Mpeg2Demultiplexer>,
     .standIn = true},
    {.id = &CLSID_OverlayMixer,
     .name = L"Overlay Mixer",
     .create = CreateFilter<OverlayMixer>,
     .standIn = true},
    {.id = &CLSID_VistrameVideoDecoder,
     .name = L"Vistrame Video Decoder",
     .create = CreateFilter<VideoDecoderFilter>,
     .merit = MERIT_NORMAL,
     .pins = VideoDecoderPins()},
    {.id = &CLSID_VistrameAudioDecoder,
     .name = L"Vistrame Audio Decoder",
     .create = CreateFilter<AudioDecoderFilter>,
     .merit = MERIT_NORMAL,
     .pins = AudioDecoderPins()},
};

} // namespace

std::span<const ClassRow> Classes() {
    return kClasses;
}

const ClassRow* FindClass(REFCLSID id) {
    const auto* found = std::ranges::find_if(kClasses, [&](const ClassRow& row) { return *row.id == id; });
    return found != std::end(kClasses) ? found : nullptr;
}

} // namespace vistrame
