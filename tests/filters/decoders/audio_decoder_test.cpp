// The audio decoder between a source and a sink.
#include <cstdlib>
#include <ranges>

#include <windows.h>
#include <mmreg.h>

#include "filters/decoders/audio_decoder_filter.h"
#include "filters/pace/sound_placement.h"
#include "tests/filters/decoders/stream_fixture.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

MediaType Audio(const GUID& subtype) {
    return {MEDIATYPE_Audio, subtype};
}

struct Playback : DecoderFixture<AudioDecoderFilter, SinkFilter> {
    // The sink takes this rate only.
    explicit Playback(const MediaType& type, DWORD rate = 48'000) {
        sink->check = [rate](const MediaType& offered) {
            const auto* wave = offered.FormatAs<WAVEFORMATEX>(FORMAT_WaveFormatEx);
            return wave != nullptr && wave->nSamplesPerSec == rate && wave->nChannels == 2 &&
                           wave->nAvgBytesPerSec == rate * 4
                       ? S_OK
                       : VFW_E_TYPE_NOT_ACCEPTED;
        };
        Connect(type);
        graph.Run();
    }
};

// The first channel's tone within a second of sound: a pure one crosses zero twice in each period.
void ExpectTone(const std::vector<SinkFilter::Sample>& samples, int rate) {
    std::vector<std::int16_t> sound;
    for (const SinkFilter::Sample& sample : samples) {
        for (std::size_t at = 0; at + 1 < sample.data.size(); at += 4) {
            sound.push_back(static_cast<std::int16_t>(sample.data[at] | sample.data[at + 1] << 8));
        }
    }
    const auto begin = static_cast<std::size_t>(rate / 4); // the encoders start from silence
    ASSERT_GT(sound.size(), begin + static_cast<std::size_t>(rate));
    int crossings = 0, loud = 0;
    for (std::size_t i = begin; i < begin + static_cast<std::size_t>(rate); ++i) {
        crossings += (sound[i] < 0) != (sound[i + 1] < 0) ? 1 : 0;
        loud += std::abs(sound[i]) > 2000 ? 1 : 0;
    }
    EXPECT_NEAR(crossings, 880, 4);
    EXPECT_GT(loud, rate / 2);
}

} // namespace

TEST(AudioDecoder, EveryCodingBecomesTheToneAtItsTime) {
    struct Row {
        const char* file;
        MediaType type;
        int rate;
        int milliseconds;
    };
    const Row rows[] = {
        {"mpeg2_576i.ts", Audio(MEDIASUBTYPE_MPEG2_AUDIO), 48'000, 3000},
        {"mpeg2_288p.ts", Audio(MEDIASUBTYPE_MPEG2_AUDIO), 48'000, 2000}, // one channel
        {"h264_1080i.ts", Audio(MEDIASUBTYPE_DOLBY_AC3), 48'000, 2000},   // 5.1
        {"h264_720p.ts", Audio(kLatm), 48'000, 2000},                     // 44.1 kHz
        {"h264_720p.ts", Audio(kLatm), 44'100, 2000},
        {"aac_adts.ts", Audio(kLatm), 48'000, 2000}, // as the demultiplexers call any AAC
        {"hevc_1080p.ts", Audio(kDigitalPlus), 48'000, 2000},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.file << " at " << row.rate);
        Playback playback(row.type, static_cast<DWORD>(row.rate));
        playback.Send(ReadStream(row.file, false));
        const auto samples = playback.sink->Samples();
        ASSERT_FALSE(samples.empty());
        std::int64_t counted = 0; // samples
        for (const SinkFilter::Sample& sample : samples) {
            ASSERT_TRUE(sample.time.has_value());
            EXPECT_NEAR(*sample.time - *samples[0].time, counted * 1000.0 * kMs / row.rate, 2.0 * kMs);
            EXPECT_EQ(sample.discontinuity, &sample == samples.data()) << "only the first begins something";
            counted += static_cast<std::int64_t>(sample.data.size() / 4);
        }
        const double lacking = row.milliseconds - counted * 1000.0 / row.rate;
        EXPECT_GT(lacking, -60);
        EXPECT_LT(lacking,
                  60 + 1.0 * SoundPlacement::kBeginning / kMs); // where a run's first moments are left out

        ExpectTone(samples, row.rate);
    }
}

// Sound behind losses and damage stands at its own time, and so does sound behind a jump of the times:
// silence comes in between.
TEST(AudioDecoder, DamageAndJumpsNeitherStopNorMoveIt) {
    std::vector<StreamPiece> damaged = ReadStream("h264_1080i.ts", false, 30);
    for (StreamPiece& piece : damaged | std::views::drop(5)) {
        piece.data[piece.data.size() / 2] ^= 0x10;
    }
    Playback playback(Audio(MEDIASUBTYPE_DOLBY_AC3));
    playback.Send(damaged);
    playback.Send(ReadStream("h264_1080i.ts", false), 2500 * kMs);
    std::vector<SinkFilter::Sample> samples = playback.sink->Samples();
    for (std::size_t i = 1; i < samples.size(); ++i) {
        EXPECT_NEAR(*samples[i].time, *samples[i - 1].time + std::ssize(samples[i - 1].data) * kMs / 192,
                    kMs);
    }
    std::erase_if(samples, [](const auto& sample) { return sample.time < 2600 * kMs; });
    ExpectTone(samples, 48'000);
}

} // namespace vistrame::test
