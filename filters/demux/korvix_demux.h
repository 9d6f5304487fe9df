#pragma once

#include <array>

#include "filters/base/lock.h"
#include "filters/base/worker_thread.h"
#include "filters/demux/demux_filter.h"
#include "filters/demux/stall_counter.h"
#include "filters/demux/status_text.h"
#include "contract/maker_interfaces.h"

namespace vistrame {

// The maker's demultiplexer: pins "TS In", "Video Out" and "Audio Out", driven by numbers instead of media
// types and PID maps, with stall counts for a watchdog and its state as text for an on-screen display.
//
// Threads    KorvixDemux from any thread in any state. One thread while a display is attached: it reads the
//            state under the stream lock and calls SetText with no lock held.
// Ownership  references the attached display; the pins and their types are fixed.
// Errors     E_INVALIDARG for a stream index above 1.
class KorvixDemuxFilter final : public WithInterfaces<DemuxFilter, KorvixDemux> {
public:
    KorvixDemuxFilter();

    // KorvixDemux
    HRESULT STDMETHODCALLTYPE SetAudioType(ULONG audioType) override;
    HRESULT STDMETHODCALLTYPE SetVideoType(ULONG videoType) override;
    // `clockPid` is only taken at its word when it is neither of the other two: the programme's own table
    // knows better which PID carries the PCR than a caller who repeats the video PID.
    HRESULT STDMETHODCALLTYPE SetPids(ULONG videoPid, ULONG audioPid, ULONG clockPid) override;
    HRESULT STDMETHODCALLTYPE AttachOsd(OsdSourceControl* osd) override;
    HRESULT STDMETHODCALLTYPE GetStallCount(ULONG stream, ULONG* count) override;

protected:
    void UnitArrived(const StreamPin& pin) override;
    void Running(REFERENCE_TIME start) override;
    void Pausing() override;
    void Stopped() override;

private:
    struct Output {
        StreamPin* pin;
        Pid pid = kNullPid; // stream lock
        StallCounter stall = {};
    };

    ~KorvixDemuxFilter() override;
    void Select(Output& output, Pid pid);
    DemuxStatus Status();
    DemuxStatus::Stream StatusOf(Output& output);
    void StopStatusThread();
    void ShowStatus(const ComPtr<OsdSourceControl>& osd);

    Output video_;
    Output audio_;

    Lock attachLock_; // one AttachOsd at a time; guards statusThread_
    WorkerThread statusThread_;
    Lock statusLock_; // leaf; guards stopStatus_
    Condition statusChanged_;
    bool stopStatus_ = false;
};

} // namespace vistrame
