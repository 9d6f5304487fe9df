// The stream channel over a real named pipe, read by the real thread into a feed filter that records.
#include "player/control/pipe_reader.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "player/app/process_state.h"
#include "player/graph/player_graph.h"
#include "tests/support/messages.h"
#include "tests/support/playback_fakes.h"

namespace vistrame {
namespace {

using namespace std::chrono_literals;

std::vector<BYTE> Pattern(std::size_t size, unsigned seed) {
    std::vector<BYTE> bytes(size);
    std::ranges::generate(bytes, std::minstd_rand(seed));
    return bytes;
}

// The reader thread ends the process when its pipe breaks, so one pipe serves all tests and stays open.
class PipeReader : public testing::Test {
protected:
    static void SetUpTestSuite() {
        server = CreateNamedPipeA(R"(\\.\pipe\QVRA00000ABC)", PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE, 1,
                                  1 << 20, 1 << 20, 0, nullptr);
        PipeHandle = OpenStreamPipe(0xABC);
        ASSERT_NE(PipeHandle, INVALID_HANDLE_VALUE);
        StartPipeReader();
    }

    PipeReader() {
        Deliver([this](const BYTE* data, ULONG length) {
            const std::lock_guard hold(lock);
            chunks.push_back(length);
            received.insert(received.end(), data, data + length);
            total += length;
            return E_FAIL;
        });
    }
    ~PipeReader() override { ThePlayerGraph().ReleaseGraph(); }

    template <typename Handler>
    void Deliver(Handler handler) {
        part.On<&FeedData::DeliverData>(std::move(handler));
    }

    // As a build does: without FeedLock.
    void Connect() {
        ++feed.references;
        ThePlayerGraph().feedData = feed.As<FeedData>();
    }

    static void Write(const std::vector<BYTE>& bytes) {
        DWORD written = 0;
        EXPECT_TRUE(WriteFile(server, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
        EXPECT_EQ(written, bytes.size());
    }

    static bool WaitFor(const std::function<bool()>& done) { return test::PumpUntil(done, 10000); }

    static inline HANDLE server = INVALID_HANDLE_VALUE;

    test::Journal journal;
    test::FakeObject feed{journal, "feed"};
    test::FakePart& part = feed.Offer<FeedData>();
    std::mutex lock;
    std::vector<ULONG> chunks;
    std::vector<BYTE> received;
    std::atomic<std::size_t> total = 0;
};

TEST_F(PipeReader, LargeWritesArriveWholeInBoundedChunks) {
    Connect();
    const auto bytes = Pattern(3000000, 1);
    std::thread writer([&bytes] { Write(bytes); }); // blocks until it is all read
    EXPECT_TRUE(WaitFor([&] { return total == bytes.size(); }));
    writer.join();
    const std::lock_guard hold(lock);
    EXPECT_TRUE(received == bytes) << "the bytes differ";
    EXPECT_GE(chunks.size(), 3U);
    EXPECT_LE(std::ranges::max(chunks), 1048575U);
    EXPECT_GT(std::ranges::max(chunks), 4096U) << "one delivery per read, not per packet";
    EXPECT_TRUE(ReaderThreadId != 0 && ReaderThreadId != GetCurrentThreadId()) << "not in the image";
    EXPECT_EQ(WaitForSingleObject(ThePlayerGraph().FeedLock, 1000), DWORD{WAIT_OBJECT_0})
        << "free in between";
    ReleaseMutex(ThePlayerGraph().FeedLock);
}

TEST_F(PipeReader, WhatArrivesBeforeAGraphIsDropped) {
    Write(Pattern(2000000, 2)); // returns because the reader keeps the pipe drained
    test::PumpFor(200);
    Connect();
    const auto live = Pattern(1000, 3);
    Write(live);
    EXPECT_TRUE(WaitFor([&] { return total >= live.size(); }));
    const std::lock_guard hold(lock);
    EXPECT_TRUE(received == live);
}

TEST_F(PipeReader, ATeardownWaitsForTheDeliveryUnderWay) {
    std::promise<void> delivering;
    std::promise<void> goOn;
    Deliver([&](const BYTE*, ULONG) {
        delivering.set_value();
        goOn.get_future().wait();
        EXPECT_EQ(feed.references, 1U) << "released inside the delivery";
        ++total;
        return S_OK;
    });
    Connect();
    Write(Pattern(10, 4));
    ASSERT_EQ(delivering.get_future().wait_for(10s), std::future_status::ready);
    std::atomic<bool> tornDown = false;
    std::thread teardown([&] {
        ThePlayerGraph().ReleaseGraph();
        tornDown = true;
    });
    Sleep(100);
    EXPECT_FALSE(tornDown);
    goOn.set_value();
    teardown.join();
    EXPECT_EQ(feed.references, 0U);
    EXPECT_EQ(ThePlayerGraph().feedData, nullptr);

    Write(Pattern(10, 5)); // finds no feed
    test::PumpFor(100);
    EXPECT_EQ(total, 1U);
}

} // namespace
} // namespace vistrame
