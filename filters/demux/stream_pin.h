#pragma once

#include <atomic>
#include <vector>

#include "filters/base/lock.h"
#include "filters/base/output_pin.h"
#include "filters/base/reference_time.h"
#include "filters/base/worker_thread.h"
#include "filters/demux/unit_queue.h"
#include "transport/stream_handler.h"

namespace vistrame {

class DemuxFilter;

// One elementary stream on its way out of a demultiplexer.
//
// Data flow  Push (stream lock, parsing thread) moves a unit into the queue; the worker lays its time stamp
//            on stream time and delivers it as one sample, as several where the peer's buffers are smaller:
//            the time stands on the first. A downstream that blocks holds up this pin's worker and nothing
//            else.
// Time       the filter's LiveTiming. The first picture is due at once, so that it is seen as soon as it is
//            decoded and stands until the next is due. Pictures more than kLatePicture late are skipped when
//            decoding can begin at a later one; sound more than kLateSound late is dropped.
// States     units before the first one where decoding can begin are not delivered, for two seconds at most.
//            While paused nothing is; on running again decoding begins at the newest such unit.
// Threads    one worker from Activate to Deactivate; it takes no lock of the filter.
// Errors     a sample that is refused, or that there is no memory for, is lost and the next carries the
//            discontinuity flag; delivery goes on.
class StreamPin : public OutputPin {
public:
    static constexpr REFERENCE_TIME kLatePicture = ReferenceFromMilliseconds(300);
    static constexpr REFERENCE_TIME kLateSound = ReferenceFromMilliseconds(200);
    // A stamp further ahead is damaged; the unit goes without. A coder's buffer of two seconds, 16 reordered
    // pictures at 25 a second and the latency are the most that one comes ahead.
    static constexpr REFERENCE_TIME kFarAhead = ReferenceFromMilliseconds(2850);

    StreamPin(DemuxFilter& owner, std::wstring name);
    ~StreamPin() override = default; // inactive by then: the filter has stopped itself

    // What the pin offers, best first; it takes these and others of the same coding.
    void OfferTypes(std::vector<MediaType> types);
    // What the stream holds, as far as the media type tells.
    Coding Carries() const { return coding_; }

    // Stream lock held. Takes the unit's memory where it has one, else copies it. A unit that there is no
    // memory for is dropped.
    void Push(const StreamUnit& unit);
    void PushEndOfStream();
    // What follows is another stream.
    void Restart();
    // Stopped: hands the decoder, if it is one of ours, what the kept stream last held of this PID's picture.
    void ShowKept(Pid pid) const;

    void SetRunning(bool running);
    void StartFlush();
    void FinishFlush();

    // No unit where decoding can begin has come since the pin started.
    bool AwaitsRandomAccess() const { return queue_.AwaitsRandomAccess(); }
    HRESULT Activate() override;
    void Deactivate() override;
    HRESULT CheckMediaType(const MediaType& type) override;
    std::vector<MediaType> OfferedTypes() override;

protected:
    // No sound renderer: Wine's says yes to any audio and would play compressed data as noise, and a graph
    // builder asks what is in the graph already before it looks for a decoder.
    HRESULT CheckPeer(IPin* peer) override;
    ALLOCATOR_PROPERTIES NeededBuffers() override;
    void TypeAgreed(const MediaType& type) override;

private:
    enum class Verdict : std::uint8_t { kDeliver, kDrop };

    bool CanBeginWith(const StreamUnit& unit) const;
    void Work();
    void Handle(QueuedUnit& unit);
    HRESULT SendUnit(QueuedUnit& unit, const std::optional<REFERENCE_TIME>& time);
    // When the unit is due; no time: deliver it at once.
    Verdict Schedule(const QueuedUnit& unit, std::optional<REFERENCE_TIME>* time);

    DemuxFilter& owner_;
    UnitQueue queue_;
    WorkerThread worker_;
    Lock deliveryLock_; // held while a unit goes downstream, so that the end of a flush can wait for it
    std::atomic<Coding> coding_ = Coding::kOther;
    std::atomic<bool> showAtOnce_ = true;    // the next picture is the first of a start
    std::atomic<std::uint64_t> dropped_ = 0; // outside the queue: too late, or no memory; for the trace
    bool lost_ = false;                      // stream lock: the next unit does not continue
    bool broken_ = false;                    // worker: the next sample does not continue

    mutable Lock typesLock_; // leaf; guards types_
    std::vector<MediaType> types_;
};

} // namespace vistrame
