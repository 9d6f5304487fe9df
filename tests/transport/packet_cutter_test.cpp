// Cutting a byte stream into packets: one stream of 40 packets in every stride, in several kinds of chunks,
// as it is and damaged.
#include "transport/packet_cutter.h"

#include <gtest/gtest.h>

#include "tests/transport/ts_builder.h"

namespace vistrame {
namespace {

constexpr int kPackets = 40;

// Packet n has PID 0x100 + n, so that what came out is identified by PID. Payloads hold many sync bytes.
Bytes Numbered(std::size_t stride) {
    TsBuilder builder;
    std::uint32_t state = 1;
    Bytes payload(184);
    for (int i = 0; i < kPackets; ++i) {
        for (std::uint8_t& byte : payload) {
            state = state * 1664525U + 1013904223U;
            byte = state >> 28 == 0 ? kSyncByte : static_cast<std::uint8_t>(state >> 24);
        }
        builder.AddPacket(static_cast<Pid>(0x100 + i), false, payload);
    }
    return Render(builder.packets, stride);
}

struct Cutting {
    std::vector<int> numbers;
    PacketCutter cutter{[this](const PacketView& packet) { numbers.push_back(packet.PacketId() - 0x100); }};
};

TEST(PacketCutter, CutsDamagedStreamsInAnyChunks) {
    struct Row {
        const char* name;
        std::vector<int> flipped = {}; // packets whose sync bytes are damaged
        std::size_t garbage = 0;       // bytes put in front of packet `before`
        std::size_t before = 0;
        std::uint64_t losses = 0;
    };
    const Row rows[] = {
        {.name = "whole"},
        {.name = "garbage in front, all sync bytes", .garbage = 100},
        {.name = "garbage inside", .garbage = 77, .before = 10, .losses = 1},
        {.name = "sync byte flipped", .flipped = {20}},
        {.name = "two flipped, closer than a lock is long", .flipped = {20, 23}},
        {.name = "two flipped in a row", .flipped = {20, 21}, .losses = 1},
    };
    for (const Row& row : rows) {
        for (const std::size_t stride : {188U, 192U, 204U}) {
            Bytes bytes = Numbered(stride);
            std::vector<int> expected;
            for (int i = 0; i < kPackets; ++i) {
                if (std::ranges::find(row.flipped, i) == row.flipped.end()) {
                    expected.push_back(i);
                }
            }
            const std::size_t lost = (kPackets - expected.size()) * kPacketSize + row.garbage;
            for (const int packet : row.flipped) {
                bytes[static_cast<std::size_t>(packet) * stride + (stride == 192 ? 4 : 0)] ^= 0x20;
            }
            bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(row.before * stride), row.garbage,
                         row.before > 0 ? 0x55 : kSyncByte);
            for (const std::size_t chunk : {1U, 187U, 205U, 6000U, 10000U}) {
                SCOPED_TRACE(testing::Message() << row.name << ", " << stride << ", " << chunk);
                Cutting cutting;
                FeedChunks(cutting.cutter, bytes, chunk);
                cutting.cutter.Flush();
                EXPECT_EQ(cutting.numbers, expected);
                // What a stride of 204 leaves behind the last and a lost packet may count or not.
                EXPECT_LE(cutting.cutter.DroppedBytes() - lost + (stride - 188), 3 * (stride - 188));
                EXPECT_EQ(cutting.cutter.Stride(), stride);
                EXPECT_EQ(cutting.cutter.Errors().losses, row.losses);
                EXPECT_EQ(cutting.cutter.Errors().bytes, row.losses > 0 ? 2 : row.flipped.size());
            }
        }
    }
}

} // namespace
} // namespace vistrame
