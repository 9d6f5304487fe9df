#include "analyzer/stream/packet_faults.h"

#include <algorithm>

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

} // namespace vistrame
