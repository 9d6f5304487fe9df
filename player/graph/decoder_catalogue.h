// Which decoders the player uses: a fixed catalogue of vendors' filters instead of the platform's choice.
//
// Two tables of ten rows, one for MPEG-2 video and one for H.264 and HEVC, indexed by a setting of the user.
// Row 0 of each leaves the choice to a search among the registered filters; some rows are empty on purpose.
// Portable: no platform header, so the tables are also checked natively. Names of filters are what users see
// in graph viewers.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "player/graph/build_errors.h"
#include "player/graph/class_id.h"

namespace vistrame {

struct NamedClass {
    const wchar_t* graphName;
    ClassId id;
};

// How a video decoder's input and output pins are found.
enum class PinRule : std::uint8_t {
    kFirstInputFirstOutput, // by direction
    kFirstAndSecond,        // by enumeration order, whatever their directions
    kVideoInputVideoOutput, // by name, as the next two
    kVideoInVideoOut,
    kInOut,
};

struct PinNames {
    const wchar_t* input;
    const wchar_t* output;
};

// The names a rule looks for; empty for a rule that does not go by name.
std::optional<PinNames> NamesOf(PinRule rule);

// A value set on a vendor's filter after it has joined the graph.
struct FilterParameter {
    ClassId id;
    std::uint32_t value;
};

enum class DecoderSource : std::uint8_t {
    kSearch,    // any registered filter that takes the coding
    kFixedPair, // the row's two classes
    kNone,      // an empty slot: the build ends with the row's failure
};

struct DecoderRow {
    std::uint32_t choice; // the setting's value
    DecoderSource source;
    NamedClass audio; // of a fixed pair, as the next two
    NamedClass video;
    BuildError failure;
    PinRule pins = PinRule::kFirstInputFirstOutput;
    const ClassId* latmAudio = nullptr;                    // replaces audio's class for AAC in LATM/LOAS
    std::span<const FilterParameter> videoParameters = {}; // set on the video decoder
};

// `videoType` selects the table, one of the settings the row; a value beyond the table gives an empty row.
const DecoderRow& FindDecoderRow(std::int32_t videoType, std::uint32_t mpeg2Codec, std::uint32_t mpeg4Codec);

// The class of a row's audio decoder.
const ClassId& AudioClassOf(const DecoderRow& row, std::int32_t audioType);

// The setting in force for one build: under a debugger choice 1 gives way to choice 2.
constexpr std::uint32_t EffectiveMpeg2Codec(std::uint32_t mpeg2Codec, bool debuggerPresent) {
    return debuggerPresent && mpeg2Codec == 1 ? 2 : mpeg2Codec;
}

// Whether the platform demultiplexer's audio pin starts out as MPEG audio; with rows 5, 8 and 9 and every
// larger value it starts without any type. The setting decides it whatever the video's coding is.
constexpr bool PresetsMpegAudio(std::uint32_t mpeg2Codec) {
    return mpeg2Codec <= 7 && mpeg2Codec != 5;
}

// What a search for a video decoder offers, in this order, and what is reported when it finds none.
struct VideoSearch {
    std::span<const ClassId> subtypes;
    BuildError failure;
};
const VideoSearch& VideoSearchFor(std::int32_t videoType);

// Null for a coding that gets no audio decoder.
const ClassId* AudioSubtypeFor(std::int32_t audioType);

// Accepts nearly everything and so is passed over in a search unless it is the only one found.
inline constexpr ClassId kFfdshowVideo = "04FE9017-F873-410E-871E-AB91661A4EF7"_id;
inline constexpr ClassId kFfdshowAudio = "0F40E1E5-4F79-4988-B1A9-CC98794E6B55"_id;

} // namespace vistrame
