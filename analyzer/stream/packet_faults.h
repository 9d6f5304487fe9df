#pragma once

#include <cstdint>
#include <random>
#include <span>
#include <vector>

#include "transport/packet.h"

namespace vistrame {

// How what is sent is broken beyond what a line does to whole packets.
enum class Spoiling : std::uint8_t {
    kNothing,
    kTruncated, // every fourth packet ends early, so that the others no longer lie where they should
    kFlipped,   // eight bits of each packet, anywhere, are wrong
    kShuffled,  // packets that go out together are in any order
    kSized,     // 16 bytes stand behind each packet
    kRandom,    // nothing of the stream is left
};

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

    void SetSpoiling(Spoiling spoiling) { spoiling_ = spoiling; }
    // Of whole packets makes what may be no packets at all.
    void Spoil(std::vector<std::uint8_t>& packets);

    std::uint64_t Lost() const { return lost_; }
    std::uint64_t Damaged() const { return damaged_; }

private:
    bool Happens(double share);
    std::size_t Below(std::size_t limit) { return random_() % limit; }

    // The engine's sequence is fixed by the standard; the library's distributions are not, so none is used.
    std::mt19937 random_;
    double loss_ = 0;
    double damage_ = 0;
    Spoiling spoiling_ = Spoiling::kNothing;
    std::uint64_t lost_ = 0;
    std::uint64_t damaged_ = 0;
};

} // namespace vistrame
