// Our player beside others on the same streams in one run: processor time, memory, pictures never seen,
// longest hold, time from the command to the first picture; then several players at once.
//
// usage: side_by_side BUILD STREAMS REPORT [RUNS [SECONDS [PLAYER [PART]]]]      inside a session
//
// Medians of RUNS (3) runs of SECONDS (15); PLAYER: those only whose name has that in it; PART: that alone of
// "rows", "heavy", "busy" and "several".
//
// BUILD is the product's build folder with its filters registered, STREAMS that of tests/live/make-streams.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <span>
#include <vector>

#include "bench/players/bar_chart.h"
#include "bench/players/players.h"

namespace vistrame::bench {
namespace {

struct Row {
    const char* stream;
    const char* what;
    double rate;      // pictures per second
    double processor; // goal, seconds per second
    double memory;    // goal, megabytes
    double shown = 1; // goal, share of the pictures
};

constexpr Row kRows[] = {
    {"steady-576i25.ts", "576i25 MPEG-2", 25, 0.20, 160},
    {"steady-1080i25.ts", "1080i25 H.264", 25, 0.42, 220},
    {"steady-1080p25.ts", "1080p25 H.264", 25, 0.30, 220},
    {"steady-1080p50.ts", "1080p50 H.264", 50, 0.45, 230},
    {"steady-hevc1080p25.ts", "1080p25 HEVC", 25, 0.38, 220},
};

// What two cores may not manage any more: the goal is in the pictures, not in the cost.
constexpr Row kHeavyRows[] = {
    {"steady-hevc1080p50.ts", "1080p50 HEVC", 50, 2, 400},
    {"steady-hevc2160p25.ts", "2160p25 HEVC", 25, 2, 800, 0.8},
};

template <class Value>
Value Median(std::vector<Figures>& runs, Value Figures::*figure) {
    std::ranges::sort(runs, {}, figure);
    return runs[runs.size() / 2].*figure;
}

const char* Verdict(bool met) {
    return met ? "met" : "**missed**";
}

// What the charts show.
struct Charts {
    std::vector<Bar> processor;
    std::vector<Bar> memory;
};

void Measure(const Row& row, std::span<const Player> players, const std::string& streams, int runs,
             double seconds, std::ofstream& report, Charts& charts) {
    report
        << "\n## " << row.what << "\n\n"
        << "| player | processor, s/s | of the display and Wine's server | memory, MiB | pictures never "
           "seen | longest hold, periods | first picture, s |\n| --- | --- | --- | --- | --- | --- | --- |\n";
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
            std::snprintf(text, sizeof text, "| %s | nothing measured | | | | | |", player.name.c_str());
        } else {
            const double processor = Median(all, &Figures::processor);
            const double memory = Median(all, &Figures::memory);
            const int lost = Median(all, &Figures::lost);
            const int pictures = Median(all, &Figures::pictures);
            const double hold = Median(all, &Figures::hold) * row.rate;
            std::snprintf(text, sizeof text, "| %s | %.3f | %.3f | %.0f | %d of %d | %.1f | %.2f |",
                          player.name.c_str(), processor, Median(all, &Figures::around), memory, lost,
                          pictures, hold, Median(all, &Figures::firstPicture));
            charts.processor.push_back({row.what, player.name, processor});
            charts.memory.push_back({row.what, player.name, memory});
            if (player.process == "vistrame.exe") {
                char goals[300];
                std::snprintf(goals, sizeof goals,
                              "\n%s: processor %.2f %s; memory %.0f MiB %s; %.0f %% of the pictures seen %s; "
                              "no hold above 2 periods %s.\n",
                              player.name.c_str(), row.processor, Verdict(processor <= row.processor),
                              row.memory, Verdict(memory <= row.memory), row.shown * 100,
                              Verdict(lost <= pictures * (1 - row.shown)), Verdict(hold <= 2));
                verdict += goals;
            }
        }
        std::printf("%-14s %s\n", row.what, text);
        std::fflush(stdout);
        report << text << "\n";
    }
    report << verdict << std::flush;
}

// Those that are measured at length: ours as `make play` has it, and VLC.
std::span<const Player> CrowdOf(const std::vector<Player>& players) {
    return players.size() < 3 ? std::span(players) : std::span(players).subspan(1, 2);
}

// Goal: eight players of SD on two cores lose no picture.
void MeasureCrowd(const std::vector<Player>& players, const std::string& streams, double seconds,
                  std::ofstream& report) {
    const Row& row = kRows[0];
    report << "\n## Several players at once, " << row.what
           << "\n\n| player | how many | processor of all, s/s | memory of all, MiB | pictures never seen | "
              "longest "
              "hold, periods |\n| --- | --- | --- | --- | --- | --- |\n";
    for (const Player& player : CrowdOf(players)) {
        for (const int copies : {1, 2, 4, 8}) {
            const Figures figures = Play(player, streams + "/steady-long576i25.ts", seconds, copies);
            char text[200];
            if (figures.failure.empty()) {
                std::snprintf(text, sizeof text, "| %s | %d | %.2f | %.0f | %d of %d | %.1f |",
                              player.name.c_str(), copies, figures.processor, figures.memory, figures.lost,
                              figures.pictures, figures.hold * row.rate);
            } else {
                std::snprintf(text, sizeof text, "| %s | %d | %s | | | |", player.name.c_str(), copies,
                              figures.failure.c_str());
            }
            std::printf("%s\n", text);
            std::fflush(stdout);
            report << text << "\n" << std::flush;
        }
    }
}

// Goal: what the other programmes of a multiplex of 60 Mbit/s cost is at most a fiftieth of a core.
void MeasureBusy(const std::vector<Player>& players, const std::string& streams, int runs, double seconds,
                 std::ofstream& report) {
    constexpr double kGoal = 0.02;
    report << "\n## Programmes that are not selected, " << kRows[0].what
           << "\n\n| player | alone, s/s | in 60 Mbit/s | goal: at most 0.02 more |\n| --- | --- | --- | --- "
              "|\n";
    for (const Player& player : CrowdOf(players)) {
        double costs[2] = {};
        for (int busy = 0; busy < 2; ++busy) {
            std::vector<Figures> all;
            all.reserve(static_cast<std::size_t>(runs));
            for (int run = 0; run < runs; ++run) {
                all.push_back(Play(
                    player, streams + (busy != 0 ? "/steady-busy576i25.ts" : "/steady-576i25.ts"), seconds));
            }
            costs[busy] = Median(all, &Figures::processor);
        }
        char text[200];
        std::snprintf(text, sizeof text, "| %s | %.3f | %.3f | %s |", player.name.c_str(), costs[0], costs[1],
                      Verdict(costs[1] - costs[0] <= kGoal));
        std::printf("%s\n", text);
        std::fflush(stdout);
        report << text << "\n" << std::flush;
    }
}

} // namespace
} // namespace vistrame::bench

int main(int count, char** words) {
    using namespace vistrame::bench;
    if (count < 4) {
        std::fputs("usage: side_by_side BUILD STREAMS REPORT [RUNS [SECONDS [PLAYER [PART]]]]\n", stderr);
        return 2;
    }
    std::ofstream report(words[3]);
    const int runs = count > 4 ? std::atoi(words[4]) : 3;
    const double seconds = count > 5 ? std::atof(words[5]) : 15;
    report << "# Players side by side\n\nMedians of " << runs << " runs of " << seconds
           << " s of steady play each, on this machine and in one run; the picture 480 x 270 on the private "
              "display.\n";
    std::vector<Player> players = Players(words[1]);
    if (count > 6) {
        std::erase_if(players,
                      [&](const Player& player) { return player.name.find(words[6]) == std::string::npos; });
    }
    const std::string part = count > 7 ? words[7] : "";
    bool drawn = true;
    if (part.empty() || part == "rows") {
        Charts charts;
        for (const Row& row : kRows) {
            Measure(row, players, words[2], runs, seconds, report, charts);
        }
        const std::string beside = std::string(words[3]).substr(0, std::string(words[3]).rfind('/') + 1);
        drawn = WriteBars(beside + "processor.svg", "Processor time of the player, seconds per second",
                          charts.processor) &&
                WriteBars(beside + "memory.svg", "Memory of the player, MiB (PSS)", charts.memory);
    }
    if (part == "heavy") {
        Charts charts;
        for (const Row& row : kHeavyRows) {
            Measure(row, CrowdOf(players), words[2], runs, seconds, report, charts);
        }
    }
    if (part.empty() || part == "busy") {
        MeasureBusy(players, words[2], runs, seconds, report);
    }
    if (part.empty() || part == "several") {
        MeasureCrowd(players, words[2], seconds, report);
    }
    return report && drawn ? 0 : 1;
}
