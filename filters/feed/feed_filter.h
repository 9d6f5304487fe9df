#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

#include "filters/base/base_filter.h"
#include "filters/base/lock.h"
#include "filters/base/output_pin.h"
#include "filters/base/reference_clock.h"
#include "filters/base/work_queue.h"
#include "contract/maker_interfaces.h"

namespace vistrame {

// The live source: bytes of a transport stream that a caller pushes in come out of the pin "TS Out".
//
// Data flow  DeliverData copies into a bounded queue and returns; a worker sends what it copied downstream,
//            as one sample, or cut to the peer's buffers. Samples carry no times. A sample that does not
//            continue the one before (data dropped here, or SendDiscontinuity) carries the discontinuity
//            flag.
// Threads    DeliverData and SendDiscontinuity from any thread at any time, and they never wait for anything
//            downstream. The worker runs from Pause to Stop.
// Ownership  data is copied before DeliverData returns.
// Start      data that arrives before the first Pause or Run is kept, the last kEarly of it: a graph takes a
//            while to be built, and the random-access picture that a viewer waits for may pass meanwhile.
// Errors     data that arrives while stopped afterwards is dropped; data that finds the queue full, or no
//            memory, is dropped and counted. Neither is an error for the caller. When downstream refuses, the
//            worker goes on with the next sample: live data is not worth an end.
class FeedFilter final
    : public WithReferenceClock<WithInterfaces<BaseFilter, FeedData, FeedControl, IAMFilterMiscFlags>> {
public:
    // 3 s of a 40 Mbit/s stream: a longer stall downstream has lost the live edge anyway.
    static constexpr std::size_t kQueueBytes = std::size_t{15} << 20;
    static constexpr std::size_t kQueueItems = 16384; // bounds the overhead of many small deliveries
    // A graph's building under load; an older random-access picture is not worth showing.
    static constexpr std::chrono::milliseconds kEarly{1000};

    FeedFilter();

    // FeedData
    HRESULT STDMETHODCALLTYPE Reserved() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeliverData(const BYTE* data, ULONG length) override;
    HRESULT STDMETHODCALLTYPE SendDiscontinuity() override;
    HRESULT STDMETHODCALLTYPE SetPids2(ULONG value) override;
    // FeedControl
    HRESULT STDMETHODCALLTYPE SetMode(ULONG mode, ULONG option) override;
    // IAMFilterMiscFlags
    ULONG STDMETHODCALLTYPE GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_SOURCE; }

    // Bytes dropped because the queue was full, since the filter was made.
    std::uint64_t DroppedBytes() const { return droppedBytes_; }

protected:
    ClockEngine& Engine() override { return clock_; }
    bool CanCueWhilePaused() const override { return false; }

private:
    class TsOutPin;

    struct Block {
        std::shared_ptr<const std::vector<BYTE>> bytes;
        bool discontinuity = false; // does not continue the block before
    };
    struct EarlyBlock {
        Block block;
        std::chrono::steady_clock::time_point arrival;
    };

    ~FeedFilter() override { (void)Stop(); }
    void Start();
    HRESULT Keep(std::span<const BYTE> data);
    void KeepEarly(Block block);
    void Send(const Block& block);

    SystemClockEngine clock_;
    WorkQueue<Block> queue_; // runs while the connected pin is active
    // Keeps data and marks in the order of the calls; guards what follows up to missing_.
    Lock pushLock_;
    std::deque<EarlyBlock> early_; // until started_
    std::size_t earlyBytes_ = 0;
    bool started_ = false;  // has been active once
    bool unkept_ = true;    // nothing of ours is in the kept stream yet
    bool dropping_ = false; // the last data found no room
    bool missing_ = true;   // the next block does not continue what went before
    bool failed_ = false;   // worker only: a sample was refused, the next does not continue
    std::atomic<std::uint64_t> droppedBytes_ = 0;
    TsOutPin& pin_;
};

} // namespace vistrame
