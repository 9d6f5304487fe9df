// How the player's graph comes about:
//
//   pipe reader -> feed filter -> demultiplexer -> video decoder -> video renderer (VMR9 or Overlay Mixer)
//                                       |                             ^ second input: OSD source, on request
//                                       '--------> audio decoder -> audio renderer
//
// Each filter is created, added to the graph under a fixed name and connected to the one before it.

#include "player/graph/player_graph.h"

#include "player/graph/com.h"
#include "player/graph/graph_build.h"
#include "player/graph/overlay_surface.h"
#include "player/graph/pins.h"

namespace vistrame {

int PlayerGraph::BuildGraph(HWND ownerWindow) {
    if (built != 0) {
        (void)control->Run(); // a restart; it does not count as a new graph
        return 0;
    }
    GraphBuild build(*this, ownerWindow);

    if (!build.CreateGraph() || !build.GetMediaControl() || !build.AddDecoders()) {
        return 0;
    }
    if (!build.AddFeedFilter()) { // data flows in from here on
        return 0;
    }
    build.LetFeedBeClock();
    build.SetFeedMode();
    if (!build.AddDemultiplexer()) {
        return 0;
    }
    build.ConnectFeed();
    build.DropAc3Decoder();
    build.ConnectVideoDecoder();
    build.AddAudioRenderer();
    build.MakeAudioOutput();
    build.ConnectAudio();
    if (!build.AddVideoRenderer() || !build.ConnectVideoRenderer()) {
        return 0;
    }
    build.ReleasePins();
    build.EmbedVideoWindow();
    LetGoOfOldOverlays();
    LetGoOfOldWindows();

    built = 1; // stopped; the first Run comes with the audio PID or by command
    return 1;
}

bool GraphBuild::CreateGraph() {
    player_.graph = Create<IGraphBuilder>(CLSID_FilterGraph);
    return player_.graph || GraphWiring::Report(kNoGraphBuilder);
}

bool GraphBuild::GetMediaControl() {
    player_.control = Query<IMediaControl>(player_.graph);
    return player_.control || GraphWiring::Report(kNoMediaControl);
}

bool GraphBuild::AddVideoRenderer() {
    videoRenderer_ = ChooseVideoRenderer(wiring_);
    if (!videoRenderer_->Add()) {
        return false;
    }
    rendererInput_ = videoRenderer_->FindInput();
    return true;
}

bool GraphBuild::ConnectVideoRenderer() {
    if (!decoderOutput_) {
        decoderOutput_ = GetPinByDirection(player_.videoDecoder, PINDIR_OUTPUT, 0);
    }
    wiring_.Connect(decoderOutput_, rendererInput_);
    return (decoderOutput_ && rendererInput_) || GraphWiring::Report(kNoDecoderPins);
}

void GraphBuild::ReleasePins() {
    decoderInput_.Reset();
    decoderOutput_.Reset();
    rendererInput_.Reset();
}

} // namespace vistrame
