// The timing of a programme on any arrivals, at any times: what a damaged stream, a jumping clock and a
// delivery that stalls and catches up make of them. Operations of eight bytes: what, how much later, a time.
#include <algorithm>
#include <cstdlib>

#include "filters/demux/live_timing.h"
#include "filters/demux/stall_counter.h"
#include "tests/fuzz/require.h"

namespace {

using namespace vistrame;

constexpr std::size_t kOperation = 8;
constexpr std::int64_t kFurthest = std::int64_t{1} << 48; // of a time from now: years

class Operations {
public:
    void CarryOut(const std::uint8_t* bytes) {
        const auto big = [bytes](int from, int count) {
            std::int64_t value = 0;
            for (int i = from; i < from + count; ++i) {
                value = value << 8 | bytes[i];
            }
            return value;
        };
        now_ +=
            ReferenceFromMilliseconds(big(1, 2) >> (bytes[0] >> 4 & 7)); // short steps as often as long ones
        const std::int64_t offset = (big(3, 5) - (std::int64_t{1} << 39)) >> (bytes[3] & 31U);
        const std::int64_t time = now_ + std::clamp(offset * 512, -kFurthest, kFurthest);
        const unsigned stream = bytes[0] >> 3 & 1U;
        switch (bytes[0] & 7) {
            case 0:
                timing_.Start(), stall_.Run(now_), running_ = true, arrived_ = false;
                break;
            case 1:
                timing_.Stop(), stall_.Halt(now_), running_ = false;
                break;
            case 2:
                timing_.Expect(stream, (bytes[3] & 1) != 0), stall_.Select(stream != 0, now_);
                break;
            case 3:
                timing_.ClockArrived(time, now_, (bytes[0] & 8) != 0);
                break;
            case 4:
                Await();
                break;
            default:
                timing_.Arrive(stream, time, now_), stall_.Delivered(now_), Arrived();
                break;
        }
        Require(stall_.Count(now_) == StallCounter::kNone || running_);
        Require(std::llabs(timing_.Delay().value_or(0)) <= 4 * (kFurthest + now_));
    }

private:
    void Arrived() {
        arrived_ = running_;
        lastArrival_ = now_;
    }
    // Arrivals are watched no longer than the limit: then whoever waits gets an offset at the first look.
    void Await() {
        if (!running_ || !arrived_) {
            return;
        }
        now_ = std::max(now_, lastArrival_ + LiveTiming::kSettleLimit);
        int looks = 0;
        const auto offset = timing_.AwaitOffset([&] {
            Require(++looks == 1);
            return std::optional(now_);
        });
        Require(offset && std::llabs(*offset) <= 4 * (kFurthest + now_));
    }

    LiveTiming timing_;
    StallCounter stall_;
    std::int64_t now_ = 0;
    std::int64_t lastArrival_ = 0;
    bool running_ = false;
    bool arrived_ = false; // since it began to run
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Operations operations;
    for (; size >= kOperation; data += kOperation, size -= kOperation) {
        operations.CarryOut(data);
    }
    return 0;
}
