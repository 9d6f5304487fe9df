// Ten minutes of a stream that is spoiled again and again, and tells whether pictures and sound were back two
// seconds behind the last bad byte. To be run inside a session (tools/wine-session) on a machine that does
// nothing else.
//
// usage: live_spoiled BUILD STREAMS [ROW]
//
// BUILD is the product's build folder, STREAMS that of tests/live/make-streams. The exit code is 1 when they
// were not.
#include <algorithm>
#include <cstdio>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "tests/support/watch/programme_run.h"

namespace vistrame::live {
namespace {

constexpr int kTimes = 75;        // of eight seconds
constexpr double kRecovery = 2.0; // of good data
constexpr double kWatched = 3.0;  // behind it
constexpr double kLongestHold = 0.5;
constexpr unsigned kSeed = 21;

struct Row {
    const char* what;
    int programme; // of small.ts
    const char* renderer;
    const char* korvix;
};
constexpr Row kRows[] = {
    {"MPEG-2, Overlay Mixer, platform's demultiplexer", 1, "UseVMR9=0", "KorvixCodec=0"},
    {"H.264 and AC-3, Overlay Mixer, maker's demultiplexer", 6, "UseVMR9=0", "KorvixCodec=1"},
    {"HEVC and AAC, VMR9, platform's demultiplexer", 11, "UseVMR9=1", "KorvixCodec=0"},
};

// What is done each time, one kind or two behind each other, and the script for it. Each begins on a stream
// that is well.
std::vector<std::string> AddSpoils(std::string& script) {
    constexpr const char* kKinds[] = {"truncated", "flipped", "shuffled", "sized", "random"};
    std::mt19937 random(kSeed);
    std::vector<std::string> done;
    for (int i = 0; i < kTimes; ++i) {
        const std::string number = std::to_string(i);
        script.append("+0 seek 1 announced\n+1 mark spoil-").append(number).append("\n");
        std::string kinds;
        for (unsigned left = 1 + random() % 2; left > 0; --left) {
            const std::string kind = kKinds[random() % std::size(kKinds)];
            const std::string seconds = std::to_string(0.3 + 0.1 * static_cast<double>(random() % 13));
            script.append("+0 spoil ").append(kind).append("\n+").append(seconds).append(" mark still\n");
            kinds.append(" ").append(kind).append(" ").append(seconds, 0, 3);
        }
        script.append("+0 spoil nothing\n+0 mark good-").append(number).append("\n+");
        script.append(std::to_string(kRecovery + kWatched)).append(" mark end-").append(number).append("\n");
        done.push_back(kinds);
    }
    return done;
}

bool RunRow(const Paths& where, SoundWatch& sound, const Row& row) {
    std::string script = "+0 play " + std::to_string(row.programme) + "\n+0 wait picture 20\n";
    const std::vector<std::string> done = AddSpoils(script);
    const ProgrammeRun run =
        RunScript(where, sound, {"--set", row.renderer, "--set", "AudioUnmuteMsec=0", "--set", row.korvix},
                  script + "+0 quit\n", "small.ts", 900);
    int right = 0;
    std::vector<double> holds;
    for (int i = 0; run.failure.empty() && i < kTimes; ++i) {
        const double good = run.Time("mark good-" + std::to_string(i)) + kRecovery;
        const double end = std::min(good + kWatched, run.Time("mark end-" + std::to_string(i)));
        const ShownPictures shown = run.Shown(good, end);
        const Silence silence = FindSilence(run.sound.Cut(good, end), kLongestHold);
        const bool back = shown.pictures > 0 && shown.longestHold <= kLongestHold && silence.gaps == 0;
        holds.push_back(shown.longestHold);
        right += back ? 1 : 0;
        if (!back) {
            std::printf("  %d,%s: %d pictures, one for %.0f ms; silence of %.0f ms\n", i,
                        done[static_cast<std::size_t>(i)].c_str(), shown.pictures, shown.longestHold * 1000,
                        silence.longest * 1000);
        }
    }
    std::ranges::sort(holds);
    const bool allRight = right == kTimes;
    std::printf(
        "%-54s %d of %d well after %.0f s; a picture's longest time, middle %.0f ms, most %.0f ms; %s%s\n",
        row.what, right, kTimes, kRecovery, holds.empty() ? 0 : holds[holds.size() / 2] * 1000,
        holds.empty() ? 0 : holds.back() * 1000, allRight ? "ok" : "WRONG ", run.failure.c_str());
    std::fflush(stdout);
    return allRight;
}

bool RunSpoiled(const Paths& where, SoundWatch& sound, std::size_t only) {
    return RunTable(kRows, only, [&](const Row& row) { return RunRow(where, sound, row); });
}

} // namespace
} // namespace vistrame::live

int main(int count, char** words) {
    return vistrame::live::RunPart(vistrame::live::RunSpoiled,
                                   std::span(words, static_cast<std::size_t>(count)).subspan(1),
                                   "live_spoiled BUILD STREAMS [ROW]");
}
