// The queue in front of an output pin's worker when it is full. All else of it is seen in the demultiplexer's tests.
#include <gtest/gtest.h>

#include "filters/demux/unit_queue.h"

namespace vistrame::test {

namespace {

QueuedUnit Unit(std::int64_t pts, bool randomAccess, std::size_t bytes) {
    QueuedUnit unit{};
    unit.data.resize(bytes);
    unit.pts = pts;
    unit.randomAccess = randomAccess;
    return unit;
}

} // namespace

TEST(UnitQueue, AFullQueueLosesItsOldestGroupsAndNeverRefuses) {
    for (const std::size_t bytes : {std::size_t{10}, UnitQueue::kMaxBytes / 30}) {
        UnitQueue queue;
        queue.Open();
        queue.Hold(false);
        for (int i = 0; i < 600; ++i) {
            queue.Push(Unit(i, i % 10 == 0, bytes));
        }
        const auto first = queue.Take();
        EXPECT_TRUE(first->randomAccess);
        EXPECT_TRUE(first->discontinuity);
        EXPECT_EQ(*first->pts, static_cast<std::int64_t>(queue.Dropped()));
        std::int64_t last = 0;
        std::size_t left = 1;
        queue.Push(Unit(1000, true, bytes));
        while (last != 1000) {
            last = *queue.Take()->pts;
            ++left;
        }
        EXPECT_EQ(left + queue.Dropped(), 601u) << "every unit came out or was counted";
    }
}

} // namespace vistrame::test
