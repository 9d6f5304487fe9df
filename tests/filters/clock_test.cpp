// Clocks: waking in time, and following a PCR.
#include <algorithm>

#include "filters/demux/program_clock.h"
#include "filters/feed/feed_filter.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

constexpr REFERENCE_TIME kMs = 10'000;
constexpr REFERENCE_TIME kSecond = 1000 * kMs;

REFERENCE_TIME fakeTime = 0;
REFERENCE_TIME FakeTime() {
    return fakeTime;
}

} // namespace

TEST(ReferenceClock, WakesAtTheMomentAndPeriodically) {
    const CoInitialized com;
    const auto feed = MakeObject<FeedFilter>();
    IReferenceClock* clock = feed.Get();
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE semaphore = CreateSemaphoreW(nullptr, 0, 100, nullptr);
    REFERENCE_TIME now = 0, woken = 0;
    DWORD_PTR cookie = 0;

    ASSERT_EQ(clock->GetTime(&now), S_OK);
    ASSERT_EQ(clock->AdviseTime(now, 80 * kMs, reinterpret_cast<HEVENT>(event), &cookie), S_OK);
    ASSERT_EQ(WaitForSingleObject(event, kPatience), WAIT_OBJECT_0);
    ASSERT_EQ(clock->GetTime(&woken), S_OK);
    EXPECT_GE(woken, now + 80 * kMs);
    EXPECT_EQ(clock->Unadvise(cookie), S_FALSE) << "a single moment is over once it is signalled";

    ASSERT_EQ(clock->AdviseTime(now, -1000 * kMs, reinterpret_cast<HEVENT>(event), &cookie), S_OK);
    EXPECT_EQ(WaitForSingleObject(event, kPatience), WAIT_OBJECT_0)
        << "a moment gone by is signalled at once";

    ASSERT_EQ(clock->AdviseTime(now, 3600 * kSecond, reinterpret_cast<HEVENT>(event), &cookie), S_OK);
    EXPECT_EQ(clock->Unadvise(cookie), S_OK);

    ASSERT_EQ(clock->GetTime(&now), S_OK);
    ASSERT_EQ(
        clock->AdvisePeriodic(now + 20 * kMs, 10 * kMs, reinterpret_cast<HSEMAPHORE>(semaphore), &cookie),
        S_OK);
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(WaitForSingleObject(semaphore, kPatience), WAIT_OBJECT_0);
    }
    ASSERT_EQ(clock->GetTime(&woken), S_OK);
    EXPECT_EQ(clock->Unadvise(cookie), S_OK);
    EXPECT_EQ(clock->AdvisePeriodic(now, 0, reinterpret_cast<HSEMAPHORE>(semaphore), &cookie), E_INVALIDARG);
    CloseHandle(event);
    CloseHandle(semaphore);
}

// A PCR that runs off by `ppm`, read with a delivery delay of 0 to 40 ms, over 3 minutes.
TEST(ProgramClock, RunsAtThePcrsRateThroughJitterAndNeverBack) {
    for (const double ppm : {-100.0, -30.0, 0.0, 30.0, 100.0}) {
        SCOPED_TRACE(ppm);
        fakeTime = 5 * kSecond;
        ProgramClock clock(FakeTime);
        REFERENCE_TIME last = clock.Now();
        const REFERENCE_TIME start = fakeTime;
        REFERENCE_TIME lateStart = 0, lateTime = 0;
        for (int i = 0; i < 180 * 25; ++i) {
            const REFERENCE_TIME sent = start + std::int64_t{i} * 40 * kMs;
            fakeTime = sent + (i * 7919 % 41) * kMs;
            clock.PcrArrived(
                static_cast<REFERENCE_TIME>(static_cast<double>(sent - start) * (1 + ppm * 1e-6)));
            const REFERENCE_TIME now = clock.Now();
            EXPECT_GE(now, last);
            last = now;
            if (i == 120 * 25) {
                lateStart = fakeTime;
                lateTime = now;
            }
        }
        const double rate = static_cast<double>(last - lateTime) / static_cast<double>(fakeTime - lateStart);
        EXPECT_NEAR((rate - 1) * 1e6, ppm, 20);
    }
}

TEST(ProgramClock, StallsAndJumpsLeaveItRunning) {
    fakeTime = 0;
    ProgramClock clock(FakeTime);
    REFERENCE_TIME pcr = 0;
    const auto run = [&](int count, REFERENCE_TIME step) {
        for (int i = 0; i < count; ++i) {
            const REFERENCE_TIME before = clock.Now();
            fakeTime += step;
            pcr += 40 * kMs;
            clock.PcrArrived(pcr);
            EXPECT_NEAR(static_cast<double>(clock.Now() - before), static_cast<double>(step),
                        step * 0.0011 + 10);
        }
    };
    run(100, 40 * kMs);
    fakeTime += 3 * kSecond; // nothing comes for 3 s
    run(75, kMs / 10);       // then the backlog at once
    run(100, 40 * kMs);
    pcr += 3600 * kSecond;
    run(100, 40 * kMs);
    pcr -= 7200 * kSecond;
    run(100, 40 * kMs);
    EXPECT_NEAR(clock.Rate(), 1, ProgramClock::kMaxRate + 1e-9);
}

} // namespace vistrame::test
