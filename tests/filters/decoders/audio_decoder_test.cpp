// The audio decoder between a source and a sink.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include <windows.h>
#include <mmreg.h>

#include "filters/decoders/audio_decoder_filter.h"
#include "tests/filters/decoders/stream_fixture.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

MediaType Audio(const GUID& subtype) {
    return {MEDIATYPE_Audio, subtype};
}

struct Playback : DecoderBench<AudioDecoderFilter, SinkFilter> {
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

// One channel of everything that came.
std::vector<double> ChannelOf(const std::vector<SinkFilter::Sample>& samples, int channel) {
    std::vector<double> sound;
    for (const SinkFilter::Sample& sample : samples) {
        for (std::size_t at = channel * 2; at + 1 < sample.data.size(); at += 4) {
            std::int16_t value = 0;
            std::memcpy(&value, sample.data.data() + at, sizeof value);
            sound.push_back(value);
        }
    }
    return sound;
}

struct Tone {
    double level; // of everything
    double share; // of this frequency in it: 1 for a pure tone
};
Tone ToneOf(const std::vector<double>& sound, double frequency, int rate) {
    double sine = 0, cosine = 0, square = 0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        sine += sound[i] * std::sin(angle);
        cosine += sound[i] * std::cos(angle);
        square += sound[i] * sound[i];
    }
    const auto count = static_cast<double>(sound.size());
    const double level = std::sqrt(square / count);
    return {level, std::numbers::sqrt2 * std::hypot(sine, cosine) / count / level};
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
            EXPECT_NEAR(*sample.time - *samples[0].time, counted * 10'000'000.0 / row.rate, 2.0 * kMs);
            EXPECT_EQ(sample.discontinuity, &sample == samples.data()) << "only the first begins something";
            counted += static_cast<std::int64_t>(sample.data.size() / 4);
        }
        EXPECT_NEAR(counted * 1000.0 / row.rate, row.milliseconds, 60);

        for (const int channel : {0, 1}) {
            std::vector<double> sound = ChannelOf(samples, channel);
            sound.erase(sound.begin(), sound.begin() + row.rate / 4); // the encoders start from silence
            sound.resize(static_cast<std::size_t>(row.rate));
            const Tone tone = ToneOf(sound, 440, row.rate);
            EXPECT_GT(tone.share, 0.98) << channel;
            EXPECT_GT(tone.level, 2000) << channel; // made at half of full scale
        }
    }
}

// Sound after a loss stands at its own time, and so does sound after a jump of the times: there is silence before it.
TEST(AudioDecoder, LossAndJumpsKeepTheTimesRight) {
    std::vector<StreamPiece> pieces = ReadStream("mpeg2_576i.ts", false);
    ASSERT_GT(pieces.size(), 20u);
    pieces.erase(pieces.begin() + 8, pieces.begin() + 10);
    pieces[8].discontinuity = true;
    pieces[7].data.resize(pieces[7].data.size() * 2 / 3); // and the end of the one before is missing
    const double lost =
        static_cast<double>(*pieces[8].time - *pieces[7].time) / kMs; // with what pieces[7] still has
    for (std::size_t i = 14; i < pieces.size(); ++i) {
        *pieces[i].time += 500 * kMs;
    }
    Playback playback(Audio(MEDIASUBTYPE_MPEG2_AUDIO));
    playback.Send(pieces);
    const auto samples = playback.sink->Samples();
    double silence = 0; // ms
    for (std::size_t i = 1; i < samples.size(); ++i) {
        const auto length = [](const SinkFilter::Sample& sample) {
            return std::ssize(sample.data) * kMs / 192;
        };
        EXPECT_NEAR(*samples[i].time, *samples[i - 1].time + length(samples[i - 1]), kMs);
        if (std::ranges::count(samples[i].data, 0) == std::ssize(samples[i].data)) {
            silence += static_cast<double>(length(samples[i])) / kMs;
        }
    }
    EXPECT_GT(silence, 498 + lost * 2 / 3);
    EXPECT_LT(silence, 502 + lost);
}

TEST(AudioDecoder, DamageNeitherStopsNorMovesIt) {
    std::vector<StreamPiece> damaged = ReadStream("h264_1080i.ts", false, 30);
    for (StreamPiece& piece : damaged) {
        piece.data[piece.data.size() / 2] ^= 0x10;
    }
    Playback playback(Audio(MEDIASUBTYPE_DOLBY_AC3));
    playback.Send(damaged);
    playback.Send(ReadStream("h264_1080i.ts", false), 10'000 * kMs);
    std::vector<SinkFilter::Sample> samples = playback.sink->Samples();
    std::erase_if(samples, [](const auto& sample) { return sample.time < 10'100 * kMs; });
    std::vector<double> sound = ChannelOf(samples, 0);
    ASSERT_GT(sound.size(), 48'000u);
    sound.resize(48'000);
    EXPECT_GT(ToneOf(sound, 440, 48'000).share, 0.98);
}

} // namespace vistrame::test
