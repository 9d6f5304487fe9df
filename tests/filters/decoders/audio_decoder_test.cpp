// The audio decoder between a source and a sink.
#include <cmath>
#include <cstdlib>
#include <ranges>

#include <windows.h>
#include <mmreg.h>

#include "filters/base/reference_clock.h"
#include "filters/decoders/audio_decoder_filter.h"
#include "filters/decoders/sound_limiter.h"
#include "filters/pace/sound_placement.h"
#include "tests/filters/decoders/high_efficiency_aac.h"
#include "tests/filters/decoders/stream_fixture.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

MediaType Audio(const GUID& subtype) {
    return {MEDIATYPE_Audio, subtype};
}

// Square of the amplitude, dB: half of full scale, in two channels.
constexpr double kToneLevel = 81.3;

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

std::vector<std::int16_t> Channel(const std::vector<SinkFilter::Sample>& samples, std::size_t channel) {
    std::vector<std::int16_t> sound;
    for (const SinkFilter::Sample& sample : samples) {
        for (std::size_t at = channel * 2; at + 1 < sample.data.size(); at += 4) {
            sound.push_back(static_cast<std::int16_t>(sample.data[at] | sample.data[at + 1] << 8));
        }
    }
    return sound;
}

constexpr double kTone = 440; // Hz

// dB of the square of a pure tone's amplitude.
double Level(std::span<const std::int16_t> sound) {
    double power = 0;
    for (const std::int16_t sample : sound) {
        power += 2.0 * sample * sample / static_cast<double>(sound.size());
    }
    return 10 * std::log10(power);
}

// dB from the sound to its second differences, which are the larger the higher a frequency is.
double Bends(std::span<const std::int16_t> sound) {
    std::vector<std::int16_t> bends;
    for (std::size_t i = 2; i < sound.size(); ++i) {
        bends.push_back(static_cast<std::int16_t>(sound[i] - 2 * sound[i - 1] + sound[i - 2]));
    }
    return Level(bends) - Level(sound);
}

// A second of it, behind the silence that encoders start from; fails the test when it is shorter.
std::vector<std::int16_t> SteadySecond(const std::vector<SinkFilter::Sample>& samples, std::size_t channel,
                                       int rate) {
    std::vector<std::int16_t> sound = Channel(samples, channel);
    EXPECT_GT(sound.size(), static_cast<std::size_t>(rate / 4 + rate));
    sound.erase(sound.begin(), sound.begin() + std::min<std::ptrdiff_t>(rate / 4, std::ssize(sound)));
    sound.resize(static_cast<std::size_t>(rate));
    return sound;
}

// The first channel's tone: a pure one crosses zero twice in each period. It is as loud whatever it came as.
void ExpectTone(const std::vector<SinkFilter::Sample>& samples, int rate, double hertz = kTone) {
    const std::vector<std::int16_t> sound = SteadySecond(samples, 0, rate);
    int crossings = 0;
    for (std::size_t i = 1; i < sound.size(); ++i) {
        crossings += (sound[i - 1] < 0) != (sound[i] < 0) ? 1 : 0;
    }
    EXPECT_NEAR(crossings, 2 * hertz, 4);
    EXPECT_NEAR(Level(sound), kToneLevel, 1);
}

// The tone, from the first sample to the last without a gap, each at its time.
void ExpectToneAtItsTime(const std::vector<SinkFilter::Sample>& samples, int rate, int milliseconds,
                         double hertz = kTone) {
    ASSERT_FALSE(samples.empty());
    std::int64_t counted = 0; // samples
    for (const SinkFilter::Sample& sample : samples) {
        ASSERT_TRUE(sample.time.has_value());
        EXPECT_NEAR(*sample.time - *samples[0].time, 1000.0 * kMs * static_cast<double>(counted) / rate,
                    2.0 * kMs);
        EXPECT_EQ(sample.discontinuity, &sample == samples.data()) << "only the first begins something";
        counted += static_cast<std::int64_t>(sample.data.size() / 4);
    }
    const double lacking = milliseconds - 1000.0 * static_cast<double>(counted) / rate;
    EXPECT_GT(lacking, -60);
    EXPECT_LT(lacking,
              60 + 1.0 * SoundPlacement::kBeginning / kMs); // where a run's first moments are left out
    ExpectTone(samples, rate, hertz);
}

// Half as fast as the system's.
class SlowClock final : public ClockEngine {
public:
    ~SlowClock() override { Shutdown(); }
    REFERENCE_TIME Now() override { return SystemTime() / 2; }
};

class SinkWithClock final : public WithReferenceClock<SinkFilter> {
private:
    ClockEngine& Engine() override { return clock_; }

    SlowClock clock_;
};

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
        {"mpeg2_288p.ts", Audio(MEDIASUBTYPE_MPEG2_AUDIO), 48'000, 2000},   // one channel
        {"mpeg_audio_2.ts", Audio(MEDIASUBTYPE_MPEG2_AUDIO), 48'000, 2000}, // layer 2 at 24 kHz
        {"mpeg_layer_3.ts", Audio(MEDIASUBTYPE_MPEG2_AUDIO), 48'000, 2000}, // at 22.05 kHz
        {"mpeg_layer_1_32000.ts", Audio(MEDIASUBTYPE_MPEG2_AUDIO), 48'000, 2000},
        {"mpeg_layer_1_44100.ts", Audio(MEDIASUBTYPE_MPEG2_AUDIO), 48'000, 2000},
        {"mpeg_layer_1_48000.ts", Audio(MEDIASUBTYPE_MPEG2_AUDIO), 48'000, 2000},
        {"h264_1080i.ts", Audio(MEDIASUBTYPE_DOLBY_AC3), 48'000, 2000}, // 5.1
        {"h264_720p.ts", Audio(kLatm), 48'000, 2000},                   // 44.1 kHz
        {"h264_720p.ts", Audio(kLatm), 44'100, 2000},
        {"aac_adts.ts", Audio(kLatm), 48'000, 2000}, // as the demultiplexers call any AAC
        {"hevc_1080p.ts", Audio(kDigitalPlus), 48'000, 2000},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.file << " at " << row.rate);
        Playback playback(row.type, static_cast<DWORD>(row.rate));
        playback.Send(ReadStream(row.file, false));
        ExpectToneAtItsTime(playback.sink->Samples(), row.rate, row.milliseconds);
    }
}

// Whatever the header says, twice its rate comes out, with the replicated band and both sides.
TEST(AudioDecoder, HighEfficiencyAacIsHeardInFull) {
    struct Row {
        AacFrames frames;
        bool version2;
    };
    for (const auto& [frames, version2] : {Row{AacFrames::kAdts, false},
                                           {AacFrames::kAdts, true},
                                           {AacFrames::kLoas, false},
                                           {AacFrames::kLoas, true},
                                           {AacFrames::kLoasVersion1, false},
                                           {AacFrames::kLoasVersion1, true},
                                           {AacFrames::kLoasVersion2, true}}) {
        SCOPED_TRACE(testing::Message()
                     << "frames " << static_cast<int>(frames) << ", version 2: " << version2);
        Playback playback(Audio(kLatm));
        playback.Send(HighEfficiencyAac(frames, version2));
        const auto samples = playback.sink->Samples();
        ExpectToneAtItsTime(samples, 48'000, 2048, kHighEfficiencyTone);
        const std::vector<std::int16_t> left = SteadySecond(samples, 0, 48'000);
        EXPECT_NEAR(Level(left) - Level(SteadySecond(samples, 1, 48'000)), version2 ? 10 : 0, 0.5);
        EXPECT_NEAR(Bends(left), -30, 2) << "without the band: -49";
    }
}

// 7.1 with faint noise around, and another programme of loud noise in the same stream.
TEST(AudioDecoder, OfFurtherSubstreamsChannelsAreHeardAndProgrammesAreNot) {
    Playback playback(Audio(kDigitalPlus));
    playback.Send(ReadStream("eac3_substreams.ts", false));
    const auto samples = playback.sink->Samples();
    ExpectToneAtItsTime(samples, 48'000, 2000);
    EXPECT_NEAR(Bends(SteadySecond(samples, 0, 48'000)), -41, 3) << "without noise: -49";
}

// Sound behind losses and damage stands at its own time, and so does sound behind a jump of the times:
// silence comes in between.
TEST(AudioDecoder, DamageAndJumpsNeitherStopNorMoveIt) {
    struct Row {
        MediaType type;
        std::vector<StreamPiece> damaged, whole;
        double hertz = kTone;
    };
    std::vector<StreamPiece> holes = HighEfficiencyAac(AacFrames::kLoas, true);
    std::erase_if(holes, [&](const StreamPiece& piece) { return (&piece - holes.data()) % 5 == 3; });
    for (auto& [type, damaged, whole, hertz] :
         {Row{Audio(MEDIASUBTYPE_DOLBY_AC3), ReadStream("h264_1080i.ts", false, 30),
              ReadStream("h264_1080i.ts", false)},
          {Audio(kDigitalPlus), ReadStream("eac3_substreams.ts", false, 30),
           ReadStream("eac3_substreams.ts", false)},
          {Audio(kLatm), holes, HighEfficiencyAac(AacFrames::kLoas, true), kHighEfficiencyTone}}) {
        Playback playback(type);
        std::vector<StreamPiece> pieces = damaged;
        for (StreamPiece& piece : pieces | std::views::drop(5)) {
            piece.data[piece.data.size() / 2] ^= 0x10;
        }
        playback.Send(pieces);
        playback.Send(whole, 2500 * kMs);
        std::vector<SinkFilter::Sample> samples = playback.sink->Samples();
        for (std::size_t i = 1; i < samples.size(); ++i) {
            EXPECT_NEAR(*samples[i].time, *samples[i - 1].time + std::ssize(samples[i - 1].data) * kMs / 192,
                        kMs);
        }
        EXPECT_LT(std::ranges::max(Channel(samples, 0)), 20'000) << "damage is heard";
        std::erase_if(samples, [](const auto& sample) { return sample.time < 2600 * kMs; });
        ExpectTone(samples, 48'000, hertz);
    }
}

// Channels and rate may change from one frame to the next under one coding.
TEST(AudioDecoder, ChangesLeaveNoGap) {
    struct Part {
        std::vector<StreamPiece> pieces;
        int samples; // at 48 kHz: whole frames
    };
    struct Row {
        MediaType type;
        Part first, then;
    };
    const Part surround{ReadStream("h264_1080i.ts", false), 63 * 1536};
    const Part stereo{ReadStream("hevc_1080p.ts", false), 63 * 1536};
    const Part eight{ReadStream("eac3_substreams.ts", false), 63 * 1536};
    const Part lowComplexity{ReadStream("aac_adts.ts", false), 95 * 1024};
    for (const auto& [type, first, then] :
         {Row{Audio(MEDIASUBTYPE_DOLBY_AC3), surround, stereo},
          {Audio(kDigitalPlus), eight, stereo},
          {Audio(kLatm), {HighEfficiencyAac(AacFrames::kAdts, false), 48 * 2048}, lowComplexity},
          {Audio(kLatm), {HighEfficiencyAac(AacFrames::kAdts, true), 48 * 2048}, lowComplexity}}) {
        Playback playback(type);
        REFERENCE_TIME offset = 0;
        for (const Part& part : {first, then, first}) {
            playback.Send(part.pieces, offset);
            offset += part.samples * kUnitsPerSecond / 48'000;
        }
        const std::vector<std::int16_t> sound = Channel(playback.sink->Samples(), 0);
        EXPECT_NEAR(static_cast<double>(sound.size()) / 48, 1.0 * offset / kMs, 150);
        int quiet = 0, longest = 0; // samples
        for (const std::int16_t sample : sound) {
            quiet = std::abs(sample) < 500 ? quiet + 1 : 0;
            longest = std::max(longest, quiet);
        }
        EXPECT_LT(longest, 50 * 48);
    }
}

// Two languages as the channels of one stream: the first is heard, on both sides.
TEST(AudioDecoder, OfDualMonoTheFirstIsHeardOnBothSides) {
    std::vector<StreamPiece> pieces = ReadStream("dual_mono.ts", false);
    Playback playback(Audio(MEDIASUBTYPE_MPEG2_AUDIO));
    playback.Send(pieces);
    ExpectTone(playback.sink->Samples(), 48'000);
    EXPECT_EQ(Channel(playback.sink->Samples(), 0), Channel(playback.sink->Samples(), 1));
}

// A sound device plays by the system's time, except where it is the graph's clock itself.
TEST(AudioDecoder, FollowsTheDeviceWhoeverHasTheClock) {
    constexpr REFERENCE_TIME kSent = 1500 * kMs;
    for (const bool clockIsRenderers : {true, false}) {
        DecoderFixture<AudioDecoderFilter, SinkWithClock> playback;
        ComPtr<IMediaFilter> graph;
        ASSERT_EQ(playback.graph.graph.As(&graph), S_OK);
        IReferenceClock* const others = playback.graph.Add(MakeObject<SinkWithClock>(), L"clock");
        playback.Connect(Audio(MEDIASUBTYPE_MPEG2_AUDIO));
        ASSERT_EQ(graph->SetSyncSource(clockIsRenderers ? playback.sink : others), S_OK);
        playback.graph.Run();
        const REFERENCE_TIME begin = SystemTime();
        for (const StreamPiece& piece : ReadStream("mpeg2_576i.ts", false)) { // as a live stream, 0.2 s ahead
            if (piece.time.value_or(0) > kSent) {
                break;
            }
            while ((SystemTime() - begin) / 2 < piece.time.value_or(0) - 200 * kMs) {
                Sleep(1);
            }
            playback.Send({piece}, 60 * kMs);
        }
        REFERENCE_TIME played = 0;
        for (const SinkFilter::Sample& sample : playback.sink->Samples()) {
            played += static_cast<REFERENCE_TIME>(sample.data.size() / 4) * kUnitsPerSecond / 48'000;
        }
        const auto more = static_cast<double>((played - kSent) / kMs);
        if (clockIsRenderers) {
            EXPECT_NEAR(more, 0, 150); // pieces are as long as that
        } else {
            EXPECT_GT(more, 250) << "the device runs dry";
        }
    }
}

// What adds up to more than there is room for is turned down, not cut off.
TEST(SoundLimiter, KeepsTheShapeOfWhatIsTooLoud) {
    SoundLimiter limiter;
    std::vector<float> loud(480);
    std::vector<std::int16_t> out(loud.size());
    const auto play = [&](float amplitude) {
        for (std::size_t i = 0; i < loud.size(); ++i) {
            loud[i] = amplitude * std::sin(static_cast<float>(i) * 6.2831853F / 48);
        }
        limiter.Apply(loud, 1, 48'000, out);
    };
    play(0.5F);
    EXPECT_EQ(out[12], 16'384);
    play(2);
    play(2);
    for (std::size_t i = 0; i < loud.size(); ++i) {
        ASSERT_NEAR(out[i], loud[i] / 2 * 32'767, 200) << i;
    }
    for (int i = 0; i < 400; ++i) {
        play(0.5F);
    }
    EXPECT_NEAR(out[12], 16'384, 100) << "comes back";
}

} // namespace vistrame::test
