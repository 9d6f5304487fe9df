#include "analyzer/stream/packet_faults.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vistrame {

bool PacketFaults::Happens(double share) {
    return share > 0 && static_cast<double>(random_()) < share * 4294967296.0; // 2^32 values of the engine
}

void PacketFaults::Apply(std::vector<std::uint8_t>& packets) {
    std::size_t kept = 0;
    for (std::size_t at = 0; at + kPacketSize <= packets.size(); at += kPacketSize) {
        if (Happens(loss_)) {
            ++lost_;
            continue;
        }
        if (Happens(damage_)) {
            ++damaged_;
            constexpr std::uint32_t kBits = (kPacketSize - 1) * 8;
            const std::uint32_t bit = 8 + random_() % kBits;
            packets[at + bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        }
        if (kept != at) {
            std::copy_n(packets.begin() + static_cast<std::ptrdiff_t>(at), kPacketSize,
                        packets.begin() + static_cast<std::ptrdiff_t>(kept));
        }
        kept += kPacketSize;
    }
    packets.resize(kept);
}

void PacketFaults::Spoil(std::vector<std::uint8_t>& packets) {
    constexpr std::size_t kFlips = 8;
    constexpr std::size_t kAdded = 16;
    const auto any = [this] { return static_cast<std::uint8_t>(random_()); };
    if (spoiling_ == Spoiling::kNothing) {
        return;
    }
    if (spoiling_ == Spoiling::kRandom) {
        std::ranges::generate(packets, any);
        return;
    }
    std::vector<std::vector<std::uint8_t>> pieces;
    for (std::size_t at = 0; at + kPacketSize <= packets.size(); at += kPacketSize) {
        const auto begin = packets.begin() + static_cast<std::ptrdiff_t>(at);
        pieces.emplace_back(begin, begin + kPacketSize);
    }
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        auto& piece = pieces[i];
        if (spoiling_ == Spoiling::kTruncated && Below(4) == 0) {
            piece.resize(Below(kPacketSize));
        } else if (spoiling_ == Spoiling::kFlipped) {
            for (std::size_t flip = 0; flip < kFlips; ++flip) {
                piece[Below(kPacketSize)] ^= static_cast<std::uint8_t>(1U << Below(8));
            }
        } else if (spoiling_ == Spoiling::kShuffled) {
            std::swap(piece, pieces[Below(pieces.size())]);
        } else if (spoiling_ == Spoiling::kSized) {
            std::generate_n(std::back_inserter(piece), kAdded, any);
        }
    }
    packets.clear();
    for (const auto& piece : pieces) {
        packets.insert(packets.end(), piece.begin(), piece.end());
    }
}

} // namespace vistrame
