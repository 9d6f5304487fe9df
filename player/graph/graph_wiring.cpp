#include "player/graph/graph_wiring.h"

#include "player/app/error_report.h"
#include "player/app/launch_fields.h"
#include "player/graph/com.h"

namespace vistrame {

void GraphWiring::Add(const Filter& filter, const wchar_t* name) const {
    (void)player_.graph->AddFilter(filter.Get(), name); // a filter left out shows when its pins are connected
}

void GraphWiring::Connect(const Pin& from, const Pin& to, const AM_MEDIA_TYPE* type) const {
    if (from && to) {
        (void)player_.graph->ConnectDirect(from.Get(), to.Get(), type);
    }
}

void GraphWiring::LetBeClock(const Filter& filter, std::int32_t source) const {
    if (ClockSource != source) {
        return;
    }
    const auto clock = Query<IReferenceClock>(filter);
    const auto graph = Query<IMediaFilter>(player_.graph);
    if (clock && graph) {
        (void)graph->SetSyncSource(clock.Get());
    }
}

bool GraphWiring::Report(const BuildError& error) {
    return ReportError(error.code, error.text) != 0;
}

} // namespace vistrame
