#pragma once

#include <atomic>
#include <optional>
#include <vector>

#include "filters/base/input_pin.h"
#include "filters/base/reference_clock.h"
#include "filters/demux/live_timing.h"
#include "filters/demux/program_clock.h"
#include "filters/demux/stream_pin.h"
#include "transport/stream_demultiplexer.h"

namespace vistrame {

// What both demultiplexers are: an input pin that takes transport stream, the parsing core behind it, and
// output pins to which PIDs are routed. A front on top of it decides which pins there are and what is routed
// where.
//
// Data flow  input pin (thread of whoever delivers, stream lock) -> StreamDemultiplexer -> OnUnit -> the
//            queue of every pin the PID is routed to -> that pin's worker -> downstream. Nothing here waits
//            for downstream.
// Threads    routing from any thread in any state: it takes the stream lock, which is never held for long.
// States     stopped: data is refused. Paused: data is parsed, so that the clock and the tables are known,
//            but nothing is delivered; a live filter has nothing to hold for a graph that is not running.
class DemuxFilter : public WithReferenceClock<BaseFilter>, private StreamHandler {
public:
    LiveTiming& Timing() { return timing_; }
    // Stream time; nothing unless running. Without a graph clock it is the system's time since Run.
    std::optional<REFERENCE_TIME> Now() const;

protected:
    DemuxFilter(const CLSID& classId, const wchar_t* inputName);
    ~DemuxFilter() override { (void)Stop(); }

    struct Route {
        Pid pid;
        StreamPin* pin;
        StreamKind kind;
    };

    // A PID goes to the pin from now on; again with another kind: that kind.
    void AddRoute(const Route& route);
    // False: it was not routed there.
    bool RemoveRoute(Pid pid, const StreamPin& pin);
    void RemoveRoutes(const StreamPin& pin);
    std::vector<Route> Routes() const;

    // The core, for what only one front needs. Stream lock.
    StreamDemultiplexer& Core() { return core_; }
    // A unit has gone to the pin's queue. Stream lock.
    virtual void UnitArrived(const StreamPin& /*pin*/) {}

    ClockEngine& Engine() override { return clock_; }
    HRESULT Starting() override;
    void Running(REFERENCE_TIME start) override;
    void Pausing() override;
    void Stopped() override;
    bool CanCueWhilePaused() const override { return false; }

private:
    class TsInputPin;

    void OnUnit(const StreamUnit& unit) override;
    void OnClock(const ClockReference& clock) override;
    void OnProgrammes() override;
    void TraceCounters() const;
    template <class Call>
    void ForEachStreamPin(Call call) const;
    // Selects the PID in the core as the routes want it, and tells the timing what to wait for. Stream lock.
    void ApplyRoutes(Pid pid);

    ProgramClock clock_;
    LiveTiming timing_;
    StreamDemultiplexer core_;
    std::vector<Route> routes_;                // stream lock
    std::atomic<REFERENCE_TIME> runStart_ = 0; // system's time of the last Run
};

} // namespace vistrame
