#include "transport/picture_shape.h"

#include <algorithm>
#include <array>

#include "transport/nal_unit.h"
#include "transport/start_codes.h"

namespace vistrame {
namespace {

// Reads bits; behind the end all are zero, and Good() says so.
class Bits {
public:
    explicit Bits(ByteSpan bytes) : bytes_(bytes) {}

    unsigned Take(unsigned count) {
        unsigned value = 0;
        for (; count > 0; --count, ++at_) {
            const std::size_t byte = at_ / 8;
            value = value << 1 | (byte < bytes_.size() ? bytes_[byte] >> (7 - at_ % 8) & 1U : 0U);
        }
        return value;
    }
    void Skip(std::size_t count) { at_ += count; }
    // Exponential Golomb code.
    unsigned TakeUe() {
        unsigned zeros = 0;
        while (Good() && zeros < 31 && Take(1) == 0) {
            ++zeros;
        }
        return (1U << zeros) - 1 + Take(zeros);
    }
    int TakeSe() {
        const unsigned code = TakeUe();
        return code % 2 == 1 ? static_cast<int>(code / 2 + 1) : -static_cast<int>(code / 2);
    }
    bool Good() const { return at_ <= bytes_.size() * 8; }

private:
    ByteSpan bytes_;
    std::size_t at_ = 0;
};

std::optional<PictureShape> Shape(unsigned width, unsigned height, double pixelAspect) {
    constexpr unsigned kLargest = 16384;
    if (width == 0 || height == 0 || width > kLargest || height > kLargest || !(pixelAspect > 0.1) ||
        !(pixelAspect < 10)) {
        return std::nullopt;
    }
    return PictureShape{width, height, pixelAspect * width / height};
}

std::optional<PictureShape> Mpeg2Shape(ByteSpan header) {
    // aspect_ratio_information: of the pixels (1) or of the picture.
    constexpr std::array kAspects{0.0, 0.0, 4.0 / 3, 16.0 / 9, 2.21};
    if (header.size() < 4) {
        return std::nullopt;
    }
    const unsigned width = static_cast<unsigned>(header[0]) << 4 | header[1] >> 4;
    const unsigned height = (header[1] & 0x0FU) << 8 | header[2];
    const std::size_t code = header[3] >> 4;
    auto shape = Shape(width, height, 1);
    if (shape && code >= 2 && code < kAspects.size()) {
        shape->aspect = kAspects[code];
    }
    return shape;
}

// aspect_ratio_idc of H.264 and HEVC, behind its flag.
double TakePixelAspect(Bits& bits) {
    struct Ratio {
        unsigned width, height;
    };
    constexpr std::array kRatios{Ratio{1, 1},   Ratio{1, 1},   Ratio{12, 11}, Ratio{10, 11},  Ratio{16, 11},
                                 Ratio{40, 33}, Ratio{24, 11}, Ratio{20, 11}, Ratio{32, 11},  Ratio{80, 33},
                                 Ratio{18, 11}, Ratio{15, 11}, Ratio{64, 33}, Ratio{160, 99}, Ratio{4, 3},
                                 Ratio{3, 2},   Ratio{2, 1}};
    constexpr unsigned kExtended = 255;
    if (bits.Take(1) == 0) {
        return 1;
    }
    const unsigned code = bits.Take(8);
    if (code == kExtended) {
        const unsigned width = bits.Take(16);
        const unsigned height = bits.Take(16);
        return width == 0 || height == 0 ? 1 : static_cast<double>(width) / height;
    }
    return code < kRatios.size() ? static_cast<double>(kRatios[code].width) / kRatios[code].height : 1;
}

void SkipScalingLists(Bits& bits, unsigned lists) {
    for (unsigned list = 0; list < lists; ++list) {
        if (bits.Take(1) == 0) {
            continue;
        }
        unsigned last = 8;
        unsigned next = 8;
        for (int i = 0; i < (list < 6 ? 16 : 64) && next != 0 && bits.Good(); ++i) {
            next = (last + static_cast<unsigned>(bits.TakeSe())) & 0xFF; // a damaged step may be any number
            last = next != 0 ? next : last;
        }
    }
}

std::optional<PictureShape> H264Shape(ByteSpan sps) {
    Bits bits(sps);
    const unsigned profile = bits.Take(8);
    bits.Skip(16);       // constraints, level
    (void)bits.TakeUe(); // identifier
    unsigned chroma = 1;
    for (const unsigned high : {100U, 110U, 122U, 244U, 44U, 83U, 86U, 118U, 128U}) {
        if (profile != high) {
            continue;
        }
        chroma = bits.TakeUe();
        bits.Skip(chroma == 3 ? 1 : 0);
        (void)bits.TakeUe(); // depths
        (void)bits.TakeUe();
        bits.Skip(1);
        if (bits.Take(1) != 0) {
            SkipScalingLists(bits, chroma == 3 ? 12 : 8);
        }
    }
    (void)bits.TakeUe(); // frame numbers
    const unsigned order = bits.TakeUe();
    if (order == 0) {
        (void)bits.TakeUe();
    } else if (order == 1) {
        bits.Skip(1);
        (void)bits.TakeSe();
        (void)bits.TakeSe();
        for (unsigned left = bits.TakeUe(); left > 0 && bits.Good(); --left) {
            (void)bits.TakeSe();
        }
    }
    (void)bits.TakeUe(); // reference frames
    bits.Skip(1);
    const unsigned columns = bits.TakeUe() + 1;
    const unsigned rows = bits.TakeUe() + 1;
    const unsigned frames = bits.Take(1); // 0: rows are those of a field
    bits.Skip(frames == 0 ? 1 : 0);
    bits.Skip(1);
    unsigned cropX = 0;
    unsigned cropY = 0;
    if (bits.Take(1) != 0) {
        cropX = bits.TakeUe() + bits.TakeUe();
        cropY = bits.TakeUe() + bits.TakeUe();
    }
    const double pixel = bits.Take(1) != 0 ? TakePixelAspect(bits) : 1;
    const unsigned unitX = chroma == 1 || chroma == 2 ? 2 : 1;
    const unsigned unitY = (chroma == 1 ? 2 : 1) * (2 - frames);
    return bits.Good() ? Shape(columns * 16 - cropX * unitX, rows * 16 * (2 - frames) - cropY * unitY, pixel)
                       : std::nullopt;
}

// Up to the size and no further: HEVC's way to its pixel aspect is long, and broadcasts are of square pixels.
std::optional<PictureShape> HevcShape(ByteSpan sps) {
    Bits bits(sps);
    bits.Skip(4);
    const unsigned layers = bits.Take(3); // less one
    bits.Skip(1 + 88 + 8);                // profile, tier and level
    std::array<unsigned, 8> present{};
    for (unsigned i = 0; i < layers; ++i) {
        present[i] = bits.Take(2);
    }
    bits.Skip(layers > 0 ? 2 * (8 - layers) : 0);
    for (unsigned i = 0; i < layers; ++i) {
        bits.Skip(((present[i] & 2) != 0 ? 88U : 0U) + ((present[i] & 1) != 0 ? 8U : 0U));
    }
    (void)bits.TakeUe(); // identifier
    const unsigned chroma = bits.TakeUe();
    bits.Skip(chroma == 3 ? 1 : 0);
    unsigned width = bits.TakeUe();
    unsigned height = bits.TakeUe();
    if (bits.Take(1) != 0) {
        width -= (bits.TakeUe() + bits.TakeUe()) * (chroma == 1 || chroma == 2 ? 2 : 1);
        height -= (bits.TakeUe() + bits.TakeUe()) * (chroma == 1 ? 2 : 1);
    }
    return bits.Good() ? Shape(width, height, 1) : std::nullopt;
}

} // namespace

std::optional<PictureShape> FindPictureShape(Coding coding, ByteSpan stream) {
    constexpr std::uint8_t kSequenceHeader = 0xB3;
    constexpr std::size_t kLongestUnit = 256; // of a parameter set that is looked at
    StartCodes codes(stream);
    for (ByteSpan rest = codes.Next(); !rest.empty(); rest = codes.Next()) {
        const std::uint8_t code = rest[0];
        const ByteSpan unit = rest.subspan(1, std::min(rest.size() - 1, kLongestUnit));
        std::optional<PictureShape> shape;
        if (coding == Coding::kH264 && (code & 0x9F) == 7) {
            shape = H264Shape(Unescaped(unit));
        } else if (coding == Coding::kHevc && (code >> 1 & 0x3F) == 33 && !unit.empty()) {
            shape = HevcShape(Unescaped(unit.subspan(1)));
        } else if ((coding == Coding::kMpeg1Video || coding == Coding::kMpeg2Video) &&
                   code == kSequenceHeader) {
            shape = Mpeg2Shape(unit);
        }
        if (shape) {
            return shape;
        }
    }
    return std::nullopt;
}

} // namespace vistrame
