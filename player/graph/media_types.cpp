#include "player/graph/media_types.h"

#include <cstring>
#include <utility>

#include <mmreg.h>
#include <dvdmedia.h>

#include "player/graph/com.h"
#include "player/graph/decoder_catalogue.h"
#include "player/graph/media_ids.h"
#include "contract/launch_line.h"

namespace vistrame {
namespace {

static_assert(sizeof(MPEG2VIDEOINFO) == 136 && sizeof(MPEG1WAVEFORMAT) == 40 && sizeof(WAVEFORMATEX) == 18);

// The platform demultiplexer's video block: the structure and room for a sequence header. Less of the room is
// declared than there is; the decoders of the catalogue have always been offered these two lengths.
constexpr std::size_t kRoomyBlock = sizeof(MPEG2VIDEOINFO) + 2000;
constexpr ULONG kDeclaredBlock = sizeof(MPEG2VIDEOINFO) + 1000;

template <typename Format>
std::vector<BYTE> BytesOf(const Format& format, std::size_t blockLength = sizeof(Format)) {
    std::vector<BYTE> block(blockLength);
    std::memcpy(block.data(), &format, sizeof format);
    return block;
}

// Profile and level Main are both 2 in MPEG-2's numbering here; the compiler's headers do not name them.
MPEG2VIDEOINFO Mpeg2Info() {
    MPEG2VIDEOINFO info{};
    info.hdr.dwPictAspectRatioX = 4;
    info.hdr.dwPictAspectRatioY = 3;
    info.hdr.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.hdr.bmiHeader.biWidth = 1920;
    info.hdr.bmiHeader.biHeight = 1080;
    info.hdr.bmiHeader.biPlanes = 1;
    info.hdr.bmiHeader.biBitCount = 32;
    info.dwProfile = 2;
    info.dwLevel = 2;
    info.dwFlags = 1;
    return info;
}

// Of HEVC as well.
MPEG2VIDEOINFO H264Info() {
    MPEG2VIDEOINFO info{};
    info.hdr.AvgTimePerFrame = 417083; // 100 ns: 24000/1001 pictures/s
    info.hdr.dwPictAspectRatioX = 16;
    info.hdr.dwPictAspectRatioY = 9;
    info.hdr.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.hdr.bmiHeader.biWidth = 1280;
    info.hdr.bmiHeader.biHeight = 720;
    info.hdr.bmiHeader.biPlanes = 1;
    info.hdr.bmiHeader.biBitCount = 24;
    info.hdr.bmiHeader.biCompression = FourCc("avc1");
    info.hdr.bmiHeader.biXPelsPerMeter = 1;
    info.hdr.bmiHeader.biYPelsPerMeter = 1;
    return info;
}

// 192 kbit/s, layer 2, stereo: a stream's own headers overrule it.
MPEG1WAVEFORMAT MpegAudioFormat() {
    MPEG1WAVEFORMAT format{};
    format.wfx.wFormatTag = WAVE_FORMAT_MPEG;
    format.wfx.nChannels = 2;
    format.wfx.nSamplesPerSec = 48000;
    format.wfx.nAvgBytesPerSec = 24000;
    format.wfx.nBlockAlign = 576;
    format.wfx.wBitsPerSample = 16;
    format.wfx.cbSize = sizeof(MPEG1WAVEFORMAT) - sizeof(WAVEFORMATEX);
    format.fwHeadLayer = ACM_MPEG_LAYER2;
    format.dwHeadBitrate = 192000;
    format.fwHeadMode = ACM_MPEG_STEREO;
    format.fwHeadModeExt = 1;
    format.fwHeadFlags = ACM_MPEG_ID_MPEG1;
    return format;
}

// AC-3 and E-AC-3 decoders are offered what they will put out.
WAVEFORMATEX DolbyFormat() {
    WAVEFORMATEX format{};
    format.wFormatTag = WAVE_FORMAT_PCM;
    format.nChannels = 2;
    format.nSamplesPerSec = 48000;
    format.nAvgBytesPerSec = 192000;
    format.nBlockAlign = 4;
    format.wBitsPerSample = 16;
    return format;
}

struct LatmAacFormat {
    WAVEFORMATEX wfx;
    BYTE config[2];
};
static_assert(sizeof(LatmAacFormat) == 20);

LatmAacFormat LatmFormat() {
    LatmAacFormat format{};
    format.wfx.wFormatTag = 0xFF; // AAC
    format.wfx.nChannels = 2;
    format.wfx.nSamplesPerSec = 48000;
    format.wfx.nAvgBytesPerSec = 9375;
    format.wfx.nBlockAlign = 400;
    format.wfx.cbSize = sizeof format.config;
    format.config[0] = 0x11; // AAC-LC, 48 kHz, stereo
    format.config[1] = 0x90;
    return format;
}

const ClassId& VideoSubtype(std::int32_t videoType) {
    switch (videoType) {
        case kVideoTypeMpeg2:
            return kMpeg2Video;
        case kVideoTypeH264:
            return kH264Video;
        default:
            return kHevcVideo;
    }
}

} // namespace

FixedMediaType::FixedMediaType(const ClassId& major, const ClassId& subtype) {
    type_.majortype = ToGuid(major);
    type_.subtype = ToGuid(subtype);
}

void FixedMediaType::SetFormat(const ClassId& formatType, std::vector<BYTE> block, ULONG declaredLength) {
    block_ = std::move(block);
    type_.formattype = ToGuid(formatType);
    type_.pbFormat = block_.data();
    type_.cbFormat = declaredLength;
}

FixedMediaType PlatformVideoType(std::int32_t videoType) {
    FixedMediaType type(kVideoType, VideoSubtype(videoType));
    if (videoType == kVideoTypeMpeg2) {
        type.SetFormat(kMpeg2VideoFormat, BytesOf(Mpeg2Info(), kRoomyBlock), kDeclaredBlock);
    } else {
        type.SetFormat(kNullId, BytesOf(H264Info(), kRoomyBlock), kDeclaredBlock);
    }
    return type;
}

std::optional<FixedMediaType> KorvixVideoType(std::int32_t videoType) {
    if (videoType == kVideoTypeMpeg2) {
        return std::nullopt;
    }
    FixedMediaType type(kVideoType, VideoSubtype(videoType));
    if (videoType == kVideoTypeH264) {
        type.SetFormat(kMpeg2VideoFormat, BytesOf(H264Info()), sizeof(MPEG2VIDEOINFO));
    }
    return type;
}

FixedMediaType PlatformAudioType(std::int32_t audioType, std::uint32_t mpeg2Codec) {
    const bool preset = PresetsMpegAudio(mpeg2Codec);
    const ClassId& presetMajor = preset ? kAudioType : kNullId;
    switch (audioType) {
        case kAudioTypeAc3:
        case kAudioTypeEac3: {
            FixedMediaType type(presetMajor, audioType == kAudioTypeAc3 ? kAc3Audio : kEac3Audio);
            type.SetFormat(kWaveFormat, BytesOf(DolbyFormat()), sizeof(WAVEFORMATEX));
            return type;
        }
        case kAudioTypeAac: {
            FixedMediaType type(kAudioType, kLatmAacAudio);
            type.SetFormat(kWaveFormat, BytesOf(LatmFormat()), sizeof(LatmAacFormat));
            return type;
        }
        default: {
            FixedMediaType type(presetMajor, preset ? kMpegAudio : kNullId);
            if (audioType == kAudioTypeMpeg) {
                type.SetFormat(kWaveFormat, BytesOf(MpegAudioFormat()), sizeof(MPEG1WAVEFORMAT));
            }
            return type;
        }
    }
}

} // namespace vistrame
