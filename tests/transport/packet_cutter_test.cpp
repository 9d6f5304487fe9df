// Cutting a byte stream into packets. One stream of 40 packets, fed in every chunk size of a few kinds, as it is and
// damaged:
//   whole stream       every packet, in order, whatever chunk and stride
//   garbage inside     all packets but those the garbage hides
//   cut packet         all packets but the one cut
//   sync byte damaged  all packets but the one
//   no stream at all   nothing, everything counted as dropped
#include "transport/packet_cutter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tests/transport/ts_builder.h"

namespace vistrame {
namespace {

constexpr std::size_t kPackets = 40;

// Packet n has PID 0x100 + n, so that what came out can be told by PID. Payloads hold many sync bytes.
std::vector<TsBuilder::Packet> Numbered() {
    TsBuilder builder;
    std::uint32_t state = 1;
    Bytes payload(184);
    for (std::size_t i = 0; i < kPackets; ++i) {
        for (std::uint8_t& byte : payload) {
            state = state * 1664525U + 1013904223U;
            byte = state >> 28 == 0 ? kSyncByte : static_cast<std::uint8_t>(state >> 24);
        }
        builder.AddPacket(static_cast<Pid>(0x100 + i), false, payload);
    }
    return builder.packets;
}

struct Cut {
    std::vector<int> numbers;
    std::uint64_t dropped = 0;
    std::size_t stride = 0;
};

Cut CutAll(const Bytes& bytes, std::size_t chunk, bool flush = true) {
    Cut cut;
    PacketCutter cutter([&](const PacketView& packet) { cut.numbers.push_back(packet.PacketId() - 0x100); });
    for (std::size_t at = 0; at < bytes.size(); at += chunk) {
        cutter.Feed(ByteSpan(bytes).subspan(at, std::min(chunk, bytes.size() - at)));
    }
    if (flush) {
        cutter.Flush();
    }
    cut.dropped = cutter.DroppedBytes();
    cut.stride = cutter.Stride();
    return cut;
}

std::vector<int> AllBut(std::initializer_list<int> missing) {
    std::vector<int> numbers;
    for (int i = 0; i < static_cast<int>(kPackets); ++i) {
        if (std::ranges::find(missing, i) == missing.end()) {
            numbers.push_back(i);
        }
    }
    return numbers;
}

TEST(PacketCutter, CutsDamagedStreamsInAnyChunks) {
    struct Row {
        const char* name;
        std::function<void(Bytes&, std::size_t stride)> damage;
        std::vector<int> numbers;
        int dropped; // beyond what a stride of 204 leaves behind the last packet
    };
    const auto position = [](std::size_t packet, std::size_t stride) {
        return static_cast<std::ptrdiff_t>(packet * stride + (stride == 192 ? 4 : 0));
    };
    const Row rows[] = {
        {"whole", [](Bytes&, std::size_t) {}, AllBut({}), 0},
        {"garbage in front", [](Bytes& b, std::size_t) { b.insert(b.begin(), 100, 0x47); }, AllBut({}), 100},
        {"garbage inside",
         [&](Bytes& b, std::size_t s) {
             b.insert(b.begin() + position(10, s) - (s == 192 ? 4 : 0), 77, 0x55);
         },
         AllBut({}), 77},
        {"sync byte flipped",
         [&](Bytes& b, std::size_t s) { b[static_cast<std::size_t>(position(20, s))] ^= 0x20; }, AllBut({20}),
         188},
        {"two sync bytes flipped, closer than a lock is long",
         [&](Bytes& b, std::size_t s) {
             b[static_cast<std::size_t>(position(20, s))] ^= 0x20;
             b[static_cast<std::size_t>(position(23, s))] ^= 0x20;
         },
         AllBut({20, 23}), 376},
        {"packet cut",
         [&](Bytes& b, std::size_t s) {
             b.erase(b.begin() + position(20, s) + 50, b.begin() + position(20, s) + 80);
         },
         AllBut({20}), 158},
    };
    for (const std::size_t stride : {188U, 192U, 204U}) {
        for (const Row& row : rows) {
            Bytes bytes = Render(Numbered(), stride);
            row.damage(bytes, stride);
            for (const std::size_t chunk : {bytes.size(), std::size_t{6000}}) {
                SCOPED_TRACE(std::string(row.name) + ", stride " + std::to_string(stride) + ", chunk " +
                             std::to_string(chunk));
                const Cut cut = CutAll(bytes, chunk);
                EXPECT_EQ(cut.numbers, row.numbers);
                EXPECT_NEAR(static_cast<double>(cut.dropped), row.dropped, stride - 188);
                EXPECT_EQ(cut.stride, stride);
            }
        }
    }
}

TEST(PacketCutter, SmallChunksLoseNothingOfAWholeStream) {
    for (const std::size_t stride : {188U, 192U, 204U}) {
        const Bytes bytes = Render(Numbered(), stride);
        for (const std::size_t chunk : {1U, 2U, 187U, 188U, 189U, 191U, 203U, 205U, 376U}) {
            SCOPED_TRACE(std::to_string(stride) + "/" + std::to_string(chunk));
            const Cut cut = CutAll(bytes, chunk);
            EXPECT_EQ(cut.numbers, AllBut({}));
            EXPECT_EQ(cut.dropped, 0U);
        }
    }
}

// A live reader waits for no packet: each comes out with its last byte once locked.
TEST(PacketCutter, GivesAPacketWithItsLastByte) {
    const Bytes bytes = Render(Numbered());
    std::size_t seen = 0;
    PacketCutter cutter([&](const PacketView&) { ++seen; });
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        cutter.Feed(ByteSpan(bytes).subspan(at, 1));
        const std::size_t whole = (at + 1) / kPacketSize;
        const bool locked = at >= (PacketCutter::kSyncsToLock - 1) * kPacketSize;
        ASSERT_EQ(seen, locked ? whole : 0) << "after byte " << at;
    }
}

TEST(PacketCutter, FlushTakesShortStreamsAndNothingElse) {
    Bytes two = Render(Numbered());
    two.resize(2 * kPacketSize + 50);
    EXPECT_EQ(CutAll(two, two.size(), false).numbers, std::vector<int>{});
    const Cut cut = CutAll(two, two.size());
    EXPECT_EQ(cut.numbers, (std::vector{0, 1}));
    EXPECT_EQ(cut.dropped, 50U);

    const Bytes text(5000, 'G'); // 'G' is the sync byte, so this locks; anything else must not
    Bytes noise(5000);
    for (std::size_t i = 0; i < noise.size(); ++i) {
        noise[i] = static_cast<std::uint8_t>(i * 7 ^ i >> 3);
    }
    EXPECT_EQ(CutAll(noise, 1000).numbers.size(), 0U);
    EXPECT_EQ(CutAll(noise, 1000).dropped, noise.size());
    EXPECT_GT(CutAll(text, 1000).numbers.size(), 0U);
}

TEST(PacketCutter, ResetInsideTheSinkTakesTheRestAsANewStream) {
    Bytes bytes = Render(Numbered(), 188);
    const Bytes other = Render(Numbered(), 204);
    bytes.resize(10 * kPacketSize);
    bytes.insert(bytes.end(), other.begin(), other.end());
    std::vector<int> numbers;
    PacketCutter* self = nullptr;
    PacketCutter cutter([&](const PacketView& packet) {
        numbers.push_back(packet.PacketId() - 0x100);
        if (numbers.size() == 10) {
            self->Reset();
        }
    });
    self = &cutter;
    cutter.Feed(bytes);
    ASSERT_EQ(numbers.size(), 10 + kPackets);
    EXPECT_EQ(cutter.Stride(), 204U);
    EXPECT_EQ(cutter.Packets(), kPackets);
    EXPECT_EQ(cutter.DroppedBytes(), 0U);
}

} // namespace
} // namespace vistrame
