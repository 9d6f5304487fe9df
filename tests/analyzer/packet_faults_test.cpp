#include <bit>

#include <gtest/gtest.h>

#include "analyzer/packet_faults.h"

namespace vistrame::test {
namespace {

using Packets = std::vector<std::uint8_t>;

// Numbered where the PID would be.
Packets MakePackets(std::size_t count) {
    Packets packets(count * kPacketSize);
    for (std::size_t i = 0; i < count; ++i) {
        packets[i * kPacketSize] = kSyncByte;
        packets[i * kPacketSize + 1] = static_cast<std::uint8_t>(i >> 8);
        packets[i * kPacketSize + 2] = static_cast<std::uint8_t>(i);
    }
    return packets;
}

TEST(PacketFaults, LosesWholePacketsInTheirShareAndTheSameOnesAgain) {
    const auto lossy = [](std::uint32_t seed) {
        Packets packets = MakePackets(20'000);
        PacketFaults faults(seed);
        faults.SetLoss(0.005);
        faults.Apply(packets);
        EXPECT_NEAR(static_cast<double>(faults.Lost()), 100, 30); // three standard deviations
        EXPECT_EQ(packets.size(), (20'000 - faults.Lost()) * kPacketSize);
        return packets;
    };
    const Packets once = lossy(7);
    int before = -1;
    for (std::size_t at = 0; at < once.size(); at += kPacketSize) {
        const int number = once[at + 1] << 8 | once[at + 2];
        EXPECT_TRUE(once[at] == kSyncByte && number > before);
        before = number;
    }
    EXPECT_EQ(lossy(7), once);
    EXPECT_NE(lossy(8), once);
}

TEST(PacketFaults, DamagesOneBitBehindTheSyncByte) {
    const Packets good = MakePackets(10'000);
    Packets packets = good;
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
        EXPECT_TRUE(bits <= 1 && packets[at] == kSyncByte);
        damaged += static_cast<std::uint64_t>(bits);
    }
    EXPECT_EQ(damaged, faults.Damaged());
}

} // namespace
} // namespace vistrame::test
