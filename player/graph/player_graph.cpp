#include "player/graph/player_graph.h"

#include "player/app/never_destroyed.h"

namespace vistrame {
namespace {

NeverDestroyed<PlayerGraph> TheGraph;
NeverDestroyed<Microsoft::WRL::ComPtr<IQualProp>> Quality;

} // namespace

std::uint16_t PendingPids2 = kNullPid;

PlayerGraph::PlayerGraph() : FeedLock(CreateMutexA(nullptr, FALSE, nullptr)) {}

PlayerGraph& ThePlayerGraph() {
    return *TheGraph;
}

Microsoft::WRL::ComPtr<IQualProp>& RendererQuality() {
    return *Quality;
}

} // namespace vistrame
