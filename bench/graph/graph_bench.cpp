// How long the player takes to make and let go of its graph, against the bare creation and release of the
// same objects: filter graph, filters, Direct3D device. The filters are the registered ones.
#include <algorithm>
#include <cstdio>
#include <vector>

#include <windows.h>
#include <dshow.h>
#include <wrl/client.h>

#include "bench/osd/rounds.h"
#include "player/app/launch_fields.h"
#include "player/app/settings.h"
#include "player/graph/player_graph.h"

namespace vistrame {
namespace {

using Microsoft::WRL::ComPtr;

constexpr double kGoal = 1.2;
constexpr int kRounds = 7;

// The class of each filter in the built graph.
std::vector<CLSID> FiltersOf(IFilterGraph* graph) {
    std::vector<CLSID> classes;
    ComPtr<IEnumFilters> filters;
    if (FAILED(graph->EnumFilters(&filters))) {
        return classes;
    }
    for (ComPtr<IBaseFilter> filter; filters->Next(1, &filter, nullptr) == S_OK;) {
        CLSID id{};
        if (SUCCEEDED(filter->GetClassID(&id))) {
            classes.push_back(id);
        }
    }
    return classes;
}

// What a graph is made of, added to a filter graph and not connected.
void CreateBare(const std::vector<CLSID>& classes) {
    ComPtr<IGraphBuilder> graph;
    (void)CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&graph));
    for (const CLSID& id : classes) {
        ComPtr<IBaseFilter> filter;
        if (SUCCEEDED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&filter)))) {
            (void)graph->AddFilter(filter.Get(), L"");
        }
    }
}

void Measure(const char* name, HWND window) {
    PlayerGraph& player = ThePlayerGraph();
    std::vector<CLSID> classes;
    bool built = true;
    const auto build = [&] {
        built = player.BuildGraph(window) == 1 && built;
        if (player.graph && classes.empty()) {
            classes = FiltersOf(player.graph.Get());
        }
        player.ReleaseGraph();
    };
    build(); // finds the decoders, which is remembered
    const RoundTimes times = TakeTurns(kRounds, build, [&] { CreateBare(classes); });
    std::printf("%s, %zu filters%s: graph %.1f ms, bare creation %.1f ms, ratio %.2f, goal %.1f %s\n", name,
                classes.size(), built ? "" : " (NOT BUILT)", times.ours * 1e3, times.peer * 1e3,
                times.ours / times.peer, kGoal, times.ours <= kGoal * times.peer ? "met" : "**missed**");
    std::fflush(stdout);
}

int Run() {
    (void)CoInitialize(nullptr);
    HWND window = CreateWindowExA(0, "STATIC", "", WS_POPUP | WS_VISIBLE, 0, 0, 640, 360, nullptr, nullptr,
                                  nullptr, nullptr);
    MPEG2Codec = MPEG4Codec = KorvixCodec = DebugOSD = 0;
    ClockSource = VideoType = AudioType = 0;
    for (const auto& [useVmr9, name] : {std::pair(1U, "VMR9"), std::pair(0U, "Overlay Mixer")}) {
        UseVMR9 = useVmr9;
        Measure(name, window);
    }
    DestroyWindow(window);
    return 0;
}

} // namespace
} // namespace vistrame

int main() {
    return vistrame::Run();
}
