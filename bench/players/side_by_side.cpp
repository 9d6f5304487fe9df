// Our player beside others on the same streams in one run: processor time, memory, pictures never seen,
// longest hold.
//
// usage: side_by_side BUILD STREAMS REPORT [RUNS [SECONDS]]      inside a session; medians of RUNS (3) runs
//
// BUILD is the product's build folder with its filters registered, STREAMS that of tests/live/make-streams.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "bench/players/player_run.h"

namespace vistrame::bench {
namespace {

struct Row {
    const char* stream;
    const char* what;
    double rate;      // pictures per second
    double processor; // goal, seconds per second
    double memory;    // goal, megabytes
};

constexpr Row kRows[] = {
    {"steady-576i25.ts", "576i25 MPEG-2", 25, 0.20, 160},
    {"steady-1080i25.ts", "1080i25 H.264", 25, 0.42, 220},
    {"steady-1080p25.ts", "1080p25 H.264", 25, 0.30, 220},
    {"steady-1080p50.ts", "1080p50 H.264", 50, 0.45, 230},
    {"steady-hevc1080p25.ts", "1080p25 HEVC", 25, 0.38, 220},
};

Player Ours(const std::string& build, const std::string& name, const std::string& settings) {
    // The analyzer's window has its picture area there.
    return {name,
            "printf '0 size 480 270\\n+0 play 1\\n+60 quit\\n' >\"$VISTRAME_SESSION/steady.script\"; "
            "exec " VISTRAME_SOURCE_DIR "/tools/wine " +
                build + "/analyzer/vistrame-analyzer.exe --player " + build +
                "/player/vistrame.exe --script \"$VISTRAME_SESSION/steady.script\" " + settings + " \"$1\"",
            310, 10, "vistrame.exe"};
}

std::vector<Player> Players(const std::string& build) {
    const std::string fade = " --set AudioUnmuteMsec=0";
    return {
        Ours(build, "Vistrame, VMR9", "--set UseVMR9=1" + fade),
        Ours(build, "Vistrame, Overlay Mixer", "--set UseVMR9=0" + fade),
        // It will not run as root: a user of its own name space has our rights and another number. Its
        // window's size follows a factor only.
        {"VLC",
         "case $1 in *576*) zoom=0.46875 ;; *) zoom=0.25 ;; esac; exec unshare --map-user=1000 vlc -I dummy "
         "--no-video-title-show --no-video-deco --no-osd --avcodec-hw=none --vout=xcb_x11 --video-x=0 "
         "--video-y=0 "
         "--zoom=$zoom \"$1\"",
         0, 0, "vlc"},
        {"mpv",
         "exec mpv --no-config --vo=x11 --hwdec=no --geometry=480x270+0+0 --no-border --no-osc --osd-level=0 "
         "\"$1\"",
         0, 0, "mpv"},
        {"mpv, low latency",
         "exec mpv --no-config --profile=low-latency --vo=x11 --hwdec=no --geometry=480x270+0+0 --no-border "
         "--no-osc "
         "--osd-level=0 \"$1\"",
         0, 0, "mpv"},
        {"ffplay",
         "SDL_RENDER_DRIVER=software exec ffplay -loglevel quiet -noborder -left 0 -top 0 -x 480 -y 270 "
         "\"$1\"",
         0, 0, "ffplay"},
    };
}

template <class Value>
Value Median(std::vector<Figures>& runs, Value Figures::*figure) {
    std::ranges::sort(runs, {}, figure);
    return runs[runs.size() / 2].*figure;
}

const char* Verdict(bool met) {
    return met ? "met" : "**missed**";
}

void Measure(const Row& row, const std::vector<Player>& players, const std::string& streams, int runs,
             double seconds, std::ofstream& report) {
    report << "\n## " << row.what << "\n\n"
           << "| player | processor, s/s | of the display and Wine's server | memory, MiB | pictures never "
              "seen | longest hold, "
              "periods |\n| --- | --- | --- | --- | --- | --- |\n";
    std::string verdict;
    for (const Player& player : players) {
        std::vector<Figures> all;
        for (int run = 0; run < runs; ++run) {
            all.push_back(Play(player, streams + "/" + row.stream, seconds));
            if (!all.back().failure.empty()) {
                std::printf("%s, %s: %s\n", row.what, player.name.c_str(), all.back().failure.c_str());
                all.pop_back();
            }
        }
        char text[200];
        if (all.empty()) {
            std::snprintf(text, sizeof text, "| %s | nothing measured | | | | |", player.name.c_str());
        } else {
            const double processor = Median(all, &Figures::processor);
            const double memory = Median(all, &Figures::memory);
            const int lost = Median(all, &Figures::lost);
            const double hold = Median(all, &Figures::hold) * row.rate;
            std::snprintf(text, sizeof text, "| %s | %.3f | %.3f | %.0f | %d of %d | %.1f |",
                          player.name.c_str(), processor, Median(all, &Figures::around), memory, lost,
                          Median(all, &Figures::pictures), hold);
            if (player.process == "vistrame.exe") {
                char goals[300];
                std::snprintf(goals, sizeof goals,
                              "\n%s: processor %.2f %s; memory %.0f MiB %s; no picture lost %s; no hold "
                              "above 2 periods %s.\n",
                              player.name.c_str(), row.processor, Verdict(processor <= row.processor),
                              row.memory, Verdict(memory <= row.memory), Verdict(lost == 0),
                              Verdict(hold <= 2));
                verdict += goals;
            }
        }
        std::printf("%-14s %s\n", row.what, text);
        std::fflush(stdout);
        report << text << "\n";
    }
    report << verdict << std::flush;
}

} // namespace
} // namespace vistrame::bench

int main(int count, char** words) {
    using namespace vistrame::bench;
    if (count < 4) {
        std::fputs("usage: side_by_side BUILD STREAMS REPORT [RUNS [SECONDS]]\n", stderr);
        return 2;
    }
    std::ofstream report(words[3]);
    const int runs = count > 4 ? std::atoi(words[4]) : 3;
    const double seconds = count > 5 ? std::atof(words[5]) : 15;
    report << "# Players side by side\n\nMedians of " << runs << " runs of " << seconds
           << " s of steady play each, on this machine and in one run; the picture 480 x 270 on the private "
              "display.\n";
    for (const Row& row : kRows) {
        Measure(row, Players(words[1]), words[2], runs, seconds, report);
    }
    return report ? 0 : 1;
}
