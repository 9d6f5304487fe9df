// How long a change of programme takes in a running player, from `SetPid`, or the key of another player, to
// the first picture on the screen and the first sound at the sink, wherever in the group of pictures it
// falls.
//
// usage: programme_changes BUILD STREAMS REPORT [CHANGES]      inside a session; REPORT is appended to
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "bench/players/key_changes.h"
#include "tests/support/watch/programme_run.h"

namespace vistrame::bench {
namespace {

constexpr double kMedianGoal = 200; // milliseconds
constexpr double kWorstGoal = 350;
constexpr double kSoundGoal = 250; // median

struct Stream {
    const char* file;
    const char* what;
};
constexpr Stream kStreams[] = {{"group0.ts", "0.5 s"}, {"group2.ts", "2 s"}, {"group5.ts", "5 s"}};

// Changes between the two programmes, so far apart that they fall everywhere in the group of pictures, and
// that the second before belongs to a picture that moves.
std::string Script(int changes) {
    std::ostringstream lines;
    lines << "+0 play 1\n+0 wait picture 30\n+5 mark settled\n";
    for (int i = 0; i < changes; ++i) {
        lines << "+" << 1.3 + 0.37 * (i % 5) << " play " << 2 - i % 2 << "\n+0 wait picture 30\n";
    }
    lines << "+1 quit\n";
    return lines.str();
}

// Of each selection but the first, the milliseconds to SetPid's answer, to its first picture and its sound.
struct Times {
    std::vector<double> answer, picture, sound;
};

// When a tone is there to stay: the fade-in begins with an amplitude of 0.0015, and what ends the other
// programme's sound has something of every frequency for a moment.
std::optional<double> Onset(const live::Envelope& envelope) {
    constexpr double kThere = 0.0012;
    constexpr int kSteps = 5;
    int steps = 0;
    for (std::size_t i = 0; i < envelope.amplitudes.size(); ++i) {
        steps = envelope.amplitudes[i] > kThere ? steps + 1 : 0;
        if (steps == kSteps) {
            return envelope.Time(i + 1 - kSteps);
        }
    }
    return std::nullopt;
}

Times ReadRun(const live::ProgrammeRun& run) {
    constexpr double kLongest = 3; // seconds, more than lies between two changes
    Times times;
    int programme = 1;
    for (const live::LogLine& line : run.log) {
        const double value = live::Value(line.text, " msec ");
        if (line.text.starts_with("picture programme ")) {
            times.picture.push_back(value);
        } else if (line.text.starts_with("command SetPid ")) {
            const double begin = line.time - value / 1000;
            const auto onset = Onset(
                live::ToneEnvelope(run.sound.Cut(begin, begin + kLongest), live::kTones[programme - 1]));
            times.answer.push_back(value);
            times.sound.push_back(onset ? (*onset - begin) * 1000 : kLongest * 1000);
            programme = 3 - programme;
        }
    }
    for (std::vector<double>* row : {&times.answer, &times.picture, &times.sound}) {
        if (!row->empty()) {
            row->erase(row->begin());
        }
        std::ranges::sort(*row);
    }
    return times;
}

const char* Verdict(bool met) {
    return met ? "met" : "**missed**";
}

std::string Row(const live::Paths& where, live::SoundWatch& sound, const Stream& stream, int renderer,
                int changes) {
    constexpr double kEach = 10; // seconds, at most
    const double begin = live::Now();
    live::ProgrammeRun run = live::FollowScript(
        where, {"--set", "AudioUnmuteMsec=0", "--set", "UseVMR9=" + std::to_string(renderer)},
        Script(changes), stream.file, kEach * (changes + 3));
    run.sound = sound.Since(begin);
    const Times times = ReadRun(run);
    const char* const name = renderer != 0 ? "VMR9" : "Overlay Mixer";
    char text[300];
    if (!run.failure.empty() || times.picture.size() < 2 || times.answer.size() < 2) {
        std::snprintf(text, sizeof text, "| %s | %s | failed | %s | | |", name, stream.what,
                      run.failure.c_str());
        return text;
    }
    const auto middle = [](const std::vector<double>& sorted) { return sorted[sorted.size() / 2]; };
    const double worst = times.picture.back();
    std::snprintf(
        text, sizeof text,
        "| %s | %s | %.0f | %.0f (%.0f to %.0f of %zu) | %.0f (%.0f to %.0f) | median %s, worst %s, sound "
        "%s |",
        name, stream.what, middle(times.answer), middle(times.picture), times.picture.front(), worst,
        times.picture.size(), middle(times.sound), times.sound.front(), times.sound.back(),
        Verdict(middle(times.picture) <= kMedianGoal), Verdict(worst <= kWorstGoal),
        Verdict(middle(times.sound) <= kSoundGoal));
    return text;
}

std::string OtherRow(const KeyPlayer& player, const std::string& streams, const Stream& stream, int changes) {
    const std::vector<double> times = ChangesByKey(player, streams + "/" + stream.file, changes);
    char text[200];
    if (times.empty()) {
        std::snprintf(text, sizeof text, "| %s | %s | | no change seen | | |", player.name.c_str(),
                      stream.what);
    } else {
        std::snprintf(text, sizeof text, "| %s | %s | | %.0f (%.0f to %.0f of %zu) | | |",
                      player.name.c_str(), stream.what, times[times.size() / 2], times.front(), times.back(),
                      times.size());
    }
    return text;
}

} // namespace
} // namespace vistrame::bench

int main(int count, char** words) {
    using namespace vistrame::bench;
    if (count < 4) {
        std::fputs("usage: programme_changes BUILD STREAMS REPORT [CHANGES]\n", stderr);
        return 2;
    }
    std::ofstream report(words[3], std::ios::app);
    report << "\n## A change of programme, milliseconds\n\n| player | random-access pictures every | "
              "SetPid answered, "
              "median | first picture, median and range | first sound | goal |\n| --- | --- | --- | --- | "
              "--- | --- |\n";
    const auto tell = [&](const std::string& row) {
        std::puts(row.c_str());
        std::fflush(stdout);
        report << row << "\n" << std::flush;
    };
    const vistrame::live::Paths where{words[1], words[2]};
    vistrame::live::SoundWatch sound;
    const int changes = count > 4 ? std::atoi(words[4]) : 9;
    for (const Stream& stream : kStreams) {
        for (const int renderer : {1, 0}) {
            tell(Row(where, sound, stream, renderer, changes));
        }
    }
    // Behind longer groups no change of theirs is seen.
    for (const KeyPlayer& player : KeyPlayers()) {
        tell(OtherRow(player, words[2], kStreams[0], changes));
    }
    return report ? 0 : 1;
}
