#include <algorithm>
#include <bit>
#include <functional>
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

TEST(PacketFaults, SpoilWhatIsSentInEveryWay) {
    std::vector<std::uint8_t> good;
    for (std::size_t at = 0; at < 400; ++at) {
        good.insert(good.end(), kPacketSize, static_cast<std::uint8_t>(at));
    }
    const auto spoiled = [&](Spoiling spoiling) {
        PacketFaults faults(3);
        faults.SetSpoiling(spoiling);
        std::vector<std::uint8_t> bytes = good;
        faults.Spoil(bytes);
        return bytes;
    };
    const auto differing = [&](const std::vector<std::uint8_t>& bytes) {
        return std::inner_product(good.begin(), good.end(), bytes.begin(), std::size_t{0}, std::plus<>(),
                                  std::not_equal_to<>());
    };
    EXPECT_EQ(spoiled(Spoiling::kNothing), good);
    EXPECT_NEAR(static_cast<double>(spoiled(Spoiling::kTruncated).size()), good.size() * 7.0 / 8, 2000);
    EXPECT_NEAR(static_cast<double>(differing(spoiled(Spoiling::kFlipped))), 400 * 8, 160);
    std::vector<std::uint8_t> shuffled = spoiled(Spoiling::kShuffled);
    EXPECT_GT(differing(shuffled), good.size() / 2);
    std::ranges::sort(shuffled);
    std::vector<std::uint8_t> sorted = good;
    std::ranges::sort(sorted);
    EXPECT_EQ(shuffled, sorted);
    EXPECT_EQ(spoiled(Spoiling::kSized).size(), good.size() / kPacketSize * 204);
    EXPECT_GT(differing(spoiled(Spoiling::kRandom)), good.size() * 9 / 10);
}

} // namespace
} // namespace vistrame::test
