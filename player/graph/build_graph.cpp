// How the player's graph comes about:
//
//   pipe reader -> feed filter -> demultiplexer -> video decoder -> video renderer (VMR9 or Overlay Mixer)
//                                       |                             ^ second input: OSD source, on request
//                                       '--------> audio decoder -> audio renderer
//
// Each filter is created, added to the graph under a fixed name and connected to the one before it.

#include "player/graph/player_graph.h"

#include "player/app/error_report.h"
#include "player/graph/graph_build.h"
#include "player/graph/overlay_surface.h"

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
    build.ConnectAudio();
    if (!build.AddVideoRenderer() || !build.ConnectVideoRenderer()) {
        return 0;
    }
    build.ReleasePins();
    build.EmbedVideoWindow();
    LetGoOfOldOverlays();

    built = 1; // stopped; the first Run comes with the audio PID or by command
    return 1;
}

bool GraphBuild::CreateGraph() {
    player_.graph = Create<IGraphBuilder>(CLSID_FilterGraph);
    return player_.graph || Report(kNoGraphBuilder);
}

bool GraphBuild::GetMediaControl() {
    player_.control = Query<IMediaControl>(player_.graph);
    return player_.control || Report(kNoMediaControl);
}

void GraphBuild::ReleasePins() {
    decoderInput_.Reset();
    decoderOutput_.Reset();
    rendererInput_.Reset();
}

bool GraphBuild::Report(const BuildError& error) {
    return ReportError(error.code, error.text) != 0;
}

void GraphBuild::Connect(const Pin& from, const Pin& to, const AM_MEDIA_TYPE* type) {
    if (from && to) {
        (void)player_.graph->ConnectDirect(from.Get(), to.Get(), type);
    }
}

void GraphBuild::Add(const Filter& filter, const wchar_t* name) {
    (void)player_.graph->AddFilter(filter.Get(), name); // a filter left out shows when its pins are connected
}

} // namespace vistrame
