#include "transport/access_unit.h"

#include <optional>

#include "transport/nal_unit.h"
#include "transport/start_codes.h"

namespace vistrame {
namespace {

// Reads bits, most significant first, and Exp-Golomb codes. Past the end it reads zeros.
class BitReader {
public:
    explicit BitReader(ByteSpan bytes) : bytes_(bytes) {}

    unsigned Bit() {
        const std::size_t byte = at_ / 8;
        const unsigned shift = 7 - at_ % 8;
        ++at_;
        return byte < bytes_.size() ? bytes_[byte] >> shift & 1U : 0;
    }
    // Nothing when the code is longer than any used here.
    std::optional<unsigned> UnsignedGolomb() {
        constexpr unsigned kLongest = 24;
        unsigned zeros = 0;
        while (Bit() == 0) {
            if (++zeros > kLongest) {
                return std::nullopt;
            }
        }
        unsigned value = 1;
        for (unsigned i = 0; i < zeros; ++i) {
            value = value << 1 | Bit();
        }
        return value - 1;
    }

private:
    ByteSpan bytes_;
    std::size_t at_ = 0;
};

bool IsMpegVideoStart(ByteSpan accessUnit) {
    constexpr std::uint8_t kPicture = 0x00;
    constexpr std::uint8_t kSequence = 0xB3;
    constexpr unsigned kIntra = 1;
    StartCodes codes(accessUnit);
    bool sequence = false;
    for (ByteSpan unit = codes.Next(); !unit.empty(); unit = codes.Next()) {
        if (unit[0] == kSequence) {
            sequence = true;
        } else if (unit[0] == kPicture) {
            // 10 bits of temporal reference, then 3 of coding type
            return sequence && unit.size() > 2 && (unit[2] >> 3 & 7U) == kIntra;
        }
    }
    return false;
}

bool HasRecoveryPoint(ByteSpan sei) {
    constexpr std::size_t kRecoveryPoint = 6;
    SeiMessages messages(sei.subspan(1));
    for (auto message = messages.Next(); message; message = messages.Next()) {
        if (message->type == kRecoveryPoint) {
            return true;
        }
    }
    return false;
}

bool IsH264Start(ByteSpan accessUnit) {
    enum : std::uint8_t { kSlice = 1, kSlicePartA = 2, kIdr = 5, kSei = 6, kParameters = 7 };
    StartCodes codes(accessUnit);
    bool parameters = false;
    bool recovery = false;
    for (ByteSpan unit = codes.Next(); !unit.empty(); unit = codes.Next()) {
        switch (unit[0] & 0x1F) {
            case kIdr:
                return true;
            case kParameters:
                parameters = true;
                break;
            case kSei:
                recovery = recovery || HasRecoveryPoint(unit);
                break;
            case kSlice:
            case kSlicePartA: {
                BitReader header(unit.subspan(1));
                (void)header.UnsignedGolomb(); // first macroblock
                const unsigned type = header.UnsignedGolomb().value_or(0);
                const bool intra = type % 5 == 2; // I, also in the form "all slices of the picture"
                return recovery || (parameters && intra);
            }
            default:
                break;
        }
    }
    return false;
}

bool IsHevcStart(ByteSpan accessUnit) {
    constexpr unsigned kFirstNonPicture = 32;
    constexpr unsigned kFirstIrap = 16;
    constexpr unsigned kLastIrap = 23;
    StartCodes codes(accessUnit);
    for (ByteSpan unit = codes.Next(); !unit.empty(); unit = codes.Next()) {
        const unsigned type = unit[0] >> 1 & 0x3F;
        if (type < kFirstNonPicture) {
            return type >= kFirstIrap && type <= kLastIrap;
        }
    }
    return false;
}

} // namespace

bool IsRandomAccessPoint(Coding coding, ByteSpan accessUnit) {
    switch (coding) {
        case Coding::kMpeg1Video:
        case Coding::kMpeg2Video:
            return IsMpegVideoStart(accessUnit);
        case Coding::kH264:
            return IsH264Start(accessUnit);
        case Coding::kHevc:
            return IsHevcStart(accessUnit);
        default:
            return IsAudio(coding);
    }
}

} // namespace vistrame
