// Which media types the decoders take: whatever the player offers, with both demultiplexers, and nothing else.
#include <windows.h>
#include <dshow.h>
#include <mmreg.h>

#include "filters/decoders/audio_decoder_filter.h"
#include "filters/decoders/stream_types.h"
#include "filters/decoders/video_decoder_filter.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

MediaType Video(const char* name, const GUID& format = GUID_NULL, std::size_t bytes = 0) {
    MediaType type(MEDIATYPE_Video, FourCc(name));
    type.SetFormat(format, std::vector<std::byte>(bytes));
    return type;
}

// With a format block that begins with a WAVEFORMATEX of this tag.
MediaType Sound(const GUID& major, const GUID& sub, WORD tag) {
    MediaType type(major, sub);
    MPEG1WAVEFORMAT format{};
    format.wfx.wFormatTag = tag;
    type.SetFormat(FORMAT_WaveFormatEx, format);
    return type;
}

} // namespace

TEST(StreamTypes, AreThoseThePlayerOffersAndNoOther) {
    struct Row {
        const char* what;
        MediaType type;
        std::optional<Coding> video, audio;
    };
    MediaType mpeg2(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO);
    mpeg2.SetFormat(FORMAT_MPEG2Video, std::vector<std::byte>(1136));
    const Row rows[] = {
        {"MPEG-2", mpeg2, Coding::kMpeg2Video, {}},
        {"H.264 with a null format type", Video("H264", GUID_NULL, 1136), Coding::kH264, {}},
        {"H.264 with a MPEG2VIDEOINFO", Video("H264", FORMAT_MPEG2Video, 136), Coding::kH264, {}},
        {"H.264 under another name", Video("avc1"), Coding::kH264, {}},
        {"HEVC without a format", Video("HEVC"), Coding::kHevc, {}},
        {"HEVC with a format", Video("HEVC", GUID_NULL, 1136), Coding::kHevc, {}},
        {"MPEG audio", {MEDIATYPE_Audio, MEDIASUBTYPE_MPEG2_AUDIO}, {}, Coding::kMpegAudio},
        {"MPEG audio without identifiers", Sound({}, {}, WAVE_FORMAT_MPEG), {}, Coding::kMpegAudio},
        {"AC-3", Sound({}, MEDIASUBTYPE_DOLBY_AC3, WAVE_FORMAT_PCM), {}, Coding::kAc3},
        {"E-AC-3", Sound({}, kDigitalPlus, WAVE_FORMAT_PCM), {}, Coding::kEac3},
        {"AAC", Sound(MEDIATYPE_Audio, kLatm, 0xFF), {}, Coding::kAacLatm},
        {"another FourCC", Video("MJPG"), {}, {}},
        {"PCM", Sound(MEDIATYPE_Audio, MEDIASUBTYPE_PCM, WAVE_FORMAT_PCM), {}, {}},
        {"PCM without identifiers", Sound({}, {}, WAVE_FORMAT_PCM), {}, {}},
        {"sound as video", {MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_AUDIO}, {}, {}},
        {"nothing", {}, {}, {}},
    };
    const CoInitialized com;
    const auto video = MakeObject<VideoDecoderFilter>();
    const auto audio = MakeObject<AudioDecoderFilter>();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(VideoCodingOf(row.type), row.video);
        EXPECT_EQ(AudioCodingOf(row.type), row.audio);
        EXPECT_EQ(video->Input().QueryAccept(&row.type.Get()) == S_OK, row.video.has_value());
        EXPECT_EQ(audio->Input().QueryAccept(&row.type.Get()) == S_OK, row.audio.has_value());
    }
}

} // namespace vistrame::test
