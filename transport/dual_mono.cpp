#include "transport/dual_mono.h"

namespace vistrame {

bool IsDualMono(Coding coding, ByteSpan frame) {
    constexpr std::size_t kHeader = 7; // bytes, the longer of the two
    constexpr unsigned kDualChannel = 2;
    constexpr unsigned kLastOfAc3 = 10; // of the numbers of the bit stream's syntax; E-AC-3 has those above
    if (frame.size() < kHeader) {
        return false;
    }
    if (coding == Coding::kMpegAudio) {
        return frame[0] == 0xFF && frame[3] >> 6 == kDualChannel;
    }
    if (coding != Coding::kAc3 && coding != Coding::kEac3) {
        return false;
    }
    const unsigned syntax = frame[5] >> 3;
    const unsigned channels = syntax > kLastOfAc3 ? frame[4] >> 1 & 7U : frame[6] >> 5; // 0: one and one
    return frame[0] == 0x0B && frame[1] == 0x77 && channels == 0;
}

} // namespace vistrame
