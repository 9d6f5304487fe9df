// The queue in front of an output pin's worker.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "filters/demux/unit_queue.h"

namespace vistrame::test {

namespace {

QueuedUnit Unit(std::int64_t pts, bool randomAccess, std::size_t bytes = 10) {
    QueuedUnit unit{};
    unit.data.resize(bytes);
    unit.pts = pts;
    unit.randomAccess = randomAccess;
    return unit;
}

// A group of pictures: one where decoding can begin and `others` more; time stamps count up from `first`.
void PushGroup(UnitQueue& queue, std::int64_t first, int others, std::size_t bytes = 10) {
    for (int i = 0; i <= others; ++i) {
        queue.Push(Unit(first + i, i == 0, bytes));
    }
}

} // namespace

TEST(UnitQueue, BeginsWhereDecodingCanBegin) {
    UnitQueue queue;
    queue.Push(Unit(0, true)); // not open: dropped
    queue.Open();
    EXPECT_TRUE(queue.AwaitsRandomAccess());
    queue.Push(Unit(1, false));
    PushGroup(queue, 2, 1);
    EXPECT_FALSE(queue.AwaitsRandomAccess());
    queue.Hold(false);
    const auto first = queue.Take();
    EXPECT_EQ(first->pts, 2);
    EXPECT_TRUE(first->discontinuity);
    EXPECT_FALSE(queue.Take()->discontinuity);
    queue.Clear(true);
    queue.Push(Unit(4, false));
    PushGroup(queue, 5, 0);
    EXPECT_EQ(queue.Take()->pts, 5);
    EXPECT_FALSE(queue.IsCurrent(*first));
}

TEST(UnitQueue, AFullQueueLosesItsOldestGroupsAndNeverRefuses) {
    for (const std::size_t bytes : {std::size_t{10}, UnitQueue::kMaxBytes / 30}) {
        UnitQueue queue;
        queue.Open();
        queue.Hold(false);
        for (int group = 0; group < 60; ++group) {
            PushGroup(queue, std::int64_t{group} * 10, 9, bytes);
        }
        const auto first = queue.Take();
        EXPECT_TRUE(first->randomAccess);
        EXPECT_TRUE(first->discontinuity);
        EXPECT_EQ(*first->pts, static_cast<std::int64_t>(queue.Dropped()));
        std::int64_t last = 0;
        std::size_t left = 1;
        queue.Push(Unit(1000, true));
        while (last != 1000) {
            last = *queue.Take()->pts;
            ++left;
        }
        EXPECT_EQ(left + queue.Dropped(), 601u) << "every unit came out or was counted";
    }
}

TEST(UnitQueue, WhileHeldOnlyTheNewestGroupStays) {
    UnitQueue queue;
    queue.Open();
    PushGroup(queue, 0, 9);
    PushGroup(queue, 10, 3);
    queue.Hold(false);
    EXPECT_EQ(queue.Take()->pts, 10);
    EXPECT_EQ(queue.Take()->pts, 11);
}

TEST(UnitQueue, SkipsToTheLastGroupThatIsNotAheadOfItsTime) {
    UnitQueue queue;
    queue.Open();
    queue.Hold(false);
    PushGroup(queue, 0, 9);
    PushGroup(queue, 10, 9);
    PushGroup(queue, 20, 9);
    PushGroup(queue, 30, 9);
    EXPECT_FALSE(queue.SkipToRandomAccess(-1));
    EXPECT_TRUE(queue.SkipToRandomAccess(25));
    const auto next = queue.Take();
    EXPECT_EQ(next->pts, 20);
    EXPECT_TRUE(next->discontinuity);
}

TEST(UnitQueue, ClosingFreesTheConsumerWhereverItWaits) {
    UnitQueue queue;
    queue.Open();
    queue.Push(Unit(0, true));
    std::atomic<int> freed = 0;
    std::thread held([&] { // the queue is held
        EXPECT_FALSE(queue.Take().has_value());
        ++freed;
    });
    std::thread sleeping([&] {
        while (queue.Sleep(5)) {
        }
        ++freed;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(freed, 0);
    queue.Close();
    held.join();
    sleeping.join();
    EXPECT_EQ(freed, 2);
}

} // namespace vistrame::test
