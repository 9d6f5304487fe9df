#include "tests/live/parts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vistrame::live {
namespace {

constexpr double kFade = 1.6;           // seconds from -40 dB to the renderer's own volume
constexpr double kFadeTolerance = 0.16; // 10 %
constexpr double kFadeRange = 40;       // decibels
constexpr double kStartTolerance = 0.2; // sound renderer and sink keep this much ready

bool Report(const char* what, double measured, double low, double high, std::string& wrong) {
    const bool right = measured >= low && measured <= high;
    std::printf("  %-58s %7.3f s   (%.2f to %.2f)%s\n", what, measured, low, high, right ? "" : "  WRONG");
    if (!right) {
        wrong += std::string(" ") + what + ";";
    }
    return right;
}

// A fade as the straight line of decibels through where it passes -36 and -3 dB of the end's level.
struct Ramp {
    double begin = 0;   // when the line is at -40 dB
    double seconds = 0; // that it takes from there to the end
};

std::optional<Ramp> FindRamp(const Envelope& envelope, double from) {
    constexpr double kLow = -36;
    constexpr double kHigh = -3;
    constexpr std::ptrdiff_t kTop = 200; // steps behind the rise's begin: surely at full level
    const auto& levels = envelope.amplitudes;
    const auto passes = [&](auto at, double level) {
        return std::find_if(at, levels.end(), [=](double value) { return value >= level; });
    };
    const auto rise = passes(
        levels.begin() + std::lround(std::max(0.0, (from - envelope.begin) / Envelope::kStep)), 0.0008);
    if (levels.end() - rise < kTop + 30) {
        return std::nullopt;
    }
    const double full = rise[kTop];
    const auto low = passes(rise, full * std::pow(10, kLow / 20));
    const auto high = passes(low, full * std::pow(10, kHigh / 20));
    const double perDecibel = static_cast<double>(high - low) * Envelope::kStep / (kHigh - kLow);
    return Ramp{
        envelope.Time(static_cast<std::size_t>(low - levels.begin())) - perDecibel * (kLow + kFadeRange),
        perDecibel * kFadeRange};
}

double Loudest(const Envelope& envelope, double begin, double end) {
    double loudest = 0;
    for (std::size_t i = 0; i < envelope.amplitudes.size(); ++i) {
        if (envelope.Time(i) > begin && envelope.Time(i) < end) {
            loudest = std::max(loudest, envelope.amplitudes[i]);
        }
    }
    return loudest;
}

// `early`: the thread began so long, at most, before `from`.
void CheckFade(const Envelope& envelope, const char* what, double from, double delay, double early,
               std::string& wrong) {
    std::printf(" fade-in after %s, %.1f s of silence asked for\n", what, delay);
    constexpr double kReadyMade = 0.15; // what the sink had before is still heard
    if (Loudest(envelope, from + kReadyMade, from + delay - early - 0.02) > 0.0003) {
        std::puts("  there is sound in the silence  WRONG");
        wrong += " sound in the silence;";
    }
    const auto ramp = FindRamp(envelope, from + std::min(delay, kReadyMade));
    if (!ramp) {
        std::puts("  no rise is heard  WRONG");
        wrong += " no rise;";
        return;
    }
    Report("silence", ramp->begin - from, delay - early, delay + kStartTolerance, wrong);
    Report("rise from -40 dB to full", ramp->seconds, kFade - kFadeTolerance, kFade + kFadeTolerance, wrong);
}

std::string Fade(const Paths& where, SoundWatch& sound) {
    const ProgrammeRun run = RunScript(
        where, sound, {"--set", "KorvixCodec=0", "--set", "UseVMR9=0", "--set", "AudioUnmuteMsec=1500"},
        "+0 play 1\n+0 wait picture 20\n+5 unmute 700\n+3.5 quit\n", "small.ts");
    std::string wrong = run.failure;
    const Envelope envelope = ToneEnvelope(run.sound, kTones[0]);
    // The first thread starts within the command that builds the graph, before the PIDs are mapped and the
    // graph runs; what the kept stream shows is decoded in between.
    constexpr double kMapping = 0.1;
    CheckFade(envelope, "a programme's start", run.Time("command SetPid"), 1.5, kMapping, wrong);
    CheckFade(envelope, "the command", run.Time("command UnmuteAudio"), 0.7, 0, wrong);
    return wrong;
}

// When the pictures last moved before `time`. One that comes alone, later, was waiting for its end in the
// demultiplexer.
double LastPicture(const ProgrammeRun& run, double time) {
    constexpr double kAlone = 0.3;
    double before = 0;
    double last = 0;
    int number = -1;
    for (const auto& [when, look] : run.screen) {
        if (look.number < 0 || look.number == number || when > time) {
            continue;
        }
        number = look.number;
        last = when - before < kAlone ? when : last;
        before = when;
    }
    return last;
}

// When the tone next falls silent after `time`: a graph that restarts begins its fade-in again.
double NextSilence(const Envelope& envelope, double time) {
    const auto& levels = envelope.amplitudes;
    const auto from = std::clamp<std::ptrdiff_t>(std::lround((time - envelope.begin) / Envelope::kStep), 0,
                                                 std::ssize(levels));
    const auto silent = std::search_n(levels.begin() + from, levels.end(), 3, 0.02, std::less());
    return silent == levels.end() ? 0 : envelope.Time(static_cast<std::size_t>(silent - levels.begin()));
}

// stops.ts has pictures up to its second 8 only; they begin to be sent at second 5.
constexpr const char* kStart = "0 seek 4.5\n+0 play 1\n+0 wait picture 20\n";
const std::vector<std::string> kStallOptions{"--set",     "KorvixCodec=1", "--set",
                                             "UseVMR9=0", "--set",         "AudioUnmuteMsec=0"};

// Counts are tenths of a second since the last access unit, looked at each second: above 30 the graph
// restarts, above 100 the player ends. A picture is seen up to kShown after its unit came.
constexpr double kShown = 0.3;
std::string StaysAway(const Paths& where, SoundWatch& sound) {
    std::puts(" pictures stop and stay away");
    const ProgrammeRun run = RunScript(where, sound, kStallOptions,
                                       std::string(kStart) + "+0 wait exit 0xFFFFFFFF 25\n", "stops.ts");
    std::string wrong = run.failure;
    const double end = run.Time("player exit");
    const double last = LastPicture(run, end - 5);
    Report("last picture to the graph's restart",
           NextSilence(ToneEnvelope(run.sound, kTones[0]), last + 1) - last, 3 - kShown, 4.7, wrong);
    Report("last picture to the end with 0xFFFFFFFF", end - last, 10 - kShown, 12.5, wrong);
    return wrong;
}

std::string Returns(const Paths& where, SoundWatch& sound) {
    std::puts(" pictures stop, and return after the restart");
    const ProgrammeRun run = RunScript(
        where, sound, kStallOptions, std::string(kStart) + "+8 seek 0.5\n+6 mark end\n+0 quit\n", "stops.ts");
    std::string wrong = run.failure;
    const double back = run.Time("seek 0.5");
    const double end = run.Time("mark end");
    const double last = LastPicture(run, back);
    Report("last picture to the graph's restart",
           NextSilence(ToneEnvelope(run.sound, kTones[0]), last + 1) - last, 3 - kShown, 4.7, wrong);
    Report("longest hold from 1.5 s after the return on", run.Shown(back + 1.5, end).longestHold, 0, 0.5,
           wrong);
    const std::vector<LipSync> pairs = LipSyncs(run, back + 1.5, end);
    double worst = pairs.size() < 3 ? 1 : 0; // 1: no marks
    for (const LipSync& pair : pairs) {
        worst = std::max(worst, std::abs(pair.soundLate));
    }
    Report("lip sync then", worst, 0, 0.080, wrong);
    return wrong;
}

} // namespace

bool RunTimers(const Paths& where, SoundWatch& sound, std::size_t only) {
    bool right = true;
    std::size_t number = 0;
    for (const auto& measure : {Fade, StaysAway, Returns}) {
        if (++number != only && only != 0) {
            continue;
        }
        const std::string wrong =
            UntilRight("timer " + std::to_string(number), [&] { return measure(where, sound); });
        right = right && wrong.empty();
    }
    return right;
}

} // namespace vistrame::live
