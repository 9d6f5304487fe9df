// Plays a sender whose clock runs off from this machine's, and tells how far sound and picture were apart,
// how much the delay to the sender moved, and whether anything was cut. To be run inside a session
// (tools/wine-session) on a machine that does nothing else.
//
// usage: live_drift BUILD STREAMS [ROW]
//
// BUILD is the product's build folder, STREAMS that of tests/live/make-streams. The exit code is 1 when a
// limit was broken.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <span>
#include <string>
#include <vector>

#include "tests/support/watch/programme_run.h"

namespace vistrame::live {
namespace {

constexpr double kBegun = 3; // seconds after the first picture that do not count
constexpr double kPicture = 0.04;
constexpr double kLipSync = 0.040;
constexpr double kLongestGap = 0.020; // of the sound
constexpr int kNumbers = 4096;        // from there on the pictures' Gray code counts down again
constexpr double kStep = 0.010;       // between two parts of kPart; what moves less was not at once
constexpr double kPart = 10;

struct Row {
    int ppm;
    const char* korvix;
    const char* clock; // who makes the graph's: 0 the graph itself, 1 demultiplexer, 2 sound renderer, 3 feed
    double seconds;
};
constexpr Row kRows[] = {
    {300, "KorvixCodec=0", "0", 1200}, {-300, "KorvixCodec=1", "1", 1200}, {300, "KorvixCodec=1", "2", 180},
    {-300, "KorvixCodec=0", "3", 180}, {1000, "KorvixCodec=0", "1", 180},  {-1000, "KorvixCodec=1", "0", 180},
    {1000, "KorvixCodec=1", "3", 180}, {-1000, "KorvixCodec=0", "2", 180},
};

// The picture that a number of the code is: the one nearest to the next. Two numbers follow each other where
// the code turns.
int PictureBehind(int before, int number) {
    constexpr int kPeriod = 2 * kNumbers;
    const int next = before + 1;
    const auto nearest = [&](int place) {
        return next + (place - next % kPeriod + kPeriod + kNumbers) % kPeriod - kNumbers;
    };
    const int up = nearest(number);
    const int down = nearest(kPeriod - 1 - number);
    return std::abs(up - next) < std::abs(down - next) ? up : down;
}

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
        picture = PictureBehind(picture, look.number);
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

// How the sound's distance from the picture moved: at once, and all the rest of it.
struct Movement {
    std::string steps;  // when each came and how far it went
    double stepped = 0; // seconds, all steps together
    double drifted = 0;
};

Movement FindMovement(std::span<const LipSync> pairs, double begin) {
    Movement movement;
    std::vector<double> part;
    double before = std::nan("");
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        part.push_back(pairs[i].soundLate);
        if (i + 1 < pairs.size() && pairs[i + 1].time - pairs[i - part.size() + 1].time < kPart) {
            continue;
        }
        std::ranges::sort(part);
        const double middle = part[part.size() / 2];
        const double moved = std::isnan(before) ? 0 : middle - before;
        if (std::abs(moved) > kStep) {
            char step[40];
            std::snprintf(step, sizeof step, " %+.0f at %.0f s", moved * 1000, pairs[i].time - begin);
            movement.steps += step;
            movement.stepped += moved;
        } else {
            movement.drifted += moved;
        }
        before = middle;
        part.clear();
    }
    return movement;
}

bool RunRow(const Paths& where, SoundWatch& sound, const Row& row) {
    const std::string script = "+0 play 1\n+0 wait picture 20\n+" + std::to_string(kBegun) +
                               " mark begin\n+" + std::to_string(row.seconds) + " mark end\n+0 quit\n";
    const ProgrammeRun run =
        RunScript(where, sound,
                  {"--set", "UseVMR9=0", "--set", "AudioUnmuteMsec=0", "--set", row.korvix, "--clock-source",
                   row.clock, "--clock-ppm", std::to_string(row.ppm)},
                  script, "drift.ts", row.seconds + 60);
    const double begin = run.Time("mark begin");
    const double end = run.Time("mark end");
    std::vector<double> late;
    const std::vector<LipSync> pairs = LipSyncs(run, begin, end);
    std::ranges::transform(pairs, std::back_inserter(late), &LipSync::soundLate);
    const std::vector<double> delays = Delays(run, begin, end, row.ppm);
    if (!run.failure.empty() || late.empty() || delays.empty()) {
        std::printf("%+d ppm: WRONG: %s\n", row.ppm, run.failure.c_str());
        return false;
    }
    const Movement movement = FindMovement(pairs, begin);
    std::ranges::sort(late);
    const auto [least, most] = std::ranges::minmax(delays);
    const Silence silence = FindSilence(run.sound.Cut(begin, end), kLongestGap);
    const ShownPictures shown = run.Shown(begin, std::min(end, begin + kNumbers * kPicture * 0.9));
    const bool right = std::max(std::abs(late.front()), std::abs(late.back())) <= kLipSync &&
                       most - least <= kPicture && silence.gaps == 0;
    std::printf(
        "%+d ppm, %s, clock %s, %.0f s: sound %.0f to %.0f ms behind the picture, middle %.0f, of %zu, moved "
        "%.0f ms in steps (%s ) and %.0f ms without; delay moved by %.0f ms; silences %d, longest picture "
        "%.0f ms, lost %d; %s\n",
        row.ppm, row.korvix, row.clock, row.seconds, late.front() * 1000, late.back() * 1000,
        late[late.size() / 2] * 1000, late.size(), movement.stepped * 1000, movement.steps.c_str(),
        movement.drifted * 1000, (most - least) * 1000, silence.gaps, shown.longestHold * 1000, shown.lost,
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
