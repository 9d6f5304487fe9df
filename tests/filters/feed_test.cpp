// The feed filter: never blocks, loses nothing silently, keeps the order of data and marks.
#include <numeric>
#include <thread>

#include "filters/feed/feed_filter.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

struct Feed {
    TestGraph graph;
    FeedFilter* feed = graph.Add(MakeObject<FeedFilter>(), L"feed");
    SinkFilter* sink = graph.Add(MakeObject<SinkFilter>(), L"sink");

    Feed() { EXPECT_EQ(graph.Connect(PinOf(feed, L"TS Out").Get(), &sink->Input()), S_OK); }

    void Deliver(const Bytes& data) {
        EXPECT_EQ(feed->DeliverData(data.data(), static_cast<ULONG>(data.size())), S_OK);
    }
    Bytes Received() const {
        Bytes all;
        for (const auto& sample : sink->Samples()) {
            all.insert(all.end(), sample.data.begin(), sample.data.end());
        }
        return all;
    }
};

Bytes Numbered(std::size_t size, std::uint8_t first) {
    Bytes data(size);
    std::iota(data.begin(), data.end(), first);
    return data;
}

} // namespace

TEST(FeedFilter, DataOfAnyLengthComesOutInOrderAndWhole) {
    Feed feed;
    feed.graph.Run();
    Bytes sent;
    for (const std::size_t size : {0u, 1u, 187u, 188u, 65424u, 65425u, 1048575u}) {
        const Bytes data = Numbered(size, static_cast<std::uint8_t>(size % 251));
        feed.Deliver(data);
        sent.insert(sent.end(), data.begin(), data.end());
    }
    EXPECT_TRUE(WaitUntil([&] { return feed.Received().size() == sent.size(); }));
    EXPECT_TRUE(feed.Received() == sent);
    EXPECT_EQ(feed.feed->DroppedBytes(), 0u);
}

TEST(FeedFilter, ABlockedDownstreamNeverBlocksTheCallerAndOverflowIsCountedAndMarked) {
    Feed feed;
    feed.graph.Run();
    feed.sink->Block(true);
    const Bytes chunk = Numbered(1 << 20, 0);
    std::uint64_t sent = 0;
    for (; sent < std::uint64_t{2} * FeedFilter::kQueueBytes; sent += chunk.size()) {
        feed.Deliver(chunk);
    }
    const std::uint64_t dropped = feed.feed->DroppedBytes();
    EXPECT_GT(dropped, 0u);
    feed.sink->Block(false);
    EXPECT_TRUE(WaitUntil([&] { return feed.Received().size() == sent - dropped; }))
        << "every byte is accounted for";
    feed.Deliver({9});
    ASSERT_TRUE(WaitUntil([&] { return feed.sink->Samples().back().data == Bytes{9}; }));
    EXPECT_TRUE(feed.sink->Samples().back().discontinuity);
}

// What comes before the first run is kept unless it is old; while stopped later it is dropped, and nobody
// counts it.
TEST(FeedFilter, SamplesAreMarkedBehindDataThatIsMissingAndBehindAnnouncements) {
    Feed feed;
    feed.Deliver({1});
    Sleep(static_cast<DWORD>(FeedFilter::kEarly.count()) + 50);
    feed.Deliver({2});
    feed.graph.Run();
    ASSERT_TRUE(feed.sink->Await(1));
    EXPECT_EQ(feed.feed->SendDiscontinuity(), S_OK);
    feed.Deliver({3});
    feed.Deliver({4});
    ASSERT_TRUE(feed.sink->Await(3));
    feed.graph.Stop();
    feed.Deliver({5});
    feed.graph.Run();
    feed.Deliver({6});
    ASSERT_TRUE(feed.sink->Await(4));
    EXPECT_EQ(feed.Received(), (Bytes{2, 3, 4, 6}));
    for (const auto& sample : feed.sink->Samples()) {
        EXPECT_EQ(sample.discontinuity, sample.data[0] % 3 == 0);
    }
    EXPECT_EQ(feed.feed->DroppedBytes(), 0u);
}

TEST(FeedFilter, StopsRunsAndPausesWhileDataKeepsComing) {
    Feed feed;
    std::atomic<bool> done = false;
    std::thread reader([&] {
        const Bytes chunk = Numbered(4096, 0);
        while (!done) {
            feed.Deliver(chunk);
            (void)feed.feed->SendDiscontinuity();
        }
    });
    for (int i = 0; i < 30; ++i) {
        feed.sink->Block(i % 3 == 0); // stopping frees whoever is blocked
        feed.graph.Run();
        if (i % 2 == 0) {
            feed.graph.Pause();
        }
        Sleep(3);
        feed.graph.Stop();
        feed.sink->Forget();
    }
    done = true;
    reader.join();
}

} // namespace vistrame::test
