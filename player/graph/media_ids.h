// Media identifiers the player offers to decoders and demultiplexers.
#pragma once

#include <cstdint>

#include "player/graph/class_id.h"

namespace vistrame {

// The platform's families of subtypes: a number in the first 32 bits of one fixed identifier.
constexpr ClassId NumberedSubtype(std::uint32_t number) {
    ClassId id = "00000000-0000-0010-8000-00AA00389B71"_id;
    id.data1 = number;
    return id;
}

constexpr std::uint32_t FourCc(const char (&code)[5]) {
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i) {
        value = value << 8 | static_cast<std::uint8_t>(code[i]);
    }
    return value;
}

constexpr ClassId FourCcSubtype(const char (&code)[5]) {
    return NumberedSubtype(FourCc(code));
}

inline constexpr ClassId kNullId{};
inline constexpr ClassId kVideoType = FourCcSubtype("vids"); // major types
inline constexpr ClassId kAudioType = FourCcSubtype("auds");

inline constexpr ClassId kMpeg2Video = "E06D8026-DB46-11CF-B4D1-00805F6CBBEA"_id; // subtypes
inline constexpr ClassId kH264Video = FourCcSubtype("H264");
inline constexpr ClassId kHevcVideo = FourCcSubtype("HEVC");
inline constexpr ClassId kMpegAudio = "E06D802B-DB46-11CF-B4D1-00805F6CBBEA"_id; // layers 1 and 2
inline constexpr ClassId kAc3Audio = "E06D802C-DB46-11CF-B4D1-00805F6CBBEA"_id;
inline constexpr ClassId kLatmAacAudio = NumberedSubtype(0x1602); // wave format tag of AAC in LATM/LOAS
inline constexpr ClassId kEac3Audio = "A7FB87AF-2D02-42FB-A4D4-05CD93843BDD"_id;

inline constexpr ClassId kMpeg2VideoFormat = "E06D80E3-DB46-11CF-B4D1-00805F6CBBEA"_id; // format blocks
inline constexpr ClassId kWaveFormat = "05589F81-C356-11CE-BF01-00AA0055595A"_id;

} // namespace vistrame
