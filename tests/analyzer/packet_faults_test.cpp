#include <bit>
#include <numeric>

#include <gtest/gtest.h>

#include "analyzer/stream/packet_faults.h"

namespace vistrame::test {
namespace {

TEST(PacketFaults, LoseWholePacketsAndDamageOneBitInTheirSharesAndTheSameAgain) {
    constexpr std::size_t kCount = 20'000;
    const auto faulty = [](std::uint32_t seed, double loss, double damage) {
        std::vector<std::uint8_t> packets(kCount * kPacketSize);
        for (std::size_t at = 0; at < packets.size(); at += kPacketSize) {
            std::iota(&packets[at], &packets[at] + kPacketSize, kSyncByte);
        }
        PacketFaults faults(seed);
        faults.SetLoss(loss);
        faults.SetDamage(damage);
        faults.Apply(packets);
        EXPECT_NEAR(static_cast<double>(faults.Lost()), loss * kCount, 30); // three standard deviations
        EXPECT_NEAR(static_cast<double>(faults.Damaged()), damage * kCount, 60);
        EXPECT_EQ(packets.size(), (kCount - faults.Lost()) * kPacketSize);
        std::uint64_t damagedBits = 0;
        for (std::size_t at = 0; at < packets.size(); ++at) {
            const auto good = static_cast<std::uint8_t>(kSyncByte + at % kPacketSize);
            EXPECT_TRUE(packets[at] == good || at % kPacketSize != 0);
            damagedBits += static_cast<std::uint64_t>(std::popcount(std::uint8_t(packets[at] ^ good)));
        }
        EXPECT_EQ(damagedBits, faults.Damaged());
        return packets;
    };
    EXPECT_EQ(faulty(7, 0.005, 0.02), faulty(7, 0.005, 0.02));
    EXPECT_NE(faulty(7, 0, 0.02), faulty(8, 0, 0.02));
    (void)faulty(7, 0, 0);
}

} // namespace
} // namespace vistrame::test
