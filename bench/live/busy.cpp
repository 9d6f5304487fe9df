// Plays for a minute altogether while something else keeps one of the processor's cores busy, and tells the
// longest silence and the longest time that a picture stood. To be run inside a session (tools/wine-session)
// on a machine that does nothing else.
//
// usage: live_busy BUILD STREAMS [ROW]
//
// BUILD is the product's build folder, STREAMS that of tests/live/make-streams. The exit code is 1 when
// either was longer than it may be.
#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <span>
#include <string>
#include <thread>

#include "tests/support/watch/programme_run.h"

namespace vistrame::live {
namespace {

constexpr double kLongestGap = 0.020;
constexpr double kLongestHold = 0.2;
// So often and so long is watched: between the file's beginning and its end, where all begins anew.
constexpr int kTimes = 4;
constexpr double kWatched = 15;

// The something else: as many threads that want a core for themselves.
class Load {
public:
    explicit Load(int threads) {
        for (int i = 0; i < threads; ++i) {
            threads_.emplace_back([this] {
                while (!over_) {
                }
            });
        }
    }
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;
    ~Load() { over_ = true; }

private:
    std::atomic<bool> over_ = false;
    std::vector<std::jthread> threads_;
};

struct Row {
    const char* what;
    const char* stream;
    const char* korvix;
    int busy;
};
constexpr Row kRows[] = {
    {"small picture, nothing else runs", "small.ts", "KorvixCodec=0", 0},
    {"small picture, one core busy", "small.ts", "KorvixCodec=0", 1},
    {"1080p25, nothing else runs", "group5.ts", "KorvixCodec=0", 0},
    {"1080p25, one core busy", "group5.ts", "KorvixCodec=0", 1},
    {"1080p25, one core busy, maker's demultiplexer", "group5.ts", "KorvixCodec=1", 1},
};

bool RunRow(const Paths& where, SoundWatch& sound, const Row& row) {
    const Load load(row.busy);
    std::string script = "+0 play 1\n+0 wait picture 20\n";
    for (int i = 0; i < kTimes; ++i) {
        std::array<char, 120> lines{};
        (void)std::snprintf(lines.data(), lines.size(),
                            "+0 seek 1 announced\n+4 mark begin-%d\n+%.1f mark end-%d\n", i, kWatched, i);
        script += lines.data();
    }
    const ProgrammeRun run =
        RunScript(where, sound, {"--set", "UseVMR9=0", "--set", "AudioUnmuteMsec=0", "--set", row.korvix},
                  script + "+0 quit\n", row.stream, 180);
    Silence silence;
    double hold = 0;
    for (int i = 0; i < kTimes; ++i) {
        const double begin = run.Time("mark begin-" + std::to_string(i));
        const double end = run.Time("mark end-" + std::to_string(i));
        const Silence found = FindSilence(run.sound.Cut(begin, end), kLongestGap);
        silence = {silence.gaps + found.gaps, std::max(silence.longest, found.longest)};
        hold = std::max(hold, run.Shown(begin, end).longestHold);
    }
    const bool right = run.failure.empty() && silence.longest <= kLongestGap && hold <= kLongestHold;
    std::printf("%-48s silences over %.0f ms %d, longest %.0f ms; longest picture %.0f ms; %s%s\n", row.what,
                kLongestGap * 1000, silence.gaps, silence.longest * 1000, hold * 1000,
                right ? "ok" : "WRONG ", run.failure.c_str());
    std::fflush(stdout);
    return right;
}

bool RunBusy(const Paths& where, SoundWatch& sound, std::size_t only) {
    return RunTable(kRows, only, [&](const Row& row) { return RunRow(where, sound, row); });
}

} // namespace
} // namespace vistrame::live

int main(int count, char** words) {
    return vistrame::live::RunPart(vistrame::live::RunBusy,
                                   std::span(words, static_cast<std::size_t>(count)).subspan(1),
                                   "live_busy BUILD STREAMS [ROW]");
}
