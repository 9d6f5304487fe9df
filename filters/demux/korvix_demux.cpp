#include "filters/demux/korvix_demux.h"

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "filters/base/guarded.h"
#include "filters/demux/pin_types.h"

namespace vistrame {

namespace {

constexpr std::chrono::milliseconds kStatusInterval{500}; // fast enough to watch, slow enough to read

Pid PidOf(ULONG value) {
    return static_cast<Pid>(value & kNullPid);
}

} // namespace

KorvixDemuxFilter::KorvixDemuxFilter()
    : WithInterfaces(CLSID_KorvixDemux, L"TS In"),
      video_{.pin = &AddPin(std::make_unique<StreamPin>(*this, L"Video Out"))},
      audio_{.pin = &AddPin(std::make_unique<StreamPin>(*this, L"Audio Out"))} {
    video_.pin->OfferTypes(VideoPinTypes(0));
    audio_.pin->OfferTypes(AudioPinTypes(0));
}

KorvixDemuxFilter::~KorvixDemuxFilter() {
    StopStatusThread();
    (void)Stop(); // while the counters are still there
}

HRESULT KorvixDemuxFilter::SetAudioType(ULONG audioType) {
    return Guarded([&] {
        Trace(*audio_.pin, ": AudioType ", audioType);
        audio_.pin->OfferTypes(AudioPinTypes(audioType));
        return S_OK;
    });
}

HRESULT KorvixDemuxFilter::SetVideoType(ULONG videoType) {
    return Guarded([&] {
        Trace(*video_.pin, ": VideoType ", videoType);
        video_.pin->OfferTypes(VideoPinTypes(videoType));
        return S_OK;
    });
}

void KorvixDemuxFilter::Select(Output& output, Pid pid) {
    if (output.pid == pid) {
        return; // goes on as it is; a pair is set again whenever one of the two changes
    }
    (void)RemoveRoute(std::exchange(output.pid, kNullPid), *output.pin); // there is none the first time
    output.stall.Select(pid != kNullPid, SystemTime());
    if (pid != kNullPid) {
        AddRoute({pid, output.pin, StreamKind::kElementary});
        output.pid = pid; // not before: without memory for the route the same call may come again
    }
}

HRESULT KorvixDemuxFilter::SetPids(ULONG videoPid, ULONG audioPid, ULONG clockPid) {
    return Guarded([&] {
        const std::lock_guard streaming(StreamLock());
        Select(video_, PidOf(videoPid));
        Select(audio_, PidOf(audioPid));
        const Pid clock = PidOf(clockPid);
        const bool separate = clock != kNullPid && clock != video_.pid && clock != audio_.pid;
        Core().SetClockPid(separate ? std::optional(clock) : std::nullopt);
        return S_OK;
    });
}

HRESULT KorvixDemuxFilter::GetStallCount(ULONG stream, ULONG* count) {
    if (count == nullptr) {
        return E_POINTER;
    }
    *count = StallCounter::kNone;
    if (stream > 1) {
        return E_INVALIDARG;
    }
    return Guarded([&] {
        *count = (stream == 0 ? video_ : audio_).stall.Count(SystemTime());
        return S_OK;
    });
}

void KorvixDemuxFilter::UnitArrived(const StreamPin& pin) {
    (&pin == video_.pin ? video_ : audio_).stall.Delivered(SystemTime());
}

void KorvixDemuxFilter::Running(REFERENCE_TIME start) {
    DemuxFilter::Running(start);
    video_.stall.Run(SystemTime());
    audio_.stall.Run(SystemTime());
}

void KorvixDemuxFilter::Pausing() {
    DemuxFilter::Pausing();
    video_.stall.Halt(SystemTime());
    audio_.stall.Halt(SystemTime());
}

void KorvixDemuxFilter::Stopped() {
    DemuxFilter::Stopped();
    video_.stall.Halt(SystemTime());
    audio_.stall.Halt(SystemTime());
}

void KorvixDemuxFilter::StopStatusThread() {
    {
        const std::lock_guard lock(statusLock_);
        stopStatus_ = true;
        statusChanged_.notify_all();
    }
    statusThread_.Join();
    stopStatus_ = false;
}

HRESULT KorvixDemuxFilter::AttachOsd(OsdSourceControl* osd) {
    return Guarded([&] {
        const std::lock_guard attaching(attachLock_);
        StopStatusThread();
        Trace(*this, osd != nullptr ? ": display attached" : ": no display");
        if (osd != nullptr) {
            statusThread_.Start([this, keep = ComPtr<OsdSourceControl>(osd)] { ShowStatus(keep); });
        }
        return S_OK;
    });
}

DemuxStatus::Stream KorvixDemuxFilter::StatusOf(Output& output) {
    return {.pid = output.pid,
            .counters = Core().Counters(output.pid),
            .stall = output.stall.Count(SystemTime()),
            .awaitsRandomAccess = output.pin->AwaitsRandomAccess()};
}

DemuxStatus KorvixDemuxFilter::Status() {
    const std::lock_guard streaming(StreamLock());
    return {.time = SystemTime(),
            .running = State() == State_Running,
            .packets = Core().Packets(),
            .clockPid = Core().ClockPid(),
            .delay = Timing().Delay(),
            .video = StatusOf(video_),
            .audio = StatusOf(audio_)};
}

void KorvixDemuxFilter::ShowStatus(const ComPtr<OsdSourceControl>& osd) {
    DemuxStatus before = Status();
    std::unique_lock lock(statusLock_);
    while (!statusChanged_.wait_for(lock, kStatusInterval, [this] { return stopStatus_; })) {
        lock.unlock();
        // A display that fails is not our trouble, and half a second later there may be memory.
        (void)Guarded([&] {
            const DemuxStatus now = Status();
            const std::string text = StatusText(now, std::exchange(before, now));
            return osd->SetText(text.c_str());
        });
        lock.lock();
    }
}

} // namespace vistrame
