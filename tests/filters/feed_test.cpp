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

TEST(FeedFilter, OffersTransportStreamAndItsInterfaces) {
    Feed feed;
    AM_MEDIA_TYPE type{};
    ASSERT_EQ(feed.sink->Input().ConnectionMediaType(&type), S_OK);
    EXPECT_EQ(type.majortype, MEDIATYPE_Stream);
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_MPEG2_TRANSPORT);
    for (const IID& iid :
         {__uuidof(FeedData), __uuidof(FeedControl), IID_IReferenceClock, IID_IMediaFilter}) {
        ComPtr<IUnknown> found;
        EXPECT_EQ(feed.feed->QueryInterface(iid, reinterpret_cast<void**>(found.ReleaseAndGetAddressOf())),
                  S_OK);
    }
    EXPECT_EQ(feed.feed->SetMode(3, 0), S_OK);
    EXPECT_EQ(feed.feed->SetPids2(0xABCD0123), S_OK);
    EXPECT_EQ(feed.feed->Pids2(), 0x0123);
}

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
    const auto samples = feed.sink->Samples();
    for (std::size_t i = 0; i < samples.size(); ++i) {
        EXPECT_EQ(samples[i].discontinuity, i == 0);
        EXPECT_FALSE(samples[i].time.has_value());
    }
}

TEST(FeedFilter, AMarkStandsBetweenTheDataBeforeAndAfter) {
    Feed feed;
    feed.graph.Run();
    feed.Deliver({1});
    feed.Deliver({2});
    EXPECT_EQ(feed.feed->SendDiscontinuity(), S_OK);
    feed.Deliver({3});
    feed.Deliver({4});
    ASSERT_TRUE(WaitUntil([&] { return feed.sink->Count() == 4; }));
    const auto samples = feed.sink->Samples();
    EXPECT_FALSE(samples[1].discontinuity);
    EXPECT_TRUE(samples[2].discontinuity);
    EXPECT_EQ(samples[2].data, Bytes{3});
    EXPECT_FALSE(samples[3].discontinuity);
}

TEST(FeedFilter, ABlockedDownstreamNeverBlocksTheCallerAndOverflowIsCountedAndMarked) {
    Feed feed;
    feed.graph.Run();
    feed.sink->Block(true);
    const Bytes chunk = Numbered(1 << 20, 0);
    const DWORD start = GetTickCount();
    std::uint64_t sent = 0;
    for (; sent < std::uint64_t{2} * FeedFilter::kQueueBytes; sent += chunk.size()) {
        feed.Deliver(chunk);
    }
    EXPECT_LT(GetTickCount() - start, kPatience); // it returned at all
    const std::uint64_t dropped = feed.feed->DroppedBytes();
    EXPECT_GT(dropped, 0u);
    feed.sink->Block(false);
    EXPECT_TRUE(WaitUntil([&] { return feed.Received().size() == sent - dropped; }))
        << "every byte is accounted for";
    feed.Deliver({9});
    ASSERT_TRUE(WaitUntil([&] { return feed.sink->Samples().back().data == Bytes{9}; }));
    EXPECT_TRUE(feed.sink->Samples().back().discontinuity);
}

TEST(FeedFilter, DataFromBeforeTheFirstRunIsKeptUnlessItIsOld) {
    Feed feed;
    feed.Deliver({1});
    Sleep(static_cast<DWORD>(FeedFilter::kEarly.count()) + 50);
    feed.Deliver({2});
    (void)feed.feed->SendDiscontinuity();
    feed.Deliver({3});
    feed.graph.Run();
    feed.Deliver({4});
    ASSERT_TRUE(WaitUntil([&] { return feed.sink->Count() == 3; }));
    EXPECT_EQ(feed.Received(), (Bytes{2, 3, 4}));
    EXPECT_TRUE(feed.sink->Samples()[1].discontinuity);
    EXPECT_FALSE(feed.sink->Samples()[2].discontinuity);
}

TEST(FeedFilter, WhileStoppedAgainDataIsDroppedWithoutBeingCounted) {
    Feed feed;
    feed.graph.Run();
    feed.Deliver({2});
    ASSERT_TRUE(WaitUntil([&] { return feed.sink->Count() == 1; }));
    feed.graph.Stop();
    feed.Deliver({3});
    feed.graph.Run();
    feed.Deliver({4});
    ASSERT_TRUE(WaitUntil([&] { return feed.sink->Count() == 2; }));
    EXPECT_EQ(feed.Received(), (Bytes{2, 4}));
    EXPECT_TRUE(feed.sink->Samples()[1].discontinuity);
    EXPECT_EQ(feed.feed->DroppedBytes(), 0u);
}

TEST(FeedFilter, TakesDataBeforeItIsConnectedOrInAGraph) {
    const CoInitialized com;
    const auto feed = MakeObject<FeedFilter>();
    EXPECT_EQ(feed->DeliverData(Bytes{1, 2}.data(), 2), S_OK);
    EXPECT_EQ(feed->SendDiscontinuity(), S_OK);
    EXPECT_EQ(feed->Run(0), S_OK);
    EXPECT_EQ(feed->DeliverData(Bytes{1, 2}.data(), 2), S_OK);
    EXPECT_EQ(feed->DeliverData(nullptr, 1), E_POINTER);
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
