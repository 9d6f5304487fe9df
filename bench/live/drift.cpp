// Plays a sender whose clock runs off from this machine's for three minutes, and tells how far sound and
// picture were apart, how much the delay to the sender moved, and whether anything was cut. To be run inside
// a session (tools/wine-session) on a machine that does nothing else.
//
// usage: live_drift BUILD STREAMS [ROW]
//
// BUILD is the product's build folder, STREAMS that of tests/live/make-streams. The exit code is 1 when a
// limit was broken.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "tests/support/watch/programme_run.h"

namespace vistrame::live {
namespace {

constexpr double kWatched = 180;
constexpr double kBegun = 3; // seconds after the first picture that do not count
constexpr double kPicture = 0.04;
constexpr double kLipSync = 0.040;
constexpr double kLongestGap = 0.020; // of the sound
constexpr int kNumbers = 4096;        // from there on the pictures' Gray code counts down again

struct Row {
    int ppm;
    const char* korvix;
    const char* clock;
};
constexpr Row kRows[] = {
    {300, "KorvixCodec=0", "0"},
    {-300, "KorvixCodec=0", "0"},
    {300, "KorvixCodec=1", "1"},
    {-300, "KorvixCodec=1", "1"},
};

// When each picture was shown after its sender's time, up to a constant; the mean of each second, since
// single looks at the screen come late.
std::vector<double> Delays(const ProgrammeRun& run, double begin, double end, int ppm) {
    std::vector<double> means;
    double sum = 0;
    int count = 0;
    int last = -1;
    int picture = 0;
    double second = begin;
    for (const auto& [when, look] : run.screen) {
        if (look.number < 0 || look.number == last || when < begin || when > end) {
            continue;
        }
        last = look.number;
        const int mirrored = 2 * kNumbers - 1 - last;
        picture = std::abs(mirrored - picture) < std::abs(last - picture) ? mirrored : last;
        if (when >= second + 1 && count > 0) {
            means.push_back(sum / count);
            sum = count = 0;
            second = when;
        }
        sum += when - picture * kPicture / (1 + ppm * 1e-6);
        ++count;
    }
    return means;
}

bool RunRow(const Paths& where, SoundWatch& sound, const Row& row) {
    const std::string script = "+0 play 1\n+0 wait picture 20\n+" + std::to_string(kBegun) +
                               " mark begin\n+" + std::to_string(kWatched) + " mark end\n+0 quit\n";
    const ProgrammeRun run =
        RunScript(where, sound,
                  {"--set", "UseVMR9=0", "--set", "AudioUnmuteMsec=0", "--set", row.korvix, "--clock-source",
                   row.clock, "--clock-ppm", std::to_string(row.ppm)},
                  script, "drift.ts", kWatched + 60);
    const double begin = run.Time("mark begin");
    const double end = run.Time("mark end");
    std::vector<double> late;
    for (const LipSync& pair : LipSyncs(run, begin, end)) {
        late.push_back(pair.soundLate);
    }
    const std::vector<double> delays = Delays(run, begin, end, row.ppm);
    if (!run.failure.empty() || late.empty() || delays.empty()) {
        std::printf("%+d ppm: WRONG: %s\n", row.ppm, run.failure.c_str());
        return false;
    }
    std::ranges::sort(late);
    const auto [least, most] = std::ranges::minmax(delays);
    const Silence silence = FindSilence(run.sound.Cut(begin, end), kLongestGap);
    const ShownPictures shown = run.Shown(begin, std::min(end, begin + kNumbers * kPicture * 0.9));
    const bool right = std::max(std::abs(late.front()), std::abs(late.back())) <= kLipSync &&
                       most - least <= kPicture && silence.gaps == 0;
    std::printf(
        "%+d ppm, %s, clock %s: sound %.0f to %.0f ms behind the picture, middle %.0f, of %zu; delay moved "
        "by %.0f ms; silences %d, longest picture %.0f ms, lost %d; %s\n",
        row.ppm, row.korvix, row.clock, late.front() * 1000, late.back() * 1000, late[late.size() / 2] * 1000,
        late.size(), (most - least) * 1000, silence.gaps, shown.longestHold * 1000, shown.lost,
        right ? "ok" : "WRONG");
    std::fflush(stdout);
    return right;
}

bool RunDrift(const Paths& where, SoundWatch& sound, std::size_t only) {
    return RunTable(kRows, only, [&](const Row& row) { return RunRow(where, sound, row); });
}

} // namespace
} // namespace vistrame::live

int main(int count, char** words) {
    return vistrame::live::RunPart(vistrame::live::RunDrift,
                                   std::span(words, static_cast<std::size_t>(count)).subspan(1),
                                   "live_drift BUILD STREAMS [ROW]");
}
