// Following a PCR. That the clocks wake whoever waits is seen at the renderers, in tests/live.
#include <algorithm>
#include <atomic>
#include <utility>

#include <windows.h>
#include <mmsystem.h>

#include "filters/demux/program_clock.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

constexpr REFERENCE_TIME kSecond = 1000 * kMs;

REFERENCE_TIME fakeTime = 0;
REFERENCE_TIME FakeTime() {
    return fakeTime;
}

std::atomic<int> begun = 0, ended = 0; // periods of the system's timer

MMRESULT WINAPI BeginPeriod(UINT milliseconds) {
    EXPECT_EQ(milliseconds, 1u);
    ++begun;
    return TIMERR_NOERROR;
}
MMRESULT WINAPI EndPeriod(UINT milliseconds) {
    EXPECT_EQ(milliseconds, 1u);
    ++ended;
    return TIMERR_NOERROR;
}

} // namespace

// It costs power on the whole machine.
TEST(ClockEngine, TheSystemsTimerRunsFinerOnlyWhileSomebodyWaits) {
    const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    const HANDLE semaphore = CreateSemaphoreW(nullptr, 0, 100, nullptr);
    DWORD_PTR cookie = 0;
    const TimerFunctions systems =
        std::exchange(TimerFunctions::OfSystem(), TimerFunctions{BeginPeriod, EndPeriod});
    {
        SystemClockEngine clock;
        EXPECT_EQ(clock.AdviseTime(clock.Now() + 100 * kMs, event, &cookie), S_OK);
        EXPECT_TRUE(WaitUntil([] { return begun == 1; }));
        EXPECT_EQ(ended, 0);
        EXPECT_TRUE(WaitUntil([] { return ended == 1; })) << "served";
        EXPECT_EQ(clock.AdvisePeriodic(clock.Now(), 10 * kMs, semaphore, &cookie), S_OK);
        EXPECT_EQ(WaitForSingleObject(semaphore, kPatience), WAIT_OBJECT_0);
        EXPECT_TRUE(WaitUntil([] { return begun == 2; }));
        EXPECT_EQ(clock.Unadvise(cookie), S_OK);
        EXPECT_TRUE(WaitUntil([] { return ended == 2; })) << "given up";
        EXPECT_EQ(clock.AdvisePeriodic(clock.Now(), 10 * kMs, semaphore, &cookie), S_OK);
        EXPECT_TRUE(WaitUntil([] { return begun == 3; }));
    }
    TimerFunctions::OfSystem() = systems;
    EXPECT_EQ(ended, 3) << "the clock is gone";
    CloseHandle(event);
    CloseHandle(semaphore);
}

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
