#include "transport/coding.h"

#include <algorithm>
#include <array>

#include "transport/descriptors.h"

namespace vistrame {
namespace {

struct TypeRow {
    std::uint8_t streamType;
    Coding coding;
};
// Stream types of MPEG-2 systems, and the two that private use has made common for Dolby audio.
constexpr std::array kStreamTypes{
    TypeRow{0x01, Coding::kMpeg1Video}, TypeRow{0x02, Coding::kMpeg2Video}, TypeRow{0x03, Coding::kMpegAudio},
    TypeRow{0x04, Coding::kMpegAudio},  TypeRow{0x0F, Coding::kAacAdts},    TypeRow{0x11, Coding::kAacLatm},
    TypeRow{0x1B, Coding::kH264},       TypeRow{0x24, Coding::kHevc},       TypeRow{0x81, Coding::kAc3},
    TypeRow{0x87, Coding::kEac3},
};

constexpr std::uint8_t kPrivatePes = 0x06;
constexpr std::uint8_t kRegistrationDescriptor = 0x05;
constexpr std::uint8_t kAc3Descriptor = 0x6A;
constexpr std::uint8_t kEac3Descriptor = 0x7A;

struct RegistrationRow {
    std::uint32_t format;
    Coding coding;
};
constexpr std::array kRegistrations{
    RegistrationRow{0x41432D33, Coding::kAc3},  // "AC-3"
    RegistrationRow{0x45414333, Coding::kEac3}, // "EAC3"
    RegistrationRow{0x48455643, Coding::kHevc}, // "HEVC"
};

struct NameRow {
    Coding coding;
    std::string_view name;
    bool video;
};
constexpr std::array kNames{
    NameRow{Coding::kOther, "other", false},
    NameRow{Coding::kMpeg1Video, "MPEG-1 video", true},
    NameRow{Coding::kMpeg2Video, "MPEG-2 video", true},
    NameRow{Coding::kH264, "H.264", true},
    NameRow{Coding::kHevc, "HEVC", true},
    NameRow{Coding::kMpegAudio, "MPEG audio", false},
    NameRow{Coding::kAc3, "AC-3", false},
    NameRow{Coding::kEac3, "E-AC-3", false},
    NameRow{Coding::kAacLatm, "AAC LATM", false},
    NameRow{Coding::kAacAdts, "AAC ADTS", false},
};
static_assert(std::ranges::is_sorted(kNames, {}, &NameRow::coding), "one row per coding, in its order");

const NameRow& RowOf(Coding coding) {
    return kNames.at(static_cast<std::size_t>(coding));
}

Coding CodingOfPrivatePes(ByteSpan descriptors) {
    Coding coding = Coding::kOther;
    ForEachDescriptor(descriptors, [&](std::uint8_t tag, ByteSpan body) {
        if (tag == kAc3Descriptor) {
            coding = Coding::kAc3;
        } else if (tag == kEac3Descriptor) {
            coding = Coding::kEac3;
        } else if (tag == kRegistrationDescriptor && body.size() >= 4 && coding == Coding::kOther) {
            const std::uint32_t format = ReadBig32(body, 0);
            const auto* row = std::ranges::find(kRegistrations, format, &RegistrationRow::format);
            coding = row != kRegistrations.end() ? row->coding : Coding::kOther;
        }
    });
    return coding;
}

} // namespace

Coding CodingOf(std::uint8_t streamType, ByteSpan descriptors) {
    if (streamType == kPrivatePes) {
        return CodingOfPrivatePes(descriptors);
    }
    const auto* row = std::ranges::find(kStreamTypes, streamType, &TypeRow::streamType);
    return row != kStreamTypes.end() ? row->coding : Coding::kOther;
}

bool IsVideo(Coding coding) {
    return RowOf(coding).video;
}

bool IsAudio(Coding coding) {
    return coding != Coding::kOther && !RowOf(coding).video;
}

std::string_view CodingName(Coding coding) {
    return RowOf(coding).name;
}

} // namespace vistrame
