#include "filters/decoders/stream_types.h"

#include <algorithm>
#include <array>

#include <mmreg.h>

#include "filters/base/subtypes.h"

namespace vistrame {

namespace {

constexpr GUID kMpeg2Video = {0xe06d8026, 0xdb46, 0x11cf, {0xb4, 0xd1, 0x00, 0x80, 0x5f, 0x6c, 0xbb, 0xea}};
constexpr GUID kMpeg2Audio = {0xe06d802b, 0xdb46, 0x11cf, {0xb4, 0xd1, 0x00, 0x80, 0x5f, 0x6c, 0xbb, 0xea}};
constexpr GUID kDolbyAc3 = {0xe06d802c, 0xdb46, 0x11cf, {0xb4, 0xd1, 0x00, 0x80, 0x5f, 0x6c, 0xbb, 0xea}};

struct StreamType {
    GUID subtype;
    Coding coding;
    bool alias = false; // known when asked for; streams of our own do not go by it
};

// H.264 as a byte stream with start codes: AVC1 and avc1 would be units behind their lengths.
constexpr std::array kVideo{
    StreamType{kMpeg2Video, Coding::kMpeg2Video},
    StreamType{FourCcSubtype("x264"), Coding::kH264, true},
    StreamType{FourCcSubtype("X264"), Coding::kH264, true},
    StreamType{FourCcSubtype("H264"), Coding::kH264},
    StreamType{FourCcSubtype("DAVC"), Coding::kH264, true},
    StreamType{FourCcSubtype("HEVC"), Coding::kHevc},
};
constexpr std::array kAudio{
    StreamType{kMpeg2Audio, Coding::kMpegAudio},
    StreamType{kDolbyAc3, Coding::kAc3},
    StreamType{NumberedSubtype(kTagLoas), Coding::kAacLatm},
    StreamType{kDolbyDigitalPlus, Coding::kEac3},
};

struct TaggedCoding {
    WORD tag;
    Coding coding;
};
constexpr TaggedCoding kTags[] = {
    {WAVE_FORMAT_MPEG, Coding::kMpegAudio},
    {kTagLoas, Coding::kAacLatm},
};

template <std::size_t Count>
std::array<REGPINTYPES, Count> PinTypes(const GUID& major, const std::array<StreamType, Count>& streams) {
    std::array<REGPINTYPES, Count> types{};
    std::ranges::transform(streams, types.begin(), [&](const StreamType& stream) {
        return REGPINTYPES{&major, &stream.subtype};
    });
    return types;
}

std::optional<Coding> Find(std::span<const StreamType> rows, const GUID& subtype) {
    const auto found =
        std::ranges::find_if(rows, [&](const StreamType& row) { return row.subtype == subtype; });
    return found != rows.end() ? std::optional(found->coding) : std::nullopt;
}

} // namespace

std::optional<Coding> VideoCodingOf(const MediaType& type) {
    return type->majortype == MEDIATYPE_Video ? Find(kVideo, type->subtype) : std::nullopt;
}

std::optional<Coding> AudioCodingOf(const MediaType& type) {
    if (type->majortype != MEDIATYPE_Audio && type->majortype != GUID_NULL) {
        return std::nullopt;
    }
    if (type->subtype != GUID_NULL) {
        return Find(kAudio, type->subtype);
    }
    const auto* format = type.FormatAs<WAVEFORMATEX>(FORMAT_WaveFormatEx);
    if (format == nullptr) {
        return std::nullopt;
    }
    const auto* found = std::ranges::find(kTags, format->wFormatTag, &TaggedCoding::tag);
    return found != std::end(kTags) ? std::optional(found->coding) : std::nullopt;
}

GUID SubtypeOf(Coding coding) {
    const std::span<const StreamType> rows = IsVideo(coding) ? std::span<const StreamType>(kVideo) : kAudio;
    const auto found =
        std::ranges::find_if(rows, [&](const StreamType& row) { return row.coding == coding && !row.alias; });
    return found != rows.end() ? found->subtype : GUID_NULL;
}

std::span<const REGPINTYPES> VideoStreamTypes() {
    static const auto types = PinTypes(MEDIATYPE_Video, kVideo);
    return types;
}

std::span<const REGPINTYPES> AudioStreamTypes() {
    static const auto types = PinTypes(MEDIATYPE_Audio, kAudio);
    return types;
}

std::span<const PinRow> VideoDecoderPins() {
    static const REGPINTYPES pictures[] = {{&MEDIATYPE_Video, &MEDIASUBTYPE_NV12},
                                           {&MEDIATYPE_Video, &MEDIASUBTYPE_RGB32}};
    static const PinRow pins[] = {{false, VideoStreamTypes()}, {true, pictures}};
    return pins;
}

std::span<const PinRow> AudioDecoderPins() {
    static const REGPINTYPES sound[] = {{&MEDIATYPE_Audio, &MEDIASUBTYPE_PCM}};
    static const PinRow pins[] = {{false, AudioStreamTypes()}, {true, sound}};
    return pins;
}

} // namespace vistrame
