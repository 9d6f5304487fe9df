// The way in: feed filter and demultiplexer, the graph's clock, and the video decoder behind them.

#include "contract/launch_line.h"
#include "player/app/launch_fields.h"
#include "player/graph/com.h"
#include "player/graph/graph_build.h"
#include "player/graph/pins.h"

namespace vistrame {

bool GraphBuild::AddFeedFilter() {
    player_.feedFilter = Create<IBaseFilter>(CLSID_KorvixFeedFilter);
    if (player_.feedFilter) {
        wiring_.Add(player_.feedFilter, L"Korvix TS Feed Filter");
        player_.feedControl = Query<FeedControl>(player_.feedFilter);
        FeedData* const data = Query<FeedData>(player_.feedFilter).Detach();
        player_.feedData.store(data, std::memory_order_release); // the reader delivers from now on
        if (data != nullptr) {
            (void)data->SetPids2(PendingPids2);
        }
    }
    return (player_.feedControl && player_.feedData != nullptr) || GraphWiring::Report(kNoFeedFilter);
}

void GraphBuild::LetFeedBeClock() {
    wiring_.LetBeClock(player_.feedFilter, kClockFromFeedFilter);
}

void GraphBuild::SetFeedMode() {
    // Live data pushed in by the player; the filter sets no pace of its own.
    (void)player_.feedControl->SetMode(3, 0);
}

bool GraphBuild::AddDemultiplexer() {
    demultiplexer_ = ChooseDemultiplexer(player_, mpeg2Codec_);
    if (!demultiplexer_->Create()) {
        (void)GraphWiring::Report(kNoDemultiplexer);
        return GraphWiring::Report(kNoDemultiplexerControl);
    }
    demultiplexer_->Prepare();
    wiring_.Add(demultiplexer_->AsFilter(), L"MPEG2 Demux");
    const bool controlled = demultiplexer_->TakeControl();
    wiring_.LetBeClock(demultiplexer_->AsFilter(), kClockFromDemultiplexer);
    return controlled || GraphWiring::Report(kNoDemultiplexerControl);
}

void GraphBuild::ConnectFeed() {
    wiring_.Connect(FindPin(player_.feedFilter, L"TS Out"), demultiplexer_->Input());
}

void GraphBuild::DropAc3Decoder() {
    if (AudioType == kAudioTypeAc3 && player_.audioDecoder) {
        (void)player_.graph->RemoveFilter(player_.audioDecoder.Get()); // the pin is rendered automatically
    }
}

void GraphBuild::ConnectVideoDecoder() {
    auto [pin, type] = demultiplexer_->OpenVideo();
    wiring_.Connect(pin, decoderInput_, type ? type->Get() : nullptr);
    demultiplexer_->FindAudioOutput();
}

} // namespace vistrame
