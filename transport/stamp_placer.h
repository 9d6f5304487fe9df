#pragma once

#include "transport/pcr_clock.h"
#include "transport/pes_assembler.h"
#include "transport/stream_handler.h"

namespace vistrame {

// Lays the time stamps of PES packets on the clock's timeline, and tells where it cannot yet.
//
// When a stream jumps, PES packets of the new time base may arrive before the first PCR of it. Their stamps
// lie oddly to the clock (their lead is another than that of the packet before on the same PID); such a
// placement stays unsettled until the next PCR decides.
//
// Units      stamps 90 kHz, clock and leads 27 MHz, packets of the whole stream.
// Threads    none of its own, not thread-safe.
class StampPlacer {
public:
    // Of one PID: how far its last stamp lay ahead of the clock.
    struct History {
        std::int64_t lead = 0;
        std::uint32_t segment = 0;
        bool known = false;
        std::optional<std::uint64_t> unsettledAt; // PCRs seen when a placement stayed open
    };

    struct Placement {
        std::optional<TimeStamp> pts;
        std::optional<TimeStamp> dts;
        std::uint32_t segment = 0;
        std::uint64_t readings = 0; // PCRs seen when it was made
        bool settled = true;
    };

    PcrClock& Clock() { return clock_; }
    PcrClock::Reading OnPcr(std::uint64_t pcr, std::uint64_t packet);
    void Reset();

    // `pcrExpected`: there is a PID whose PCRs are waited for.
    Placement Place(History& history, const PesHeader& header, std::uint64_t packet, bool pcrExpected);
    // Settles it by what is known now, when a PCR has come since.
    void Revise(Placement& placement) const;
    // Settles it in any case, in a time base of its own when there is none.
    void Force(Placement& placement, std::uint64_t packet);

private:
    void Settle(Placement& placement) const;

    PcrClock clock_;
    std::uint64_t readings_ = 0;
};

} // namespace vistrame
