#include "tests/filters/decoders/high_efficiency_aac.h"

#include <array>

namespace vistrame::test {

namespace {

// From the encoder that make-foreign uses, at 16 kbit/s: frames with all that a decoder needs to begin.
using Frame = std::array<std::uint8_t, 79>;
constexpr Frame kVersion1 = {
    0x01, 0x1c, 0x31, 0x01, 0x16, 0x30, 0xb8, 0x17, 0xd9, 0x11, 0x6e, 0x89, 0xef, 0x3e, 0x44, 0x90,
    0xf9, 0x2b, 0xba, 0x23, 0xbd, 0x16, 0x70, 0xde, 0x09, 0xb9, 0xa8, 0x2e, 0x82, 0x00, 0x00, 0x00,
    0x3f, 0xfe, 0x1f, 0xff, 0x1f, 0xff, 0xdf, 0x15, 0xfe, 0x40, 0x11, 0xbc, 0x4c, 0x42, 0x96, 0x96,
    0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96,
    0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x96, 0x97, 0x07,
};
constexpr Frame kVersion2 = {
    0x01, 0x1c, 0x31, 0x0d, 0x16, 0x30, 0x38, 0x84, 0x1e, 0x07, 0x47, 0x6b, 0x00, 0x79, 0xeb, 0xa7,
    0xc8, 0xaf, 0xa0, 0x13, 0xd0, 0x7c, 0x15, 0x21, 0xf0, 0x0b, 0x49, 0x8f, 0x74, 0x35, 0x46, 0x36,
    0xf0, 0xad, 0xcd, 0x41, 0x74, 0x10, 0x00, 0x00, 0x00, 0x7f, 0xff, 0x6f, 0xff, 0xf0, 0x8a, 0xff,
    0x20, 0x09, 0x7b, 0x10, 0x2f, 0x40, 0x58, 0x04, 0xaf, 0xcd, 0xe0, 0xa2, 0x14, 0xb4, 0xb4, 0xb4,
    0xb4, 0xb4, 0xb4, 0xb4, 0xb4, 0xb4, 0xb4, 0xb4, 0xb4, 0xb4, 0xb4, 0xb4, 0xb4, 0xb4, 0xbc,
};

class BitWriter {
public:
    void Put(unsigned value, int bits) {
        for (; bits > 0; --bits, ++count_) {
            if (count_ % 8 == 0) {
                bytes_.push_back(0);
            }
            bytes_.back() |= static_cast<std::uint8_t>((value >> (bits - 1) & 1) << (7 - count_ % 8));
        }
    }
    void Put(const Frame& frame) {
        for (const std::uint8_t byte : frame) {
            Put(byte, 8);
        }
    }
    const Bytes& Written() const { return bytes_; }

private:
    Bytes bytes_;
    int count_ = 0;
};

constexpr unsigned kLowComplexity = 2; // object type
constexpr unsigned k48kHz = 3, k24kHz = 6;

Bytes Adts(const Frame& frame) {
    BitWriter bits;
    bits.Put(0xFFF1, 16); // MPEG-4, no check sum
    bits.Put(kLowComplexity - 1, 2);
    bits.Put(k24kHz, 4);
    bits.Put(1, 4); // channel
    bits.Put(0, 4);
    bits.Put(frame.size() + 7, 13);
    bits.Put(0x7FF, 11); // the bit rate varies
    bits.Put(0, 2);
    bits.Put(frame);
    return bits.Written();
}

Bytes Loas(const Frame& frame, unsigned objectType) {
    BitWriter bits;
    bits.Put(0, 1);        // the configuration comes along
    bits.Put(1 << 13, 15); // one programme, one layer, one frame
    bits.Put(objectType, 5);
    bits.Put(k24kHz, 4);
    bits.Put(1, 4); // channel
    if (objectType != kLowComplexity) {
        bits.Put(k48kHz, 4);
        bits.Put(kLowComplexity, 5);
    }
    bits.Put(0, 3);    // frames of 1024 samples, no dependence, no extension
    bits.Put(0, 3);    // frames of any length
    bits.Put(0xFF, 8); // the bit rate varies
    bits.Put(0, 2);    // nothing else, no check sum
    bits.Put(frame.size(), 8);
    bits.Put(frame);
    BitWriter stream;
    stream.Put(0x2B7, 11);
    stream.Put(static_cast<unsigned>(bits.Written().size()), 13);
    Bytes bytes = stream.Written();
    bytes.insert(bytes.end(), bits.Written().begin(), bits.Written().end());
    return bytes;
}

} // namespace

std::vector<StreamPiece> HighEfficiencyAac(AacFrames frames, bool version2) {
    constexpr int kFrames = 48, kTogether = 3;
    const Frame& raw = version2 ? kVersion2 : kVersion1;
    const Bytes frame = frames == AacFrames::kAdts ? Adts(raw) : Loas(raw, static_cast<unsigned>(frames));
    std::vector<StreamPiece> pieces(kFrames / kTogether);
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        pieces[i].time = static_cast<std::int64_t>(i) * kTogether * 2048 * kUnitsPerSecond / 48'000;
        for (int n = 0; n < kTogether; ++n) {
            pieces[i].data.insert(pieces[i].data.end(), frame.begin(), frame.end());
        }
    }
    return pieces;
}

} // namespace vistrame::test
