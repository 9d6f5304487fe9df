#pragma once

#include <string_view>

#include "transport/bytes.h"

namespace vistrame {

// What an elementary stream holds, as far as the player can be asked for it.
enum class Coding : std::uint8_t {
    kOther, // data, subtitles, anything below not listed, or not known yet
    kMpeg1Video,
    kMpeg2Video,
    kH264,
    kHevc,
    kMpegAudio,
    kAc3,
    kEac3,
    kAacLatm,
    kAacAdts,
};

// From the PMT's stream type and, for private data, the stream's descriptors (their bytes as transmitted).
Coding CodingOf(std::uint8_t streamType, ByteSpan descriptors);
bool IsVideo(Coding coding);
bool IsAudio(Coding coding);
// For people: "MPEG-2 video", "AC-3", ...
std::string_view CodingName(Coding coding);

} // namespace vistrame
