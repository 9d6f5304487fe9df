// How long a change of programme takes in a running player, from `SetPid`, or the key of another player, to
// the first picture on the screen, wherever in the group of pictures it falls.
//
// usage: programme_changes BUILD STREAMS REPORT [CHANGES]      inside a session; REPORT is appended to
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "bench/players/key_changes.h"

namespace vistrame::bench {
namespace {

constexpr double kMedianGoal = 200; // milliseconds
constexpr double kWorstGoal = 350;

struct Stream {
    const char* file;
    const char* what;
};
constexpr Stream kStreams[] = {{"group0.ts", "0.5 s"}, {"group2.ts", "2 s"}, {"group5.ts", "5 s"}};

// Changes between the two programmes, so far apart that they fall everywhere in the group of pictures, and
// that the second before belongs to a picture that moves.
std::string Script(int changes) {
    std::ostringstream lines;
    lines << "0 size 480 270\n+0 play 1\n+0 wait picture 30\n+5 mark settled\n";
    for (int i = 0; i < changes; ++i) {
        lines << "+" << 1.3 + 0.37 * (i % 5) << " play " << 2 - i % 2 << "\n+0 wait picture 30\n";
    }
    lines << "+1 quit\n";
    return lines.str();
}

// Of each selection but the first, the milliseconds to SetPid's answer and to the first picture.
struct Times {
    std::vector<double> answer;
    std::vector<double> picture;
};

Times ReadLog(const std::string& path) {
    Times times;
    std::ifstream log(path);
    for (std::string line; std::getline(log, line);) {
        const std::size_t at = line.find(" msec ");
        if (at == std::string::npos) {
            continue;
        }
        const double value = std::atof(line.c_str() + at + 6);
        if (line.find(" picture programme ") != std::string::npos) {
            times.picture.push_back(value);
        } else if (line.find(" command SetPid ") != std::string::npos) {
            times.answer.push_back(value);
        }
    }
    for (std::vector<double>* row : {&times.answer, &times.picture}) {
        if (!row->empty()) {
            row->erase(row->begin());
        }
        std::ranges::sort(*row);
    }
    return times;
}

// `folder` takes what a run leaves behind.
std::string Row(const std::string& folder, const std::string& build, const std::string& streams,
                const Stream& stream, int renderer, int changes) {
    const std::string script = folder + "/changes.script", log = folder + "/changes.log";
    std::ofstream(script) << Script(changes);
    const std::string command = VISTRAME_SOURCE_DIR "/tools/wine " + build +
                                "/analyzer/vistrame-analyzer.exe --player " + build +
                                "/player/vistrame.exe --script " + script + " --log " + log +
                                " --set AudioUnmuteMsec=0 --set UseVMR9=" + std::to_string(renderer) + " " +
                                streams + "/" + stream.file + " >/dev/null 2>&1";
    const int ended = std::system(command.c_str()); // paths of ours, without blanks
    const Times times = ReadLog(log);
    const char* const name = renderer != 0 ? "VMR9" : "Overlay Mixer";
    char text[300];
    if (ended != 0 || times.picture.size() < 2) {
        std::snprintf(text, sizeof text, "| %s | %s | failed | | |", name, stream.what);
        return text;
    }
    const double median = times.picture[times.picture.size() / 2];
    const double worst = times.picture.back();
    std::snprintf(text, sizeof text, "| %s | %s | %.0f | %.0f (%.0f to %.0f of %zu) | median %s, worst %s |",
                  name, stream.what, times.answer.empty() ? 0 : times.answer[times.answer.size() / 2], median,
                  times.picture.front(), worst, times.picture.size(),
                  median <= kMedianGoal ? "met" : "**missed**", worst <= kWorstGoal ? "met" : "**missed**");
    return text;
}

std::string OtherRow(const KeyPlayer& player, const std::string& streams, const Stream& stream, int changes) {
    const std::vector<double> times = ChangesByKey(player, streams + "/" + stream.file, changes);
    char text[200];
    if (times.empty()) {
        std::snprintf(text, sizeof text, "| %s | %s | | no change seen | |", player.name.c_str(),
                      stream.what);
    } else {
        std::snprintf(text, sizeof text, "| %s | %s | | %.0f (%.0f to %.0f of %zu) | |", player.name.c_str(),
                      stream.what, times[times.size() / 2], times.front(), times.back(), times.size());
    }
    return text;
}

} // namespace
} // namespace vistrame::bench

int main(int count, char** words) {
    using namespace vistrame::bench;
    const char* const session = std::getenv("VISTRAME_SESSION");
    if (count < 4 || session == nullptr) {
        std::fputs("usage: programme_changes BUILD STREAMS REPORT [CHANGES]\n", stderr);
        return 2;
    }
    std::ofstream report(words[3], std::ios::app);
    report << "\n## A change of programme, milliseconds\n\n| player | random-access pictures every | "
              "SetPid answered, "
              "median | first picture, median and range | goal |\n| --- | --- | --- | --- | --- |\n";
    const auto tell = [&](const std::string& row) {
        std::puts(row.c_str());
        std::fflush(stdout);
        report << row << "\n" << std::flush;
    };
    const int changes = count > 4 ? std::atoi(words[4]) : 9;
    for (const Stream& stream : kStreams) {
        for (const int renderer : {1, 0}) {
            tell(Row(session, words[1], words[2], stream, renderer, changes));
        }
    }
    // Behind longer groups no change of theirs is seen.
    for (const KeyPlayer& player : KeyPlayers()) {
        tell(OtherRow(player, words[2], kStreams[0], changes));
    }
    return report ? 0 : 1;
}
