#include "filters/demux/pin_types.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include <dshow.h>
#include <dvdmedia.h>
#include <mmreg.h>

#include "contract/launch_line.h"
#include "filters/base/reference_time.h"
#include "filters/base/subtypes.h"
#include "filters/decoders/stream_types.h"

namespace vistrame {

namespace {

const GUID& MajorOf(Coding coding) {
    return IsVideo(coding) ? MEDIATYPE_Video : MEDIATYPE_Audio;
}

struct VideoShape {
    LONG width, height;
    DWORD aspectX, aspectY;
    REFERENCE_TIME pictureTime; // 0: unspecified
    DWORD compression;
    DWORD profile, level;
};

// A decoder takes the real values from the stream; these are those of the launch field's usual programmes.
constexpr VideoShape kMpeg2Shape{720, 576, 4, 3, ReferenceFromMilliseconds(40), 0, 2, 2};
constexpr VideoShape kH264Shape{1280, 720, 16, 9, 417'083, FourCc("avc1"), 0, 0};

MPEG2VIDEOINFO Mpeg2VideoInfo(const VideoShape& shape) {
    MPEG2VIDEOINFO info{};
    info.hdr.AvgTimePerFrame = shape.pictureTime;
    info.hdr.dwPictAspectRatioX = shape.aspectX;
    info.hdr.dwPictAspectRatioY = shape.aspectY;
    info.hdr.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.hdr.bmiHeader.biWidth = shape.width;
    info.hdr.bmiHeader.biHeight = shape.height;
    info.hdr.bmiHeader.biPlanes = 1;
    info.hdr.bmiHeader.biBitCount = 24;
    info.hdr.bmiHeader.biCompression = shape.compression;
    info.dwProfile = shape.profile;
    info.dwLevel = shape.level;
    return info;
}

MediaType TypeOf(Coding coding) {
    MediaType type(MajorOf(coding), SubtypeOf(coding));
    type.Fields().bFixedSizeSamples = FALSE;
    type.Fields().bTemporalCompression = IsVideo(coding) ? TRUE : FALSE;
    return type;
}

// The coding with both kinds of format block that decoders ask for.
std::vector<MediaType> VideoTypes(Coding coding, const VideoShape& shape) {
    const MPEG2VIDEOINFO info = Mpeg2VideoInfo(shape);
    MediaType full = TypeOf(coding);
    full.SetFormat(FORMAT_MPEG2Video, info);
    MediaType plain = TypeOf(coding);
    plain.SetFormat(FORMAT_VideoInfo2, info.hdr);
    return {full, plain};
}

WAVEFORMATEX WaveFormat(WORD tag, DWORD bytesPerSecond, WORD blockAlign, WORD bits, std::size_t extra) {
    return {.wFormatTag = tag,
            .nChannels = 2,
            .nSamplesPerSec = 48000,
            .nAvgBytesPerSec = bytesPerSecond,
            .nBlockAlign = blockAlign,
            .wBitsPerSample = bits,
            .cbSize = static_cast<WORD>(extra)};
}

template <class Format>
std::vector<MediaType> AudioTypes(Coding coding, const Format& format) {
    MediaType type = TypeOf(coding);
    type.SetFormat(FORMAT_WaveFormatEx, format);
    return {type};
}

MPEG1WAVEFORMAT MpegAudioFormat() {
    MPEG1WAVEFORMAT format{};
    format.wfx = WaveFormat(WAVE_FORMAT_MPEG, 24000, 576, 16, sizeof(MPEG1WAVEFORMAT) - sizeof(WAVEFORMATEX));
    format.fwHeadLayer = ACM_MPEG_LAYER2;
    format.dwHeadBitrate = 192'000;
    format.fwHeadMode = ACM_MPEG_STEREO;
    format.fwHeadModeExt = 1;
    format.fwHeadFlags = ACM_MPEG_ID_MPEG1;
    return format;
}

struct AacFormat {
    std::array<std::byte, sizeof(WAVEFORMATEX)> head;
    std::array<std::byte, 2> config; // AudioSpecificConfig: AAC-LC, 48 kHz, stereo
};

AacFormat LatmFormat() {
    AacFormat format{};
    const WAVEFORMATEX head = WaveFormat(kTagRawAac, 9375, 400, 0, sizeof(format.config));
    std::ranges::copy(std::as_bytes(std::span(&head, 1)), format.head.begin());
    format.config = {std::byte{0x11}, std::byte{0x90}};
    return format;
}

} // namespace

Coding CodingOfPin(const MediaType& type) {
    if (const auto video = VideoCodingOf(type)) {
        return *video;
    }
    return AudioCodingOf(type).value_or(Coding::kOther);
}

std::vector<MediaType> CompletedTypes(const MediaType& given) {
    std::vector<MediaType> types{given};
    const Coding coding = CodingOfPin(given);
    if (coding != Coding::kOther && (given->majortype == GUID_NULL || given->subtype == GUID_NULL)) {
        MediaType completed(given);
        completed.Fields().majortype = MajorOf(coding);
        completed.Fields().subtype = SubtypeOf(coding);
        types.push_back(completed);
    }
    return types;
}

std::vector<MediaType> VideoPinTypes(ULONG videoType) {
    switch (videoType) {
        case kVideoTypeMpeg2:
            return VideoTypes(Coding::kMpeg2Video, kMpeg2Shape);
        case kVideoTypeH264:
            return VideoTypes(Coding::kH264, kH264Shape);
        default:
            return {TypeOf(Coding::kHevc)}; // no format block: there is no agreed one
    }
}

std::vector<MediaType> AudioPinTypes(ULONG audioType) {
    // As decoders expect it for Dolby.
    const WAVEFORMATEX dolby = WaveFormat(WAVE_FORMAT_PCM, 192'000, 4, 16, 0);
    switch (audioType) {
        case kAudioTypeMpeg:
            return AudioTypes(Coding::kMpegAudio, MpegAudioFormat());
        case kAudioTypeAc3:
            return AudioTypes(Coding::kAc3, dolby);
        case kAudioTypeAac:
            return AudioTypes(Coding::kAacLatm, LatmFormat());
        case kAudioTypeEac3:
            return AudioTypes(Coding::kEac3, dolby);
        default:
            return {};
    }
}

} // namespace vistrame
