// Following a PCR. That the clocks wake whoever waits is seen at the renderers, in tests/live.
#include <algorithm>

#include "filters/demux/program_clock.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

constexpr REFERENCE_TIME kSecond = 1000 * kMs;

REFERENCE_TIME fakeTime = 0;
REFERENCE_TIME FakeTime() {
    return fakeTime;
}

} // namespace

// A PCR that runs off by `ppm`, read with a delivery delay of 0 to 40 ms; after two minutes it jumps.
TEST(ProgramClock, RunsAtThePcrsRateThroughJitterAndJumps) {
    for (const double ppm : {-100.0, 30.0}) {
        SCOPED_TRACE(ppm);
        fakeTime = 5 * kSecond;
        ProgramClock clock(FakeTime);
        const REFERENCE_TIME start = fakeTime;
        REFERENCE_TIME last = clock.Now(), lateStart = 0, lateTime = 0;
        for (int i = 0; i < 240 * 25; ++i) {
            const REFERENCE_TIME sent = std::int64_t{i} * 40 * kMs, before = fakeTime;
            fakeTime = std::max(before, start + sent + i * 7919 % 41 * kMs);
            clock.PcrArrived(static_cast<REFERENCE_TIME>(static_cast<double>(sent) * (1 + ppm * 1e-6)) +
                             (i < 120 * 25 ? 0 : 3600 * kSecond));
            const REFERENCE_TIME step = fakeTime - before, now = clock.Now();
            EXPECT_NEAR(now - last, step, step * 0.0011 + 10);
            last = now;
            if (i == 180 * 25) {
                lateStart = fakeTime;
                lateTime = now;
            }
        }
        const double rate = static_cast<double>(last - lateTime) / static_cast<double>(fakeTime - lateStart);
        EXPECT_NEAR((rate - 1) * 1e6, ppm, 20);
    }
}

} // namespace vistrame::test
