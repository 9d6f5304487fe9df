#include "transport/aac_framing.h"

#include <algorithm>
#include <iterator>

namespace vistrame {
namespace {

struct Framing {
    Coding coding;
    std::uint8_t first, second, secondMask; // the sync word's bytes
    std::size_t header;                     // bytes up to and with the length
    std::size_t (*length)(ByteSpan header); // of the whole frame
};

constexpr Framing kFramings[] = {
    {Coding::kAacLatm, 0x56, 0xE0, 0xE0, 3,
     [](ByteSpan h) { return 3 + ((std::size_t{h[1]} & 0x1F) << 8 | h[2]); }},
    // The layer's two bits, which are always zero, belong to the mask.
    {Coding::kAacAdts, 0xFF, 0xF0, 0xF6, 6,
     [](ByteSpan h) { return (std::size_t{h[3]} & 3) << 11 | std::size_t{h[4]} << 3 | h[5] >> 5; }},
};

bool Begins(const Framing& framing, ByteSpan bytes) {
    return bytes.size() >= 2 && bytes[0] == framing.first &&
           (bytes[1] & framing.secondMask) == framing.second;
}

bool BeginsWithFrame(const Framing& framing, ByteSpan bytes) {
    if (!Begins(framing, bytes) || bytes.size() < framing.header) {
        return false;
    }
    const std::size_t length = framing.length(bytes);
    return length > framing.header && length <= bytes.size() &&
           (length == bytes.size() || Begins(framing, bytes.subspan(length)));
}

} // namespace

bool HoldsAacFrame(Coding framing, ByteSpan bytes) {
    const auto* row = std::ranges::find(kFramings, framing, &Framing::coding);
    while (row != std::end(kFramings) && !bytes.empty()) {
        if (BeginsWithFrame(*row, bytes)) {
            return true;
        }
        bytes = bytes.subspan(1);
    }
    return false;
}

} // namespace vistrame
