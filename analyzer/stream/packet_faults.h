#pragma once

#include <cstdint>
#include <random>
#include <span>
#include <vector>

#include "transport/packet.h"

namespace vistrame {

// Loses and damages packets the way a bad line does, the same way again for the same seed.
//
// Units      shares of packets, 0 to 1.
// Threads    none of its own, not thread-safe.
class PacketFaults {
public:
    explicit PacketFaults(std::uint32_t seed) : random_(seed) {}

    void SetLoss(double share) { loss_ = share; }
    void SetDamage(double share) { damage_ = share; }

    // Changes whole packets in place: lost ones are taken out, damaged ones have one bit flipped behind the
    // sync byte.
    void Apply(std::vector<std::uint8_t>& packets);

    std::uint64_t Lost() const { return lost_; }
    std::uint64_t Damaged() const { return damaged_; }

private:
    bool Happens(double share);

    // The engine's sequence is fixed by the standard; the library's distributions are not, so none is used.
    std::mt19937 random_;
    double loss_ = 0;
    double damage_ = 0;
    std::uint64_t lost_ = 0;
    std::uint64_t damaged_ = 0;
};

} // namespace vistrame
