#include "transport/stamp_placer.h"

#include <cstdlib>

namespace vistrame {

PcrClock::Reading StampPlacer::OnPcr(std::uint64_t pcr, std::uint64_t packet) {
    ++readings_;
    return clock_.OnPcr(pcr, packet);
}

void StampPlacer::Reset() {
    clock_.Reset();
    readings_ = 0;
}

StampPlacer::Placement StampPlacer::Place(History& history, const PesHeader& header, std::uint64_t packet,
                                          bool pcrExpected) {
    Placement placement;
    placement.segment = clock_.Segment();
    placement.readings = readings_;
    if (!header.dts) {
        return placement;
    }
    placement.pts = TimeStamp{.raw = *header.pts};
    placement.dts = TimeStamp{.raw = *header.dts};
    // Behind one that waits for a PCR all wait for it.
    const bool waiting = clock_.Running() && history.unsettledAt == readings_;
    if (pcrExpected && (waiting || (!clock_.Known() && clock_.EverRan()))) {
        placement.settled = false;
        return placement;
    }
    clock_.OnStamp(*header.dts, packet);
    const std::int64_t lead = clock_.TimelineTicks(*header.dts) * kPcrPerTick - clock_.ExpectedAt(packet);
    const bool sameClock = history.known && history.segment == clock_.Segment();
    const bool steady =
        sameClock ? std::abs(lead - history.lead) <= PcrClock::kJump : PcrClock::LeadFits(lead);
    history = {.lead = lead, .segment = clock_.Segment(), .known = true, .unsettledAt = std::nullopt};
    if (clock_.Running() && !steady && pcrExpected) {
        history.unsettledAt = readings_;
        placement.settled = false;
    } else {
        Settle(placement);
    }
    return placement;
}

void StampPlacer::Revise(Placement& placement) const {
    if (!placement.settled && placement.readings != readings_ && clock_.Known()) {
        Settle(placement);
    }
}

void StampPlacer::Force(Placement& placement, std::uint64_t packet) {
    if (placement.settled) {
        return;
    }
    if (!clock_.Known() && placement.dts) {
        clock_.OnStamp(placement.dts->raw, packet);
    }
    Settle(placement);
}

void StampPlacer::Settle(Placement& placement) const {
    placement.segment = clock_.Segment();
    placement.settled = true;
    if (placement.dts && clock_.Known()) {
        // The PTS by its DTS: half a wrap from the clock each by itself could go another way round.
        placement.dts->timeline = clock_.TimelineTicks(placement.dts->raw);
        placement.pts->timeline =
            placement.dts->timeline + TickDifference(placement.pts->raw, placement.dts->raw);
    }
}

} // namespace vistrame
