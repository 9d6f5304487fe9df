// Which media types the decoders refuse. What the player offers, with both demultiplexers, plays in
// tests/live.
#include "filters/decoders/audio_decoder_filter.h"
#include "filters/decoders/video_decoder_filter.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

TEST(StreamTypes, OnlyThoseThePlayerOffersAreTaken) {
    struct Row {
        const char* what;
        MediaType type;
        bool video = false, audio = false;
    };
    MediaType pcm;
    pcm.SetFormat(FORMAT_WaveFormatEx, WAVEFORMATEX{WAVE_FORMAT_PCM, 2, 48'000, 192'000, 4, 16, 0});
    const Row rows[] = {
        {.what = "H.264", .type = {MEDIATYPE_Video, FourCcSubtype("H264")}, .video = true},
        {.what = "MPEG audio", .type = {MEDIATYPE_Audio, MEDIASUBTYPE_MPEG2_AUDIO}, .audio = true},
        {.what = "H.264 behind lengths", .type = {MEDIATYPE_Video, FourCcSubtype("AVC1")}},
        {.what = "H.264 behind lengths, small", .type = {MEDIATYPE_Video, FourCcSubtype("avc1")}},
        {.what = "another FourCC", .type = {MEDIATYPE_Video, FourCcSubtype("MJPG")}},
        {.what = "PCM", .type = {MEDIATYPE_Audio, MEDIASUBTYPE_PCM}},
        {.what = "PCM without identifiers", .type = pcm},
        {.what = "sound as video", .type = {MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_AUDIO}},
        {.what = "nothing", .type = {}},
    };
    const CoInitialized com;
    const auto video = MakeObject<VideoDecoderFilter>();
    const auto audio = MakeObject<AudioDecoderFilter>();
    for (const Row& row : rows) {
        EXPECT_EQ(video->Input().QueryAccept(&row.type.Get()) == S_OK, row.video) << row.what;
        EXPECT_EQ(audio->Input().QueryAccept(&row.type.Get()) == S_OK, row.audio) << row.what;
    }
}

} // namespace vistrame::test
