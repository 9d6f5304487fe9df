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

constexpr REFERENCE_TIME kMs = 10'000;
constexpr GUID kDigitalPlus = {0xa7fb87af, 0x2d02, 0x42fb, {0xa4, 0xd4, 0x05, 0xcd, 0x93, 0x84, 0x3b, 0xdd}};
constexpr GUID kLatm = {0x1602, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}};

MediaType Audio(const GUID& subtype) {
    return {MEDIATYPE_Audio, subtype};
}

// A type as the player offers it: a format block that begins with a WAVEFORMATEX of this tag.
MediaType WithTag(MediaType type, WORD tag) {
    MPEG1WAVEFORMAT format{};
    format.wfx.wFormatTag = tag;
    format.wfx.nChannels = 2;
    format.wfx.nSamplesPerSec = 48'000;
    type.SetFormat(FORMAT_WaveFormatEx, format);
    return type;
}

class Playback {
public:
    explicit Playback(const MediaType& type, int rate = 0) {
        source = graph.Add(MakeObject<SourceFilter>(), L"source");
        decoder = graph.Add(MakeObject<AudioDecoderFilter>(), L"decoder");
        sink = graph.Add(MakeObject<SinkFilter>(), L"sink");
        sink->check = [this, rate](const MediaType& offered) {
            const auto* wave = offered.FormatAs<WAVEFORMATEX>(FORMAT_WaveFormatEx);
            if (wave == nullptr || (rate != 0 && static_cast<int>(wave->nSamplesPerSec) != rate)) {
                return VFW_E_TYPE_NOT_ACCEPTED;
            }
            format = *wave;
            return S_OK;
        };
        source->offered = {type};
        EXPECT_EQ(graph.Connect(&source->Output(), &decoder->Input()), S_OK);
        EXPECT_EQ(graph.Connect(&decoder->Output(), &sink->Input()), S_OK);
        graph.Run();
    }
    void Send(const std::vector<StreamPiece>& pieces, REFERENCE_TIME offset = 0) {
        for (const StreamPiece& piece : pieces) {
            const auto time = piece.time ? std::optional(*piece.time + offset) : std::nullopt;
            ASSERT_EQ(source->Send(piece.data, time, piece.discontinuity), S_OK);
        }
    }

    TestGraph graph;
    SourceFilter* source;
    AudioDecoderFilter* decoder;
    SinkFilter* sink;
    WAVEFORMATEX format{};
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

double Level(const std::vector<double>& sound) {
    double sum = 0;
    for (const double value : sound) {
        sum += value * value;
    }
    return std::sqrt(sum / static_cast<double>(sound.size()));
}

// How much of the sound is this tone: 1 for a pure one.
double Share(const std::vector<double>& sound, double frequency, int rate) {
    double sine = 0, cosine = 0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        sine += sound[i] * std::sin(angle);
        cosine += sound[i] * std::cos(angle);
    }
    const double amplitude = 2 * std::hypot(sine, cosine) / static_cast<double>(sound.size());
    return amplitude / std::numbers::sqrt2 / Level(sound);
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
        {"mpeg2_576i.ts", WithTag(Audio(MEDIASUBTYPE_MPEG2_AUDIO), WAVE_FORMAT_MPEG), 48'000, 3000},
        {"mpeg2_288p.ts", Audio(MEDIASUBTYPE_MPEG2_AUDIO), 48'000, 2000}, // one channel
        {"h264_1080i.ts", WithTag(Audio(MEDIASUBTYPE_DOLBY_AC3), WAVE_FORMAT_PCM), 48'000, 2000}, // 5.1
        {"h264_720p.ts", WithTag(Audio(kLatm), 0xFF), 48'000, 2000},                              // 44.1 kHz
        {"h264_720p.ts", WithTag(Audio(kLatm), 0xFF), 44'100, 2000},
        {"hevc_1080p.ts", WithTag(Audio(kDigitalPlus), WAVE_FORMAT_PCM), 48'000, 2000},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.file << " at " << row.rate);
        Playback playback(row.type, row.rate);
        playback.Send(ReadStream(row.file, false));
        const auto samples = playback.sink->Samples();
        ASSERT_FALSE(samples.empty());
        EXPECT_EQ(playback.format.nChannels, 2);
        EXPECT_EQ(playback.format.nAvgBytesPerSec, static_cast<DWORD>(row.rate * 4));

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
            EXPECT_GT(Share(sound, 440, row.rate), 0.98) << "a clean tone, channel " << channel;
            EXPECT_GT(Level(sound), 2000)
                << "heard, channel " << channel; // the tone was made at half of full scale
        }
    }
}

TEST(AudioDecoder, TakesEveryTypeThePlayerOffersAndNoOther) {
    struct Row {
        const char* what;
        MediaType type;
        HRESULT result;
    };
    const Row rows[] = {
        {"MPEG audio without a format", Audio(MEDIASUBTYPE_MPEG2_AUDIO), S_OK},
        {"MPEG audio without identifiers", WithTag({}, WAVE_FORMAT_MPEG), S_OK},
        {"AC-3 without a major type", WithTag({GUID_NULL, MEDIASUBTYPE_DOLBY_AC3}, WAVE_FORMAT_PCM), S_OK},
        {"E-AC-3 without a major type", WithTag({GUID_NULL, kDigitalPlus}, WAVE_FORMAT_PCM), S_OK},
        {"PCM", WithTag(Audio(MEDIASUBTYPE_PCM), WAVE_FORMAT_PCM), S_FALSE},
        {"PCM without identifiers", WithTag({}, WAVE_FORMAT_PCM), S_FALSE},
        {"nothing", {}, S_FALSE},
        {"video", {MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_AUDIO}, S_FALSE},
    };
    const CoInitialized com;
    const auto decoder = MakeObject<AudioDecoderFilter>();
    for (const Row& row : rows) {
        EXPECT_EQ(decoder->Input().QueryAccept(&row.type.Get()), row.result) << row.what;
    }
}

// Sound after a loss stands at its own time, and so does sound after a jump of the times: there is silence before it.
TEST(AudioDecoder, LossAndJumpsKeepTheTimesRight) {
    std::vector<StreamPiece> pieces = ReadStream("mpeg2_576i.ts", false);
    ASSERT_GT(pieces.size(), 20u);
    pieces.erase(pieces.begin() + 8, pieces.begin() + 10);
    pieces[8].discontinuity = true;
    pieces[7].data.resize(pieces[7].data.size() * 2 / 3); // and the end of the one before is missing
    const auto lost =
        static_cast<double>(*pieces[8].time - *pieces[7].time) / kMs; // with what pieces[7] still has
    for (std::size_t i = 14; i < pieces.size(); ++i) {
        *pieces[i].time += 500 * kMs;
    }
    Playback playback(Audio(MEDIASUBTYPE_MPEG2_AUDIO));
    playback.Send(pieces);
    const auto samples = playback.sink->Samples();
    std::vector<REFERENCE_TIME> gaps; // filled with silence
    bool silent = false;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        const auto length = [](const SinkFilter::Sample& sample) {
            return static_cast<REFERENCE_TIME>(sample.data.size()) / 4 * 10'000'000 / 48'000;
        };
        EXPECT_NEAR(*samples[i].time, *samples[i - 1].time + length(samples[i - 1]), kMs);
        if (std::ranges::all_of(samples[i].data, [](auto byte) { return byte == decltype(byte){}; })) {
            gaps.resize(gaps.size() + (silent ? 0 : 1));
            gaps.back() += length(samples[i]) / kMs;
            silent = true;
        } else {
            silent = false;
        }
    }
    ASSERT_EQ(gaps.size(), 2u) << "the loss and the jump";
    EXPECT_GT(static_cast<double>(gaps[0]), lost * 2 / 3);
    EXPECT_LT(static_cast<double>(gaps[0]), lost);
    EXPECT_NEAR(gaps[1], 500, 2);
}

TEST(AudioDecoder, DamageNeitherStopsNorMovesIt) {
    const std::vector<StreamPiece> whole = ReadStream("h264_1080i.ts", false);
    std::vector<StreamPiece> damaged = ReadStream("h264_1080i.ts", false, 30);
    for (StreamPiece& piece : damaged) {
        piece.data[piece.data.size() / 2] ^= 0x10;
    }
    Playback playback(Audio(MEDIASUBTYPE_DOLBY_AC3));
    playback.Send(damaged);
    playback.Send(whole, 10'000 * kMs);
    const auto samples = playback.sink->Samples();
    ASSERT_FALSE(samples.empty());
    std::vector<SinkFilter::Sample> after;
    for (const SinkFilter::Sample& sample : samples) {
        if (*sample.time >= 10'100 * kMs) {
            after.push_back(sample);
        }
    }
    const std::vector<double> sound = ChannelOf(after, 0);
    ASSERT_GT(sound.size(), 48'000u);
    EXPECT_GT(Share({sound.begin(), sound.begin() + 48'000}, 440, 48'000), 0.98);
}

} // namespace vistrame::test
