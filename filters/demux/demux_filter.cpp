#include "filters/demux/demux_filter.h"

#include <algorithm>
#include <memory>

#include "filters/base/guarded.h"
#include "filters/base/place_reader.h"
#include "filters/base/reference_time.h"

namespace vistrame {

namespace {

// What is not known to be video counts as sound: something must be timed by it when there is nothing else.
unsigned TimingStream(const StreamPin& pin) {
    return IsVideo(pin.Carries()) ? LiveTiming::kVideo : LiveTiming::kAudio;
}

} // namespace

template <class Call>
void DemuxFilter::ForEachStreamPin(Call call) const {
    for (std::size_t i = 0; BasePin* pin = PinAt(i); ++i) {
        if (auto* stream = dynamic_cast<StreamPin*>(pin); stream != nullptr) {
            call(*stream);
        }
    }
}

class DemuxFilter::TsInputPin final : public WithInterfaces<InputPin, PlaceReader> {
public:
    TsInputPin(DemuxFilter& owner, const wchar_t* name) : WithInterfaces(owner, name), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& type) override {
        const bool transport = type->subtype == MEDIASUBTYPE_MPEG2_TRANSPORT || type->subtype == GUID_NULL;
        return type->majortype == MEDIATYPE_Stream && transport ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    std::vector<MediaType> OfferedTypes() override {
        return {MediaType(MEDIATYPE_Stream, MEDIASUBTYPE_MPEG2_TRANSPORT)};
    }
    HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override { return S_FALSE; }

protected:
    HRESULT OnReceive(IMediaSample* sample) override {
        BYTE* data = nullptr;
        if (const HRESULT result = sample->GetPointer(&data); FAILED(result)) {
            return result;
        }
        if (sample->IsDiscontinuity() == S_OK) {
            owner_.core_.AnnounceDiscontinuity();
        }
        owner_.core_.Feed({data, static_cast<std::size_t>(sample->GetActualDataLength())});
        return S_OK;
    }
    HRESULT OnEndOfStream() override {
        owner_.core_.Flush();
        owner_.ForEachStreamPin([](StreamPin& pin) { pin.PushEndOfStream(); });
        return S_OK;
    }
    HRESULT OnBeginFlush() override {
        owner_.ForEachStreamPin([](StreamPin& pin) { pin.StartFlush(); });
        return S_OK;
    }
    HRESULT OnEndFlush() override {
        const HRESULT announced = Guarded([&] {
            owner_.core_.AnnounceDiscontinuity();
            return S_OK;
        });
        owner_.ForEachStreamPin([](StreamPin& pin) { pin.FinishFlush(); });
        if (owner_.State() == State_Running) {
            owner_.timing_.Start();
        }
        return announced;
    }

private:
    DemuxFilter& owner_;
};

DemuxFilter::DemuxFilter(const CLSID& classId, const wchar_t* inputName)
    : WithReferenceClock(classId), core_(*this) {
    AddPin(std::make_unique<TsInputPin>(*this, inputName));
}

std::optional<REFERENCE_TIME> DemuxFilter::Now() const {
    if (REFERENCE_TIME now = 0; StreamTime(&now)) {
        return now;
    }
    if (State() != State_Running) {
        return std::nullopt;
    }
    return SystemTime() - runStart_;
}

void DemuxFilter::ApplyRoutes(Pid pid) {
    const auto found = std::ranges::find(routes_, pid, &Route::pid);
    if (found == routes_.end()) {
        core_.RemoveStream(pid);
    } else if (pid != kNullPid) {
        core_.AddStream(pid, found->kind);
    }
    const auto routed = [&](unsigned stream) {
        return std::ranges::any_of(routes_, [&](const Route& route) {
            return route.pid != kNullPid && TimingStream(*route.pin) == stream;
        });
    };
    timing_.Expect(LiveTiming::kVideo, routed(LiveTiming::kVideo));
    timing_.Expect(LiveTiming::kAudio, routed(LiveTiming::kAudio));
}

void DemuxFilter::AddRoute(const Route& route) {
    const std::lock_guard streaming(StreamLock());
    const bool first = std::ranges::find(routes_, route.pin, &Route::pin) == routes_.end();
    std::erase_if(routes_, [&](const Route& old) { return old.pid == route.pid && old.pin == route.pin; });
    routes_.push_back(route);
    Trace(*route.pin, ": PID ", Hex{route.pid}, " selected");
    if (first) {
        route.pin->Restart();
    }
    ApplyRoutes(route.pid);
    if (State() == State_Stopped && route.kind == StreamKind::kElementary) {
        route.pin->ShowKept(route.pid);
    }
}

bool DemuxFilter::RemoveRoute(Pid pid, const StreamPin& pin) {
    const std::lock_guard streaming(StreamLock());
    const auto removed =
        std::erase_if(routes_, [&](const Route& route) { return route.pid == pid && route.pin == &pin; });
    if (removed != 0) {
        Trace(pin, ": PID ", Hex{pid}, " no longer selected");
        ApplyRoutes(pid);
    }
    return removed != 0;
}

void DemuxFilter::RemoveRoutes(const StreamPin& pin) {
    const std::lock_guard streaming(StreamLock());
    for (const Route& route : Routes()) {
        if (route.pin == &pin) {
            (void)RemoveRoute(route.pid, pin); // it is there
        }
    }
}

std::vector<DemuxFilter::Route> DemuxFilter::Routes() const {
    const std::lock_guard streaming(StreamLock());
    return routes_;
}

HRESULT DemuxFilter::Starting() {
    const std::lock_guard streaming(StreamLock());
    core_.AnnounceDiscontinuity(); // nothing came in while stopped
    clock_.Restart();
    return S_OK;
}

void DemuxFilter::Running(REFERENCE_TIME /*start*/) {
    runStart_ = SystemTime();
    timing_.Start();
    ForEachStreamPin([](StreamPin& pin) { pin.SetRunning(true); });
}

void DemuxFilter::Pausing() {
    timing_.Stop();
    ForEachStreamPin([](StreamPin& pin) { pin.SetRunning(false); });
}

void DemuxFilter::Stopped() {
    timing_.Stop();
    if (kTraceOn) {
        TraceCounters();
    }
}

void DemuxFilter::TraceCounters() const {
    const std::lock_guard streaming(StreamLock());
    Trace(*this, ": ", core_.Packets(), " packets, ", core_.DroppedBytes(), " bytes outside of them");
    for (const Route& route : routes_) {
        const StreamCounters counters = core_.Counters(route.pid);
        Trace(*route.pin, ": PID ", Hex{route.pid}, ": ", counters.packets, " packets, ", counters.units,
              " units, ", counters.randomAccessPoints,
              " random-access points; errors: ", counters.continuityErrors, " continuity, ",
              counters.transportErrors, " transport, ", counters.scrambled, " scrambled");
    }
}

void DemuxFilter::OnProgrammes() {
    for (const Programme& programme : core_.Programmes().Programmes()) {
        Trace(*this, ": programme ", programme.number, ", PMT on PID ", Hex{programme.pmtPid},
              ", clock on PID ", Hex{programme.pcrPid}, ", ", programme.streams.size(), " streams");
    }
}

void DemuxFilter::OnUnit(const StreamUnit& unit) {
    if (State() == State_Stopped) {
        return; // what was under way when the filter stopped, given out by the announcement in Starting()
    }
    const std::optional<REFERENCE_TIME> now = Now();
    const auto& decodeTime = unit.dts ? unit.dts : unit.pts;
    std::ptrdiff_t left = std::ranges::count(routes_, unit.pid, &Route::pid);
    for (const Route& route : routes_) {
        if (route.pid != unit.pid) {
            continue;
        }
        if (now && decodeTime && !unit.continued) {
            timing_.Arrive(TimingStream(*route.pin), ReferenceFromTicks(decodeTime->timeline), *now);
        }
        StreamUnit own = unit;
        own.memory = --left == 0 ? unit.memory : nullptr; // the last of them may have it
        route.pin->Push(own);
        UnitArrived(*route.pin);
    }
}

void DemuxFilter::OnClock(const ClockReference& clock) {
    const std::int64_t pcr = ReferenceFromPcr(clock.timeline);
    if (clock.jump) {
        Trace(*this, ": clock on PID ", Hex{clock.pid}, " begins segment ", clock.segment, " at ",
              MillisecondsFromReference(pcr), " ms");
    }
    clock_.PcrArrived(pcr);
    if (const std::optional<REFERENCE_TIME> now = Now()) {
        timing_.ClockArrived(pcr, *now, clock.jump);
    }
}

} // namespace vistrame
