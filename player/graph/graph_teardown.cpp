// How a graph is taken down. The order is fixed: stopped first, emptied, then let go of, and the feed's
// interface under the lock that the pipe reader delivers under.

#include <climits>
#include <mutex>
#include <utility>

#include "player/graph/audio_volume.h"
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

// Lets the stopped graph's clock look up from its sleep now and then until it is released. Wine's clocks tell
// their thread to end by a flag and a wake-up; a thread that was on its way to sleep missed both, and whoever
// released the clock waited for it for ever. What is asked for here ends with the clock.
void KeepClockAwake(IGraphBuilder& graph) {
    constexpr REFERENCE_TIME kPeriod = 500'000; // 50 ms: how long such a release takes now
    // Counted up by clocks that may live longer than the graph, so it is never closed.
    static void* const ticks = CreateSemaphoreA(nullptr, 0, LONG_MAX, nullptr);
    Microsoft::WRL::ComPtr<IMediaFilter> filter;
    Microsoft::WRL::ComPtr<IReferenceClock> clock;
    REFERENCE_TIME now = 0;
    DWORD_PTR cookie = 0;
    if (ticks != nullptr && SUCCEEDED(graph.QueryInterface(IID_PPV_ARGS(filter.GetAddressOf()))) &&
        SUCCEEDED(filter->GetSyncSource(clock.GetAddressOf())) && clock && SUCCEEDED(clock->GetTime(&now))) {
        (void)clock->AdvisePeriodic(now + kPeriod, kPeriod, reinterpret_cast<HSEMAPHORE>(ticks), &cookie);
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
        KeepClockAwake(*graph.Get());
        const std::lock_guard lock(VolumeLock); // waits for a fade-in's step
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
