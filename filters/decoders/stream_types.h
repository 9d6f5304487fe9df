#pragma once

#include <optional>
#include <span>

#include <windows.h>
#include <dshow.h>

#include "filters/base/media_type.h"
#include "filters/base/class_row.h"
#include "transport/coding.h"

namespace vistrame {

// Class identifiers of the decoders.
inline constexpr CLSID CLSID_VistrameVideoDecoder = {
    0x5c7b1f0e, 0x93d4, 0x4a55, {0xb1, 0x6a, 0x0d, 0x4e, 0x82, 0xf7, 0x3c, 0x19}};
inline constexpr CLSID CLSID_VistrameAudioDecoder = {
    0x8e20d7c3, 0x41ab, 0x4f6e, {0x9d, 0x35, 0x67, 0xb8, 0x0c, 0xe1, 0x5a, 0xf4}};

// What a compressed stream's media type says about its coding. Only the identifiers count: live formats are
// known from the stream itself, and the format blocks offered with them are samples at best.
//
// Video      MEDIATYPE_Video and one of the subtypes; any format type.
// Audio      MEDIATYPE_Audio or no major type, and one of the subtypes; or no subtype and a WAVEFORMATEX
//            whose tag tells the coding. AAC goes by LATM's identifiers, ADTS too: its decoder looks.
std::optional<Coding> VideoCodingOf(const MediaType& type);
std::optional<Coding> AudioCodingOf(const MediaType& type);
// The subtype to offer for a coding; GUID_NULL for one that has none above.
GUID SubtypeOf(Coding coding);

// The subtypes above for the pins and for the filter mapper.
std::span<const REGPINTYPES> VideoStreamTypes();
std::span<const REGPINTYPES> AudioStreamTypes();
std::span<const PinRow> VideoDecoderPins();
std::span<const PinRow> AudioDecoderPins();

} // namespace vistrame
