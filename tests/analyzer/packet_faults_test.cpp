#include <bit>

#include <gtest/gtest.h>

#include "analyzer/packet_faults.h"

namespace vistrame::test {
namespace {

std::vector<std::uint8_t> Packets(std::size_t count) {
    std::vector<std::uint8_t> packets(count * kPacketSize);
    for (std::size_t i = 0; i < count; ++i) {
        packets[i * kPacketSize] = kSyncByte;
        packets[i * kPacketSize + 1] = static_cast<std::uint8_t>(i >> 8);
        packets[i * kPacketSize + 2] = static_cast<std::uint8_t>(i);
    }
    return packets;
}

TEST(PacketFaults, LosesWholePacketsInTheirShareAndTheSameOnesAgain) {
    const std::vector<std::uint8_t> good = Packets(20'000);
    std::vector<std::uint8_t> once = good;
    std::vector<std::uint8_t> again = good;
    std::vector<std::uint8_t> other = good;
    PacketFaults faults(7);
    faults.SetLoss(0.005);
    faults.Apply(once);
    EXPECT_NEAR(static_cast<double>(faults.Lost()), 100, 30); // three standard deviations
    EXPECT_EQ(once.size(), good.size() - faults.Lost() * kPacketSize);
    std::uint32_t before = 0;
    for (std::size_t at = 0; at < once.size(); at += kPacketSize) {
        const std::uint32_t number = once[at + 1] << 8U | once[at + 2];
        EXPECT_TRUE(once[at] == kSyncByte && (at == 0 || number > before));
        before = number;
    }
    PacketFaults same(7);
    same.SetLoss(0.005);
    same.Apply(again);
    EXPECT_EQ(once, again);
    PacketFaults another(8);
    another.SetLoss(0.005);
    another.Apply(other);
    EXPECT_NE(once, other);
}

TEST(PacketFaults, DamagesOneBitBehindTheSyncByte) {
    const std::vector<std::uint8_t> good = Packets(10'000);
    std::vector<std::uint8_t> packets = good;
    PacketFaults faults(1);
    faults.Apply(packets);
    EXPECT_EQ(packets, good) << "nothing is asked for yet";
    faults.SetDamage(0.02);
    faults.Apply(packets);
    EXPECT_NEAR(static_cast<double>(faults.Damaged()), 200, 45);
    std::uint64_t damaged = 0;
    for (std::size_t at = 0; at < good.size(); at += kPacketSize) {
        int bits = 0;
        for (std::size_t i = 0; i < kPacketSize; ++i) {
            bits += std::popcount(static_cast<unsigned>(packets[at + i] ^ good[at + i]));
        }
        EXPECT_LE(bits, 1);
        EXPECT_EQ(packets[at], kSyncByte);
        damaged += bits > 0 ? 1 : 0;
    }
    EXPECT_EQ(damaged, faults.Damaged());
    EXPECT_EQ(faults.Lost(), 0U);
}

} // namespace
} // namespace vistrame::test
