// What stands between the filters' threads, pulled at by all of them at once: built natively, and under
// ThreadSanitizer, which sees what no count shows.
#include <algorithm>
#include <numeric>

#include <gtest/gtest.h>

#include "filters/base/work_queue.h"
#include "filters/demux/live_timing.h"
#include "filters/demux/stall_counter.h"
#include "filters/demux/unit_queue.h"
#include "filters/kept/last_picture.h"
#include "tests/support/together.h"
#include "tests/transport/ts_builder.h"

namespace vistrame::test {
namespace {

using namespace std::chrono_literals;

void Pause(std::chrono::microseconds time = 300us) {
    std::this_thread::sleep_for(time);
}

// Parser, pin worker, and a graph that is run, paused, flushed and stopped meanwhile.
TEST(Threads, UnitsComeInOrderAndSayWhereSomeAreMissing) {
    UnitQueue queue;
    std::int64_t pushed = 0;
    std::int64_t last = -1;
    std::atomic<int> taken = 0;
    const auto push = [&] {
        QueuedUnit unit;
        unit.memory = queue.Spare();
        unit.pts = pushed;
        unit.memory.assign(static_cast<std::size_t>(pushed % 1000 + 1), static_cast<std::uint8_t>(pushed));
        unit.randomAccess = pushed++ % 8 == 0;
        queue.Push(std::move(unit));
        Pause(30us);
    };
    const auto work = [&] {
        while (auto unit = queue.Take()) {
            EXPECT_GT(*unit->pts, last);
            EXPECT_TRUE(unit->discontinuity || *unit->pts == last + 1) << *unit->pts << " behind " << last;
            EXPECT_EQ(unit->Data().back(), static_cast<std::uint8_t>(*unit->pts));
            last = *unit->pts;
            ++taken;
            (void)queue.IsCurrent(*unit);
            queue.GiveBack(std::move(unit->memory));
            (void)(last % 50 == 0 && queue.SkipToRandomAccess(last + 20));
        }
        Pause();
    };
    const auto change = [&] {
        queue.Open();
        for (const bool held : {false, true, false}) {
            queue.Hold(held);
            Pause(1ms);
            queue.Clear(held);
        }
        queue.Close();
    };
    const auto look = [&] {
        EXPECT_LE(queue.Dropped(), 1U << 30);
        (void)queue.AwaitsRandomAccess();
        Pause();
    };
    Together({push, work, change, look}, [&] { queue.Close(); });
    EXPECT_GT(taken, 100);
}

// Two who push, as the reader and a start's early data do, and a filter that starts, flushes and stops.
TEST(Threads, AWorkQueueHandlesInOrderAndNothingOnceStopped) {
    WorkQueue<std::pair<std::size_t, int>> queue(50, 5000);
    std::array<int, 2> next{};
    std::array<int, 2> last{-1, -1}; // the handler's
    std::atomic<bool> mayRun = false;
    std::atomic<int> inside = 0;
    std::atomic<int> handled = 0;
    const auto pushAs = [&](std::size_t who) {
        return [&, who] {
            next[who] += queue.TryPush({who, next[who]}, 100) ? 1 : 0;
            Pause(20us);
        };
    };
    const auto handle = [&](const std::pair<std::size_t, int>& item) {
        EXPECT_EQ(++inside, 1);
        EXPECT_TRUE(mayRun);
        EXPECT_GT(item.second, last[item.first]);
        last[item.first] = item.second;
        ++handled;
        --inside;
    };
    const auto change = [&] {
        mayRun = true;
        queue.Start(handle, [&] { return ++inside, --inside == 0; });
        Pause(2ms);
        queue.Clear();
        queue.WaitIdle();
        queue.Stop();
        mayRun = false;
    };
    const auto look = [&] {
        EXPECT_LE(queue.Count(), 50U);
        EXPECT_LE(queue.Weight(), 5000U);
        (void)queue.Running();
        Pause();
    };
    Together({pushAs(0), pushAs(1), change, look});
    EXPECT_GT(handled, 100);
}

// One parser, both pins' workers, the graph's states and the status display.
TEST(Threads, TheTimingGivesEveryWaiterItsOffsetOrLetsItGo) {
    constexpr std::int64_t kAhead = ReferenceFromMilliseconds(500); // decode times before arrivals
    constexpr std::int64_t kStep = ReferenceFromMilliseconds(20);
    LiveTiming timing;
    StallCounter stall;
    std::atomic<std::int64_t> now = 0;
    std::atomic<bool> stopped = true;
    std::atomic<bool> arrives = false;
    std::atomic<int> given = 0;
    std::atomic<int> waiting = 0;
    const auto parse = [&] {
        const std::int64_t at = now += kStep;
        if (arrives) {
            timing.Arrive(LiveTiming::kVideo, at + kAhead, at);
            timing.Arrive(LiveTiming::kAudio, at + kAhead, at);
        }
        timing.ClockArrived(at, at, false);
        stall.Delivered(at);
        Pause(100us);
    };
    const auto wait = [&] {
        if (!stopped) {
            ++waiting;
            const auto offset =
                timing.AwaitOffset([&] { return stopped ? std::nullopt : std::optional(now.load()); });
            // To within what may pass between two looks at the time.
            EXPECT_TRUE(!offset || std::abs(*offset + kAhead - LiveTiming::kLatency) < 100 * kStep);
            given += offset ? 1 : 0;
            --waiting;
        }
        Pause(50us);
    };
    const auto change = [&] {
        timing.Expect(LiveTiming::kAudio, true);
        timing.Expect(LiveTiming::kVideo, true);
        stall.Select(true, now);
        stopped = arrives = false;
        timing.Start();
        stall.Run(now);
        Pause(2ms);
        stopped = true; // while nothing has arrived: flushed
        timing.WakeWaiting();
        for (int i = 0; waiting > 0 && i < 1000; ++i) {
            Pause(1ms);
        }
        EXPECT_EQ(waiting, 0);
        arrives = true;
        stopped = false;
        Pause(20ms);
        timing.Stop();
        stall.Halt(now);
    };
    const auto look = [&] {
        (void)timing.Delay();
        const std::uint32_t count = stall.Count(now);
        EXPECT_TRUE(count == StallCounter::kNone || count < 100);
        Pause();
    };
    Together({parse, wait, wait, change, look}, [&] {
        stopped = true;
        timing.WakeWaiting();
    });
    EXPECT_GT(given, 20);
}

// Two graphs' feeds, as while one is taken down, and a pin that looks for its picture.
TEST(Threads, WhatIsTakenOfTheKeptStreamStaysAsItIs) {
    TsBuilder builder;
    AddProgramme(builder, {.pictures = 25});
    const Bytes stream = Render(builder.packets);
    KeptStream kept;
    std::atomic<int> pictures = 0;
    const auto feed = [&] {
        for (std::size_t at = 0; at < stream.size(); at += 7000) {
            kept.Append(ByteSpan(stream).subspan(at, std::min<std::size_t>(7000, stream.size() - at)),
                        at > 0);
        }
        Pause();
    };
    const auto sum = [](const KeptStream::Snapshot& snapshot) {
        std::size_t bytes = 0;
        for (const auto& block : snapshot) {
            bytes = std::accumulate(block->packets.begin(), block->packets.end(), bytes);
        }
        return bytes;
    };
    const auto look = [&] {
        const KeptStream::Snapshot snapshot = kept.Take();
        const std::size_t first = sum(snapshot);
        pictures += FindLastPicture(snapshot, 0x101, Coding::kMpeg2Video) ? 1 : 0;
        EXPECT_EQ(sum(snapshot), first);
    };
    const auto forget = [&] {
        Pause(20ms);
        kept.Forget();
    };
    Together({feed, feed, look, forget});
    EXPECT_GT(pictures, 0);
}

} // namespace
} // namespace vistrame::test
