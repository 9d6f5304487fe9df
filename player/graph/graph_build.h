#pragma once

#include <cstdint>
#include <memory>

#include <windows.h>
#include <dshow.h>

#include "player/graph/decoder_catalogue.h"
#include "player/graph/demultiplexer.h"
#include "player/graph/graph_wiring.h"
#include "player/graph/player_graph.h"
#include "player/graph/video_renderer.h"

namespace vistrame {

// One build of the graph: its steps, and what only they share. PlayerGraph::BuildGraph calls the steps in the
// order in which they stand here; each file build_*.cpp holds those of one subject.
//
// Threads    main thread, inside BuildGraph.
// Ownership  what outlives the build goes into the PlayerGraph at once; the references here end with it.
// Errors     a step that returns bool has reported what went wrong when it returns false, and the build is
//            over. The other steps ignore failures: a graph with a gap in it shows or plays less.
class GraphBuild {
public:
    GraphBuild(PlayerGraph& player, HWND ownerWindow) : player_(player), wiring_(player, ownerWindow) {}

    [[nodiscard]] bool CreateGraph();
    [[nodiscard]] bool GetMediaControl();
    [[nodiscard]] bool AddDecoders();
    [[nodiscard]] bool AddFeedFilter();
    void LetFeedBeClock();
    void SetFeedMode();
    [[nodiscard]] bool AddDemultiplexer();
    void ConnectFeed();
    void DropAc3Decoder();
    void ConnectVideoDecoder();
    void AddAudioRenderer();
    void MakeAudioOutput();
    void ConnectAudio();
    [[nodiscard]] bool AddVideoRenderer();
    [[nodiscard]] bool ConnectVideoRenderer();
    void ReleasePins();
    void EmbedVideoWindow();

private:
    using Filter = GraphWiring::Filter;
    using Pin = GraphWiring::Pin;

    bool AddDecoderPair(const DecoderRow& row);
    bool AddFoundDecoders();
    void FindDecoderPins(PinRule rule);

    PlayerGraph& player_;
    GraphWiring wiring_;
    std::uint32_t mpeg2Codec_ = 0; // the setting in force for this build

    std::unique_ptr<Demultiplexer> demultiplexer_;
    std::unique_ptr<VideoRenderer> videoRenderer_;

    Pin decoderInput_; // of the video decoder
    Pin decoderOutput_;
    Pin rendererInput_; // of the video renderer
};

} // namespace vistrame
