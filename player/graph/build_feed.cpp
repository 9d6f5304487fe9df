// The way in: feed filter and demultiplexer, the graph's clock, and the video decoder behind them.

#include "player/graph/graph_build.h"

#include "player/app/launch_fields.h"
#include "player/app/settings.h"
#include "player/graph/media_ids.h"
#include "player/graph/media_types.h"
#include "player/graph/pins.h"
#include "contract/launch_line.h"

namespace vistrame {

using Microsoft::WRL::ComPtr;

bool GraphBuild::AddFeedFilter() {
    player_.feedFilter = Create<IBaseFilter>(CLSID_KorvixFeedFilter);
    if (player_.feedFilter) {
        Add(player_.feedFilter, L"Korvix TS Feed Filter");
        player_.feedControl = Query<FeedControl>(player_.feedFilter);
        FeedData* const data = Query<FeedData>(player_.feedFilter).Detach();
        player_.feedData.store(data, std::memory_order_release); // the reader delivers from now on
        if (data != nullptr) {
            (void)data->SetPids2(PendingPids2);
        }
    }
    return (player_.feedControl && player_.feedData != nullptr) || Report(kNoFeedFilter);
}

void GraphBuild::LetFeedBeClock() {
    LetBeClock(player_.feedFilter, kClockFromFeedFilter);
}

void GraphBuild::SetFeedMode() {
    // Live data pushed in by the player; the filter sets no pace of its own.
    (void)player_.feedControl->SetMode(3, 0);
}

bool GraphBuild::AddDemultiplexer() {
    const bool platform = KorvixCodec == 0;
    demultiplexer_ = Create<IBaseFilter>(platform ? CLSID_MPEG2Demultiplexer : CLSID_KorvixDemux);
    if (!demultiplexer_) {
        (void)Report(kNoDemultiplexer);
        return Report(kNoDemultiplexerControl);
    }
    if (!platform) {
        TellKorvixDemux();
    }
    Add(demultiplexer_, L"MPEG2 Demux");
    if (platform) {
        player_.demuxControl = Query<IMpeg2Demultiplexer>(demultiplexer_);
    }
    LetBeClock(demultiplexer_, kClockFromDemultiplexer);
    return !platform || player_.demuxControl || Report(kNoDemultiplexerControl);
}

// Without its interface the filter does what it does by default.
void GraphBuild::TellKorvixDemux() {
    player_.korvixDemux = Query<KorvixDemux>(demultiplexer_); // lets go of the one an earlier graph left
    if (player_.korvixDemux) {
        (void)player_.korvixDemux->SetAudioType(static_cast<ULONG>(AudioType));
        (void)player_.korvixDemux->SetVideoType(static_cast<ULONG>(VideoType));
    }
}

void GraphBuild::LetBeClock(const ComPtr<IBaseFilter>& filter, std::int32_t source) {
    if (ClockSource != source) {
        return;
    }
    const ComPtr<IReferenceClock> clock = Query<IReferenceClock>(filter);
    const ComPtr<IMediaFilter> graph = Query<IMediaFilter>(player_.graph);
    if (clock && graph) {
        (void)graph->SetSyncSource(clock.Get());
    }
}

void GraphBuild::ConnectFeed() {
    Connect(FindPin(player_.feedFilter, L"TS Out"),
            FindPin(demultiplexer_, KorvixCodec == 0 ? L"MPEG-2 Stream" : L"TS In"));
}

void GraphBuild::DropAc3Decoder() {
    if (AudioType == kAudioTypeAc3 && player_.audioDecoder) {
        (void)player_.graph->RemoveFilter(player_.audioDecoder.Get()); // the pin is rendered automatically
    }
}

void GraphBuild::ConnectVideoDecoder() {
    if (KorvixCodec != 0) {
        std::optional<FixedMediaType> type = KorvixVideoType(VideoType);
        Connect(FindPin(demultiplexer_, L"Video Out"), decoderInput_, type ? type->Get() : nullptr);
        player_.audioOutPin = FindPin(demultiplexer_, L"Audio Out");
        return;
    }
    const ComPtr<IPin> videoOut = CreateOutputPin(L"Video Out", PlatformVideoType(VideoType));
    player_.videoPidMap = Query<IMPEG2PIDMap>(videoOut);
    Connect(videoOut, decoderInput_);
}

ComPtr<IPin> GraphBuild::CreateOutputPin(std::wstring name, FixedMediaType type) {
    ComPtr<IPin> pin;
    (void)player_.demuxControl->CreateOutputPin(type.Get(), name.data(), pin.GetAddressOf());
    return pin;
}

} // namespace vistrame
