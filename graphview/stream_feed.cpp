#include "graphview/stream_feed.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <optional>
#include <utility>

#include <windows.h>

#include "player/graph/feed_lock.h"
#include "player/graph/player_graph.h"
#include "transport/packet_cutter.h"

namespace vistrame {
namespace {

constexpr std::size_t kChunk = std::size_t{32} << 10; // bytes; 20 ms of a stream of 12 Mbit/s
constexpr std::uint64_t kPcrPerMsec = 27'000;

void Deliver(const char* bytes, std::size_t count) {
    const FeedLockHold hold(ThePlayerGraph());
    if (FeedData* feed = ThePlayerGraph().feedData.load(std::memory_order_acquire); feed != nullptr) {
        (void)feed->DeliverData(reinterpret_cast<const BYTE*>(bytes), static_cast<ULONG>(count));
    }
}

// Milliseconds of the stream that have passed by, of the first PID with a PCR.
class StreamTime {
public:
    void Take(const PacketView& packet) {
        const std::optional<std::uint64_t> pcr = packet.Pcr();
        if (!pcr || (clockPid_ && *clockPid_ != packet.PacketId())) {
            return;
        }
        clockPid_ = packet.PacketId();
        first_ = first_.value_or(*pcr);
        if (*pcr > *first_) {
            msec_ = (*pcr - *first_) / kPcrPerMsec;
        }
    }
    std::uint64_t Msec() const { return msec_; }

private:
    std::optional<Pid> clockPid_;
    std::optional<std::uint64_t> first_;
    std::uint64_t msec_ = 0;
};

void FeedFile(std::ifstream file, const std::atomic<bool>& ending) {
    StreamTime time;
    PacketCutter cutter([&](const PacketView& packet) { time.Take(packet); });
    std::array<char, kChunk> chunk;
    const ULONGLONG start = GetTickCount64();
    while (!ending && file) {
        file.read(chunk.data(), chunk.size());
        const auto count = static_cast<std::size_t>(file.gcount());
        cutter.Feed({reinterpret_cast<const std::uint8_t*>(chunk.data()), count});
        while (!ending && GetTickCount64() < start + time.Msec()) {
            Sleep(2);
        }
        Deliver(chunk.data(), count);
    }
}

} // namespace

StreamFeed::~StreamFeed() {
    ending_ = true;
    if (thread_.joinable()) {
        thread_.join();
    }
}

bool StreamFeed::Start(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return false;
    }
    thread_ =
        std::thread([this, stream = std::move(file)]() mutable { FeedFile(std::move(stream), ending_); });
    return true;
}

} // namespace vistrame
