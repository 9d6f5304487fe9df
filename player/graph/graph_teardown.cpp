// How a graph is taken down. The order is fixed: stopped first, emptied, then let go of, and the feed's
// interface under the lock that the pipe reader delivers under.

#include <utility>

#include "player/graph/feed_lock.h"
#include "player/graph/player_graph.h"

namespace vistrame {
namespace {

// Each keeps its emptied graph: two events, and on Windows a thread.
constexpr std::size_t kWindowsKept = 2;

void RemoveAllFilters(IGraphBuilder& graph) {
    Microsoft::WRL::ComPtr<IEnumFilters> filters;
    if (FAILED(graph.EnumFilters(filters.GetAddressOf()))) {
        return;
    }
    Microsoft::WRL::ComPtr<IBaseFilter> filter;
    while (filters->Next(1, filter.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        const HRESULT removed = graph.RemoveFilter(filter.Get());
        (void)filters->Reset(); // the removal made the enumerator invalid
        filter.Reset();
        if (FAILED(removed)) {
            return; // the same filter would come first again, for ever
        }
    }
}

} // namespace

void PlayerGraph::LetGoOfOldWindows() {
    while (oldWindows_.size() > kWindowsKept) {
        oldWindows_.pop_front();
    }
}

void PlayerGraph::ReleaseGraph() {
    if (control) {
        (void)control->Stop(); // a graph that cannot stop is taken down all the same
        control.Reset();
    }
    if (graph) {
        RemoveAllFilters(*graph.Get());
    }

    audioDecoder.Reset();
    videoDecoder.Reset();
    feedFilter.Reset();
    audioRenderer.Reset();
    videoRenderer.Reset();
    demuxControl.Reset();
    audioPidMap.Reset();
    videoPidMap.Reset();
    audioOutPin.Reset();
    spare.Reset();
    mixerBitmap.Reset();

    if (FeedData* feed = feedData.load(std::memory_order_relaxed); feed != nullptr) {
        const FeedLockHold hold(*this); // waits for a delivery under way
        feed->Release();
        feedData.store(nullptr, std::memory_order_release);
    }
    feedControl.Reset();
    graph.Reset();

    built = 0;
    ClearGraphPointers();
}

// videoWindow is kept without a release, and korvixDemux stays: both on purpose.
void PlayerGraph::ClearGraphPointers() {
    (void)graph.Detach();
    (void)control.Detach();
    if (videoWindow) {
        oldWindows_.push_back(std::move(videoWindow));
    }
    (void)audioDecoder.Detach();
    (void)videoDecoder.Detach();
    (void)feedFilter.Detach();
    (void)audioRenderer.Detach();
    (void)videoRenderer.Detach();

    (void)demuxControl.Detach();
    (void)audioPidMap.Detach();
    (void)videoPidMap.Detach();
    (void)audioOutPin.Detach();
    (void)spare.Detach();
    (void)mixerBitmap.Detach();
    feedData.store(nullptr, std::memory_order_release);
    (void)feedControl.Detach();
}

} // namespace vistrame
